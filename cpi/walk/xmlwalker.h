// XmlWalker: walks XML messages along a dictionary and reports where each element belongs.
//
//     const cpi::WalkModel model(dictionary);
//     cpi::XmlWalker walker(model);
//     const cpi::WalkSummary summary = walker.walkFile("order.xml", &visitor);
//
// Without WalkOptions::isChecking only the places of elements are judged; text and attributes are
// passed over. With it the message must be right as a whole: what is missing, values, and text
// where none may be are judged too, see docs/walk.md. Comments and processing instructions are
// always passed over. Nothing
// beyond the message is ever read: external entities and external document types are counted and
// left out. Entities that the message defines itself are expanded within the parser's limits.
//
// Thread rule: one thread at a time. Any number of walkers may share a model.
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
#include "cpi/walk/walkvisitor.h"

namespace cpi {

// Deeper messages are refused.
inline constexpr std::int32_t kMaxXmlDepth = 256;

class XmlWalker {
 public:
  // `model` is not owned and must outlive the walker.
  explicit XmlWalker(const WalkModel& model, WalkOptions options = {});
  ~XmlWalker();
  XmlWalker(XmlWalker&&) noexcept;
  XmlWalker& operator=(XmlWalker&&) = delete;

  // Walks a whole message; `visitor` may be null. Throws FileError when the message cannot be
  // read or is not well-formed (also in its namespaces), or when the search for its elements goes
  // on too long (WalkOptions::maxSearch), with line and column; KelParserException
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
