// StdDictionaryIterator: walks the message model in step with a real message.
//
// Where to start: construct one on a loaded dictionary with the tag of the message, call a
// first-child move at the start of the first element inside the current one, a next-sibling move
// at the start of each further element beside it, and moveToParent at the end of an element that
// had children.
//
//     cpi::StdDictionaryIterator at(nullptr, &dictionary, u"Order", cpi::KelStringBase());
//     if (at.moveToFirstChildTagName(u"Item", cpi::KelStringBase(), true, true)) {
//       switch (at.getCurrentPosition()->whereDefined()) { ... }
//     }
//
// A move returns true when the iterator stands on the new position, and false when it stands where
// it stood; but a next-sibling move that fails behind an element that the model does not define may
// leave the iterator on the member beside which that was placed. Moves throw KelParserException for
// states that make no sense (no dictionary, no context, a definition that the dictionary does not
// hold); the position is then as before too. Thread rule: one thread at a time. Its `const` getters
// fill its caches too. Any number of iterators may share one dictionary, which must outlive them.
#ifndef CPI_DICTINFO_STDDI_STDDICTIONARYITERATOR_H
#define CPI_DICTINFO_STDDI_STDDICTIONARYITERATOR_H

#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/runtime/export.h"
#include "cpi/runtime/kellog.h"

namespace cpi {

// The kind of a node, from the class letter of its member or tag.
enum ENodeType : std::int32_t {
  NTUndefined = -1,  // any other class, or none; also "not derived yet"
  NTMessage = 0,
  NTStructure = 1,
  NTField = 2,
};

// How the model defines the element at a position.
enum EWhereDefined : std::int32_t {
  WDUndefined = -1,  // not at all: a position that is no element
  WDMember = 0,      // as a member of the parent's type
  WDTag = 1,         // as a tag of the dictionary, where the model has no member for it
  WDSelf = 2,        // only by itself: the dictionary has no definition
};

// What a SearchDef looks for.
enum ESearchType : std::int32_t {
  STUndefined = -1,
  STAny = 0,
  STTagId = 1,
  STMember = 2,
  STTagName = 3,
  STSimpleType = 4,
  STSelfDef = 5,
};

// Sentinels of the index fields of a position, below the usual none (-1).
inline constexpr std::int32_t kMarkerMember = -2;     // memberIndex: an undefined element placed
                                                      // beside the member directly under it
inline constexpr std::int32_t kContextMember = -3;    // memberIndex: a context root set from a tag
inline constexpr std::int32_t kSelfDefinedTag = -2;   // tagIndex: the dictionary knows no tag
inline constexpr std::int32_t kUnsetTag = -3;         // tagIndex: not set
inline constexpr std::int32_t kUnsetType = -2;        // typeIndex: not set
inline constexpr std::int32_t kPathInfoUnknown = -2;  // pathBasedInfoIndex: not looked up
inline constexpr std::int32_t kUnmatchedRepeat = -1;  // repeatIndex: a search start
inline constexpr std::int32_t kRestartedRepeat = -2;  // repeatIndex: a level started over, with
                                                      // nothing matched at it yet

// Where an element stands in the model. A plain value; `dictionary` is not owned.
class CPI_API DictionaryPosition {
 public:
  DictionaryPosition(StdDictionaryInfo const* dictionary, std::int32_t memberIndex,
                     std::int32_t tagIndex, std::int32_t typeIndex, std::int32_t pathBasedInfoIndex,
                     std::int32_t repeatIndex, ENodeType nodeType)
      : dictionary(dictionary),
        memberIndex(memberIndex),
        tagIndex(tagIndex),
        typeIndex(typeIndex),
        pathBasedInfoIndex(pathBasedInfoIndex),
        repeatIndex(repeatIndex),
        nodeType(nodeType) {}
  // The position of a member row, not matched yet; with a negative index a probe.
  DictionaryPosition(StdDictionaryInfo const* dictionary, std::int32_t memberIndex);
  // Never to be used: throws KelParserException (CP_INTERNAL_ERROR).
  DictionaryPosition();

  // All fields but `dictionary`. The caches count: a position whose node type was derived differs
  // from an equal one whose was not.
  friend bool operator==(DictionaryPosition const& a, DictionaryPosition const& b) noexcept {
    return a.memberIndex == b.memberIndex && a.tagIndex == b.tagIndex &&
           a.typeIndex == b.typeIndex && a.pathBasedInfoIndex == b.pathBasedInfoIndex &&
           a.repeatIndex == b.repeatIndex && a.nodeType == b.nodeType;
  }
  EWhereDefined whereDefined() const noexcept;
  // The node type, derived from the member's class, else from the tag's, and then cached.
  ENodeType getNodeType() const noexcept;

  StdDictionaryInfo const* dictionary;
  std::int32_t memberIndex;  // Type Members row; negative: no member, see the sentinels
  std::int32_t tagIndex;     // Tags row; -1: none
  std::int32_t typeIndex;    // Types row; -1: none
  mutable std::int32_t pathBasedInfoIndex;  // written by the occurrence queries
  std::int32_t repeatIndex;                 // occurrence of the member, from 0
  mutable ENodeType nodeType;               // cache; -1 until derived
};

// What a move looks for. A name is not copied: the caller keeps it alive as long as this value and
// its copies. Constructors throw KelParserException (CP_INTERNAL_ERROR) for a negative index, an
// empty name and a logical type below 1.
class CPI_API SearchDef {
 public:
  // STAny (any value), STTagId (a Tags row) or STMember (a Type Members row).
  SearchDef(ESearchType searchType, std::int32_t value);
  // STTagName or STSelfDef.
  SearchDef(ESearchType searchType, const unsigned short* name, const KelStringBase& namespaceURI);
  // STSimpleType.
  SearchDef(ESearchType searchType, ELogicalType logicalType);
  template <Char16 C>
  SearchDef(ESearchType searchType, const C* name, const KelStringBase& namespaceURI)
      : SearchDef(searchType, asUnits(name), namespaceURI) {}

  // The name of a name search in view form; valid as long as the caller's text.
  std::u16string_view nameView() const noexcept { return {asChars(name), nameLength}; }

  ESearchType searchType;
  std::int32_t value = kNone;            // row index, logical type or -1
  const unsigned short* name = nullptr;  // of STTagName and STSelfDef
  std::size_t nameLength = 0;
  KelStringBase namespaceURI;
};

// One step of a partial member path.
struct MbrPathItem {
  std::int32_t repeatIndex;
  std::int32_t memberId;
  std::int32_t memberIndex;

  friend bool operator==(const MbrPathItem&, const MbrPathItem&) = default;
};

class MemberIndex;

// How a move may pass over members that cannot be what it looks for. For the library itself.
struct Passing {
  MemberIndex const* members = nullptr;  // null: every member is looked at
  std::int32_t key = kNone;              // of the tags that are looked for; -1: no tag is
};

struct Expectation;  // expectation.h

class CPI_API StdDictionaryIterator : public KelOwnedLogSource {
 public:
  // On `dictionary` (not owned, may be null), in the context of a tag; see setContextFromTag,
  // whose exceptions leave the constructor. `owner` names the log source and may be null.
  StdDictionaryIterator(KelNamedLogSource const* owner, StdDictionaryInfo const* dictionary,
                        std::int32_t tagId);
  StdDictionaryIterator(KelNamedLogSource const* owner, StdDictionaryInfo const* dictionary,
                        const unsigned short* tagName, const KelStringBase& namespaceURI);
  template <Char16 C>
  StdDictionaryIterator(KelNamedLogSource const* owner, StdDictionaryInfo const* dictionary,
                        const C* tagName, const KelStringBase& namespaceURI)
      : StdDictionaryIterator(owner, dictionary, asUnits(tagName), namespaceURI) {}
  StdDictionaryIterator(StdDictionaryIterator const& other) = default;
  // Keeps the capacity of its stacks. An exception (std::bad_alloc) may leave it without context.
  StdDictionaryIterator& operator=(StdDictionaryIterator const& other) = default;
  ~StdDictionaryIterator() override;

  // --- Context -------------------------------------------------------------------------------
  // Sets another dictionary, which may be null; the iterator then has no context.
  void setDictionaryInfo(StdDictionaryInfo const* dictionary);
  // Starts a walk at a tag; with an id of 0 or less at an untagged root, with a null name without
  // context. Throws KelParserException when the dictionary is null (CP_DICTIONARY_ERROR, nothing
  // changes) or does not define the tag (CP_DICT_SET_CONTEXT_FROM_TAG_ERROR, no context is left).
  void setContextFromTag(std::int32_t tagId);
  void setContextFromTag(const unsigned short* tagName, const KelStringBase& namespaceURI);
  template <Char16 C>
  void setContextFromTag(const C* tagName, const KelStringBase& namespaceURI) {
    setContextFromTag(asUnits(tagName), namespaceURI);
  }
  // The same from a member id.
  void setContextFromMbrId(std::int32_t memberId);
  bool hasContext() const noexcept { return !positionStack.empty(); }

  // --- The current element -------------------------------------------------------------------
  // Without context they answer as for an element without definition. They throw nothing but
  // std::bad_alloc, where they make a text.
  StdDictionaryInfo const* getDictionaryInfo() const noexcept { return dictionaryInfo; }
  // The current entry, or null without dictionary or context. Valid until the iterator changes.
  DictionaryPosition const* getCurrentPosition() const noexcept;
  std::int32_t getTagIndex() const;
  std::int32_t getRepeatIndex() const;
  // The tag's id; 0 for an element without tag, -1 for one that the dictionary does not know.
  std::int32_t getTagId() const;
  // The member's id; -1 for an element without tag or definition, 0 for another non-member.
  std::int32_t getMemberId() const;
  std::int32_t getTypeId() const;                                // 0 when there is none
  const unsigned short* getTagName() const;                      // null when there is none
  KelStringBase getNamespaceURI() const;                         // empty when there is none
  SMD_TAG_DEFINITION const* getTagDef() const;                   // null when there is none
  SMD_STRUCTURE_ELEMENT_DEFINITION const* getMemberDef() const;  // null when there is none
  SMD_TYPE_DEFINITION const* getTypeDef() const;                 // null when there is none
  SMD_VALUE_SET_DEFINITION const* getValues() const;             // always null
  ENodeType getNodeType();
  // Always -1: no override row is chosen for a position. Written into the current entry.
  std::int32_t getPathBasedInfoIndex() const;
  std::int32_t getMinOccurs() const;                    // 0 for a non-member
  std::int32_t getMaxOccurs() const;                    // 2147483647 when unbounded
  SMD_VALUE_DEFINITION const* getDefaultValue() const;  // null when there is none

  // --- The parent, paths and names -----------------------------------------------------------
  std::int32_t getParentMinOccurs() const;
  // The Types row of the parent's type: -2 without parent, -1 when it has no type. Throws
  // KelParserException (CP_INTERNAL_ERROR) when the parent entry is no element.
  std::int32_t getParentTypeIndex() const;
  std::int32_t getParentTrcRptInd() const;  // -3 without parent
  KelStringBase getParentTrcName() const;   // throws as getParentTypeIndex, and without dictionary
  KelStringBase getTraceName() const;       // empty when the element has no tag
  // The member ids from below the root down to the current element, 0 for a non-member; returns
  // their number.
  std::int32_t getMemberPath(std::vector<std::int32_t>& path) const;
  // The anonymous groups around the current element, outermost first; returns their number.
  std::int32_t getPartialMemberPath(std::vector<MbrPathItem>& path) const;
  std::vector<MbrPathItem> getPartialMemberPath() const;

  // --- What may come next --------------------------------------------------------------------
  // List each member that may come next beside the current element, or as its first child before
  // any child was seen, and what is owed before the parent, or the current element, may end. They
  // agree with the moves of the same name: a move to a listed element lands on the listed member
  // and occurrence; a move to another tag fails, counts beyond the limit of its member, or places
  // an element that is no member here. Elements that the model does not define are not listed, nor
  // is a member beyond its limit. In a type in any order members are listed whether or not they
  // occurred before the current run: a caller who counts occurrences takes off the satisfied ones.
  // False, with nothing listed, where no model says what may come: without dictionary or context,
  // at the root (siblings), under a parent without a type, in an element of a simple type. Nothing
  // of the iterator changes, its caches included. Throw KelParserException where each such move
  // would throw because the model makes no sense, with a part of the list in `expectation`.
  bool listNextSiblings(Expectation& expectation, bool enforceRequired) const;
  bool listFirstChildren(Expectation& expectation, bool enforceRequired) const;
  // The same without `elements`, which is cheaper: for the end of an element that had children, and
  // of one that had none.
  bool listOwedSiblings(Expectation& expectation) const;
  bool listOwedChildren(Expectation& expectation) const;

  // --- Moves ---------------------------------------------------------------------------------
  // Moves by tag id, name and member id go straight to the member where an index tells which it is.
  // With `stepByStep` they look at each member in turn, as they do anyway while trace items are
  // written; all else is the same, and slower. For tests and for finding faults.
  void searchStepByStep(bool stepByStep) noexcept { isStepByStep = stepByStep; }
  // Up, past anonymous groups. False without context; from the root it leaves no context.
  bool moveToParent();
  // In the moves below `allowUndefined` lets an element that is no member here be placed as a
  // tag-defined or self-defined one, and `enforceRequired` lets an unmatched required group end
  // the search of an ordered parent.
  bool moveToFirstChild();
  bool moveToFirstChildTagId(std::int32_t tagId, bool allowUndefined, bool enforceRequired);
  bool moveToFirstChildTagName(const unsigned short* name, const KelStringBase& namespaceURI,
                               bool allowUndefined, bool enforceRequired);
  bool moveToFirstChildMemberId(std::int32_t memberId, bool enforceRequired);
  bool moveToFirstChildSimpleType(ELogicalType logicalType, bool allowUndefined,
                                  bool enforceRequired);
  bool moveToFirstChildSelfDef(const unsigned short* name, const KelStringBase& namespaceURI,
                               bool enforceRequired);
  bool moveToNextSibling();
  bool moveToNextSiblingTagId(std::int32_t tagId, bool allowUndefined, bool enforceRequired);
  // Always allows undefined elements; the first flag is not used.
  bool moveToNextSiblingTagName(const unsigned short* name, const KelStringBase& namespaceURI,
                                bool allowUndefined, bool enforceRequired);
  bool moveToNextSiblingMemberId(std::int32_t memberId, bool enforceRequired);
  bool moveToNextSiblingSimpleType(ELogicalType logicalType, bool allowUndefined,
                                   bool enforceRequired);
  bool moveToNextSiblingSelfDef(const unsigned short* name, const KelStringBase& namespaceURI,
                                bool enforceRequired);
  // Not supported: throws KelParserException (CP_INTERNAL_ERROR).
  bool moveToPreviousSibling();
  // On from the member `memberId` of the current path; `nextMemberId` (0: unknown) is the member
  // at which a group around it starts again.
  bool moveToNextSiblingOfMbrId(std::int32_t memberId, std::int32_t nextMemberId,
                                bool enforceRequired);
  template <Char16 C>
  bool moveToFirstChildTagName(const C* name, const KelStringBase& namespaceURI,
                               bool allowUndefined, bool enforceRequired) {
    return moveToFirstChildTagName(asUnits(name), namespaceURI, allowUndefined, enforceRequired);
  }
  template <Char16 C>
  bool moveToFirstChildSelfDef(const C* name, const KelStringBase& namespaceURI,
                               bool enforceRequired) {
    return moveToFirstChildSelfDef(asUnits(name), namespaceURI, enforceRequired);
  }
  template <Char16 C>
  bool moveToNextSiblingTagName(const C* name, const KelStringBase& namespaceURI,
                                bool allowUndefined, bool enforceRequired) {
    return moveToNextSiblingTagName(asUnits(name), namespaceURI, allowUndefined, enforceRequired);
  }
  template <Char16 C>
  bool moveToNextSiblingSelfDef(const C* name, const KelStringBase& namespaceURI,
                                bool enforceRequired) {
    return moveToNextSiblingSelfDef(asUnits(name), namespaceURI, enforceRequired);
  }

 protected:
  // Without owner, dictionary and context.
  StdDictionaryIterator();
  void clearContext();

  bool canHaveChildren() const;
  std::int32_t getParentStackIndex() const;  // -1: none
  std::int32_t getParentTagIndex() const;    // -3: none; throws without dictionary
  std::int32_t getParentTagId() const;
  KelStringBase getTraceName(SearchDef search) const;
  KelStringBase getTraceParentTypeName() const;

  // The copy of the stack that a search takes before its first change and restores on failure.
  void ensurePositionStackSaved();
  void restorePositionStackFromSaved();
  // The deepest entry, up to the parent, at which this path and the saved one run through the
  // same occurrences; -1 when there is none or the saved path ends there.
  std::int32_t getCommonParentWithSavedStackIndex() const;

  bool isElementMatched(SearchDef const& search, DictionaryPosition const& position,
                        bool atStartEntry, bool matchCurrent) const;
  bool isTypeContentMatched(SearchDef const& search) const;

  // For callers who meet the same names again and again: the key of a name, -1 when no tag has it,
  // and what the move to the next element of that key comes to where an index tells so. False where
  // none does: nothing has changed, and the move by name is to be made.
  static std::int32_t keyOfName(const StdDictionaryInfo& dictionary, const unsigned short* name,
                                const KelStringBase& namespaceURI) noexcept;
  bool goToFirstChild(std::int32_t key);
  bool goToNextSibling(std::int32_t key);

  bool moveToFirstChild(SearchDef search, bool allowUndefined, bool enforceRequired);
  bool moveToSibling(SearchDef search, bool moveFwd, bool allowUndefined, bool enforceRequired);
  bool moveToNewPosition(SearchDef search, bool matchCurrent, bool moveFwd, bool enforceRequired);
  bool moveToBestPosition(SearchDef search, bool replaceCurrent, bool moveFwd);

  StdDictionaryInfo const* dictionaryInfo = nullptr;
  std::vector<DictionaryPosition> positionStack;  // root first, current entry last
  bool positionStackSaved = false;                // savedPositionStack is valid
  bool isStepByStep = false;
  std::vector<DictionaryPosition> savedPositionStack;

 private:
  friend class PositionSearch;
  friend class ExpectationList;

  // The same without log items, for the searches.
  std::int32_t parentIndex() const noexcept;
  std::int32_t commonParentIndex() const noexcept;
  KelStringBase traceNameOfSearch(const SearchDef& search) const;
  Passing passing() const noexcept;
  Passing passingFor(const SearchDef& search) const noexcept;
  Passing passingForTag(std::int32_t tagIndex) const noexcept;
  Passing passingForName(const unsigned short* name,
                         const KelStringBase& namespaceURI) const noexcept;
  bool goToParent() noexcept;
  bool leaveElement();
  bool findFirstChildTag(std::int32_t tagIndex, bool allowUndefined, bool enforceRequired);
  bool findNextSiblingTag(std::int32_t tagIndex, bool allowUndefined, bool enforceRequired);
  bool findFirstChildTagName(const unsigned short* name, const KelStringBase& namespaceURI,
                             Passing passing, bool allowUndefined, bool enforceRequired);
  bool findNextSiblingTagName(const unsigned short* name, const KelStringBase& namespaceURI,
                              Passing passing, bool enforceRequired);
  bool searchNewPosition(const SearchDef& search, const Passing& passing, bool matchCurrent,
                         bool moveFwd, bool enforceRequired);
  bool searchBestPosition(const SearchDef& search, const Passing& passing, bool replaceCurrent,
                          bool moveFwd);
  bool isParentAnonymous() const;
  // By the index alone, where it can tell; to the tag, or to any tag of the key when it is -1.
  bool goToChild(Passing passing, std::int32_t tagIndex);
  bool goToPeer(Passing passing, std::int32_t tagIndex);
  // The same for few members, which are looked at one by one.
  template <class Sought>
  bool goToNearChild(const MemberIndex& members, const Sought& sought);
  template <class Sought>
  bool goToNearPeer(const MemberIndex& members, const Sought& sought);
  SMD_TYPE_DEFINITION const* typeOfChildren(const MemberIndex& members) const noexcept;
  SMD_TYPE_DEFINITION const* typeOfPeers(const MemberIndex& members) const noexcept;
  bool maySeeAgain(const MemberIndex& members, const SMD_TYPE_DEFINITION& type) const noexcept;
  bool goToChildMember(std::int32_t row);
  bool goToPeerMember(std::int32_t row);
  bool goToSame() noexcept;
  bool goToMember(Passing passing, std::int32_t tagIndex, std::int32_t from);
  bool goToNextRound(Passing passing, std::int32_t tagIndex, const SMD_TYPE_DEFINITION& type);
  // In these the namespace is the caller's, and that of `search` is not read.
  bool moveToChild(SearchDef& search, const KelStringBase& namespaceURI, Passing passing,
                   bool allowUndefined, bool enforceRequired);
  bool moveToPeer(SearchDef& search, const KelStringBase& namespaceURI, Passing passing,
                  bool allowUndefined, bool enforceRequired);
  bool resolveTagName(SearchDef& search, const KelStringBase& namespaceURI, Passing& passing) const;
  bool isMessageAllowed(const char* operation) const;
  DictionaryPosition undefinedChild(const SearchDef& search, std::int32_t memberIndex) const;
  bool isFirstChildMember(const SearchDef& search, const Passing& passing,
                          const SMD_TYPE_DEFINITION* type, bool enforceRequired);
  bool placeFirstChild(SearchDef& search, const KelStringBase& namespaceURI, Passing& passing,
                       const SMD_TYPE_DEFINITION* type);
  bool pushProbe(const SearchDef& search, const SMD_TYPE_DEFINITION* type);
  bool isInNamedMessage() const;
  void checkNamedMessage(const SearchDef& search) const;
  bool settleCurrentEntry();
  bool placeSibling(SearchDef& search, const KelStringBase& namespaceURI, Passing& passing,
                    bool isFirstChildMarker);
  bool pushSibling(const SearchDef& search, bool isFirstChildMarker);
  bool moveWithoutModel(SearchDef& search, const KelStringBase& namespaceURI, Passing& passing,
                        bool allowUndefined);
  bool moveOnFromMember(std::int32_t nextMemberId, bool enforceRequired);
};

// StdValueIterator: lists the values of one value set, with their roles.
//
//     for (cpi::StdValueIterator at(nullptr, &dictionary, tagIndex, -1);
//          at.getValue(value, role) == 0; at.moveToNextValue()) { ... }
//
// A plain value: copies go on independently. Thread rule: one thread at a time. It must not outlive
// its dictionary.
class CPI_API StdValueIterator : public KelOwnedLogSource {
 public:
  // Without context: getValue returns -1 until setContext.
  StdValueIterator(const KelNamedLogSource* owner, const StdDictionaryInfo* dictionary);
  StdValueIterator(const KelNamedLogSource* owner, const StdDictionaryInfo* dictionary,
                   std::int32_t tagIndex, std::int32_t pathBasedInfoIndex);
  StdValueIterator(const StdValueIterator&) = default;
  StdValueIterator& operator=(const StdValueIterator&) = default;
  ~StdValueIterator() override;

  // Selects the set of the override row, else of the tag; indexes that are no rows, and rows
  // without a set, select nothing.
  void setContext(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex);
  // 0 with the current value and its role, or -1 at the end, with nothing written. Texts in
  // `value` refer to the dictionary. A row that leads to no value gives -1 too, and a step goes on
  // behind it. Throws KelParserException (CP_DICTIONARY_ERROR) at a value of
  // unknown kind; `role` is then written.
  std::int32_t getValue(PWFData& value, std::int32_t& role) const;
  void moveToNextValue();

 private:
  bool isAtValue() const noexcept;

  std::int32_t currentRow;  // Value Set row; -1: no more values, -2: no context yet
  const StdDictionaryInfo* dictionaryInfo;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_STDDICTIONARYITERATOR_H
