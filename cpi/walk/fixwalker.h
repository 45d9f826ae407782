// FixWalker: walks FIX messages (tag=value) along a dictionary and reports where each field
// belongs.
//
//     const cpi::FixModel model(dictionary);
//     cpi::FixWalker walker(model);
//     const cpi::WalkSummary summary = walker.walkFile("messages.log", &visitor);
//
// A file holds any number of messages, one behind another or one a line behind other text, with
// fields that end with 0x01, '|' or "^A". Each message is a root element; header, trailer and the
// instances of repeating groups are elements in which fields stand. Without WalkOptions::isChecking
// only the places of fields are judged; with it values, counts, body length, check sum and what is
// missing as well, see docs/fix-mapping.md.
//
// Thread rule: one thread at a time. Any number of walkers may share a model.
#ifndef CPI_WALK_FIXWALKER_H
#define CPI_WALK_FIXWALKER_H

#include <memory>
#include <string>
#include <string_view>

#include "cpi/walk/fixmodel.h"
#include "cpi/walk/walkvisitor.h"

namespace cpi {

class FixWalker {
 public:
  // `model` is not owned and must outlive the walker.
  explicit FixWalker(const FixModel& model, WalkOptions options = {});
  ~FixWalker();
  FixWalker(FixWalker&&) noexcept;
  FixWalker& operator=(FixWalker&&) = delete;

  // Walks all messages of a file, of which a part is held in memory at a time; `visitor` may be
  // null, and hears of the end of each message. A message of more than 16 MiB is one element,
  // refused as too long. The summary is of all messages. Throws FileError when the file cannot be
  // read or has no message; KelParserException when the dictionary makes no sense to the navigator;
  // and what the visitor throws. The walker can be used again afterwards.
  WalkSummary walkFile(const std::string& path, WalkVisitor* visitor = nullptr);
  // The same for a text in memory, which error messages call `name`; with `start` it is part of
  // another, and places count on from there. Without a visitor nothing is allocated once messages
  // of this size and depth were walked.
  WalkSummary walkText(std::string_view text, const std::string& name,
                       WalkVisitor* visitor = nullptr, const WalkPosition& start = {{1, 1}, 0});

 private:
  class Walk;
  std::unique_ptr<Walk> walk_;
};

}  // namespace cpi

#endif  // CPI_WALK_FIXWALKER_H
