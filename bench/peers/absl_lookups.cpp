// Abseil's flat hash map, asked what the dictionary is asked.
#include <absl/container/flat_hash_map.h>
#include <absl/strings/string_view.h>

#include "bench/support/kept.h"
#include "bench/support/lookups.h"

namespace cpi::bench {
namespace {

using IdMap = absl::flat_hash_map<std::int32_t, std::int32_t>;
using NameMap = absl::flat_hash_map<std::string, std::int32_t>;

template <class Map, class Key>
std::int32_t rowIn(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? kNone : found->second;
}

const IdMap& idMap(IdKind kind, std::int32_t rows) {
  return kept(std::pair(kind, rows), [=] {
    IdMap map;
    for (const std::int32_t id : idQuestions(kind, rows).keys) {
      map.emplace(id, static_cast<std::int32_t>(map.size()));
    }
    return map;
  });
}

// The bytes of a zero-terminated name: its length has to be found, by the dictionary too.
absl::string_view bytesOf(const unsigned short* name) {
  const std::u16string_view view = textView(name);
  return {reinterpret_cast<const char*>(view.data()), view.size() * sizeof(char16_t)};
}

const NameMap& nameMap(std::int32_t rows) {
  return kept(rows, [=] {
    NameMap map;
    for (const unsigned short* const name : nameQuestions(rows).keys) {
      map.emplace(std::string(bytesOf(name)), static_cast<std::int32_t>(map.size()));
    }
    return map;
  });
}

auto findId(IdKind kind, std::int32_t rows) {
  return [&map = idMap(kind, rows)](std::int32_t id) { return rowIn(map, id); };
}

auto findName(std::int32_t rows) {
  return [&map = nameMap(rows)](const unsigned short* name) { return rowIn(map, bytesOf(name)); };
}

const bool kRegistered = registered([] {
  addIdLookups("absl", IdKind::Dense, findId);
  addIdLookups("absl", IdKind::Sparse, findId);
  addNameLookups("absl", findName);
});

}  // namespace
}  // namespace cpi::bench
