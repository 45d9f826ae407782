#include "tools/stddict/walkwords.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

#include "cpi/runtime/kelstring.h"
#include "tools/stddict/terminal.h"

namespace {

using cpi::Expected;
using cpi::Finding;
using cpi::Reason;
using cpi::VerdictKind;

// Lists in a sentence end after so many names.
constexpr std::size_t kMaxNames = 8;

struct KindWords {
  std::string_view word;
  std::string_view meaning;
};

// In the order of the enumeration.
constexpr std::array<KindWords, cpi::kVerdictKindCount> kKinds = {{
    {"placed", "the element has its place"},
    {"beyond-limit", "a member that occurs more often than it may"},
    {"out-of-order", "a member before what has to come first, or after its place has passed"},
    {"known-elsewhere", "an element that the model has in other places"},
    {"unknown-name", "an element that the model does not have"},
    {"wrong-namespace", "an element that the model has here in another namespace"},
    {"refused", "an element that may not stand here"},
    {"unjudged", "an element of which the model says nothing"},
    {"incomplete", "an element in which required members never came"},
    {"text", "text where none may stand"},
    {"value", "a value that the model does not admit"},
    {"attribute", "an attribute that is missing, unknown or has a wrong value"},
    {"type", "a type that there is not, or that may not stand here"},
    {"nil", "an element declared to be empty that may not be, or is not"},
}};

// In the order of the enumeration, as far as it is of general use.
constexpr std::string_view kReasons[] = {
    "",
    "unknown-root",
    "not-allowed",
    "in-simple-type",
    "in-nil",
    "not-declared",
    "other-alternative",
    "skips-required",
    "place-passed",
    "never-came",
    "not-in-value-set",
    "too-short",
    "too-long",
    "wrong-form",
    "not-fixed-value",
    "missing-attribute",
    "unknown-attribute",
    "unknown-type",
    "not-derived",
    "blocked-type",
    "abstract-type",
    "not-nillable",
    "nil-with-content",
    "wrong-count",
    "no-value",
    "wrong-check-sum",
    "not-of-facet",
    "not-a-field",
    "unknown-message",
    "no-delimiter",
};
static_assert(std::size(kReasons) == cpi::kReasonCount);

std::string nameOf(const Expected& one) {
  return printable(one.isWildcard ? "any element (" + one.name + ")" : one.name);
}

// "a, b or c"
std::string alternatives(const std::vector<std::string>& names) {
  if (names.size() < 2) return names.empty() ? std::string() : names.front();
  const std::vector<std::string> front(names.begin(), names.end() - 1);
  return fmt::format("{} or {}", fmt::join(front, ", "), names.back());
}

// Neighbours that are alternatives are "one of" them.
template <class Name>
std::string listOf(const std::vector<Expected>& expected, Name nameWith) {
  std::vector<std::string> items;
  std::size_t shown = 0;
  for (std::size_t i = 0; i < expected.size() && shown < kMaxNames;) {
    std::vector<std::string> names;
    const std::int32_t choice = expected[i].choice;
    do {
      if (shown++ < kMaxNames) names.push_back(nameWith(expected[i]));
      ++i;
    } while (choice != 0 && i < expected.size() && expected[i].choice == choice);
    if (shown > kMaxNames) names.push_back(fmt::format("{} others", shown - kMaxNames));
    items.push_back((names.size() > 1 ? "one of " : "") + alternatives(names));
  }
  std::string text = fmt::format("{}", fmt::join(items, ", "));
  if (shown < expected.size()) text += ", ...";
  return text;
}

std::string valuesOf(const Finding& finding) {
  std::vector<std::string> values;
  for (const std::string& value : finding.values) {
    if (values.size() == kMaxNames) break;
    values.push_back(printable(value));
  }
  std::string text = fmt::format("{}", fmt::join(values, ", "));
  if (finding.values.size() > values.size()) text += ", ...";
  return text;
}

// Types may share a name, or have none and be told by that of their element.
std::string placesOf(const Finding& finding) {
  std::vector<std::string> names;
  for (const cpi::KnownPlace& place : finding.elsewhere) {
    std::string name = place.parent.empty() ? "the global elements" : printable(place.parent);
    if (std::ranges::find(names, name) == names.end()) names.push_back(std::move(name));
  }
  const auto more = finding.elsewhereCount - std::ssize(finding.elsewhere);
  std::string text = fmt::format("{}", fmt::join(names, ", "));
  return more > 0 ? text + fmt::format(" and {} more", more) : text;
}

std::string namespaceText(const std::string& uri) {
  return uri.empty() ? "no namespace" : "the namespace " + printable(uri);
}

std::string elementSentence(const Finding& finding) {
  switch (finding.verdict.kind) {
    case VerdictKind::BeyondLimit: return fmt::format("one too many: at most {}", finding.atMost);
    case VerdictKind::KnownElsewhere:
      if (finding.elsewhere.empty()) return "may not stand here";
      return "may not stand here; it is known in " + placesOf(finding);
    case VerdictKind::UnknownName:
      if (finding.verdict.reason == Reason::UnknownMessage)
        return "the model has no message of type '" + printable(finding.value) + "'";
      return "the model has no element of this name";
    case VerdictKind::WrongNamespace:
      return "is in " + namespaceText(finding.namespaceURI) + "; here it must be in " +
             namespaceText(finding.elsewhere.empty() ? "" : finding.elsewhere[0].namespaceURI);
    case VerdictKind::OutOfOrder:
      if (finding.verdict.reason == Reason::PlacePassed)
        return "out of order: its place has passed";
      if (finding.missing.empty()) return "out of order: it may not come here";
      return "out of order: before it must come " + missingList(finding.missing);
    default: break;
  }
  switch (finding.verdict.reason) {
    case Reason::OtherAlternative: return "may not stand here: another alternative came before it";
    case Reason::InSimpleType: return "may not stand in an element with a simple value";
    case Reason::InNil: return "may not stand in an element that is nil";
    case Reason::NotDeclared:
      return "the wildcard here demands a global element, and the model has none of this name";
    case Reason::AbstractType:
      return "is abstract: an element that may stand in its place must come instead";
    case Reason::NotAField: return "is no field: a tag number with '=' and a value must stand here";
    case Reason::TooLong: return fmt::format("is too long: at most {} bytes", finding.atMost);
    case Reason::NoDelimiter: return "has no delimiter: each field must end with 0x01, '|' or ^A";
    default: return "may not stand here";
  }
}

std::string valueSentence(const Finding& finding) {
  const std::string value = "'" + printable(finding.value) + "'";
  switch (finding.verdict.reason) {
    case Reason::NotInValueSet:
      return "wrong value " + value + ": must be one of " + valuesOf(finding);
    case Reason::NotFixedValue: return "wrong value " + value + ": must be " + valuesOf(finding);
    case Reason::TooShort:
      return "value " + value + fmt::format(" is too short: at least {}", finding.atLeast);
    case Reason::TooLong:
      return "value " + value + fmt::format(" is too long: at most {}", finding.atMost);
    case Reason::WrongForm: return "wrong value " + value + ": not of the form of its type";
    case Reason::NotOfFacet: return "wrong value " + value + ": not of " + valuesOf(finding);
    case Reason::WrongCount:
      return "wrong count " + value + fmt::format(": what follows are {}", finding.atLeast);
    case Reason::NoValue: return "has no value";
    case Reason::WrongCheckSum:
      return "wrong check sum " + value + fmt::format(": must be {:03}", finding.atLeast);
    case Reason::MissingAttribute: return "the attribute must be there";
    case Reason::UnknownAttribute: return "the model has no such attribute here";
    default: return "wrong value " + value;
  }
}

std::string typeSentence(const Finding& finding) {
  const std::string type = "type '" + printable(finding.value) + "'";
  switch (finding.verdict.reason) {
    case Reason::UnknownType: return "the model has no " + type;
    case Reason::BlockedType:
      return type + " may not be taken: the element, or its type, blocks that derivation";
    case Reason::NotDerived: return type + " is not derived from that of the element";
    default: return "is abstract, or its type is: it may not stand by itself";
  }
}

std::string nilSentence(const Finding& finding) {
  const std::string value = "'" + printable(finding.value) + "'";
  switch (finding.verdict.reason) {
    case Reason::NotNillable: return "may not be nil, and may not say whether it is";
    case Reason::WrongForm: return "xsi:nil must be true or false: " + value;
    case Reason::NotFixedValue:
      return "may not be nil: its value is fixed to '" + valuesOf(finding) + "'";
    default:
      return finding.value.empty() ? "is nil, but has white space"
                                   : "is nil, but has text: " + value;
  }
}

}  // namespace

std::string_view wordOf(cpi::Placement placement) noexcept {
  switch (placement) {
    case cpi::Placement::Root: return "root";
    case cpi::Placement::Member: return "member";
    case cpi::Placement::Wildcard: return "wildcard";
    case cpi::Placement::TagDefined: return "tag-defined";
    case cpi::Placement::SelfDefined: return "self-defined";
    case cpi::Placement::Refused: return "REFUSED";
    case cpi::Placement::Unjudged: return "unjudged";
  }
  return "";
}

std::string_view wordOf(VerdictKind kind) noexcept {
  return kKinds[static_cast<std::size_t>(kind)].word;
}

std::string_view meaningOf(VerdictKind kind) noexcept {
  return kKinds[static_cast<std::size_t>(kind)].meaning;
}

std::string_view wordOf(Reason reason) noexcept {
  return kReasons[static_cast<std::size_t>(reason)];
}

std::string sentenceOf(const Finding& finding) {
  switch (finding.verdict.kind) {
    case VerdictKind::Incomplete: return "incomplete: missing " + missingList(finding.missing);
    case VerdictKind::Text: return "text where none may be: '" + printable(finding.value) + "'";
    case VerdictKind::Value: return valueSentence(finding);
    case VerdictKind::Attribute:
      return "attribute " + printable(finding.name) + ": " + valueSentence(finding);
    case VerdictKind::Type: return typeSentence(finding);
    case VerdictKind::Nil: return nilSentence(finding);
    default: return elementSentence(finding);
  }
}

std::string missingList(const std::vector<Expected>& missing) {
  const auto nameOwed = [](const Expected& one) {
    return one.owed > 1 ? fmt::format("{} ({})", nameOf(one), one.owed) : nameOf(one);
  };
  return listOf(missing, nameOwed);
}

// When nothing is owed the enclosing element may end.
std::string expectedList(const std::vector<Expected>& expected) {
  const auto nameOwed = [](const Expected& one) {
    return one.owed > 0 && one.choice == 0 ? fmt::format("{} ({} owed)", nameOf(one), one.owed)
                                           : nameOf(one);
  };
  const bool isOwed =
      std::ranges::any_of(expected, [](const Expected& one) { return one.owed > 0; });
  if (expected.empty()) return "the end";
  return listOf(expected, nameOwed) + (isOwed ? "" : ", or the end");
}

// A group in a group of nothing else has the same text, and is told again only for its occurrence.
std::string textOf(const std::vector<cpi::GroupStep>& groups) {
  std::string text;
  std::string_view last;
  for (std::size_t i = 0; i < groups.size(); ++i) {
    const cpi::GroupStep& group = groups[i];
    const bool isNextSame = i + 1 < groups.size() && groups[i + 1].text == group.text;
    if (group.occurrence == 1 && (isNextSame || last == group.text)) continue;
    last = group.text;
    if (!text.empty()) text += ' ';
    text += printable(group.text);
    if (group.occurrence > 1) text += fmt::format("[{}]", group.occurrence);
  }
  return text;
}

// Types without a name of their own have texts with '^', which no name contains.
std::string typeNameOf(const cpi::WalkedElement& element) {
  if (element.type == nullptr) return {};
  const std::u16string_view name = cpi::textView(element.type->Identifier);
  return name.find(u'^') == name.npos ? cpi::toUtf8(name) : std::string();
}
