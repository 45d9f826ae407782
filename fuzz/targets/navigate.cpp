// A dictionary of any contents, and a walk along it: operations of the iterator in any order. After
// each, the position stack must be what the operation's result says.
#include <algorithm>
#include <optional>

#include "cpi/dictinfo/stddi/expectation.h"
#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/walk/modelwalk.h"
#include "fuzz/support/bytereader.h"
#include "fuzz/support/exercise.h"
#include "fuzz/support/randomdictionary.h"

namespace cpi::fuzz {
namespace {

// Each may cost as much as a search is allowed to, and models made for that are soon found.
constexpr int kMostOperations = 64;
constexpr int kMostErrors = 2;

class Iterator : public StdDictionaryIterator {
 public:
  using StdDictionaryIterator::StdDictionaryIterator;
  const std::vector<DictionaryPosition>& stack() const noexcept { return positionStack; }

  void checkStack() const {
    for (const DictionaryPosition& entry : positionStack) checkEntry(entry);
  }

 private:
  // Indexes are rows, sentinels, or what the record in question has, wherever that leads.
  void checkEntry(const DictionaryPosition& entry) const {
    const StdDictionaryInfo& dictionary = *dictionaryInfo;
    require(entry.dictionary == dictionaryInfo, "an entry of another dictionary");
    require(entry.repeatIndex >= kRestartedRepeat, "an occurrence below the sentinels");
    if (const auto* const member = dictionary.typeMembers().find(entry.memberIndex)) {
      require(entry.tagIndex == member->toTagIndex, "another tag than the member's");
      require(entry.typeIndex == member->toTypeIndex, "another type than the member's");
      return;
    }
    require(entry.memberIndex <= kNone && entry.memberIndex >= kContextMember,
            "a member index that is neither a row nor a sentinel");
    const auto* const tag = dictionary.tags().find(entry.tagIndex);
    require(tag != nullptr || (entry.tagIndex <= kNone && entry.tagIndex >= kUnsetTag),
            "a tag index that is neither a row nor a sentinel");
    require(dictionary.types().contains(entry.typeIndex) ||
                (entry.typeIndex <= kNone && entry.typeIndex >= kUnsetType) ||
                (tag != nullptr && entry.typeIndex == tag->ToTypeIndexField),
            "a type index that is neither a row nor a sentinel");
  }
};

// The same place: what is derived from the dictionary on the way may have been filled in.
bool isSamePlace(const Iterator& a, const Iterator& b) {
  return std::ranges::equal(a.stack(), b.stack(), [](const auto& x, const auto& y) {
    return x.memberIndex == y.memberIndex && x.tagIndex == y.tagIndex &&
           x.typeIndex == y.typeIndex && x.repeatIndex == y.repeatIndex;
  });
}

bool move(Iterator& at, ByteReader& bytes) {
  const bool allowUndefined = bytes.flag();
  const bool enforceRequired = bytes.flag();
  const std::u16string text = bytes.name();
  const KelStringBase name{std::u16string_view(text)};
  const KelStringBase space(bytes.below(4) == 3 ? u"urn:x" : u"");
  const std::int32_t id = bytes.index(17);
  const auto logicalType = static_cast<ELogicalType>(bytes.below(20));
  const unsigned short* const units = name.getText();
  switch (bytes.below(13)) {
    case 0: return at.moveToFirstChild();
    case 1: return at.moveToFirstChildTagId(id, allowUndefined, enforceRequired);
    case 2: return at.moveToFirstChildTagName(units, space, allowUndefined, enforceRequired);
    case 3: return at.moveToFirstChildMemberId(id, enforceRequired);
    case 4: return at.moveToFirstChildSimpleType(logicalType, allowUndefined, enforceRequired);
    case 5: return at.moveToFirstChildSelfDef(units, space, enforceRequired);
    case 6: return at.moveToNextSibling();
    case 7: return at.moveToNextSiblingTagId(id, allowUndefined, enforceRequired);
    case 8: return at.moveToNextSiblingTagName(units, space, allowUndefined, enforceRequired);
    case 9: return at.moveToNextSiblingMemberId(id, enforceRequired);
    case 10: return at.moveToNextSiblingSimpleType(logicalType, allowUndefined, enforceRequired);
    case 11: return at.moveToNextSiblingSelfDef(units, space, enforceRequired);
    default: return at.moveToNextSiblingOfMbrId(id, bytes.index(17), enforceRequired);
  }
}

void ask(Iterator& at) {
  std::vector<std::int32_t> path;
  at.getMemberPath(path);
  at.getPartialMemberPath();
  at.getTagId();
  at.getMemberId();
  at.getTypeId();
  at.getNamespaceURI();
  at.getNodeType();
  at.getMinOccurs();
  at.getMaxOccurs();
  at.getDefaultValue();
  at.getParentMinOccurs();
  at.getParentTrcRptInd();
  at.getTraceName();
  at.getParentTypeIndex();
  at.getParentTrcName();
}

void checkPlace(const StdDictionaryInfo& dictionary, const ExpectedPlace& place) {
  if (place.memberIndex == kNone) return;
  const auto* const member = dictionary.typeMembers().find(place.memberIndex);
  require(member != nullptr, "a listed member that is no row");
  require(place.tagIndex == member->toTagIndex, "another tag than the member's");
  require(place.typeIndex == member->toTypeIndex, "another type than the member's");
}

void list(const Iterator& at, ByteReader& bytes) {
  const Iterator before(at);
  Expectation expectation;
  const bool enforceRequired = bytes.flag();
  bool hasList = false;
  try {
    switch (bytes.below(4)) {
      case 0: hasList = at.listNextSiblings(expectation, enforceRequired); break;
      case 1: hasList = at.listFirstChildren(expectation, enforceRequired); break;
      case 2: hasList = at.listOwedSiblings(expectation); break;
      default: hasList = at.listOwedChildren(expectation); break;
    }
  } catch (const KelParserException&) {
    require(at.stack() == before.stack(), "a list that failed changed the iterator");
    throw;
  }
  require(at.stack() == before.stack(), "a list changed the iterator");
  require(hasList || (expectation.elements.empty() && expectation.owed.empty()),
          "something is listed where nothing is known");
  for (const auto& place : expectation.elements) checkPlace(*at.getDictionaryInfo(), place);
  for (const auto& place : expectation.owed) checkPlace(*at.getDictionaryInfo(), place);
}

bool moveAndCheck(Iterator& at, ByteReader& bytes) {
  const Iterator before(at);
  bool hasMoved = false;
  try {
    hasMoved = move(at, bytes);
  } catch (const KelParserException&) {
    require(isSamePlace(at, before), "a move that threw changed the position");
    throw;
  }
  require(hasMoved || isSamePlace(at, before), "a move that failed changed the position");
  return hasMoved;
}

// An iterator, and a copy of it from earlier.
struct Walker {
  explicit Walker(const StdDictionaryInfo& dictionary) : at(nullptr, &dictionary, 0) {}

  // Runs the operation that comes next; whether it said yes.
  bool operate(ByteReader& bytes) {
    switch (bytes.below(12)) {
      case 0: return at.moveToParent();
      case 1: ask(at); return true;
      case 2: list(at, bytes); return true;
      case 3: kept.emplace(at); return true;
      case 4:
        if (kept) at = *kept;
        return true;
      case 5: at.setContextFromTag(bytes.index(9)); return true;
      case 6: at.setContextFromMbrId(bytes.index(17)); return true;
      default: return moveAndCheck(at, bytes);
    }
  }

  Iterator at;
  std::optional<Iterator> kept;
};

enum class Outcome { No, Yes, Threw };

Outcome run(Walker& walker, ByteReader& bytes) {
  try {
    return walker.operate(bytes) ? Outcome::Yes : Outcome::No;
  } catch (const KelParserException&) {
    return Outcome::Threw;
  }
}

// What the index tells at once must be what a search comes to: `plain` has the same tables, and no
// index.
void navigate(const StdDictionaryInfo& dictionary, const StdDictionaryInfo& plain,
              ByteReader& bytes) {
  Walker quick(dictionary);
  Walker slow(plain);
  int errors = 0;
  for (int i = 0; i < kMostOperations && !bytes.isAtEnd() && errors < kMostErrors; ++i) {
    ByteReader again = bytes;
    const Outcome outcome = run(quick, bytes);
    require(run(slow, again) == outcome, "the index changes an outcome");
    require(isSamePlace(quick.at, slow.at), "the index changes a position");
    quick.at.checkStack();
    errors += outcome == Outcome::Threw ? 1 : 0;
  }
}

void compareLookups(const StdDictionaryInfo& a, const StdDictionaryInfo& b) {
  const auto same = [&](auto ask) { require(ask(a) == ask(b), "the index changes an answer"); };
  for (std::int32_t id = -3; id < 20; ++id) {
    same([&](const auto& in) { return in.getTagDefIndex(id); });
    same([&](const auto& in) { return in.getTypeDefIndex(id); });
    same([&](const auto& in) { return in.getStructDefIndexFromMbrID(id); });
    same([&](const auto& in) {
      return in.getTypeDefIndexFromLogicalType(static_cast<LOGICAL_TYPE>(id));
    });
    for (std::int32_t other = -2; other < 9; ++other) {
      same([&](const auto& in) { return in.getTagDefIndexUsingParentTypeDefIndex(other, id); });
    }
  }
  for (const char16_t* const name : {u"a", u"b", u"c", u"a^b", u"^a", u"12", u""}) {
    for (const char16_t* const uri : {u"", u"a", u"urn:x", u"zed"}) {
      const KelStringBase space(uri);
      std::int32_t id = 0;
      for (const bool any : {false, true}) {
        same([&](const auto& in) { return in.getTagDefIndexFromName(name, space, any); });
        same([&](const auto& in) { return in.getTypeIdForTypeText(name, space, id, any); });
      }
    }
  }
}

// Passes all events on but the end of the load, which would make the index.
class Unfinished : public FIHandler {
 public:
  explicit Unfinished(FIHandler& next) : next_(next) {}
  using FIHandler::endElement;
  using FIHandler::startElement;
  void startMessage(WorkerInfoPtr worker) override { next_.startMessage(worker); }
  void endMessage(WorkerInfoPtr) override {}
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr worker, std::int32_t index,
                    std::int32_t extra) override {
    next_.startElement(id, kind, worker, index, extra);
  }
  void endElement(std::int32_t id, WorkerInfoPtr worker) override { next_.endElement(id, worker); }
  void data(const PWFData& value, WorkerInfoPtr worker) override { next_.data(value, worker); }

 private:
  FIHandler& next_;
};

void walk(const StdDictionaryInfo& dictionary, ByteReader& bytes) {
  const WalkModel model(dictionary);
  ModelWalk walk(model, bytes.flag());
  for (int i = 0; i < kMostOperations && !bytes.isAtEnd(); ++i) {
    const std::int32_t choice = bytes.below(4);
    if (choice == 3 && walk.depth() > 0) {
      walk.isIncomplete();
      walk.leave();
      continue;
    }
    const KelStringBase name{std::u16string_view(bytes.name())};
    const KelStringBase space(choice == 2 ? u"urn:x" : u"");
    walk.enter(name.getText(), space, choice == 1 ? u"a^" : u"");
    walk.groups();
    if (choice == 0 && bytes.below(8) == 7) walk.setNil();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteReader bytes(data, size);
  const bool isWalk = bytes.flag();
  const DictionaryTables tables = randomTables(bytes);
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  if (isWalk) {
    try {
      walk(dictionary, bytes);
    } catch (const KelParserException&) {  // the dictionary makes no sense to the navigator
    }
    return 0;
  }
  StdDictionaryInfo plain(0);
  Unfinished load(plain);
  feed(tables, load);
  require(plain.index() == nullptr, "a load that goes on has an index");
  navigate(dictionary, plain, bytes);
  compareLookups(dictionary, plain);
  askEverything(dictionary);
  roundTrip(dictionary);
  return 0;
}

}  // namespace cpi::fuzz
