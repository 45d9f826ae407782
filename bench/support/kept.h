#ifndef BENCH_SUPPORT_KEPT_H
#define BENCH_SUPPORT_KEPT_H

#include <map>

namespace cpi::bench {

// What `make()` gave for these arguments when it was first called with them; lives as long as the
// program. A benchmark runs many times, and what it works on is made once. One thread only.
template <class Arguments, class Make>
const auto& kept(const Arguments& arguments, Make make) {
  static std::map<Arguments, decltype(make())> values;
  const auto found = values.find(arguments);
  return found != values.end() ? found->second : values.emplace(arguments, make()).first->second;
}

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_KEPT_H
