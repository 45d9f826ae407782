// Walks through small models, each step with the position that it must lead to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/core/support/testmodel.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

using testing::HasSubstr;

struct WalkCase {
  const char* name;
  const char* model;
  const char* script;
  const char* expected;
};

class Navigation : public testing::TestWithParam<WalkCase> {};

TEST_P(Navigation, Walks) {
  const WalkCase& c = GetParam();
  const auto dictionary = buildModel(parseModel(c.model), {"Known"});
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  EXPECT_EQ(walk(iterator, c.script), c.expected) << c.model << "  " << c.script;
}

const WalkCase kSequences[] = {
    {"InOrder", "R(6 A B{0,1} C)", ">A B C", "R/A\nR/B\nR/C"},
    {"OptionalSkipped", "R(6 A B{0,1} C)", ">A C ^", "R/A\nR/C\nR"},
    {"NotBackwards", "R(6 A B)", ">B !A", "R/B\nno"},
    {"RepeatWithinLimit", "R(6 A{1,3} B)", ">A A A B", "R/A\nR/A[1]\nR/A[2]\nR/B"},
    {"RepeatBeyondLimitOfLastMember", "R(6 A{1,2})", ">A A A", "R/A\nR/A[1]\nR/A[2]"},
    {"RepeatBeyondLimitBeforeOthers", "R(6 A{1,2} B)", ">A A A", "R/A\nR/A[1]\nR/A[2]"},
    // The limit was looked up by the search itself, which tells the two entries apart.
    {"SecondOfOneBeforeOthers", "R(6 A B)", ">A !A", "R/A\nno"},
    {"SecondOfOneAtTheEnd", "R(6 A)", ">A !A", "R/A\nR/A[1]"},
    {"AnyStopsAtEachMember", "R(6 A B)", ">* * *", "R/A\nR/B\nno"},
    {"RequiredMemberMissing", "R(6 (6 A B){0,*} C)", ">A C", "R/()/A\nR/C"},
    {"GroupAgainWithoutItsEnd", "R(6 (6 A B){0,*} C)", ">A A C", "R/()/A\nR/()[1]/A\nR/C"},
    {"RequiredClosesItsGroup", "R(6 (6 A{0,1} B C){0,1} C)", ">C", "R/C"},
};

const WalkCase kGroups[] = {
    {"IntoAndOut", "R(6 (6 A B) C)", ">A B C", "R/()/A\nR/()/B\nR/C"},
    {"GroupStartsAgain", "R(6 (6 A B){1,3})", ">A B A B", "R/()/A\nR/()/B\nR/()[1]/A\nR/()[1]/B"},
    {"GroupKeepsItsLimit", "R(6 (6 A B){1,2})", ">A B A !A", "R/()/A\nR/()/B\nR/()[1]/A\nno"},
    {"AnyGoesToTheInnermost", "R(6 (6 (6 A) B) C)", ">* * *", "R/()/()/A\nR/()/B\nR/C"},
    {"ParentOfGroupMemberIsTheElement", "R(6 S(6 (2 A B)) C)", ">S >B ^ C",
     "R/S\nR/S/()/B\nR/S\nR/C"},
    {"ChoiceOfGroups", "R(2 (6 A B) (6 C D))", ">C D", "R/()/C\nR/()/D"},
    {"RepeatedChoice", "R(6 (2 A B){0,*})", ">B A A B", "R/()/B\nR/()[1]/A\nR/()[2]/A\nR/()[3]/B"},
};

const WalkCase kOtherCompositions[] = {
    {"SingleMemberHasNoNext", "R(1 A B)", ">A !B", "R/A\nno"},
    {"ChoiceIsTakenOnce", "R(2 A B)", ">A !B", "R/A\nno"},
    {"ChoiceMayRepeatItsMember", "R(2 A{1,2} B)", ">A A", "R/A\nR/A[1]"},
    {"UnorderedGoesBack", "R(4 A B C)", ">C A B", "R/C\nR/A\nR/B"},
    {"UnorderedRepeatsWhateverTheLimit", "R(3 A B)", ">B B", "R/B\nR/B[1]"},
    {"UnorderedAnyGoesForward", "R(4 A B)", ">B *", "R/B\nno"},
    {"SequenceFive", "R(5 A B{0,1} C)", ">A C", "R/A\nR/C"},
    {"OutOfRange", "R(9 A B)", ">A B",
     "R/A\nthrows CPI Internal Error: invalid type composition for moving"},
};

const WalkCase kUndefined[] = {
    {"ClosedTypePushesAChild", "R(6 A B)", ">Known B", "R/+Known\nR/B"},
    {"SelfDefinedChild", "R(6 A B)", ">Zed A", "R/?\nR/A"},
    {"SelfDefinedAfterAMember", "R(6! A B)", ">A Zed B", "R/A\nR/A/^?\nR/B"},
    {"TagDefinedInOpenContent", "R(6! A B)", ">Known A Known", "R/+Known\nR/A\nR/A/^+Known"},
    {"DefinedContentTakesTagsOnly", "R(6? A B)", ">A Known Zed", "R/A\nR/A/^+Known\nR/A/^?"},
    {"MarkerGoesWithItsMember", "R(6! A B)", ">A Zed ^", "R/A\nR/A/^?\nR"},
    {"ChildrenOfSelfDefined", "R(6! A)", ">Zed >Known Zed ^ ^", "R/?\nR/?/+Known\nR/?/?\nR/?\nR"},
    {"NotAllowed", "R(6! A)", "!>Known !>Zed", "no\nno"},
    {"SimpleTypeHasNoChildren", "R(6 A)", ">A >Known", "R/A\nno"},
    {"EmptyType", "R(6!)", ">Known Known", "R/+Known\nR/+Known"},
};

const WalkCase kRoots[] = {
    {"NoSiblingOfTheRoot", "R(6 A)", "* A", "no\nno"},
    {"AboveTheRoot", "R(6 A)", "^ ^", "-\nno"},
    {"UnknownMemberName", "R(6 A)", "!>Zed >A", "no\nR/A"},
};

std::string caseName(const testing::TestParamInfo<WalkCase>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Sequences, Navigation, testing::ValuesIn(kSequences), caseName);
INSTANTIATE_TEST_SUITE_P(Groups, Navigation, testing::ValuesIn(kGroups), caseName);
INSTANTIATE_TEST_SUITE_P(Compositions, Navigation, testing::ValuesIn(kOtherCompositions), caseName);
INSTANTIATE_TEST_SUITE_P(Undefined, Navigation, testing::ValuesIn(kUndefined), caseName);
INSTANTIATE_TEST_SUITE_P(Roots, Navigation, testing::ValuesIn(kRoots), caseName);

// Models on which a search that follows its rules to the letter would never end.
const WalkCase kEndless[] = {
    {"RepeatingGroupInUnordered", "R(4 A (6 B){0,*} C)", ">C !>Known", "R/C\nno"},
    {"RepeatingGroupInUnorderedFails", "R(4 (6 B){0,*})", "!>Known", "no"},
    {"NestedRepeatingGroups", "R(4 (4 (4 B){0,*} C){0,*} D)", "!>Known >D B", "no\nR/D\nR/()/()/B"},
};
INSTANTIATE_TEST_SUITE_P(Endless, Navigation, testing::ValuesIn(kEndless), caseName);

// A group whose only member is the group itself.
TEST(NavigationGuards, GroupThatContainsItself) {
  const auto dictionary = buildModel(parseModel("R(6 (6 A) B)"), {"Known"});
  auto* const members = reinterpret_cast<SMD_STRUCTURE_ELEMENT_DEFINITION*>(
      dictionary->typeMembers().table().records);
  for (std::int32_t row = 0; row < dictionary->typeMembers().rowCount(); ++row) {
    if (members[row].toTagIndex >= 0 && members[row].MinOccurs == 1 &&
        toUtf8(textView(dictionary->tags().row(members[row].toTagIndex).TextIdentifier)) == "A") {
      members[row].toTagIndex = -1;  // the group's member becomes a group of the same type
      members[row].toTypeIndex = 2;
    }
  }
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  EXPECT_EQ(walk(iterator, "!>Known >B *"), "no\nR/B\nno");
}

// Groups nested deeper than any model: the search gives up within its cost instead of never.
TEST(NavigationGuards, ManyNestedGroups) {
  std::string model = "A";
  for (int depth = 0; depth < 800; ++depth) model = "(2 " + model + ")";
  const auto dictionary = buildModel(parseModel("R(6 " + model + ")"), {"Known"});
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  EXPECT_EQ(walk(iterator, "!>Known"), "no");
  EXPECT_NE(walk(iterator, ">A"), "no");
  EXPECT_EQ(iterator.positionStack.size(), 802u);
}

// A failed move, and one that an exception leaves, change nothing of the stack.
TEST(NavigationState, FailureLeavesTheStack) {
  const auto dictionary = buildModel(parseModel("R(6 A (6 B{0,1} C){0,2} S(9 X Y))"), {"Known"});
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  for (const char* const at : {">A", "C", "C", "S", ">X"}) {
    walk(iterator, at);
    const std::string before = stackText(iterator);
    for (const char* const failing : {"!Known", "!>Known", "!>Zed"}) {
      const std::string outcome = walk(iterator, failing);
      EXPECT_EQ(stackText(iterator), before) << failing << ": " << outcome;
    }
  }
  EXPECT_THROW(iterator.moveToPreviousSibling(), KelParserException);
  EXPECT_THROW(iterator.moveToFirstChildTagId(4711, true, true), KelParserException);
  EXPECT_EQ(stackText(iterator), "R/S/X");
}

TEST(NavigationState, MemberIdMoves) {
  const auto dictionary = buildModel(parseModel("R(6 A (6 B C){1,2} D)"));
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  const auto idOf = [&](const char* name) {
    for (std::int32_t row = 0; row < dictionary->typeMembers().rowCount(); ++row) {
      const auto& member = dictionary->typeMembers().row(row);
      const auto* const tag = dictionary->tags().find(member.toTagIndex);
      if (tag != nullptr && toUtf8(textView(tag->TextIdentifier)) == name) return member.Id;
    }
    return -1;
  };
  EXPECT_TRUE(iterator.moveToFirstChildMemberId(idOf("C"), true));
  EXPECT_EQ(stackText(iterator), "R/()/C");
  // C ends its group: the group starts again at B, or the walk goes on behind it.
  OpenIterator again(iterator);
  EXPECT_TRUE(again.moveToNextSiblingOfMbrId(idOf("C"), idOf("B"), true));
  EXPECT_EQ(stackText(again), "R/()/B");
  EXPECT_FALSE(iterator.moveToNextSiblingOfMbrId(idOf("C"), 0, true));
  EXPECT_FALSE(iterator.moveToNextSiblingOfMbrId(idOf("A"), 0, true)) << "not on the stack";
  EXPECT_FALSE(iterator.moveToNextSiblingOfMbrId(0, 0, true));
  EXPECT_EQ(stackText(iterator), "R/()/C");
  EXPECT_FALSE(iterator.moveToFirstChildMemberId(idOf("A"), true)) << "C is simple";
}

TEST(NavigationState, MessagesBelongIntoMessageCompositions) {
  Node root = parseModel("R(7 M(6 A) N(6 B))");
  for (Node& member : root.members) member.tagClass = 'M';
  const auto dictionary = buildModel(root, {"Known"});
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  EXPECT_EQ(walk(iterator, ">M N >A ^ ^ >Zed"),
            "R/M\nthrows Can't move to the next sibling of a named message composition: N\nR/M/A\n"
            "R/M\nR\nR/?");
  EXPECT_EQ(iterator.getNodeType(), NTMessage);
}

TEST(NavigationState, IteratorWithoutContext) {
  const auto dictionary = buildModel(parseModel("R(6 A)"));
  OpenIterator iterator(nullptr, dictionary.get(), static_cast<const unsigned short*>(nullptr),
                        KelStringBase());
  EXPECT_FALSE(iterator.hasContext());
  EXPECT_EQ(iterator.getCurrentPosition(), nullptr);
  EXPECT_EQ(iterator.getTagId(), -1);
  EXPECT_EQ(iterator.getMemberId(), 0);
  EXPECT_EQ(iterator.getTypeId(), 0);
  EXPECT_EQ(iterator.getMinOccurs(), 0);
  EXPECT_EQ(iterator.getMaxOccurs(), kUnbounded);
  EXPECT_EQ(iterator.getDefaultValue(), nullptr);
  EXPECT_EQ(iterator.getNodeType(), NTUndefined);
  EXPECT_EQ(iterator.getParentTypeIndex(), -2);
  EXPECT_FALSE(iterator.moveToParent());
  EXPECT_FALSE(iterator.moveToNextSibling());
  EXPECT_THROW(iterator.moveToFirstChild(), KelParserException);
  iterator.setDictionaryInfo(nullptr);
  EXPECT_THROW(iterator.setContextFromTag(1), KelParserException);
  EXPECT_THROW(iterator.moveToFirstChildTagId(1, true, true), KelParserException);
  EXPECT_THROW(iterator.moveToNextSiblingMemberId(1, true), KelParserException);
  EXPECT_THROW(iterator.moveToNextSiblingOfMbrId(1, 0, true), KelParserException);
}

TEST(NavigationState, PathsAndNames) {
  const auto dictionary = buildModel(parseModel("R(6 S(6 (6 (2 A B) C){1,2}))"));
  OpenIterator iterator(nullptr, dictionary.get(), u"R", KelStringBase());
  EXPECT_EQ(walk(iterator, ">S >B C B"), "R/S\nR/S/()/()/B\nR/S/()/C\nR/S/()[1]/()/B");
  std::vector<std::int32_t> path;
  EXPECT_EQ(iterator.getMemberPath(path), 4);
  const std::vector<MbrPathItem> partial = iterator.getPartialMemberPath();
  ASSERT_EQ(partial.size(), 2u);
  EXPECT_EQ(partial[0], (MbrPathItem{1, path[1], iterator.positionStack[2].memberIndex}));
  EXPECT_EQ(partial[1], (MbrPathItem{0, path[2], iterator.positionStack[3].memberIndex}));
  EXPECT_EQ(iterator.getTraceName(), KelStringBase(u"B"));
  EXPECT_EQ(iterator.getParentTrcRptInd(), 0);
}

TEST(NavigationState, PositionsAreEqualButForTheDictionary) {
  const auto dictionary = buildModel(parseModel("R(6 A B)"));
  const DictionaryPosition a(dictionary.get(), 1);
  const DictionaryPosition b(nullptr, 1, a.tagIndex, a.typeIndex, -2, -1, NTUndefined);
  EXPECT_TRUE(a == b);
  EXPECT_EQ(a.tagIndex, 1);
  a.getNodeType();
  EXPECT_TRUE(a != b) << "the derived node type counts";
  const DictionaryPosition beyond(dictionary.get(), 99);
  EXPECT_EQ(beyond.tagIndex, kUnsetTag);
}

TEST(NavigationState, WhatNoSearchMayAskForIsRefused) {
  EXPECT_NO_THROW(SearchDef(STSimpleType, static_cast<ELogicalType>(1)));
  const auto noType = [] { SearchDef(STSimpleType, static_cast<ELogicalType>(0)); };
  EXPECT_THAT(refusalOf<KelParserException>(noType),
              HasSubstr("SearchDef::SearchDef: CPI Internal Error"));
  EXPECT_THAT(refusalOf<KelParserException>([] { DictionaryPosition(); }),
              HasSubstr("should never have been called"));
}

TEST(NavigationState, TheSavedStack) {
  const auto dictionary = buildModel(parseModel("R(6 A B C)"));
  OpenIterator iterator(nullptr, dictionary.get(), 1);
  const auto push = [&](std::int32_t member, std::int32_t repeat) {
    iterator.positionStack.emplace_back(dictionary.get(), member, 0, 0, -2, repeat, NTUndefined);
  };
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), -1) << "no parent";
  push(0, 0);
  push(1, 0);
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), 1) << "nothing saved";
  iterator.ensurePositionStackSaved();
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), 1) << "an equal copy";
  push(2, -1);
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), -1) << "the copy ends at the parent";
  iterator.positionStack[1].repeatIndex = 7;
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), 0) << "another occurrence";
  iterator.ensurePositionStackSaved();  // the first copy stays
  iterator.restorePositionStackFromSaved();
  EXPECT_EQ(stackText(iterator), "A/A/A");
  EXPECT_FALSE(iterator.positionStackSaved);
  push(2, -1);
  iterator.restorePositionStackFromSaved();
  EXPECT_EQ(iterator.positionStack.size(), 3u) << "a search start is removed";
  push(2, -2);
  iterator.restorePositionStackFromSaved();
  EXPECT_EQ(stackText(iterator), "A/A/A/?") << "a level started over";
  EXPECT_EQ(iterator.positionStack.back().nodeType, NTStructure);
}

}  // namespace
}  // namespace cpi::test
