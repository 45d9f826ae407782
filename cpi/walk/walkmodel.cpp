#include "cpi/walk/walkmodel.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "cpi/extract/modelconventions.h"
#include "cpi/walk/elementplaces.h"

namespace cpi {
namespace {

// Rows visited in all when the wildcards of every type are listed. Real models need a few rows
// per type; only groups that contain one another in great numbers come near.
constexpr std::int64_t kMaxVisits = 50'000'000;

std::optional<ProcessContents> processContentsOf(std::u16string_view word) {
  if (word == kStrict) return ProcessContents::Strict;
  if (word == kLax) return ProcessContents::Lax;
  if (word == kSkip) return ProcessContents::Skip;
  return std::nullopt;
}

// Reads "any^<processContents> <constraint>"; nothing when the text has another form.
std::optional<Wildcard> parseWildcard(std::int32_t logicalType, std::u16string_view text) {
  if (!text.starts_with(kWildcardPrefix)) return std::nullopt;
  text.remove_prefix(kWildcardPrefix.size());
  const std::optional<ProcessContents> contents = processContentsOf(takeWord(text));
  if (!contents) return std::nullopt;
  Wildcard wildcard{
      logicalType, *contents, text == kAnyNamespace, text.starts_with(kOtherNamespace), {}};
  if (wildcard.admitsAll) return wildcard;
  if (wildcard.admitsOthers) takeWord(text);
  while (!text.empty()) {
    const std::u16string_view word = takeWord(text);
    wildcard.namespaces.emplace_back(word == kNoNamespace ? std::u16string_view() : word);
  }
  return wildcard;
}

// Lists the wildcards that a type reaches through its anonymous groups. One visitor serves all
// types: a mark per row says for which type the row was seen last, so that groups which contain
// themselves are entered once.
class WildcardVisitor {
 public:
  WildcardVisitor(const StdDictionaryInfo& dictionary, const std::vector<std::int32_t>& numbers)
      : dictionary_(dictionary), numbers_(numbers), seenFor_(numbers.size(), kNone) {}

  void list(std::int32_t typeIndex, std::vector<std::int32_t>& out) {
    const auto first = static_cast<std::ptrdiff_t>(out.size());
    pending_.assign(1, typeIndex);
    while (!pending_.empty()) {
      const std::int32_t next = pending_.back();
      pending_.pop_back();
      visitMembers(next, typeIndex, out);
    }
    std::sort(out.begin() + first, out.end());
    out.erase(std::unique(out.begin() + first, out.end()), out.end());
  }

 private:
  void visitMembers(std::int32_t typeIndex, std::int32_t mark, std::vector<std::int32_t>& out) {
    const SMD_TYPE_DEFINITION& type = dictionary_.types().row(typeIndex);
    const auto& members = dictionary_.typeMembers();
    const SMD_STRUCTURE_ELEMENT_DEFINITION* const first = members.find(type.ToTypeMbrIndex);
    std::int32_t row = type.ToTypeMbrIndex;
    for (auto member = first; member != nullptr && member->ParentTypeId == first->ParentTypeId;
         member = members.find(++row)) {
      if (++visits_ > kMaxVisits) {
        throw std::length_error("the anonymous groups of the dictionary are too entangled");
      }
      if (member->toTagIndex == kNone) visitUntagged(member->toTypeIndex, mark, out);
    }
  }

  void visitUntagged(std::int32_t typeIndex, std::int32_t mark, std::vector<std::int32_t>& out) {
    const SMD_TYPE_DEFINITION* const type = dictionary_.types().find(typeIndex);
    if (type == nullptr) return;
    const auto slot = static_cast<std::size_t>(typeIndex);
    if (numbers_[slot] != kNone) {
      out.push_back(numbers_[slot]);
    } else if (type->LogicalType < 1 && seenFor_[slot] != mark) {
      seenFor_[slot] = mark;
      pending_.push_back(typeIndex);
    }
  }

  const StdDictionaryInfo& dictionary_;
  const std::vector<std::int32_t>& numbers_;  // by type row: its wildcard's number
  std::vector<std::int32_t> seenFor_;
  std::vector<std::int32_t> pending_;
  std::int64_t visits_ = 0;
};

}  // namespace

bool Wildcard::admits(std::u16string_view namespaceURI) const noexcept {
  if (admitsAll) return true;
  if (admitsOthers && namespaceURI.empty()) return false;
  const bool listed =
      std::find(namespaces.begin(), namespaces.end(), namespaceURI) != namespaces.end();
  return listed != admitsOthers;
}

WalkModel::WalkModel(const StdDictionaryInfo& dictionary)
    : dictionary_(&dictionary), properties_(dictionary), content_(dictionary) {
  readWildcards();
  readHiddenTags();
  listWildcardsOfTypes();
}

WalkModel::~WalkModel() = default;

const ElementPlaces& WalkModel::places() const {
  std::call_once(hasPlaces_, [this] { places_ = std::make_unique<ElementPlaces>(content_); });
  return *places_;
}

const Wildcard* WalkModel::wildcardOfType(std::int32_t typeIndex) const noexcept {
  if (!dictionary_->types().contains(typeIndex)) return nullptr;
  const std::int32_t number = wildcardOfType_[static_cast<std::size_t>(typeIndex)];
  return number == kNone ? nullptr : &wildcards_[static_cast<std::size_t>(number)];
}

void WalkModel::readWildcards() {
  const auto& types = dictionary_->types();
  wildcardOfType_.assign(static_cast<std::size_t>(types.rowCount()), kNone);
  for (std::int32_t row = 0; row < types.rowCount(); ++row) {
    const SMD_TYPE_DEFINITION& type = types.row(row);
    if (type.LogicalType < kFirstWildcardLogicalType) continue;
    std::optional<Wildcard> wildcard = parseWildcard(type.LogicalType, textView(type.Identifier));
    if (!wildcard) continue;
    wildcardOfType_[static_cast<std::size_t>(row)] = static_cast<std::int32_t>(wildcards_.size());
    wildcards_.push_back(*std::move(wildcard));
  }
}

void WalkModel::readHiddenTags() {
  const auto& tags = dictionary_->tags();
  hiddenTagOfType_.assign(static_cast<std::size_t>(dictionary_->types().rowCount()), kNone);
  for (std::int32_t row = 0; row < tags.rowCount(); ++row) {
    const SMD_TAG_DEFINITION& tag = tags.row(row);
    const std::u16string_view text = textView(tag.TextIdentifier);
    if (tag.Id <= 0 || text.empty() || text.back() != kNameMark) continue;
    const SMD_TYPE_DEFINITION* const type = dictionary_->types().find(tag.ToTypeIndexField);
    if (type == nullptr) continue;
    hiddenTagOfType_[static_cast<std::size_t>(tag.ToTypeIndexField)] = row;
    std::u16string key(textView(type->Identifier));
    key += kNameMark;
    key += dictionary_->namespaceText(type->NamespaceIndex);
    hiddenTags_.try_emplace(std::move(key), tag.Id);
  }
}

std::int32_t WalkModel::hiddenTagOfType(std::int32_t typeIndex) const noexcept {
  if (!dictionary_->types().contains(typeIndex)) return kNone;
  return hiddenTagOfType_[static_cast<std::size_t>(typeIndex)];
}

void WalkModel::listWildcardsOfTypes() {
  const std::int32_t count = dictionary_->types().rowCount();
  firstOfType_.assign(static_cast<std::size_t>(count) + 1, 0);
  if (wildcards_.empty()) return;
  WildcardVisitor visitor(*dictionary_, wildcardOfType_);
  for (std::int32_t row = 0; row < count; ++row) {
    firstOfType_[static_cast<std::size_t>(row)] = listed_.size();
    if (dictionary_->types().row(row).LogicalType < 1) visitor.list(row, listed_);
  }
  firstOfType_.back() = listed_.size();
}

std::int32_t WalkModel::globalTag(const unsigned short* name,
                                  const KelStringBase& namespaceURI) const {
  std::int32_t tagId = 0;
  const bool found = dictionary_->getTagIdForTagText(name, namespaceURI, tagId, false) == kSuccess;
  return found && tagId > 0 ? tagId : 0;
}

std::int32_t WalkModel::findHiddenTag(std::u16string_view key) const noexcept {
  const auto found = hiddenTags_.find(key);
  return found == hiddenTags_.end() ? 0 : found->second;
}

}  // namespace cpi
