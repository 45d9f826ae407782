#include "cpi/extract/extractnames.h"

#include <algorithm>

namespace cpi {

SectionNames SectionNames::of(std::int32_t id) noexcept {
  if (id == kNamedPropertySection) return {id, kNamedPropertyName, namedPropertyColumns()};
  const Section* const section = findSection(id);
  if (section == nullptr) return {.id = id};
  return {id, section->name, section->columns};
}

const Column* SectionNames::column(std::int32_t columnId) const noexcept {
  const auto found = std::ranges::find(columns, columnId, &Column::id);
  return found == columns.end() ? nullptr : &*found;
}

const Column* SectionNames::column(std::string_view columnName) const noexcept {
  const auto found = std::ranges::find(columns, columnName, &Column::name);
  return found == columns.end() ? nullptr : &*found;
}

std::int32_t sectionIdOf(std::string_view name) noexcept {
  if (name == kNamedPropertyName) return kNamedPropertySection;
  const Section* const section = findSection(name);
  return section == nullptr ? static_cast<std::int32_t>(kNoSection) : section->id;
}

}  // namespace cpi
