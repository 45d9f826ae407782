// Parse events in any order, with ids of the vocabulary and others, into a dictionary, which is
// asked everything whether or not it accepted them.
#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "fuzz/support/bytereader.h"
#include "fuzz/support/exercise.h"

namespace cpi::fuzz {
namespace {

// A fuzzer soon asks for as many rows as it may, which takes time and finds nothing.
constexpr LoadLimits kLimits{.rows = 500, .properties = 20, .bytes = 1 << 20};

std::int32_t randomSection(ByteReader& bytes) {
  const auto sections = allSections();
  const std::int32_t choice = bytes.below(16);
  if (choice < std::ssize(sections)) return sections[static_cast<std::size_t>(choice)].id;
  constexpr std::int32_t kOthers[] = {kNamedPropertySection, kOldHeaderStart, kOldHeaderEnd, -1};
  const std::size_t other = static_cast<std::size_t>(choice) - sections.size();
  return other < std::size(kOthers) ? kOthers[other] : bytes.integer();
}

std::int32_t randomColumn(ByteReader& bytes, const Section* section) {
  const auto columns =
      section == nullptr || bytes.below(8) == 7 ? namedPropertyColumns() : section->columns;
  const std::int32_t choice = bytes.below(20);
  if (choice < std::ssize(columns)) return columns[static_cast<std::size_t>(choice)].id;
  return choice == 19 ? bytes.integer() : kNumRowsColumn;
}

void sendValue(ByteReader& bytes, FIHandler& handler) {
  const std::u16string text = bytes.name();
  const std::u16string digits = u"-12345678901234567890.5e9";
  const auto length = static_cast<std::size_t>(bytes.below(25));
  const std::u16string& used = bytes.flag() ? text : digits;
  const KelStringBase units(std::u16string_view(used).substr(0, length));
  switch (bytes.below(10)) {
    case 0: handler.data(PWFData(), nullptr); break;
    case 1: handler.data(PWFData(units.getText(), -1, LTString, EOReference), nullptr); break;
    case 2: handler.data(PWFData(units.getText(), -1, LTDecimal, EOCopy), nullptr); break;
    case 3:
      handler.data(PWFData(u"2024-02-29T12:30:00.5+14:00", -1, LTString, EOReference), nullptr);
      break;
    case 4: handler.data(PWFData(u"-P1Y2M3DT4H5M6.7S", -1, LTString, EOReference), nullptr); break;
    case 5: handler.data(PWFData(static_cast<double>(bytes.integer()) / 7), nullptr); break;
    case 6: handler.data(PWFData(bytes.flag()), nullptr); break;
    case 7:
      handler.data(PWFData(std::int64_t{bytes.integer()} << 20, bytes.flag()), nullptr);
      break;
    case 8: handler.data(PWFData(u"S", -1, LTString, EOReference), nullptr); break;
    default: handler.data(PWFData(std::int64_t{bytes.byte()}, false), nullptr); break;
  }
}

void sendEvent(ByteReader& bytes, FIHandler& handler, const Section*& section) {
  switch (bytes.below(16)) {
    case 0: handler.endMessage(nullptr); break;
    case 1: handler.endElement(randomSection(bytes), nullptr); break;
    case 2: handler.endElement(randomColumn(bytes, section), nullptr); break;
    case 3: sendValue(bytes, handler); break;
    case 4: handler.startElement(randomColumn(bytes, section), bytes.byte(), nullptr, 0, 0); break;
    case 5: handler.startMessage(nullptr); break;
    case 6:
    case 7: {
      const std::int32_t id = randomSection(bytes);
      section = findSection(id);
      handler.startElement(id, EKStructure, nullptr, 0, 0);
      break;
    }
    default: {
      const std::int32_t column = randomColumn(bytes, section);
      const std::int32_t row = bytes.index(8);
      handler.startElement(column, EKField, nullptr, row, 0);
      sendValue(bytes, handler);
      handler.endElement(column, nullptr);
      constexpr std::int64_t kRun[] = {1, 0, std::int64_t{1} << 40};
      handler.items(column, EKField, row, kRun);
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteReader bytes(data, size);
  StdDictionaryInfo dictionary(0);
  dictionary.setLoadLimits(kLimits);
  const Section* section = nullptr;
  dictionary.startMessage(nullptr);
  int refusals = 3;  // a loader may go on behind a refusal
  while (!bytes.isAtEnd() && refusals > 0) {
    try {
      sendEvent(bytes, dictionary, section);
    } catch (const KelConfigurationException&) {
      --refusals;
    }
  }
  askEverything(dictionary);
  const StdDictionaryInfo copy(dictionary);
  dictionary.postProcessDictionary();
  askEverything(copy);
  if (dictionary.identification().rowCount() == 1) roundTrip(dictionary);
  return 0;
}

}  // namespace cpi::fuzz
