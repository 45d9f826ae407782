// The names of messages in the form that the dictionary's iterator takes.
//
// The parser interns names: equal names have one address until it forgets them. So each pair of
// local name and namespace is converted to UTF-16 once, and found by its two addresses from then
// on.
#ifndef CPI_WALK_XMLNAMES_H
#define CPI_WALK_XMLNAMES_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cpi/runtime/kelstring.h"

namespace cpi {

// The converted name of an element; an empty namespace stands for none.
struct XmlName {
  static constexpr std::int32_t kUnresolved = -2;

  KelStringBase local;
  KelStringBase namespaceURI;
  const unsigned short* text;      // that of `local`
  std::int32_t number;             // from 0, in order of first use
  std::int32_t key = kUnresolved;  // as ModelWalk has it, once it was asked for
};

class XmlNames {
 public:
  XmlNames() : slots_(kFirstSlots) {}

  // The converted name, valid until clear(). `local` and `uri` (null: none) are interned.
  XmlName& find(const char* local, const char* uri) {
    const Slot& slot = slotOf(local, uri);
    return slot.local != nullptr ? *slot.name : add(local, uri);
  }
  void clear() noexcept;
  std::size_t size() const noexcept { return names_.size(); }

 private:
  static constexpr std::size_t kFirstSlots = 256;  // a power of two, as all sizes
  struct Slot {
    const char* local = nullptr;  // null: free
    const char* uri = nullptr;
    XmlName* name = nullptr;
  };

  // Both addresses count: one local name may stand in several namespaces.
  static std::size_t hashOf(const char* local, const char* uri) noexcept {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
    const std::uint64_t first = reinterpret_cast<std::uintptr_t>(local);
    const std::uint64_t second = reinterpret_cast<std::uintptr_t>(uri);
    return static_cast<std::size_t>((first + std::rotl(second, 20)) * kFactor >> 32);
  }
  Slot& slotOf(const char* local, const char* uri) noexcept {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hashOf(local, uri) & mask;
    while (slots_[at].local != nullptr && (slots_[at].local != local || slots_[at].uri != uri)) {
      at = (at + 1) & mask;
    }
    return slots_[at];
  }
  XmlName& add(const char* local, const char* uri);
  void grow();

  std::vector<Slot> slots_;
  std::deque<XmlName> names_;
};

// The namespace declarations in scope, for prefixes inside attribute values.
class XmlNamespaces {
 public:
  // `declarations` holds `count` pairs of prefix (null: default) and URI, which stay valid until
  // the element is left.
  void enter(const unsigned char** declarations, int count) {
    ++depth_;
    if (count > 0) add(declarations, count);
  }
  void leave() noexcept {
    while (!bindings_.empty() && bindings_.back().depth == depth_) bindings_.pop_back();
    --depth_;
  }
  void clear() noexcept;
  // The URI of a prefix, empty when it has none.
  std::string_view find(std::string_view prefix) const noexcept;

 private:
  struct Binding {
    std::string_view prefix;
    std::string_view uri;
    std::int32_t depth;  // of the element that declares it
  };

  void add(const unsigned char** declarations, int count);

  std::vector<Binding> bindings_;
  std::int32_t depth_ = 0;  // of the innermost open element
};

// Turns the qualified names in xsi:type attributes into keys of WalkModel::hiddenTag; each
// distinct one is converted once.
class XmlTypeKeys {
 public:
  // Valid until the next call.
  std::u16string_view find(std::string_view qualifiedName, const XmlNamespaces& scope);

 private:
  static constexpr std::size_t kMaxKept = 4096;  // a hostile message names more; start over then
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };

  std::unordered_map<std::string, std::u16string, Hash, std::equal_to<>> keys_;
  std::string buffer_;
};

}  // namespace cpi

#endif  // CPI_WALK_XMLNAMES_H
