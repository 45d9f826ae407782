#include "tests/core/support/testmodel.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "tests/core/support/eventtext.h"

namespace cpi::test {

namespace {

class ModelParser {
 public:
  explicit ModelParser(std::string_view text) : text_(text) {}

  Node member() {
    Node node;
    while (at_ < text_.size() &&
           std::string_view(" (){},").find(peek()) == std::string_view::npos) {
      node.name += text_[at_++];
    }
    if (peek() == '(') body(node);
    if (peek() == '{') occurrence(node);
    return node;
  }

 private:
  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool accept(char expected) {
    if (peek() != expected) return false;
    ++at_;
    return true;
  }
  void require(char expected) {
    if (!accept(expected)) throw std::invalid_argument("bad model text: " + std::string(text_));
  }

  void body(Node& node) {
    require('(');
    node.composition = text_[at_++] - '0';
    if (accept('!')) node.content = CONTENT_OPEN;
    if (accept('?')) node.content = CONTENT_DEFINED;
    while (accept(' ')) node.members.push_back(member());
    require(')');
  }

  void occurrence(Node& node) {
    require('{');
    node.min = number();
    require(',');
    node.max = accept('*') ? -1 : number();
    require('}');
  }

  std::int32_t number() {
    std::int32_t value = 0;
    while (peek() >= '0' && peek() <= '9') value = value * 10 + (text_[at_++] - '0');
    return value;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

struct MemberDraft {
  const Node* node;
  std::int32_t parentType;
  std::int32_t tagIndex;
  std::int32_t typeIndex;
};

struct TypeDraft {
  const Node* node;
  std::int32_t firstMember = kNone;
};

// Rows of a model: type row 0 is the one simple type, and every node with members has one.
class ModelDraft {
 public:
  ModelDraft(const Node& root, const std::vector<std::string>& moreTags) {
    types_.push_back({nullptr});
    addTag(root, addType(root));
    for (const std::string& name : moreTags) addTag({name}, 0);
  }

  std::string events() const {
    return "( 1000{ 100002:0=Test } " + tags() + types() + members() + ")";
  }

 private:
  struct TagDraft {
    std::string name;
    std::int32_t typeIndex;
    std::string tagClass;
  };

  template <class Rows>
  static std::int32_t sizeOf(const Rows& rows) {
    return static_cast<std::int32_t>(rows.size());
  }
  static std::string classOf(const Node& node) {
    if (node.tagClass != 0) return {node.tagClass};
    return node.composition == 0 ? "F" : "S";
  }

  std::int32_t addType(const Node& node) {
    if (node.composition == 0) return 0;
    const std::int32_t row = sizeOf(types_);
    types_.push_back({&node});
    std::vector<MemberDraft> drafts;
    for (const Node& member : node.members) {
      const std::int32_t type = addType(member);
      const std::int32_t tag = member.name.empty() ? kNone : addTag(member, type);
      drafts.push_back({&member, row, tag, type});
    }
    if (!drafts.empty()) types_[static_cast<std::size_t>(row)].firstMember = sizeOf(members_);
    members_.insert(members_.end(), drafts.begin(), drafts.end());
    return row;
  }

  // The row of the tag; the first node of a name makes it.
  std::int32_t addTag(const Node& node, std::int32_t type) {
    const auto found = std::ranges::find(tags_, node.name, &TagDraft::name);
    const auto row = static_cast<std::int32_t>(found - tags_.begin());
    if (found == tags_.end()) tags_.push_back({node.name, type, classOf(node)});
    return row;
  }

  std::string tags() const {
    SectionText section;
    std::int32_t row = 0;
    for (const TagDraft& tag : tags_) {
      section.put(201, row, row + 1);
      section.put(202, row, tag.name);
      section.put(204, row, tag.tagClass);
      section.put(211, row++, tag.typeIndex);
    }
    return section.take(2);
  }

  std::string types() const {
    SectionText section;
    section.put(2000, 0, sizeOf(types_));
    std::int32_t row = 0;
    for (const auto& [node, firstMember] : types_) {
      section.put(2101, row, row + 1);
      section.put(2103, row, node == nullptr ? TYPE_SINGLE : node->composition);
      section.put(2104, row, node == nullptr ? CONTENT_CLOSED : node->content);
      section.put(2106, row, node == nullptr ? LTString : 0);
      section.put(2107, row++, firstMember);
    }
    return section.take(21);
  }

  std::string members() const {
    if (members_.empty()) return "";
    SectionText section;
    SectionText index;
    index.put(2000, 0, sizeOf(members_));
    std::int32_t row = 0;
    for (const MemberDraft& member : members_) {
      section.put(401, row, member.parentType + 1);
      section.put(402, row, member.tagIndex + 1);
      section.put(404, row, classOf(*member.node));
      section.put(407, row, member.node->min);
      section.put(410, row, row + 1);
      section.put(411, row, member.node->max);
      section.put(412, row, member.tagIndex);
      section.put(413, row, member.typeIndex);
      index.put(2001, row, row + 1);
      index.put(2002, row, row);
      ++row;
    }
    return section.take(4) + index.take(20);
  }

  std::vector<TypeDraft> types_;
  std::vector<MemberDraft> members_;
  std::vector<TagDraft> tags_;
};

std::string entryText(const StdDictionaryInfo& dictionary, const DictionaryPosition& entry) {
  const auto* const tag = dictionary.tags().find(entry.tagIndex);
  std::string text = entry.memberIndex == kMarkerMember ? "^" : "";
  const bool isDefined = entry.memberIndex >= 0 || entry.memberIndex == kContextMember;
  if (tag != nullptr) {
    text += (isDefined ? "" : "+") + toUtf8(textView(tag->TextIdentifier));
  } else {
    text += isDefined ? "()" : entry.tagIndex == kNone ? "=" : "?";
  }
  if (entry.repeatIndex != 0) text += "[" + std::to_string(entry.repeatIndex) + "]";
  return text;
}

bool step(OpenIterator& iterator, std::string name, bool isFirst, bool allowUndefined) {
  if (name == "*") return isFirst ? iterator.moveToFirstChild() : iterator.moveToNextSibling();
  const KelStringBase units = KelStringBase::fromUtf8(name);
  std::int32_t tagId = 0;
  const StdDictionaryInfo& dictionary = *iterator.getDictionaryInfo();
  if (dictionary.getTagIdForTagText(units.getText(), tagId) == kSuccess) {
    return isFirst ? iterator.moveToFirstChildTagId(tagId, allowUndefined, true)
                   : iterator.moveToNextSiblingTagId(tagId, allowUndefined, true);
  }
  const KelStringBase none;
  return isFirst ? iterator.moveToFirstChildTagName(units.getText(), none, allowUndefined, true)
                 : iterator.moveToNextSiblingTagName(units.getText(), none, allowUndefined, true);
}

}  // namespace

Node parseModel(std::string_view text) { return ModelParser(text).member(); }

std::unique_ptr<StdDictionaryInfo> buildModel(const Node& root,
                                              const std::vector<std::string>& moreTags) {
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  feedText(*dictionary, ModelDraft(root, moreTags).events());
  return dictionary;
}

std::string stackText(const OpenIterator& iterator) {
  if (iterator.positionStack.empty()) return "-";
  std::string text;
  for (const DictionaryPosition& entry : iterator.positionStack) {
    text += (text.empty() ? "" : "/") + entryText(*iterator.getDictionaryInfo(), entry);
  }
  return text;
}

std::string walk(OpenIterator& iterator, std::string_view script) {
  std::istringstream steps{std::string(script)};
  std::string result;
  for (std::string token; steps >> token;) {
    std::string_view name = token;
    const bool allowUndefined = !name.starts_with('!');
    if (!allowUndefined) name.remove_prefix(1);
    const bool isFirst = name.starts_with('>');
    if (isFirst) name.remove_prefix(1);
    std::string outcome;
    try {
      const bool moved = name == "^" ? iterator.moveToParent()
                                     : step(iterator, std::string(name), isFirst, allowUndefined);
      outcome = moved ? stackText(iterator) : "no";
    } catch (const KelParserException& error) {
      outcome = "throws " + error.message();
      if (!error.inserts().empty()) outcome += ": " + error.inserts().front().text();
    }
    result += (result.empty() ? "" : "\n") + outcome;
  }
  return result;
}

}  // namespace cpi::test
