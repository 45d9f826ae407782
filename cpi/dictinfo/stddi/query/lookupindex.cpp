#include "cpi/dictinfo/stddi/query/lookupindex.h"

#include <map>
#include <optional>
#include <utility>

#include "cpi/dictinfo/stddi/query/indexbytes.h"

namespace cpi {

namespace {

using NameOf = std::u16string_view (*)(std::u16string_view) noexcept;

// The name of a row of Tags or Types; nothing for a row without text.
template <class Record>
auto namesOf(const TableReference<Record>& table, NameOf nameOf) {
  return [&table, nameOf](std::int32_t row) -> std::optional<std::u16string_view> {
    const unsigned short* const text = table.text(row);
    if (text == nullptr) return std::nullopt;
    return nameOf(textView(text));
  };
}

template <class Record>
auto idsOf(const TableReference<Record>& table, std::int32_t Record::*id) {
  return [records = table.records(), id](std::int32_t row) { return records[row].*id; };
}

// The number of a row's namespace, equal for equal ones; an index that leads nowhere is in none.
template <class Record, std::int32_t Record::*Member>
auto spacesOf(const TableReference<Record>& table, const std::vector<std::int32_t>& numbers) {
  constexpr std::int32_t kNowhere = -2;
  return [&table, &numbers](std::int32_t row) {
    const std::int32_t index = table.records()[row].*Member;
    if (index == kNone) return kNone;
    return static_cast<std::uint32_t>(index) < numbers.size()
               ? numbers[static_cast<std::size_t>(index)]
               : kNowhere;
  };
}

}  // namespace

LookupIndex::SpaceNumbers LookupIndex::numberSpaces(const TableReference<NamespaceRow>& table) {
  SpaceNumbers numbers;
  numbers.reserve(static_cast<std::size_t>(table.rowCount()));
  std::map<std::u16string_view, std::int32_t> firstRows{{std::u16string_view(), kNone}};
  for (std::int32_t row = 0; row < table.rowCount(); ++row) {
    numbers.push_back(firstRows.emplace(textView(table.text(row)), row).first->second);
  }
  return numbers;
}

LookupIndex::LookupIndex(const StdDictionaryInfo& dictionary)
    : LookupIndex(dictionary, numberSpaces(dictionary.namespaces())) {}

LookupIndex::LookupIndex(const StdDictionaryInfo& dictionary, const SpaceNumbers& numbers)
    : tagIds_(dictionary.tags().rowCount(), idsOf(dictionary.tags(), &SMD_TAG_DEFINITION::Id)),
      typeIds_(dictionary.types().rowCount(),
               idsOf(dictionary.types(), &SMD_TYPE_DEFINITION::TypeId)),
      memberIds_(dictionary.memberIdIndex().rowCount(),
                 idsOf(dictionary.memberIdIndex(), &MemberIdRow::MbrIDToTypeMbrIndexId)),
      definitions_(dictionary.typeMembers(), dictionary.types(), dictionary.pathBasedInfo()),
      spaces_(dictionary.namespaces()),
      elements_(dictionary.tags(), spaces_,
                spacesOf<SMD_TAG_DEFINITION, &SMD_TAG_DEFINITION::namespaceIndex>(dictionary.tags(),
                                                                                  numbers)),
      types_(dictionary.types().strings(), NameIndex::Ending::Spaces, dictionary.types().rowCount(),
             namesOf(dictionary.types(), trimmedTypeName),
             spacesOf<SMD_TYPE_DEFINITION, &SMD_TYPE_DEFINITION::NamespaceIndex>(dictionary.types(),
                                                                                 numbers)) {
  if (!elements_.arePlain()) {
    tags_ = NameIndex(dictionary.tags().strings(), NameIndex::Ending::Spaces,
                      dictionary.tags().rowCount(), namesOf(dictionary.tags(), trimmedName),
                      spacesOf<SMD_TAG_DEFINITION, &SMD_TAG_DEFINITION::namespaceIndex>(
                          dictionary.tags(), numbers));
  }
  if (elements_.isComplete()) members_.emplace(dictionary, elements_);
}

LookupIndex::LookupIndex(const StdDictionaryInfo& dictionary, std::span<const unsigned char> bytes)
    : definitions_(dictionary.typeMembers(), dictionary.pathBasedInfo(),
                   DefinitionIndex::WithoutArrays()),
      spaces_(dictionary.namespaces()),
      elements_(dictionary.tags(), spaces_),
      tags_(dictionary.tags().strings(), NameIndex::Ending::Spaces, dictionary.tags().rowCount()),
      types_(dictionary.types().strings(), NameIndex::Ending::Spaces,
             dictionary.types().rowCount()),
      members_(std::in_place, dictionary, elements_, MemberIndex::WithoutArrays()) {
  IndexReader reader(bytes);
  visitArrays(*this, reader);
  const std::int32_t tagCount = dictionary.tags().rowCount();
  const std::int32_t typeCount = dictionary.types().rowCount();
  isSound_ = reader.isDone() && tagIds_.adopt(tagCount) && typeIds_.adopt(typeCount) &&
             memberIds_.adopt(dictionary.memberIdIndex().rowCount()) &&
             definitions_.adopt(dictionary.types()) &&
             (!tags_.isBuilt() || tags_.isSound(tagCount)) && types_.isSound(typeCount) &&
             elements_.isSound() && members_->isSound();
}

std::vector<unsigned char> LookupIndex::keptBytes() const {
  if (tags() == nullptr || types() == nullptr || elements() == nullptr) return {};
  IndexWriter writer;
  visitArrays(*this, writer);
  return std::move(writer).bytes();
}

}  // namespace cpi
