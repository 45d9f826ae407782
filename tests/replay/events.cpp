#include <bit>
#include <cstdlib>

#include "cpi/dictinfo/dictionaryinfo.h"
#include "feed.h"
#include "load.h"

namespace cpi::replay {
namespace {

const unsigned short* namedConstant(const std::string& name) {
  if (name == "CPI_VLS_TABMBR") return CPI_VLS_TABMBR;
  if (name == "CPI_StringMember") return CPI_StringMember;
  throw InputError("expected the name of a constant, found " + name);
}

PWFData numberData(const std::string& type, const Json& value) {
  if (type == "int32") return PWFData(std::int64_t{value.get<std::int32_t>()}, false);
  const char* const digits = value.get_ref<const std::string&>().c_str();
  if (type == "int64") return PWFData(std::int64_t{std::strtoll(digits, nullptr, 10)}, false);
  if (type != "double") throw InputError("expected a data type, found " + type);
  return PWFData(std::bit_cast<double>(std::uint64_t{std::strtoull(digits, nullptr, 16)}));
}

void performData(FIHandler& handler, const Arguments& event) {
  const std::string type = event.at(1).get<std::string>();
  if (type == "text") {
    const Text text(event.at(2));
    handler.data(textData(text), nullptr);
  } else if (type == "const") {
    const auto* const text = namedConstant(event.at(2).get<std::string>());
    handler.data(PWFData(text, -1, LTString, EOReference), nullptr);
  } else {
    handler.data(numberData(type, event.at(2)), nullptr);
  }
}

// None of these means anything to a dictionary, so whichever is meant, all may be sent.
void performIdleEvents(FIHandler& handler) {
  const KelStringBase space(u"urn:replay");
  const unsigned short* const name = space.getText();
  std::int32_t id = 2;  // of a section, so that a mix-up would show
  handler.startMessageContent(name, space, EKStructure, nullptr);
  handler.startMessageContent(name, EKStructure, nullptr);
  handler.startMessageContent(id, EKStructure, nullptr, 0);
  handler.startElement(name, space, EKField, nullptr, 0);
  handler.startElement(name, EKField, nullptr, 0);
  handler.endElement(name, space, nullptr);
  handler.endElement(name, nullptr);
  handler.endMessageContent(name, space, nullptr);
  handler.endMessageContent(name, nullptr);
  handler.endMessageContent(id, nullptr);
  handler.projectDependencies({space});
  handler.projectId(name);
}

}  // namespace

void performEvent(FIHandler& handler, const Json& event) {
  const Arguments a(event);
  const std::string kind = a.at(0).get<std::string>();
  if (kind == "startElement") {
    const auto elementKind = a.at(2).get<unsigned short>();
    handler.startElement(a.number(1), elementKind, nullptr, a.number(3), a.number(4));
  } else if (kind == "endElement") {
    handler.endElement(a.number(1), nullptr);
  } else if (kind == "data") {
    performData(handler, a);
  } else if (kind == "startMessage") {
    handler.startMessage(nullptr);
  } else if (kind == "endMessage") {
    handler.endMessage(nullptr);
  } else if (kind == "noop") {
    performIdleEvents(handler);
  } else {
    throw InputError("expected an event, found " + kind);
  }
}

}  // namespace cpi::replay
