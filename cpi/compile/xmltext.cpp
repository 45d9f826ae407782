#include "cpi/compile/xmltext.h"

#include <xercesc/util/PlatformUtils.hpp>

namespace cpi {

namespace {

struct XmlParserRuntime {
  XmlParserRuntime() { xercesc::XMLPlatformUtils::Initialize(); }
  ~XmlParserRuntime() { xercesc::XMLPlatformUtils::Terminate(); }
  XmlParserRuntime(const XmlParserRuntime&) = delete;
  XmlParserRuntime& operator=(const XmlParserRuntime&) = delete;
};

}  // namespace

std::u16string_view trimmed(std::u16string_view text) noexcept {
  constexpr std::u16string_view kSpace = u" \t\r\n";
  const std::size_t begin = text.find_first_not_of(kSpace);
  if (begin == std::u16string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

void startXmlParser() { static const XmlParserRuntime runtime; }

}  // namespace cpi
