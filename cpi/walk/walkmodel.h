// WalkModel: what a message walk has to know about a dictionary beside what its iterator knows.
//
// A schema's compiler leaves two things in a dictionary for which the navigator has no row of its
// own: wildcards, as members without tag whose type carries a reserved logical type, and for each
// named type a hidden tag under which an element can take that type. Both are found here once, so
// that a walk only looks them up.
//
// Thread rule: `const` means safe to share. The dictionary is not owned and must outlive it.
#ifndef CPI_WALK_WALKMODEL_H
#define CPI_WALK_WALKMODEL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/schemaproperties.h"
#include "cpi/walk/contentmodel.h"

namespace cpi {

// How the content of an element that a wildcard admits is to be judged.
enum class ProcessContents : std::uint8_t {
  Strict,  // by its global declaration, which must exist
  Lax,     // by its global declaration, if there is one
  Skip,    // not at all
};

// One wildcard: which namespaces it admits.
struct Wildcard {
  std::int32_t logicalType = 0;  // the code that the simple-type moves look for
  ProcessContents processContents = ProcessContents::Strict;
  bool admitsAll = false;
  bool admitsOthers = false;               // any namespace but none and those listed
  std::vector<std::u16string> namespaces;  // listed; an empty text stands for no namespace

  bool admits(std::u16string_view namespaceURI) const noexcept;
};

class ElementPlaces;

class WalkModel {
 public:
  // Reads all rows of a loaded dictionary. Throws std::length_error when its groups are so
  // entangled, or so many of its types share their members, that reading them would not end in
  // reasonable time.
  explicit WalkModel(const StdDictionaryInfo& dictionary);
  ~WalkModel();
  WalkModel(const WalkModel&) = delete;
  WalkModel& operator=(const WalkModel&) = delete;

  const StdDictionaryInfo& dictionary() const noexcept { return *dictionary_; }
  const ContentModel& content() const noexcept { return content_; }
  // Where names are known; made when it is asked for the first time.
  const ElementPlaces& places() const;
  // The wildcards directly in the content of a type or in its anonymous groups, as numbers for
  // wildcard(). Empty when there are none or `typeIndex` is no row.
  std::span<const std::int32_t> wildcardsOf(std::int32_t typeIndex) const noexcept {
    if (listed_.empty() || !dictionary_->types().contains(typeIndex)) return {};
    const auto slot = static_cast<std::size_t>(typeIndex);
    return std::span(listed_).subspan(firstOfType_[slot],
                                      firstOfType_[slot + 1] - firstOfType_[slot]);
  }
  const Wildcard& wildcard(std::int32_t number) const noexcept {
    return wildcards_[static_cast<std::size_t>(number)];
  }
  // The wildcard that a type stands for; null: none.
  const Wildcard* wildcardOfType(std::int32_t typeIndex) const noexcept;
  // What a schema's compiler tells of tags and types beside their columns.
  const SchemaProperties& properties() const noexcept { return properties_; }
  // The id of the tag of a global element, or 0.
  std::int32_t globalTag(const unsigned short* name, const KelStringBase& namespaceURI) const;
  // The id of the hidden tag of a named type, or 0. `key` is the type's name, '^', its namespace.
  std::int32_t hiddenTag(std::u16string_view key) const noexcept {
    return key.empty() ? 0 : findHiddenTag(key);
  }
  // The Tags row of the hidden tag of the type in a row; kNone: it has none, or there is no such
  // row.
  std::int32_t hiddenTagOfType(std::int32_t typeIndex) const noexcept;

 private:
  // Of a type: views into the dictionary and numbers, for many types may share long texts.
  struct TypeName {
    std::u16string_view name;
    std::int32_t space;  // the first row of Namespaces with its URI; kNone: the URI is empty

    friend bool operator==(const TypeName&, const TypeName&) = default;
  };
  struct Hash {
    std::size_t operator()(const TypeName& type) const noexcept {
      return std::hash<std::u16string_view>()(type.name) + static_cast<std::size_t>(type.space);
    }
  };

  std::int32_t findHiddenTag(std::u16string_view key) const noexcept;
  void readNamespaces();
  void readWildcards();
  void readHiddenTags();
  void listWildcardsOfTypes();

  const StdDictionaryInfo* dictionary_;
  SchemaProperties properties_;
  ContentModel content_;
  mutable std::once_flag hasPlaces_;
  mutable std::unique_ptr<const ElementPlaces> places_;
  std::vector<Wildcard> wildcards_;
  std::vector<std::int32_t> wildcardOfType_;  // by type row: its wildcard's number, or -1
  std::vector<std::size_t> firstOfType_;      // by type row, and the end: into listed_
  std::vector<std::int32_t> listed_;
  std::unordered_map<std::u16string_view, std::int32_t> spaces_;  // the first row of each URI
  std::vector<std::int32_t> spaceOfRow_;                          // that of a Namespaces row
  std::unordered_map<TypeName, std::int32_t, Hash> hiddenTags_;
  std::vector<std::int32_t> hiddenTagOfType_;  // by type row: the tag's row, or kNone
};

}  // namespace cpi

#endif  // CPI_WALK_WALKMODEL_H
