// The keys of the text extract: which an object takes, and in which order.
//
// Events are sent while the file is read, so the order of keys is part of the format: what an
// event needs must come before the values that it is made for.
#ifndef CPI_EXTRACT_EXTRACTGRAMMAR_H
#define CPI_EXTRACT_EXTRACTGRAMMAR_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace cpi {

enum class ExtractKey : std::uint8_t {
  None,
  // of the file
  Extract,
  Start,
  Stream,
  End,
  // of entries
  Section,
  Column,
  StartElement,
  EndElement,
  Data,
  Message,
  Kind,
  Row,
  Extra,
  Content,
  Values,
  // of typed values
  Text,
  Decimal,
  Double,
  DateTime,
  Interval,
  Nothing,
};

struct KeyRule {
  ExtractKey key;
  std::string_view name;
  bool isRequired = false;
};

using KeyRules = std::span<const KeyRule>;

// The keys of the whole file.
KeyRules fileKeys() noexcept;
// The keys of the entry, or of the typed value, that opens with `firstKey`; empty when none does.
KeyRules entryKeys(std::string_view firstKey) noexcept;
KeyRules typedValueKeys(std::string_view firstKey) noexcept;

// "a", "b" or "c": the keys that may come next, up to the first required one.
std::string listKeys(KeyRules rules);
// The same for the keys by which entries and typed values open.
std::string listEntryKeys();
std::string listTypedValueKeys();

}  // namespace cpi

#endif  // CPI_EXTRACT_EXTRACTGRAMMAR_H
