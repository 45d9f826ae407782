#include "cpi/walk/xmlcheck.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "cpi/extract/modelconventions.h"
#include "cpi/walk/valueform.h"

namespace cpi {
namespace {

// A longer value is kept without superfluous white space, and judged by its beginning when that is
// longer than half of this.
constexpr std::size_t kMaxValue = std::size_t{1} << 20;
// A finding shows so much of a text, in bytes.
constexpr std::size_t kMaxShown = 80;
// Start over when the answers for more pairs of element and type are kept.
constexpr std::size_t kMaxKeptTypes = 65536;

constexpr std::string_view kInstance = "http://www.w3.org/2001/XMLSchema-instance";
constexpr std::string_view kKnownToAll[] = {"type", "schemaLocation", "noNamespaceSchemaLocation"};
constexpr std::string_view kSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

// Cut off between characters.
std::string shown(std::string_view text) {
  if (text.size() <= kMaxShown) return std::string(text);
  std::size_t end = kMaxShown;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return std::string(text.substr(0, end)) + "...";
}

// Calls `visit` with each attribute of a tag until it returns false.
template <class Visit>
void forEachAttribute(const XmlStartTag& tag, Visit visit) {
  const unsigned char** parts = tag.attributes;  // see XmlStartTag
  for (int i = 0; i < tag.attributeCount; ++i, parts += 5) {
    const auto textOf = [&](int part) { return reinterpret_cast<const char*>(parts[part]); };
    const XmlAttribute attribute = {textOf(0),
                                    parts[2] == nullptr ? std::string_view() : textOf(2),
                                    {textOf(3), static_cast<std::size_t>(parts[4] - parts[3])}};
    if (!visit(attribute)) return;
  }
}

}  // namespace

FindingSink::~FindingSink() = default;

void XmlCheck::start(const XmlStartTag& tag, std::u16string_view typeKey) {
  text_.clear();
  kept_ = Kept::All;
  XmlFrame& frame = trail_.top();
  const Verdict& verdict = frame.verdict;
  if (verdict.reason == Reason::InNil) trail_.parent()->isNil = false;  // that was told just now
  if (verdict.typeIndex == kNone) return;
  if (!isOfRightType(frame, tag, typeKey)) {
    walk_.setUnjudged();
    return;
  }
  if (tag.attributeCount > 0) checkInstance(frame, tag);
  if (attributes_.isNeeded()) checkAttributes(frame, tag);
  const SMD_TAG_DEFINITION* const content = contentTag(frame);
  const SMD_TYPE_DEFINITION* const type = dictionary_.types().find(verdict.typeIndex);
  if (content == nullptr || type == nullptr || frame.isNil || frame.isWronglyNil) return;
  frame.hasNoText = type->LogicalType < 1 && content->MaxLength == kNoText;
  frame.hasValue = values_.isNeeded(verdict.contentTagIndex);
}

void XmlCheck::text(std::string_view piece, const XmlEventParser& parser) {
  if (trail_.isEmpty()) return;
  XmlFrame& frame = trail_.top();
  if (frame.hasNoText || frame.isNil) checkText(frame, piece, parser);
  if (frame.hasValue && kept_ != Kept::Nothing) keep(piece);
}

void XmlCheck::keep(std::string_view piece) {
  if (kept_ == Kept::Beginning) return;
  text_ += piece;
  if (text_.size() <= kMaxValue) return;
  collapse(text_, collapsed_);
  const bool endsWithSpace = isSpace(text_.back());
  text_.swap(collapsed_);
  if (endsWithSpace) text_ += ' ';  // more may come
  kept_ = text_.size() > kMaxValue / 2 ? Kept::Beginning : Kept::Collapsed;
}

void XmlCheck::end() {
  const XmlFrame& frame = trail_.top();
  if (frame.hasValue && kept_ != Kept::Nothing) checkValue(frame);
  if (frame.hasWrongText && !walk_.hasChild()) walk_.setUnjudged();  // it is there instead
  text_.clear();
  kept_ = Kept::Nothing;  // what follows is text of the enclosing element, behind a child
}

const SMD_TAG_DEFINITION* XmlCheck::contentTag(const XmlFrame& frame) const {
  return dictionary_.tags().find(frame.verdict.contentTagIndex);
}

// What is wrong with the type is told, and then the type says nothing of what the element has.
bool XmlCheck::isOfRightType(const XmlFrame& frame, const XmlStartTag& tag,
                             std::u16string_view typeKey) {
  const Verdict& verdict = frame.verdict;
  Reason reason = Reason::None;
  if (!typeKey.empty()) {
    const bool isKnown = model_.hiddenTag(typeKey) != 0;
    reason = isKnown ? judgeType(verdict.tagIndex, verdict.typeIndex)
                     : judgeUnknownType(verdict.tagIndex, typeKey);
  }
  const SchemaProperties& properties = model_.properties();
  const bool isAbstract = properties.controlOfTag(verdict.tagIndex).isAbstract ||
                          properties.controlOfType(verdict.typeIndex).isAbstract;
  if (reason == Reason::None && isAbstract && verdict.isGood()) reason = Reason::AbstractType;
  if (reason == Reason::None) return true;
  Finding finding = findingOf(frame, VerdictKind::Type, reason);
  if (reason != Reason::AbstractType) finding.value = shown(trimmed(tag.type));
  sink_.add(std::move(finding), nullptr);
  return false;
}

// Kept for each pair, since the way from a type to another may be long.
Reason XmlCheck::judgeType(std::int32_t tagIndex, std::int32_t typeIndex) {
  const SchemaProperties& properties = model_.properties();
  const SMD_TAG_DEFINITION* const declared = dictionary_.tags().find(tagIndex);
  if (declared == nullptr || !properties.hasDerivations()) return Reason::None;
  if (types_.size() >= kMaxKeptTypes) types_.clear();
  const auto key =
      static_cast<std::uint64_t>(tagIndex) << 32 | static_cast<std::uint32_t>(typeIndex);
  const auto [known, isNew] = types_.try_emplace(key, Reason::None);
  if (isNew && !properties.mayTake(tagIndex, typeIndex)) {
    const bool isDerived = properties.derivation(typeIndex, declared->ToTypeIndexField).has_value();
    known->second = isDerived ? Reason::BlockedType : Reason::NotDerived;
  }
  return known->second;
}

// Built-in types that the model does not use are not in the dictionary. All that is known of them
// is that they are simple: none is derived from a complex type but the root of all.
Reason XmlCheck::judgeUnknownType(std::int32_t tagIndex, std::u16string_view typeKey) const {
  if (typeKey.substr(typeKey.find(kNameMark) + 1) != kSchemaNamespace) return Reason::UnknownType;
  const SMD_TAG_DEFINITION* const tag = dictionary_.tags().find(tagIndex);
  const SMD_TYPE_DEFINITION* const declared =
      tag == nullptr ? nullptr : dictionary_.types().find(tag->ToTypeIndexField);
  const bool mayBe = declared == nullptr || declared->LogicalType > 0 ||
                     dictionary_.namespaceText(declared->NamespaceIndex) == kSchemaNamespace;
  return mayBe ? Reason::None : Reason::NotDerived;
}

void XmlCheck::checkAttributes(const XmlFrame& frame, const XmlStartTag& tag) {
  attributes_.begin(frame.verdict.typeIndex);
  forEachAttribute(tag, [&](const XmlAttribute& attribute) {
    if (attribute.namespaceURI == kInstance) return true;
    std::int32_t tagIndex = kNone;
    const Reason reason = attributes_.judge(attribute, tagIndex);
    if (reason != Reason::None) addAttribute(frame, attribute, reason, tagIndex);
    return true;
  });
  attributes_.forEachMissing(
      [&](const std::string& name, const std::string& uri, std::int32_t tagIndex) {
        addAttribute(frame, {name, uri, {}}, Reason::MissingAttribute, tagIndex);
      });
}

void XmlCheck::addAttribute(const XmlFrame& frame, const XmlAttribute& attribute, Reason reason,
                            std::int32_t tagIndex) {
  Finding finding = findingOf(frame, VerdictKind::Attribute, reason);
  finding.name = attribute.name;
  finding.namespaceURI = attribute.namespaceURI;
  finding.value = shown(attribute.value);
  finding.verdict.tagIndex = tagIndex;
  if (tagIndex != kNone) values_.describe(tagIndex, reason, finding);
  sink_.add(std::move(finding), nullptr);
}

// The attributes that the schema language has for all elements.
void XmlCheck::checkInstance(XmlFrame& frame, const XmlStartTag& tag) {
  forEachAttribute(tag, [&](const XmlAttribute& attribute) {
    if (attribute.namespaceURI != kInstance) return true;
    if (attribute.name == "nil") {
      checkNil(frame, attribute.value);
    } else if (attributes_.isNeeded() &&
               std::ranges::find(kKnownToAll, attribute.name) == std::end(kKnownToAll)) {
      addAttribute(frame, attribute, Reason::UnknownAttribute, kNone);
    }
    return true;
  });
}

// A value of false may not stand either where the element may not be nil.
void XmlCheck::checkNil(XmlFrame& frame, std::string_view value) {
  const auto* const declared = dictionary_.tags().find(frame.verdict.tagIndex);
  if (declared == nullptr) return;
  value = trimmed(value);
  const bool isTrue = value == "true" || value == "1";
  if (!isTrue && value != "false" && value != "0") {
    addNil(frame, Reason::WrongForm, value);
  } else if (!declared->NullPermitted) {
    addNil(frame, Reason::NotNillable, {});
    frame.isWronglyNil = isTrue;
    if (isTrue) walk_.setUnjudged();
  } else if (isTrue) {
    if (model_.properties().controlOfTag(frame.verdict.tagIndex).isFixed) {
      addNil(frame, Reason::NotFixedValue, {});
    }
    frame.isNil = true;
    walk_.setNil();
  }
}

void XmlCheck::addNil(const XmlFrame& frame, Reason reason, std::string_view value) {
  Finding finding = findingOf(frame, VerdictKind::Nil, reason);
  finding.value = shown(value);
  values_.describe(frame.verdict.tagIndex, reason, finding);
  sink_.add(std::move(finding), nullptr);
}

// Once for each element.
void XmlCheck::checkText(XmlFrame& frame, std::string_view piece, const XmlEventParser& parser) {
  const std::size_t first =
      frame.isNil ? (piece.empty() ? piece.npos : 0) : piece.find_first_not_of(kSpace);
  if (first == piece.npos) return;
  Finding finding = frame.isNil ? findingOf(frame, VerdictKind::Nil, Reason::NilWithContent)
                                : findingOf(frame, VerdictKind::Text, Reason::NotAllowed);
  finding.value = shown(trimmed(piece.substr(first)));
  if (frame.isNil) walk_.setNil(true);
  frame.hasWrongText = !frame.isNil;
  const WalkPosition position = parser.textPosition(piece.substr(first));
  frame.hasNoText = frame.isNil = false;
  sink_.add(std::move(finding), &position);
}

void XmlCheck::checkValue(const XmlFrame& frame) {
  const Reason reason = judgeValue(frame.verdict.contentTagIndex);
  if (reason == Reason::None) return;
  Finding finding = findingOf(frame, VerdictKind::Value, reason);
  finding.value = shown(text_);
  values_.describe(frame.verdict.contentTagIndex, reason, finding);
  sink_.add(std::move(finding), nullptr);
}

// White space that was left out may have made up for what is too short.
Reason XmlCheck::judgeValue(std::int32_t tagIndex) {
  if (kept_ == Kept::Beginning) return values_.judgeBeginning(tagIndex, trimmed(text_));
  const Reason reason = values_.judge(tagIndex, text_);
  return kept_ == Kept::Collapsed && reason == Reason::TooShort ? Reason::None : reason;
}

Finding XmlCheck::findingOf(const XmlFrame& frame, VerdictKind kind, Reason reason) const {
  Finding finding;
  finding.verdict = frame.verdict;
  finding.verdict.kind = kind;
  finding.verdict.reason = reason;
  finding.groups = walk_.groups();
  return finding;
}

}  // namespace cpi
