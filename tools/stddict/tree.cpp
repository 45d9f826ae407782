// stddict tree: what may stand in an element, as the model has it.
#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "tools/stddict/definitions.h"
#include "tools/stddict/modeltree.h"
#include "tools/stddict/verbs.h"
#include "tools/stddict/words.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict tree order.json order
  stddict tree order.json order --depth 1
  stddict tree order.json 8 --json

Each line is an element with its occurrence, its type and how the type is composed, the values it may
have and its default. (choice), (ordered) and so on are groups without an element of their own. An
ordered type has its members in the order listed, a choice one of them, all and unordered take any
order. A type that stands inside itself is shown once: where it comes again it is marked as recursive.
A line that ends in ... has members that the depth leaves out.
Exit code: 0 when the tag was found, 1 when not, 2 when the file cannot be read.)";

struct Options {
  std::string dictionary;
  Query tag;
  int depth = TreeBounds().depth;
  std::int64_t limit = TreeBounds().nodes;
  bool isJson = false;
  std::uint64_t maxAnswer = AnswerLimit::kDefault;
};

// Values on a line; `stddict values` lists all.
constexpr std::size_t kValuesShown = 8;

// Types that an element has for itself have no name to show.
std::string typeName(const TreeNode& node) {
  return node.type == nullptr || isMarked(node.type->Identifier) ? std::string()
                                                                 : shown(node.type->Identifier);
}

std::string composition(const TreeNode& node) {
  const bool isStructured = node.type != nullptr && node.type->LogicalType == 0;
  return isStructured ? compositionWord(node.type->Composition) : std::string();
}

std::string nameOf(const cpi::StdDictionaryInfo& dictionary, const TreeNode& node) {
  switch (node.kind) {
    case NodeKind::Group: return "(" + composition(node) + ")";
    case NodeKind::Wildcard: return wildcardWords(*node.type);
    case NodeKind::Value: return "(value)";
    case NodeKind::Element: break;
  }
  return shown(comparedName(dictionary.tags().row(node.tagIndex).TextIdentifier));
}

// --- Text ----------------------------------------------------------------------------------------

class TextTree final : public TreeVisitor {
 public:
  TextTree(const cpi::StdDictionaryInfo& dictionary, AnswerLimit& answer)
      : dictionary_(dictionary), answer_(answer) {}

  void enter(const TreeNode& node) override {
    const std::string name = nameOf(dictionary_, node);
    const auto indent = 2 * static_cast<std::size_t>(node.level);
    const std::size_t used = indent + name.size();
    const std::string occurs =
        node.member == nullptr ? "" : occursText(node.member->MinOccurs, node.member->MaxOccurs);
    std::string line =
        fmt::format("{:{}}{}{:{}}  {:<6}  {}", "", indent, styled(node, name), "",
                    used < kNameWidth ? kNameWidth - used : 0, occurs, details(node));
    line.erase(line.find_last_not_of(' ') + 1);
    answer_.take(line.size());
    fmt::print("{}\n", line);
  }

 private:
  static constexpr std::size_t kNameWidth = 36;

  std::string styled(const TreeNode& node, const std::string& name) const {
    return node.kind == NodeKind::Element ? style_.strong(name) : style_.faint(name);
  }

  std::string details(const TreeNode& node) const {
    std::vector<std::string> parts;
    if (node.kind == NodeKind::Element || node.kind == NodeKind::Value) {
      parts = {typeName(node), composition(node), openContent(node), values(node),
               defaultValue(node)};
    }
    if (node.end == NodeEnd::Recursive) parts.emplace_back("recursive, see above");
    if (node.end == NodeEnd::Depth) parts.emplace_back("...");
    std::erase(parts, std::string());
    return fmt::format("{}", fmt::join(parts, ", "));
  }

  // What a type admits beside its members.
  static std::string openContent(const TreeNode& node) {
    const bool isStructured = node.type != nullptr && node.type->LogicalType == 0;
    const bool isOpen = isStructured && node.type->Content > cpi::CONTENT_CLOSED;
    return isOpen ? "and " + contentWord(node.type->Content) : std::string();
  }

  std::string values(const TreeNode& node) const {
    const Json list = valueList(dictionary_, node.tagIndex, cpi::kNone, answer_, kValuesShown + 1);
    if (list.empty()) return {};
    std::string text;
    for (std::size_t i = 0; i < std::min(list.size(), kValuesShown); ++i) {
      text += (i == 0 ? "" : " | ") + textOf(list[i]);
    }
    if (list.size() > kValuesShown) text += " | ...";
    return "{" + text + "}";
  }

  std::string defaultValue(const TreeNode& node) const {
    const auto* const tag = dictionary_.tags().find(node.tagIndex);
    const Json value = tag == nullptr ? Json() : valueFact(dictionary_, tag->DVTableIndex);
    return value.is_null() ? std::string() : "default " + textOf(value);
  }

  static std::string textOf(const Json& value) {
    return value.is_string() ? printable(value.get<std::string>()) : value.dump();
  }

  const cpi::StdDictionaryInfo& dictionary_;
  AnswerLimit& answer_;
  Style style_;
};

// --- JSON ----------------------------------------------------------------------------------------

// Values of a node; beyond them `stddict values` lists all.
constexpr std::size_t kJsonValues = 1'000;

class JsonTree final : public TreeVisitor {
 public:
  JsonTree(const cpi::StdDictionaryInfo& dictionary, AnswerLimit& answer)
      : dictionary_(dictionary), answer_(answer) {}

  void enter(const TreeNode& node) override {
    Json facts = {{"kind", kindOf(node.kind)}, {"name", nameOf(dictionary_, node)}};
    if (const auto* const tag = dictionary_.tags().find(node.tagIndex); tag != nullptr) {
      facts["namespace"] = namespaceFact(dictionary_, tag->namespaceIndex);
      facts["tag"] = tagReference(dictionary_, node.tagIndex);
    }
    if (node.member != nullptr) {
      facts["memberId"] = node.member->Id;
      facts["occurs"] = range(node.member->MinOccurs, node.member->MaxOccurs);
    }
    facts["type"] = typeReference(dictionary_, node.typeIndex);
    if (const std::string word = composition(node); !word.empty()) {
      facts["composition"] = word;
      facts["content"] = contentWord(node.type->Content);
    }
    addValues(node, facts);
    if (node.end == NodeEnd::Recursive) facts["isRecursive"] = true;
    if (node.end == NodeEnd::Depth) facts["isCut"] = true;
    answer_.take(facts);
    path_.push_back(std::move(facts));
  }

  void leave() override {
    Json facts = std::move(path_.back());
    path_.pop_back();
    (path_.empty() ? roots_ : path_.back()["members"]).push_back(std::move(facts));
  }

  Json takeRoots() { return std::move(roots_); }

 private:
  static const char* kindOf(NodeKind kind) {
    switch (kind) {
      case NodeKind::Element: return "element";
      case NodeKind::Group: return "group";
      case NodeKind::Wildcard: return "wildcard";
      case NodeKind::Value: return "value";
    }
    return "";
  }

  void addValues(const TreeNode& node, Json& facts) {
    const auto* const tag = dictionary_.tags().find(node.tagIndex);
    if (tag == nullptr) return;
    Json values = valueList(dictionary_, node.tagIndex, cpi::kNone, answer_, kJsonValues);
    if (!values.empty()) facts["values"] = std::move(values);
    Json value = valueFact(dictionary_, tag->DVTableIndex);
    if (!value.is_null()) facts["default"] = std::move(value);
  }

  const cpi::StdDictionaryInfo& dictionary_;
  AnswerLimit& answer_;
  std::vector<Json> path_;
  Json roots_ = Json::array();
};

// Whether all was shown.
bool walkAll(const cpi::StdDictionaryInfo& dictionary, const std::vector<std::int32_t>& tags,
             const Options& options, TreeVisitor& visitor) {
  TreeBounds bounds{options.depth,
                    options.limit == 0 ? std::numeric_limits<std::int64_t>::max() : options.limit};
  return std::ranges::all_of(
      tags, [&](std::int32_t tag) { return walkTree(dictionary, tag, bounds, visitor); });
}

int run(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  const std::vector<std::int32_t> tags = chooseTags(*dictionary, options.tag);
  AnswerLimit answer(options.maxAnswer);
  if (options.isJson) {
    JsonTree tree(*dictionary, answer);
    const bool isWhole = walkAll(*dictionary, tags, options, tree);
    printJson({{"isWhole", isWhole}, {"trees", tree.takeRoots()}});
  } else if (tags.empty()) {
    fmt::print("nothing found: {}\n", printable(options.tag.text));
  } else if (TextTree tree(*dictionary, answer); !walkAll(*dictionary, tags, options, tree)) {
    fmt::print("... stopped after {} lines (--limit 0 shows all, --depth takes less)\n",
               options.limit);
  }
  finishOutput();
  return tags.empty() ? kExitNo : kExitGood;
}

}  // namespace

void addTree(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("tree", "Show what may stand in an element");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("TAG", options->tag.text, "Name or id of the tag")->required()->type_name("");
  verb.add_option("--namespace", options->tag.namespaceUri, "Namespace of the name; '' for none")
      ->type_name("URI");
  verb.add_option("--depth", options->depth, "Elements within elements")
      ->check(CLI::Range(0, 100))
      ->capture_default_str()
      ->type_name("N");
  verb.add_option("--limit", options->limit, "Lines to show; 0: all")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str()
      ->type_name("N");
  verb.add_flag("--json", options->isJson, "One JSON object");
  addAnswerLimit(verb, options->maxAnswer);
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
