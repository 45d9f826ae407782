#include "cpi/walk/xmleventparser.h"

#include "cpi/walk/xmlparsercontext.h"

namespace cpi {

XmlEvents::~XmlEvents() = default;
void XmlEvents::text(std::string_view) {}

XmlEventParser::XmlEventParser(XmlEvents& events, bool hasText)
    : context_(std::make_unique<Context>(events, hasText)) {}
XmlEventParser::~XmlEventParser() = default;

void XmlEventParser::parse(const std::string& name, const Read& read) {
  context_->parse(name, read);
}
WalkPosition XmlEventParser::position() const noexcept { return context_->position(); }
WalkPosition XmlEventParser::textPosition(std::string_view part) const noexcept {
  return context_->textPosition(part);
}
std::int64_t XmlEventParser::notFetched() const noexcept { return context_->notFetched(); }

}  // namespace cpi
