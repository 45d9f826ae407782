// walk DICTIONARY MESSAGE: tells where the model places each element of a message, whose format is
// a toy: one element a line, two spaces deeper than the element it is in. Any parser makes the same
// three moves: into an element, on beside it, and out. Try: walk ../lookup/order.json order.txt
#include <cpi/dictinfo/stddi/stddictionaryiterator.h>
#include <cpi/extract/dictionaryfile.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

// The iterator finds the place; whether an element may be there is for its caller to judge.
std::string placeOf(const cpi::StdDictionaryIterator& at) {
  const cpi::EWhereDefined where = at.getCurrentPosition()->whereDefined();
  if (where == cpi::WDMember) {
    const std::int32_t count = at.getRepeatIndex() + 1;
    const char* const verdict = count > at.getMaxOccurs() ? ": too many" : "";
    return "member, occurrence " + std::to_string(count) + verdict;
  }
  // No member here. WDTag: some other tag of the dictionary. WDSelf: known to nobody.
  const std::string place = where == cpi::WDTag ? "another tag" : "unknown";
  const auto* const parentType = at.getDictionaryInfo()->types().find(at.getParentTypeIndex());
  const bool isClosed = parentType != nullptr && parentType->Content == cpi::CONTENT_CLOSED;
  return place + (isClosed ? ": not allowed here" : "");
}

class Walk {
 public:
  explicit Walk(const cpi::StdDictionaryInfo& dictionary) : at_(nullptr, &dictionary, 0) {}

  std::string place(std::size_t depth, const std::u16string& name) {
    if (depth > skippedDepth_) return "skipped";
    skippedDepth_ = std::string::npos;
    if (depth == 0) {  // a message begins; throws when the dictionary does not know its root
      at_.setContextFromTag(name.c_str(), cpi::KelStringBase());
      depth_ = 0;
      return "root";
    }
    for (; depth_ > depth; --depth_) at_.moveToParent();
    if (depth_ + 1 < depth) throw std::runtime_error("indented by more than one level");
    // A move that fails leaves the iterator where it stands, ready for the next element.
    const bool isPlaced = move(name.c_str(), depth_ < depth);
    (isPlaced ? depth_ : skippedDepth_) = depth;
    return isPlaced ? placeOf(at_) : "no place";
  }

 private:
  // `true, true`: place elements that are no members too, and insist on required members.
  bool move(const char16_t* name, bool isInside) {
    if (isInside) return at_.moveToFirstChildTagName(name, cpi::KelStringBase(), true, true);
    return at_.moveToNextSiblingTagName(name, cpi::KelStringBase(), true, true);
  }

  cpi::StdDictionaryIterator at_;
  std::size_t depth_ = 0;                         // of the element that the iterator stands on
  std::size_t skippedDepth_ = std::string::npos;  // of the element without place around us
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) throw std::runtime_error("usage: walk DICTIONARY MESSAGE");
  const auto dictionary = cpi::loadDictionary(argv[1]);
  std::ifstream message(argv[2]);
  if (!message) throw std::runtime_error("cannot read " + std::string(argv[2]));
  Walk walk(*dictionary);
  for (std::string line; std::getline(message, line);) {
    const std::size_t indent = line.find_first_not_of(' ');
    if (indent == line.npos) continue;
    const std::u16string name = cpi::toUtf16(line.substr(indent));
    std::printf("%-20s %s\n", line.c_str(), walk.place(indent / 2, name).c_str());
  }
} catch (const std::exception& error) {
  std::fprintf(stderr, "walk: %s\n", error.what());
  return 2;
}
