#include "cpi/walk/xmlnames.h"

#include <algorithm>
#include <utility>

namespace cpi {
namespace {

std::string_view viewOf(const unsigned char* text) noexcept {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

std::string_view trimmed(std::string_view text) noexcept {
  constexpr std::string_view kSpace = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

}  // namespace

XmlName& XmlNames::add(const char* local, const char* uri) {
  if (names_.size() * 2 >= slots_.size()) grow();
  KelStringBase text = KelStringBase::fromUtf8(local);
  const unsigned short* const units = text.getText();
  XmlName& name = names_.emplace_back(XmlName{std::move(text),
                                              KelStringBase::fromUtf8(uri == nullptr ? "" : uri),
                                              units, static_cast<std::int32_t>(names_.size())});
  slotOf(local, uri) = {local, uri, &name};
  return name;
}

void XmlNames::clear() noexcept {
  std::fill(slots_.begin(), slots_.end(), Slot{});
  names_.clear();
}

void XmlNames::grow() {
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.local != nullptr) slotOf(slot.local, slot.uri) = slot;
  }
}

void XmlNamespaces::add(const unsigned char** declarations, int count) {
  for (int pair = 0; pair < count; ++pair) {
    bindings_.push_back(
        {viewOf(declarations[2 * pair]), viewOf(declarations[2 * pair + 1]), depth_});
  }
}

void XmlNamespaces::clear() noexcept {
  bindings_.clear();
  depth_ = 0;
}

std::string_view XmlNamespaces::find(std::string_view prefix) const noexcept {
  const auto found = std::find_if(bindings_.rbegin(), bindings_.rend(),
                                  [prefix](const Binding& b) { return b.prefix == prefix; });
  return found == bindings_.rend() ? std::string_view() : found->uri;
}

std::u16string_view XmlTypeKeys::find(std::string_view qualifiedName, const XmlNamespaces& scope) {
  const std::string_view name = trimmed(qualifiedName);
  const std::size_t colon = name.find(':');
  const bool hasPrefix = colon != std::string_view::npos;
  buffer_.assign(hasPrefix ? name.substr(colon + 1) : name);
  buffer_ += '^';
  buffer_ += scope.find(hasPrefix ? name.substr(0, colon) : std::string_view());
  if (const auto found = keys_.find(buffer_); found != keys_.end()) return found->second;
  if (keys_.size() >= kMaxKept) keys_.clear();
  return keys_.emplace(buffer_, toUtf16(buffer_)).first->second;
}

}  // namespace cpi
