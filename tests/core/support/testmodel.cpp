#include "tests/core/support/testmodel.h"

#include <map>
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
  std::int32_t firstMember = -1;
};

// Rows of a model: type row 0 is the one simple type, and every node with members has one.
class ModelDraft {
 public:
  ModelDraft(const Node& root, const std::vector<std::string>& moreTags) {
    types_.push_back({nullptr});
    addTag(root);
    for (const std::string& name : moreTags) {
      tags_.try_emplace(name, TagDraft{static_cast<std::int32_t>(tags_.size()), 0, 'F'});
    }
  }

  std::string events() const {
    std::ostringstream out;
    out << "( 1000{ 100002:0=Test } ";
    writeTags(out);
    writeTypes(out);
    writeMembers(out);
    out << ")";
    return out.str();
  }

 private:
  struct TagDraft {
    std::int32_t row;
    std::int32_t typeIndex;
    char tagClass;
  };

  std::int32_t addType(const Node& node) {
    if (node.composition == 0) return 0;
    const auto row = static_cast<std::int32_t>(types_.size());
    types_.push_back({&node});
    std::vector<MemberDraft> drafts;
    for (const Node& member : node.members) {
      const std::int32_t type = addType(member);
      const std::int32_t tag = member.name.empty() ? -1 : addTag(member, type);
      drafts.push_back({&member, row, tag, type});
    }
    if (!drafts.empty()) {
      types_[static_cast<std::size_t>(row)].firstMember =
          static_cast<std::int32_t>(members_.size());
    }
    members_.insert(members_.end(), drafts.begin(), drafts.end());
    return row;
  }

  void addTag(const Node& node) { addTag(node, addType(node)); }

  std::int32_t addTag(const Node& node, std::int32_t type) {
    const char tagClass = node.tagClass != 0 ? node.tagClass : node.composition == 0 ? 'F' : 'S';
    const auto added = tags_.try_emplace(
        node.name, TagDraft{static_cast<std::int32_t>(tags_.size()), type, tagClass});
    return added.first->second.row;
  }

  void writeTags(std::ostream& out) const {
    std::vector<std::pair<std::string, TagDraft>> rows(tags_.size());
    for (const auto& [name, tag] : tags_) rows[static_cast<std::size_t>(tag.row)] = {name, tag};
    out << "2{ ";
    column(out, 201, rows,
           [](const auto& row) { return "#" + std::to_string(row.second.row + 1); });
    column(out, 202, rows, [](const auto& row) { return row.first; });
    column(out, 204, rows, [](const auto& row) { return std::string(1, row.second.tagClass); });
    column(out, 211, rows,
           [](const auto& row) { return "#" + std::to_string(row.second.typeIndex); });
    out << "} ";
  }

  void writeTypes(std::ostream& out) const {
    out << "21{ 2000:0=#" << types_.size() << " ";
    std::int32_t id = 1;
    column(out, 2101, types_, [&](const auto&) { return "#" + std::to_string(id++); });
    const auto ofNode = [&](std::int32_t column2, std::int32_t simple, auto field) {
      column(out, column2, types_, [&](const TypeDraft& type) {
        return "#" + std::to_string(type.node == nullptr ? simple : field(*type.node));
      });
    };
    ofNode(2103, 1, [](const Node& node) { return node.composition; });
    ofNode(2104, CONTENT_CLOSED, [](const Node& node) { return node.content; });
    ofNode(2106, LTString, [](const Node&) { return 0; });
    column(out, 2107, types_,
           [](const TypeDraft& type) { return "#" + std::to_string(type.firstMember); });
    out << "} ";
  }

  void writeMembers(std::ostream& out) const {
    if (members_.empty()) return;
    out << "4{ ";
    const auto field = [&](std::int32_t id, auto value) {
      column(out, id, members_,
             [&](const MemberDraft& member) { return "#" + std::to_string(value(member)); });
    };
    field(401, [](const MemberDraft& member) { return member.parentType + 1; });
    field(402, [](const MemberDraft& member) { return member.tagIndex + 1; });
    column(out, 404, members_, [](const MemberDraft& member) {
      const char tagClass = member.node->tagClass;
      return std::string(tagClass != 0                   ? std::string(1, tagClass)
                         : member.node->composition == 0 ? "F"
                                                         : "S");
    });
    field(407, [](const MemberDraft& member) { return member.node->min; });
    field(411, [](const MemberDraft& member) { return member.node->max; });
    std::int32_t id = 1;
    field(410, [&](const MemberDraft&) { return id++; });
    field(412, [](const MemberDraft& member) { return member.tagIndex; });
    field(413, [](const MemberDraft& member) { return member.typeIndex; });
    out << "} 20{ 2000:0=#" << members_.size() << " ";
    std::int32_t row = 1;
    field(2001, [&](const MemberDraft&) { return row++; });
    row = 0;
    field(2002, [&](const MemberDraft&) { return row++; });
    out << "} ";
  }

  template <class Rows, class Value>
  static void column(std::ostream& out, std::int32_t id, const Rows& rows, Value value) {
    std::size_t row = 0;
    for (const auto& each : rows) out << id << ":" << row++ << "=" << value(each) << " ";
  }

  std::vector<TypeDraft> types_;
  std::vector<MemberDraft> members_;
  std::map<std::string, TagDraft> tags_;
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
