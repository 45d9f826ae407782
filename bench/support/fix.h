// A FIX data dictionary and a message of it, both of our own making: a list of orders, with parties
// within orders.
#ifndef BENCH_SUPPORT_FIX_H
#define BENCH_SUPPORT_FIX_H

#include <string>

namespace cpi::bench {

inline constexpr int kFixFields = 64;

// In the form of the engines' XML files.
const std::string& fixDictionary();
// kFixFields fields, header and trailer included, with its length and its checksum.
std::string fixMessage();

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_FIX_H
