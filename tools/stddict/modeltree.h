// The model below a tag as a tree: elements, groups and wildcards, each with what is in it.
#ifndef TOOLS_STDDICT_MODELTREE_H
#define TOOLS_STDDICT_MODELTREE_H

#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

enum class NodeKind : std::uint8_t { Element, Group, Wildcard, Value };

// Why nothing is shown in a node although there is something in it.
enum class NodeEnd : std::uint8_t {
  None,       // what is in it follows, if anything is
  Recursive,  // it is inside another node of its type, whose content is shown there
  Depth,      // it is as deep as was asked for
};

// Pointers are into the dictionary.
struct TreeNode {
  NodeKind kind = NodeKind::Element;
  NodeEnd end = NodeEnd::None;
  int level = 0;                                                  // 0: the tag itself
  const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;  // null: the tag itself
  const cpi::SMD_TYPE_DEFINITION* type = nullptr;                 // may be null
  std::int32_t tagIndex = cpi::kNone;                             // Tags row of an element
  std::int32_t typeIndex = cpi::kNone;
};

class TreeVisitor {
 public:
  // A node, and after all that is in it, its end.
  virtual void enter(const TreeNode& node) = 0;
  virtual void leave() {}
  virtual ~TreeVisitor() = default;
};

struct TreeBounds {
  int depth = 2;               // elements within elements; groups do not count
  std::int64_t nodes = 2'000;  // that may still come
};

// Walks the model below a tag, in the order of the members, and takes the nodes off `bounds`. False
// when it stopped because there were more. Ends for every dictionary: a type is not entered from
// inside itself, nor beyond the depth, nor more than some hundred groups deep.
bool walkTree(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex, TreeBounds& bounds,
              TreeVisitor& visitor);

#endif  // TOOLS_STDDICT_MODELTREE_H
