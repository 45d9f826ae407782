// What a FixWalk calls fields, and where it stands.
#include <algorithm>

#include "cpi/extract/modelconventions.h"
#include "cpi/runtime/kelstring.h"
#include "cpi/walk/fixwalk.h"

namespace cpi {
std::string FixWalk::nameOfTag(std::int32_t row) const {
  const SMD_TAG_DEFINITION* const tag = model_->dictionary().tags().find(row);
  return tag == nullptr ? std::string() : fixNameOf(textView(tag->TextIdentifier));
}

// The body of a message goes by the message's name.
std::string FixWalk::nameOfType(const SMD_TYPE_DEFINITION& type) {
  std::u16string_view text = textView(type.Identifier);
  if (text.ends_with(kFixBodyMark)) text.remove_suffix(kFixBodyMark.size());
  return fixNameOf(text);
}

// A field without definition is called by its number, and what is no field by what stands there.
std::string FixWalk::nameOf(const FixField& field) const {
  if (field.row != kNone) return nameOfTag(field.row);
  if (field.number != kNone) return std::to_string(field.number);
  return std::string(message_->value(field).substr(0, kMaxText));
}

std::int32_t FixWalk::depth() const noexcept {
  const std::size_t section = current_ < kSectionCount ? current_ : section_;
  const std::size_t groups = current_ < kSectionCount ? 0 : current_ + 1 - kSectionCount;
  return 1 + (levels_[section].tagId != 0 ? 1 : 0) + static_cast<std::int32_t>(groups);
}

std::vector<PathStep> FixWalk::path() const {
  std::vector<PathStep> steps;
  if (messageModel_ != nullptr) steps.push_back({messageModel_->name, {}, 1});
  const std::size_t section = current_ < kSectionCount ? current_ : section_;
  const auto add = [&](const Level& level) {
    if (level.tagId == 0 || !level.isOpen) return;
    const std::int32_t tag = model_->dictionary().typeMembers().row(level.member).toTagIndex;
    steps.push_back({nameOfTag(tag), {}, std::max(level.instances, 1)});
  };
  add(levels_[section]);
  for (std::size_t i = kSectionCount; i <= current_; ++i) add(levels_[i]);
  if (trailField_ != nullptr) {
    const bool isReported = trailField_ == reported_.field;
    steps.push_back({nameOf(*trailField_), {}, isReported ? reported_.occurrence : 1});
  }
  return steps;
}

// The body's fields are the only group without tag, which is no news to anybody.
std::vector<GroupStep> FixWalk::groups() const { return {}; }

}  // namespace cpi
