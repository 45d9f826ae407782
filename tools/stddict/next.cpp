// stddict next: what may come next at a place in a message.
#include <fmt/core.h>

#include <algorithm>
#include <deque>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cpi/dictinfo/stddi/expectation.h"
#include "cpi/walk/walkcursor.h"
#include "tools/stddict/definitions.h"
#include "tools/stddict/legalplaces.h"
#include "tools/stddict/messagepath.h"
#include "tools/stddict/verbs.h"
#include "tools/stddict/words.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict next order.json --path /order
  stddict next order.json --path '/order/article[2]'
  stddict next order.json --path '/{urn:example:order}order/buyer/name' --json

A path goes from element to element, the message first; [2] is the second one of its name within its
parent, and {namespace} keeps to one namespace. Elements beside those of the path are not named: it
leads to the nearest place that the model has for them, past as few others as can be.
Listed are, in the order of the model, the children that a move finds first in the element at the
path's end, and what it finds after it, each with its occurrence and the groups in which it would
stand. One that is behind owed may come only when what is owed in front of it has come.
What is owed has to come before the element, or the one around it, may end. A member that is owed in
any order may have come before the path's last element; that is for the message to tell.
The repeats of a FIX group have the name of its count field with .group behind it in a path:
/NewOrderSingle/NoAllocs.group[2]/AllocQty.
Exit code: 0 when the path leads to an element, 1 when not, 2 when the file cannot be read or the
path is none.)";

struct Options {
  std::string dictionary;
  std::string path;
  bool isJson = false;
  std::uint64_t maxAnswer = AnswerLimit::kDefault;
};

// --- The walk ------------------------------------------------------------------------------------

class PathWalk {
 public:
  // At the message of the first step, if there is one.
  PathWalk(const cpi::StdDictionaryInfo& dictionary, const MessageStep& message)
      : dictionary_(dictionary), iterator_(dictionary), model_(dictionary) {
    const std::vector<std::int32_t> tags = chooseTags(dictionary, message.query);
    if (tags.empty() || message.occurrence > 1) return;
    iterator_.setContextFromTag(dictionary.tags().row(tags.front()).Id);
    path_ = "/" + message.text;
  }

  // Goes on to a child of the element; false when there is no place for it.
  bool goTo(const MessageStep& step) {
    const cpi::WalkCursor before(iterator_);
    cpi::OccurrenceCounter counter(dictionary_.typeMembers().rowCount());
    for (std::int32_t i = 0; i < step.occurrence; ++i) {
      if (seek(step.query, i == 0) && isWithinLimit(counter)) continue;
      iterator_ = before;
      return false;
    }
    parentHeight_ = before.height();
    parentType_ = before.position().typeIndex;
    counter_ = std::move(counter);
    path_ += "/" + step.text;
    return true;
  }

  const cpi::StdDictionaryIterator& iterator() const { return iterator_; }
  // What may stand inside the element, or behind it, with nothing before that.
  LegalPlaces legalInside() const {
    const std::int32_t type = iterator_.hasContext() ? iterator_.position().typeIndex : cpi::kNone;
    return LegalPlaces({model_, counter_, kInside, type, {}});
  }
  LegalPlaces legalBehind() const {
    cpi::ContentPath last;
    if (parentHeight_ > 0) iterator_.readPath(parentHeight_, last);
    return LegalPlaces({model_, counter_, kAround, parentType_, last});
  }
  // The member in any order that the element, or a choice around it, is for the last time.
  std::int32_t usedUp() const {
    const std::int32_t member = parentHeight_ > 0 ? iterator_.unorderedMember() : cpi::kNone;
    if (member == cpi::kNone) return member;
    const std::int32_t limit = dictionary_.typeMembers().row(member).MaxOccurs;
    return limit >= 0 && counter_.countedFor(kAround, member) >= limit ? member : cpi::kNone;
  }
  const std::string& path() const { return path_; }

 private:
  // Numbers of the element and of the one around it, for the counter.
  static constexpr std::int64_t kAround = 1;
  static constexpr std::int64_t kInside = 2;

  // A place that was reached on the way, by the fewest elements.
  struct Place {
    cpi::WalkCursor at;
    bool isParent;
  };
  // Elements that may come next, with the groups around them, in all places of all steps. A move to
  // one takes as much as looking at many.
  static constexpr std::size_t kMaximumLooks = 1'000'000;
  static constexpr std::size_t kLooksOfMove = 100;

  // Goes to the nearest element of the name: at once, or past others, each member of them once.
  bool seek(const Query& query, bool isFirst) {
    std::deque<Place> places{{iterator_, isFirst}};
    std::unordered_set<std::int32_t> seen;
    for (; !places.empty(); places.pop_front()) {
      const Place& place = places.front();
      list(place);
      noteLooks(expectation_.elements.size() + expectation_.groups.size(), query);
      for (const cpi::ExpectedElement& element : expectation_.elements) {
        if (isNamed(element.tagIndex, query)) return move(place, element.tagIndex, iterator_);
      }
      for (const cpi::ExpectedElement& element : expectation_.elements) {
        if (element.tagIndex < 0 || !seen.insert(element.memberIndex).second) continue;
        noteLooks(kLooksOfMove, query);
        cpi::WalkCursor next(place.at);
        if (move(place, element.tagIndex, next)) places.push_back({next, false});
      }
    }
    return false;
  }

  void noteLooks(std::size_t count, const Query& query) {
    looked_ += count;
    if (looked_ <= kMaximumLooks) return;
    throw std::length_error(
        fmt::format("--path: the search for {} looks at more than {} elements and groups",
                    printable(query.text), kMaximumLooks));
  }

  void list(const Place& place) {
    if (place.isParent) {
      place.at.listFirstChildren(expectation_, true);
    } else {
      place.at.listNextSiblings(expectation_, true);
    }
  }

  // The moves count the occurrences of a member in any order from wherever they come to it.
  bool isWithinLimit(cpi::OccurrenceCounter& counter) const {
    const std::int32_t member = iterator_.unorderedMember();
    if (member == cpi::kNone) return true;
    const std::int32_t limit = dictionary_.typeMembers().row(member).MaxOccurs;
    const std::int32_t count = counter.count(kAround, member);
    return limit < 0 || count <= limit;
  }

  bool move(const Place& place, std::int32_t tagIndex, cpi::WalkCursor& moved) const {
    const std::int32_t tagId = dictionary_.tags().row(tagIndex).Id;
    moved = place.at;
    return place.isParent ? moved.moveToFirstChildTagId(tagId, false, true)
                          : moved.moveToNextSiblingTagId(tagId, false, true);
  }

  bool isNamed(std::int32_t tagIndex, const Query& query) const {
    const auto* const tag = dictionary_.tags().find(tagIndex);
    return tag != nullptr && cpi::toUtf8(comparedName(tag->TextIdentifier)) == query.text &&
           (!query.namespaceUri ||
            cpi::toUtf8(dictionary_.namespaceText(tag->namespaceIndex)) == *query.namespaceUri);
  }

  const cpi::StdDictionaryInfo& dictionary_;
  cpi::WalkCursor iterator_;
  const cpi::ContentModel model_;
  cpi::Expectation expectation_;
  std::size_t looked_ = 0;
  std::size_t parentHeight_ = 0;  // 0: at the message
  std::int32_t parentType_ = cpi::kNone;
  cpi::OccurrenceCounter counter_{0};  // of what the last step of the path names
  std::string path_;
};

// --- Facts ---------------------------------------------------------------------------------------

// Members of a group that are named.
constexpr std::int32_t kMembersShown = 1'000;

class ExpectationFacts {
 public:
  ExpectationFacts(const cpi::StdDictionaryInfo& dictionary, const cpi::Expectation& expectation,
                   AnswerLimit& answer)
      : dictionary_(dictionary), expectation_(expectation), answer_(answer) {}

  Json elements(const LegalPlaces& legal) const {
    Json list = Json::array();
    for (const cpi::ExpectedElement& element : expectation_.elements) {
      Json facts = placeFacts(element);
      facts["occurrence"] = element.repeatIndex + 1;
      facts["groups"] = groups(element);
      facts["isFoundByName"] = element.isFoundByName;
      facts["isBehindOwed"] = !legal.contains(expectation_, element);
      answer_.add(list, std::move(facts));
    }
    return list;
  }

  Json owed() const {
    Json list = Json::array();
    for (const cpi::OwedMember& member : expectation_.owed) {
      Json facts = placeFacts(member);
      facts["owed"] = member.owed;
      facts["isInAnyOrder"] = member.isInAnyOrder;
      facts["members"] = members(member);
      facts["groups"] = groups(member);
      answer_.add(list, std::move(facts));
    }
    return list;
  }

 private:
  Json placeFacts(const cpi::ExpectedPlace& place) const {
    const auto* const member = dictionary_.typeMembers().find(place.memberIndex);
    const auto* const tag = dictionary_.tags().find(place.tagIndex);
    return {
        {"what", member == nullptr ? "one of" : memberWords(dictionary_, *member)},
        {"namespace", tag == nullptr ? Json() : namespaceFact(dictionary_, tag->namespaceIndex)},
        {"occurs", range(place.minOccurs, limit(place.maxOccurs))},
        {"tag", tagReference(dictionary_, place.tagIndex)},
        {"member", member == nullptr ? Json() : Json(member->Id)}};
  }

  static std::int32_t limit(std::int32_t maxOccurs) {
    return maxOccurs == cpi::kUnbounded ? cpi::kNone : maxOccurs;
  }

  Json groups(const cpi::ExpectedPlace& place) const {
    Json list = Json::array();
    for (const cpi::MbrPathItem& group : expectation_.groupsOf(place)) {
      const auto* const member = dictionary_.typeMembers().find(group.memberIndex);
      answer_.add(list, {{"what", member == nullptr ? "" : memberWords(dictionary_, *member)},
                         {"member", group.memberId},
                         {"occurrence", group.repeatIndex + 1}});
    }
    return list;
  }

  // What is in a group, or what the alternatives are.
  Json members(const cpi::ExpectedPlace& place) const {
    Json list = Json::array();
    if (place.tagIndex >= 0) return list;
    const MemberRows rows = membersOf(dictionary_, place.typeIndex);
    for (std::int32_t row = rows.begin; row < std::min(rows.end, rows.begin + kMembersShown);
         ++row) {
      answer_.add(list, memberWords(dictionary_, dictionary_.typeMembers().row(row)));
    }
    return list;
  }

  const cpi::StdDictionaryInfo& dictionary_;
  const cpi::Expectation& expectation_;
  AnswerLimit& answer_;
};

// In any order a move goes back to the choice that the element has just taken, as to that of a head
// and its substitutes. Where it has occurred as often as it may, its alternatives are not for now.
void dropUsedUp(std::int32_t choice, cpi::Expectation& expectation) {
  std::erase_if(expectation.elements, [&](const cpi::ExpectedElement& one) {
    const auto groups = expectation.groupsOf(one);
    return std::ranges::find(groups, choice, &cpi::MbrPathItem::memberIndex) != groups.end();
  });
}

// Adds the two lists of a position, or null where no model says what may come.
void addLists(const ExpectationFacts& lists, bool isListed, const LegalPlaces& legal,
              const char* elements, const char* owed, Json& facts) {
  facts[elements] = isListed ? lists.elements(legal) : Json();
  facts[owed] = isListed ? lists.owed() : Json();
}

Json placeFacts(const PathWalk& walk, const std::string& missing, AnswerLimit& answer) {
  const cpi::StdDictionaryIterator& at = walk.iterator();
  Json facts = {{"path", walk.path()}, {"missing", missing.empty() ? Json() : Json(missing)}};
  facts["type"] = at.hasContext()
                      ? typeReference(*at.getDictionaryInfo(), at.getCurrentPosition()->typeIndex)
                      : Json();
  cpi::Expectation expectation;
  const ExpectationFacts lists(*at.getDictionaryInfo(), expectation, answer);
  bool isListed = at.listFirstChildren(expectation, true);
  addLists(lists, isListed, walk.legalInside(), "firstChildren", "owedInside", facts);
  isListed = at.listNextSiblings(expectation, true);
  if (isListed && walk.usedUp() != cpi::kNone) dropUsedUp(walk.usedUp(), expectation);
  addLists(lists, isListed, walk.legalBehind(), "nextSiblings", "owedAfter", facts);
  return facts;
}

// Groups and flags in words.
Json forPeople(Json facts) {
  for (auto& [key, list] : facts.items()) {
    if (!list.is_array()) continue;
    for (Json& entry : list) {
      Json in = Json::array();
      for (const Json& group : entry["groups"]) {
        in.push_back(fmt::format("{}[{}]", group["what"].get<std::string>(),
                                 group["occurrence"].get<std::int32_t>()));
      }
      entry["groups"] = std::move(in);
      entry.erase("isFoundByName");
      for (const char* flag : {"isBehindOwed", "isInAnyOrder"}) {
        if (entry.contains(flag) && !entry[flag].get<bool>()) entry.erase(flag);
      }
    }
  }
  return facts;
}

int run(const Options& options) {
  const std::vector<MessageStep> steps = readMessagePath(options.path);
  const auto dictionary = openDictionary(options.dictionary);
  PathWalk walk(*dictionary, steps.front());
  std::size_t found = walk.iterator().hasContext() ? 1 : 0;
  while (found > 0 && found < steps.size() && walk.goTo(steps[found])) ++found;
  const std::string missing = found == steps.size() ? std::string() : steps[found].text;
  AnswerLimit answer(options.maxAnswer);
  const Json facts = placeFacts(walk, missing, answer);
  if (options.isJson) {
    printJson(facts);
  } else {
    printFacts(forPeople(facts), {Style(), 0, 0});
  }
  finishOutput();
  return missing.empty() ? kExitGood : kExitNo;
}

}  // namespace

void addNext(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("next", "Tell what may come next at a place in a message");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("--path", options->path, "Path of the element: /NAME[N]/NAME...")
      ->required()
      ->type_name("PATH");
  verb.add_flag("--json", options->isJson, "One JSON object");
  addAnswerLimit(verb, options->maxAnswer);
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
