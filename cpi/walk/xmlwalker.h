// XmlWalker: walks XML messages along a dictionary and reports where each element belongs.
//
//     const cpi::WalkModel model(dictionary);
//     cpi::XmlWalker walker(model);
//     const cpi::WalkSummary summary = walker.walkFile("order.xml", &visitor);
//
// Only elements are judged; text, comments and processing instructions are passed over. Nothing
// beyond the message is ever read: external entities and external document types are counted and
// left out. Entities that the message defines itself are expanded within the parser's limits.
//
// Thread rule: a walker is used by one thread at a time; any number of walkers may share a model.
#ifndef CPI_WALK_XMLWALKER_H
#define CPI_WALK_XMLWALKER_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cpi/dictinfo/stddi/records.h"
#include "cpi/extract/fileerror.h"
#include "cpi/walk/modelwalk.h"

namespace cpi {

// Deeper messages are refused.
inline constexpr std::int32_t kMaxXmlDepth = 256;

// The start of a tag; the column is 0 when it is not known. An element that comes out of an entity
// has the place of the reference.
struct XmlPosition : FilePosition {
  std::int64_t offset = -1;  // in bytes from 0; -1 when the message is in another code than UTF-8
};

// One element and where it was placed. Valid during the call that hands it out.
struct WalkedElement {
  Verdict verdict;
  std::int32_t depth = 0;         // 0: the root
  std::string_view name;          // local name, UTF-8
  std::string_view namespaceURI;  // UTF-8, empty: none
  XmlPosition position;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;  // null: no member
  const SMD_TAG_DEFINITION* tag = nullptr;                   // null: the model has none
  const SMD_TYPE_DEFINITION* type = nullptr;                 // null: the content is not judged
};

class WalkVisitor {
 public:
  virtual ~WalkVisitor();
  // At the start of each element, in document order. What it throws ends the walk and leaves it.
  virtual void element(const WalkedElement& element) = 0;
};

// Counts of one message.
struct WalkSummary {
  std::int64_t elements = 0;
  std::array<std::int64_t, kPlacementCount> placed{};  // by Placement
  std::int64_t beyondLimit = 0;  // members that occur more often than they may
  std::int64_t notFetched = 0;   // external entities and document types that it declares

  std::int64_t count(Placement placement) const noexcept {
    return placed[static_cast<std::size_t>(placement)];
  }
  // Whether each element has a place that the model admits.
  bool isAllPlaced() const noexcept { return beyondLimit == 0 && count(Placement::Refused) == 0; }
};

class XmlWalker {
 public:
  // `model` is not owned and must outlive the walker.
  explicit XmlWalker(const WalkModel& model);
  ~XmlWalker();
  XmlWalker(XmlWalker&&) noexcept;
  XmlWalker& operator=(XmlWalker&&) = delete;

  // Walks a whole message; `visitor` may be null. Throws FileError when the message cannot be
  // read or is not well-formed (also in its namespaces), with line and column; KelParserException
  // when the dictionary makes no sense to the navigator; and what the visitor throws. Elements
  // in front of the fault were reported by then. The walker can be used again afterwards.
  WalkSummary walkFile(const std::string& path, WalkVisitor* visitor = nullptr);
  // The same for a message in memory, which error messages call `name`.
  WalkSummary walkText(std::string_view text, const std::string& name,
                       WalkVisitor* visitor = nullptr);

 private:
  class Walk;
  std::unique_ptr<Walk> walk_;
};

}  // namespace cpi

#endif  // CPI_WALK_XMLWALKER_H
