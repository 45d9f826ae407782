#include "tools/stddict/modeltree.h"

#include <algorithm>

#include "tools/stddict/words.h"

namespace {

// Groups count here: a chain of them may be as long as its dictionary.
constexpr int kLevelLimit = 300;

class TreeWalk {
 public:
  TreeWalk(const cpi::StdDictionaryInfo& dictionary, TreeBounds& bounds, TreeVisitor& visitor)
      : dictionary_(dictionary), bounds_(bounds), visitor_(visitor) {}

  bool run(std::int32_t tagIndex) {
    TreeNode root;
    root.tagIndex = tagIndex;
    root.typeIndex = dictionary_.tags().row(tagIndex).ToTypeIndexField;
    root.type = dictionary_.types().find(root.typeIndex);
    return visit(root, 0);
  }

 private:
  // `depth`: elements around the node.
  bool visit(TreeNode node, int depth) {
    if (bounds_.nodes-- <= 0) return false;
    const bool hasMembers =
        node.type != nullptr && dictionary_.typeMembers().contains(node.type->ToTypeMbrIndex);
    if (hasMembers) node.end = endOf(node, depth);
    visitor_.enter(node);
    const bool isDone = !hasMembers || node.end != NodeEnd::None || visitMembers(node, depth);
    visitor_.leave();
    return isDone;
  }

  NodeEnd endOf(const TreeNode& node, int depth) const {
    if (std::ranges::find(path_, node.typeIndex) != path_.end()) return NodeEnd::Recursive;
    const bool isDeep = node.kind == NodeKind::Element && depth >= bounds_.depth;
    return isDeep || node.level >= kLevelLimit ? NodeEnd::Depth : NodeEnd::None;
  }

  // As far as rows follow one another with one parent.
  bool visitMembers(const TreeNode& node, int depth) {
    path_.push_back(node.typeIndex);
    const int inner = depth + (node.kind == NodeKind::Element ? 1 : 0);
    const auto& members = dictionary_.typeMembers();
    const std::int32_t parent = members.row(node.type->ToTypeMbrIndex).ParentTypeId;
    bool isDone = true;
    for (std::int32_t row = node.type->ToTypeMbrIndex; isDone; ++row) {
      const auto* const member = members.find(row);
      if (member == nullptr || member->ParentTypeId != parent) break;
      isDone = visit(nodeOf(row, node.level + 1), inner);
    }
    path_.pop_back();
    return isDone;
  }

  TreeNode nodeOf(std::int32_t row, int level) const {
    const auto& member = dictionary_.typeMembers().row(row);
    const auto* const type = dictionary_.types().find(member.toTypeIndex);
    const bool isElement = dictionary_.tags().contains(member.toTagIndex);
    const NodeKind kind = isElement                  ? NodeKind::Element
                          : isGroup(member, type)    ? NodeKind::Group
                          : isWildcard(member, type) ? NodeKind::Wildcard
                                                     : NodeKind::Value;
    return {kind,
            NodeEnd::None,
            level,
            &member,
            type,
            isElement ? member.toTagIndex : cpi::kNone,
            member.toTypeIndex};
  }

  const cpi::StdDictionaryInfo& dictionary_;
  TreeBounds& bounds_;
  TreeVisitor& visitor_;
  std::vector<std::int32_t> path_;  // the types around the node
};

}  // namespace

bool walkTree(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex, TreeBounds& bounds,
              TreeVisitor& visitor) {
  return TreeWalk(dictionary, bounds, visitor).run(tagIndex);
}
