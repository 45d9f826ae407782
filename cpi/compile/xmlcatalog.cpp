#include "cpi/compile/xmlcatalog.h"

#include <algorithm>
#include <filesystem>
#include <vector>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "cpi/compile/saxreader.h"
#include "cpi/compile/sourcefile.h"
#include "cpi/compile/xmltext.h"

namespace cpi {

namespace {

constexpr std::u16string_view kCatalogNamespace = u"urn:oasis:names:tc:entity:xmlns:xml:catalog";
constexpr char16_t kXmlNamespace[] = u"http://www.w3.org/XML/1998/namespace";

struct EntryRow {
  std::u16string_view element;
  const char16_t* key;
  const char16_t* target;
  bool isPrefix;
};
constexpr EntryRow kEntryRows[] = {
    {u"system", u"systemId", u"uri", false},
    {u"public", u"publicId", u"uri", false},
    {u"uri", u"name", u"uri", false},
    {u"rewriteSystem", u"systemIdStartString", u"rewritePrefix", true},
    {u"rewriteURI", u"uriStartString", u"rewritePrefix", true},
};

bool isSchemeUnit(char unit) {
  const char lower = static_cast<char>(unit | 0x20);
  return (lower >= 'a' && lower <= 'z') || (unit >= '0' && unit <= '9') || unit == '+' ||
         unit == '-' || unit == '.';
}

// A single letter before the colon is no scheme.
std::string schemeOf(const std::string& location) {
  const std::size_t colon = location.find(':');
  if (colon == std::string::npos || colon < 2) return {};
  const std::string scheme = location.substr(0, colon);
  return std::ranges::all_of(scheme, isSchemeUnit) ? scheme : std::string();
}

int hexDigit(char unit) {
  if (unit >= '0' && unit <= '9') return unit - '0';
  const char lower = static_cast<char>(unit | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string unescaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
                          hexDigit(text[i + 2]) >= 0;
    if (!isEscape) {
      result += text[i];
      continue;
    }
    result += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
    i += 2;
  }
  return result;
}

}  // namespace

std::optional<std::string> localPath(const std::string& location, const std::string& base) {
  std::string text = location.substr(0, location.find('#'));
  const std::string scheme = schemeOf(text);
  if (!scheme.empty() && scheme != "file") return std::nullopt;
  if (!scheme.empty()) {
    text.erase(0, 5);
    if (text.starts_with("//localhost/")) text.erase(0, 11);
    if (text.starts_with("///")) text.erase(0, 2);
    if (text.starts_with("//")) return std::nullopt;  // a file of another machine
  }
  const std::filesystem::path path = unescaped(text);
  return (std::filesystem::path(base).parent_path() / path).lexically_normal().string();
}

class CatalogHandler : public SaxHandler {
 public:
  CatalogHandler(XmlCatalog& catalog, const std::string& path) : catalog_(catalog), file_(path) {
    bases_.push_back(path);
  }

  void startElement(const XMLCh* uri, const XMLCh* name, const XMLCh*,
                    const xercesc::Attributes& attributes) override {
    bases_.push_back(bases_.back());
    const XMLCh* const base = attributes.getValue(kXmlNamespace, u"base");
    if (base != nullptr) {
      bases_.back() = localPath(toUtf8(viewOf(base)), bases_.back()).value_or(bases_.back());
    }
    const bool isCatalog = viewOf(uri) == kCatalogNamespace;
    if (bases_.size() == 2 && !(isCatalog && viewOf(name) == u"catalog")) {
      refuseFile(file_, {}, "the document is no XML catalog");
    }
    if (isCatalog) addEntry(viewOf(name), attributes);
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override { bases_.pop_back(); }

 private:
  void addEntry(std::u16string_view element, const xercesc::Attributes& attributes) {
    const auto row = std::ranges::find(kEntryRows, element, &EntryRow::element);
    if (row == std::end(kEntryRows)) return;
    const XMLCh* const key = attributes.getValue(xercesc::XMLUni::fgZeroLenString, row->key);
    const XMLCh* const target = attributes.getValue(xercesc::XMLUni::fgZeroLenString, row->target);
    if (key == nullptr || target == nullptr) return;
    const auto path = localPath(toUtf8(viewOf(target)), bases_.back());
    if (!path) return;
    auto& entries = row->isPrefix ? catalog_.prefixes_ : catalog_.entries_;
    entries.emplace(toUtf8(viewOf(key)), *path);
  }

  XmlCatalog& catalog_;
  std::string file_;
  std::vector<std::string> bases_;  // of the open elements
};

XmlCatalog::XmlCatalog(const std::string& path) {
  CatalogHandler handler(*this, path);
  readXmlFile(path, handler);
}

std::optional<std::string> XmlCatalog::resolve(const std::string& identifier) const {
  if (const auto entry = entries_.find(identifier); entry != entries_.end()) return entry->second;
  // The longest prefix is the last of those that fit: a longer one sorts behind a shorter.
  for (auto prefix = prefixes_.rbegin(); prefix != prefixes_.rend(); ++prefix) {
    if (identifier.starts_with(prefix->first)) {
      return prefix->second + identifier.substr(prefix->first.size());
    }
  }
  return std::nullopt;
}

}  // namespace cpi
