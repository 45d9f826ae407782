// ElementPlaces: where in a model a name is known. Asked only when something is wrong.
//
// Thread rule: `const` means safe to share.
#ifndef CPI_WALK_ELEMENTPLACES_H
#define CPI_WALK_ELEMENTPLACES_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "cpi/runtime/kelstring.h"
#include "cpi/walk/contentmodel.h"
#include "cpi/walk/verdict.h"

namespace cpi {

// The name by which a tag matches elements: what follows its first '^', or the whole text.
std::u16string_view elementNameOf(const SMD_TAG_DEFINITION& tag) noexcept;

// The steps of a path but the last, which is the element's own; with what each group holds.
std::vector<GroupStep> groupsOf(const ContentModel& model, std::span<const ContentStep> path);

class ElementPlaces {
 public:
  // `model` is not owned and must outlive this.
  explicit ElementPlaces(const ContentModel& model);

  // The Tags rows of this name in any namespace, in table order.
  std::span<const std::int32_t> tagsNamed(std::u16string_view name) const;
  // Whether the tag is that of a global element.
  bool isGlobal(std::int32_t tagIndex) const;
  // Appends the places of a tag as long as there are fewer than kMaxKnownPlaces; returns how many
  // it has.
  std::int64_t addPlaces(std::int32_t tagIndex, std::vector<KnownPlace>& places) const;
  // The Types rows that have an element of this name as a member; in order, each once.
  std::vector<std::int32_t> typesWith(std::u16string_view name,
                                      const KelStringBase& namespaceURI) const;

 private:
  std::span<const std::int32_t> membersWith(std::int32_t tagIndex) const;
  std::string nameOfType(std::int32_t typeIndex) const;
  std::int32_t ownerOf(std::int32_t memberRow) const;

  const ContentModel& model_;
  std::vector<std::int32_t> tagsByName_;    // Tags rows
  std::vector<std::int32_t> membersByTag_;  // Type Members rows
  std::vector<std::int32_t> groupsByType_;  // Type Members rows without tag
  std::vector<std::int32_t> tagsByType_;    // Tags rows
  std::vector<std::int32_t> typeOfMember_;  // by Type Members row: the Types row that has it
};

}  // namespace cpi

#endif  // CPI_WALK_ELEMENTPLACES_H
