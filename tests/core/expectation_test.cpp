// What may come next and what is owed: small models by table, random ones against the moves.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "cpi/dictinfo/stddi/expectation.h"
#include "tests/core/support/testmodel.h"

namespace cpi::test {
namespace {

std::string placeText(const StdDictionaryInfo& dictionary, const Expectation& expectation,
                      const ExpectedPlace& place) {
  std::string text;
  for (const MbrPathItem& group : expectation.groupsOf(place)) {
    text += group.repeatIndex == 0 ? "()/" : "()[" + std::to_string(group.repeatIndex) + "]/";
  }
  if (place.memberIndex < 0) return text + "(one)";
  if (place.tagIndex >= 0) {
    return text + toUtf8(textView(dictionary.tags().row(place.tagIndex).TextIdentifier));
  }
  return text + (dictionary.types().row(place.typeIndex).LogicalType == 0 ? "()" : "=");
}

// "what may come | what is owed": an occurrence in brackets, what is owed more than once with its
// number, members in any order with '?', those that their name does not lead to with '!'.
std::string expectationText(const StdDictionaryInfo& dictionary, const Expectation& expectation) {
  std::string text;
  for (const ExpectedElement& element : expectation.elements) {
    text += placeText(dictionary, expectation, element);
    if (element.repeatIndex > 0) text += "[" + std::to_string(element.repeatIndex) + "]";
    text += element.tagIndex >= 0 && !element.isFoundByName ? "! " : " ";
  }
  text += "|";
  for (const OwedMember& owed : expectation.owed) {
    text += " " + placeText(dictionary, expectation, owed) + (owed.isInAnyOrder ? "?" : "");
    if (owed.owed > 1) text += "*" + std::to_string(owed.owed);
  }
  return text;
}

struct ExpectationCase {
  const char* name;
  const char* model;
  const char* script;  // empty: the first children
  const char* expected;
};

class Expecting : public testing::TestWithParam<ExpectationCase> {};

TEST_P(Expecting, Lists) {
  const ExpectationCase& c = GetParam();
  const auto dictionary = buildModel(parseModel(c.model), {"Known"});
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  walk(iterator, c.script);
  Expectation expectation;
  Expectation owed;
  const bool isFirst = *c.script == '\0';
  EXPECT_TRUE(isFirst ? iterator.listFirstChildren(expectation, true)
                      : iterator.listNextSiblings(expectation, true));
  EXPECT_TRUE(isFirst ? iterator.listOwedChildren(owed) : iterator.listOwedSiblings(owed));
  EXPECT_EQ(expectationText(*dictionary, expectation), c.expected) << c.model << "  " << c.script;
  const std::string all = c.expected;
  EXPECT_EQ(expectationText(*dictionary, owed), all.substr(all.find('|')));
}

const ExpectationCase kCases[] = {
    {"First", "R(6 A{0,1} B{2,3} C)", "", "A B C | B*2 C"},
    {"Repeats", "R(6 A{0,1} B{2,3} C D{0,1})", ">B", "B[1] C D | B C"},
    {"LimitReached", "R(6 B{1,2} C)", ">B B", "C | C"},
    {"SameTagLater", "R(6 A B{0,1} A)", "", "A B | A A"},
    {"SameTagAfterTheLimit", "R(6 A B{0,1} A)", ">A", "B A | A"},
    {"SameNameLater", "R(6 x^A{0,1} y^A)", "", "x^A y^A! | y^A"},
    {"RestOfAGroupThenTheGroupAgain", "R(6 (6 A B{0,1} C){2,3} D)", ">A",
     "()/B ()/C ()[1]/A D | ()/C () D"},
    {"GroupOwedMoreOften", "R(5 (5 A B){3,4} C)", ">A B", "()[1]/A C | ()*2 C"},
    {"OptionalGroupOwesOnceEntered", "R(6 (6 A B){0,1} C{0,1})", ">A", "()/B C | ()/B"},
    {"OptionalGroupOwesNothingBefore", "R(6 (6 A B){0,1} C{0,1})", "", "()/A C |"},
    {"EmptyGroupsOweNothing", "R(6 (6 A{0,1} (2 B C{0,*})) (4 D{0,1}) E)", "",
     "()/A ()/()/B ()/()/C ()/D E | E"},
    {"Choice", "R(2 A{2,3} (6 B C))", "", "A ()/B | (one)"},
    {"ChoiceTaken", "R(2 A{2,3} (6 B C))", ">A", "A[1] | A"},
    {"ChoiceOfGroupsTaken", "R(2 A (6 B C))", ">B", "()/C | ()/C"},
    {"RepeatedChoice", "R(6 (2 A B){2,*} C)", ">B", "()[1]/A ()[1]/B C | () C"},
    {"AnyOrder", "R(4 A B{0,1} C)", ">B", "A C | A? C?"},
    {"AnyOrderKeepsModelOrder", "R(3 A B{2,3} C)", ">B", "A B[1] C | A? B? C?"},
    {"Single", "R(1 A{1,2} B)", "", "A | A"},
    {"SingleTaken", "R(1 A{1,2} B)", ">A", "A[1] |"},
    {"ValuesWithoutTag", "R(6 A{0,1} {1,2} B)", "", "A = B | = B"},
    {"AfterUndefinedElement", "R(6! A B)", ">A Zed", "B | B"},
    {"AfterUndefinedFirstChild", "R(6! A B)", ">Known", "A B | A B"},
    {"NothingAllowed", "R(6 A{0,0} B)", "", "B | B"},
    {"NestedPath", "R(6 (6 (2 A B) C){1,2})", ">B C", "()[1]/()/A ()[1]/()/B |"},
};
INSTANTIATE_TEST_SUITE_P(Cases, Expecting, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Random models of up to eight names, which may come up again in other places.
class ModelMaker {
 public:
  explicit ModelMaker(unsigned seed) : random_(seed) {}

  std::int32_t below(std::int32_t bound) {
    return std::uniform_int_distribution<std::int32_t>(0, bound - 1)(random_);
  }

  Node model(std::string_view compositions, bool isUnique) {
    compositions_ = compositions;
    isUnique_ = isUnique;
    return {"R", 1, 1, composition(), members(0)};
  }

 private:
  std::int32_t composition() {
    return compositions_[static_cast<std::size_t>(
               below(static_cast<std::int32_t>(compositions_.size())))] -
           '0';
  }

  std::vector<Node> members(int depth) {
    std::vector<Node> list;
    for (std::int32_t count = 1 + below(4); count > 0; --count) list.push_back(member(depth));
    return list;
  }

  Node member(int depth) {
    Node node{{}, below(3), 0, 0};
    // A member that may go on hides the next occurrence of its group.
    node.max = isUnique_ ? std::max(1, node.min) : below(5) - 1 + node.min;
    if (depth < 3 && below(3) == 0) {
      node.composition = composition();
      node.members = members(depth + 1);
    } else if (isUnique_ || below(9) != 0) {
      const char letter = static_cast<char>('A' + (isUnique_ ? names_ % 26 : below(8)));
      node.name = std::string(1 + static_cast<std::size_t>(isUnique_ ? names_++ / 26 : 0), letter);
    }
    return node;
  }

  std::mt19937 random_;
  std::string_view compositions_;
  bool isUnique_ = false;
  int names_ = 0;
};

struct Snapshot {
  explicit Snapshot(const OpenIterator& at)
      : stack(at.positionStack), isSaved(at.positionStackSaved), saved(at.savedPositionStack) {}
  friend bool operator==(const Snapshot&, const Snapshot&) = default;

  std::vector<DictionaryPosition> stack;
  bool isSaved;
  std::vector<DictionaryPosition> saved;
};

class Comparison {
 public:
  Comparison(const OpenIterator& iterator, bool isFirst, bool enforceRequired)
      : iterator_(iterator), isFirst_(isFirst), enforceRequired_(enforceRequired) {
    const Snapshot before(iterator);
    const bool isListed = isFirst ? iterator.listFirstChildren(expectation_, enforceRequired)
                                  : iterator.listNextSiblings(expectation_, enforceRequired);
    EXPECT_TRUE(Snapshot(iterator) == before);
    if (!isListed) return;
    for (const ExpectedElement& element : expectation_.elements) expectListed(element);
    const auto& tags = iterator.getDictionaryInfo()->tags();
    for (std::int32_t row = 0; row < tags.rowCount(); ++row) expectOthers(row);
  }

  const Expectation& expectation() const { return expectation_; }

 private:
  bool moveToTag(OpenIterator& at, std::int32_t tagIndex) const {
    const std::int32_t id = at.getDictionaryInfo()->tags().row(tagIndex).Id;
    return isFirst_ ? at.moveToFirstChildTagId(id, false, enforceRequired_)
                    : at.moveToNextSiblingTagId(id, false, enforceRequired_);
  }

  bool moveToValue(OpenIterator& at, std::int32_t code) const {
    const auto type = static_cast<ELogicalType>(code);
    return isFirst_ ? at.moveToFirstChildSimpleType(type, false, enforceRequired_)
                    : at.moveToNextSiblingSimpleType(type, false, enforceRequired_);
  }

  void expectListed(const ExpectedElement& element) const {
    OpenIterator at(iterator_);
    ASSERT_TRUE(element.logicalType > 0 ? moveToValue(at, element.logicalType)
                                        : moveToTag(at, element.tagIndex));
    EXPECT_EQ(at.positionStack.back().memberIndex, element.memberIndex);
    EXPECT_EQ(at.positionStack.back().repeatIndex, element.repeatIndex);
    const auto groups = expectation_.groupsOf(element);
    EXPECT_EQ(at.getPartialMemberPath(), std::vector<MbrPathItem>(groups.begin(), groups.end()));
  }

  void expectOthers(std::int32_t tagIndex) const {
    for (const ExpectedElement& element : expectation_.elements) {
      if (element.tagIndex == tagIndex) return;
    }
    OpenIterator at(iterator_);
    if (!moveToTag(at, tagIndex)) return;
    EXPECT_GE(at.getRepeatIndex(), at.getMaxOccurs()) << "a move found tag row " << tagIndex;
  }

  const OpenIterator& iterator_;
  const bool isFirst_;
  const bool enforceRequired_;
  Expectation expectation_;
};

TEST(ExpectationProperty, AgreesWithTheMoves) {
  std::size_t listed = 0;
  for (unsigned seed = 0; seed < 400 && !HasFailure(); ++seed) {
    ModelMaker maker(seed);
    const bool enforceRequired = seed % 2 == 0;
    const auto dictionary = buildModel(maker.model("123456", false), {"Known"});
    OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
    listed += Comparison(iterator, true, enforceRequired).expectation().elements.size();
    for (int step = 0; step < 10; ++step) {
      const std::string name(1, static_cast<char>('A' + maker.below(8)));
      if (walk(iterator, (step == 0 ? "!>" : "!") + name) == "no" && step == 0) {
        if (!iterator.moveToFirstChild()) break;
      }
      SCOPED_TRACE("seed " + std::to_string(seed) + " at " + stackText(iterator));
      listed += Comparison(iterator, false, enforceRequired).expectation().elements.size();
    }
  }
  EXPECT_GT(listed, 4'000u);
}

// Whether the element is, or begins, one of the occurrences that are owed.
bool isOwedPlace(const Expectation& expectation, const OwedMember& owed,
                 const ExpectedElement& element) {
  const std::size_t level = owed.groupCount;
  const auto groups = expectation.groupsOf(element);
  if (groups.size() < level) return false;
  if (owed.memberIndex < 0) return true;
  if (groups.size() == level) {
    return element.memberIndex == owed.memberIndex && element.repeatIndex >= owed.repeatIndex;
  }
  return groups[level].memberIndex == owed.memberIndex &&
         groups[level].repeatIndex >= owed.repeatIndex;
}

// Whatever is owed first may come next, and who goes on so owes nothing in the end. (With required
// groups enforced, one that can be empty ends the level behind it.)
TEST(ExpectationProperty, WhatIsOwedCanBeGiven) {
  std::size_t given = 0;
  for (unsigned seed = 0; seed < 400 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    ModelMaker maker(seed);
    const auto dictionary = buildModel(maker.model("2556", true));
    OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
    Expectation expectation;
    iterator.listFirstChildren(expectation, false);
    int steps = 0;
    for (; !expectation.owed.empty() && steps < 200; ++steps) {
      const OwedMember& owed = expectation.owed.front();
      const auto next = std::ranges::find_if(expectation.elements, [&](const auto& element) {
        return isOwedPlace(expectation, owed, element);
      });
      ASSERT_TRUE(next != expectation.elements.end())
          << stackText(iterator) << "  " << expectationText(*dictionary, expectation);
      const std::int32_t tagId = dictionary->tags().row(next->tagIndex).Id;
      ASSERT_TRUE(steps == 0 ? iterator.moveToFirstChildTagId(tagId, false, false)
                             : iterator.moveToNextSiblingTagId(tagId, false, false));
      iterator.listNextSiblings(expectation, false);
      ++given;
    }
    EXPECT_LT(steps, 200) << stackText(iterator);
  }
  EXPECT_GT(given, 1'000u);
}

// Groups nested deeper than calls could follow, and a repeating group in any order.
TEST(Expecting, EndsOnEveryModel) {
  std::string model = "A";
  for (int depth = 0; depth < 800; ++depth) model = "(2 " + model + ")";
  const auto dictionary = buildModel(parseModel("R(6 " + model + " (4 (6 B{0,1}){0,*} C))"));
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  Expectation expectation;
  ASSERT_TRUE(iterator.listFirstChildren(expectation, true));
  ASSERT_EQ(expectation.elements.size(), 3u);
  EXPECT_EQ(expectation.elements.front().groupCount, 800u);
  EXPECT_EQ(expectation.owed.size(), 2u);
}

TEST(Expecting, SaysWhereNoModelTells) {
  const auto dictionary = buildModel(parseModel("R(6! A S(6 B))"), {"Known"});
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  Expectation expectation;
  EXPECT_FALSE(iterator.listNextSiblings(expectation, true)) << "the root";
  walk(iterator, ">A");
  EXPECT_FALSE(iterator.listFirstChildren(expectation, true)) << "a simple type";
  walk(iterator, "Zed >Zed");
  EXPECT_FALSE(iterator.listNextSiblings(expectation, true)) << "in a self-defined element";
  iterator.setDictionaryInfo(nullptr);
  EXPECT_FALSE(iterator.listNextSiblings(expectation, true));
  EXPECT_FALSE(iterator.listFirstChildren(expectation, true));
}

}  // namespace
}  // namespace cpi::test
