// What a walk has to say about a message: the one structure behind every report.
//
// A walker judges each element by a Verdict, a small value that costs nothing to make. Where
// something is wrong it makes a Finding of it, which says everything that a person or a program
// may want to know, as data: text, JSON and SARIF are renderings of it. The walkers of all message
// forms (XmlWalker, and others that drive a ModelWalk or an iterator of their own) speak in these
// terms.
//
// Thread rule: `const` means safe to share. Plain values: they keep nothing of the walk that made
// them, and row indexes refer to its dictionary.
#ifndef CPI_WALK_VERDICT_H
#define CPI_WALK_VERDICT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cpi/dictinfo/stddi/records.h"
#include "cpi/extract/fileerror.h"

namespace cpi {

// Where an element of the message was placed.
enum class Placement : std::uint8_t {
  Root,         // the message's outermost element, a global element of the model
  Member,       // a member of the enclosing type
  Wildcard,     // admitted by a wildcard of the enclosing type
  TagDefined,   // a global element where the enclosing type, or the absence of one, admits any
  SelfDefined,  // an element unknown to the model, where unknown ones are admitted
  Refused,      // the model does not admit it here
  Unjudged,     // inside a refused element of which the model says nothing
};
inline constexpr std::size_t kPlacementCount = 7;

// What is the matter. Each element gets exactly one of the first group; each of the others is
// about something else than a start of an element.
enum class VerdictKind : std::uint8_t {
  Placed,          // nothing: it has its place, see Placement
  BeyondLimit,     // a member that occurs more often than it may
  OutOfOrder,      // a member before what has to come first, or after its place has passed
  KnownElsewhere,  // no member here, but of other types, or a global element
  UnknownName,     // the model has no element of this name
  WrongNamespace,  // a member here has this name, in another namespace
  Refused,         // for another reason, see Reason
  Unjudged,        // inside a refused element of which the model says nothing

  Incomplete,  // the end of an element in which required members never came
  Text,        // text where none may stand
  Value,       // a value of a simple type that the model does not admit
  Attribute,   // an attribute that is missing, unknown or has a wrong value
  Type,        // the message asks for a type that there is not, or that may not stand here
  Nil,         // an element declared to be empty that may not be, or is not
};
inline constexpr std::size_t kVerdictKindCount = 14;

// Why. Which reasons go with a kind is told beside them.
enum class Reason : std::uint8_t {
  None,
  UnknownRoot,   // no global element of this name (the kinds of an outermost element)
  NotAllowed,    // the enclosing type has no place for it here (KnownElsewhere, UnknownName, ...)
  InSimpleType,  // the enclosing element has a simple type
  InNil,         // the enclosing element is nil
  NotDeclared,   // a wildcard demands a global declaration, and there is none
  OtherAlternative,  // another member of the choice came before it (Refused)
  SkipsRequired,     // Finding::missing should have come first (OutOfOrder)
  PlacePassed,       // what comes behind it in the model is there already (OutOfOrder)
  NeverCame,         // Finding::missing should have come before the end (Incomplete)
  NotInValueSet,     // (Value, Attribute)
  TooShort,          // (Value, Attribute)
  TooLong,           // (Value, Attribute; Refused: the whole message)
  WrongForm,         // not what a value of the type looks like (Value, Attribute, Nil)
  NotFixedValue,     // the model fixes another value (Value, Attribute), or one at all (Nil)
  MissingAttribute,  // (Attribute)
  UnknownAttribute,  // (Attribute)
  UnknownType,       // (Type)
  NotDerived,        // the type is not derived from the declared one (Type)
  BlockedType,       // the type is, in a way that the element or its type blocks (Type)
  AbstractType,      // the type, or the element, may not stand by itself (Type, Refused)
  NotNillable,       // (Nil)
  NilWithContent,    // (Nil)
  WrongCount,        // a count that differs from what follows it (Value)
  NoValue,           // a field without any (Value)
  WrongCheckSum,     // (Value)
  NotOfFacet,        // beyond a range or number of digits, or not of a pattern (Value, Attribute)
  NotAField,         // no tag with '=' behind it, in a message of such fields (Refused)
  UnknownMessage,    // no message of this type, which is the value (UnknownName of a root)
  NoDelimiter,       // nothing ends a field, in a message of fields (Refused)
};
inline constexpr std::size_t kReasonCount = 30;

struct Verdict {
  Placement placement = Placement::Unjudged;
  VerdictKind kind = VerdictKind::Unjudged;
  Reason reason = Reason::None;
  // The fault follows from one that was told before: the second of two swapped elements. It is no
  // Finding, and it is not counted.
  bool isConsequence = false;
  std::int32_t occurrence = 0;           // of the member, counted from 1; 0 for a non-member
  std::int32_t memberIndex = kNone;      // Type Members row; of a wildcard's own member, too
  std::int32_t tagIndex = kNone;         // Tags row
  std::int32_t typeIndex = kNone;        // Types row that judges the content
  std::int32_t contentTagIndex = kNone;  // Tags row with the limits of its text: that of its type
                                         // when the message asks for one

  bool isGood() const noexcept { return kind == VerdictKind::Placed; }
  bool isBeyondLimit() const noexcept { return kind == VerdictKind::BeyondLimit; }
};

// The start of a tag or field; the column is 0 when it is not known. An element that comes out of
// an entity has the place of the reference.
struct WalkPosition : FilePosition {
  std::int64_t offset = -1;  // in bytes from 0; -1 when it is not known
};

// One element on the way from the root: "Item[2]". Names are UTF-8.
struct PathStep {
  std::string name;
  std::string namespaceURI;     // empty: none
  std::int32_t occurrence = 1;  // among its siblings of the same name, from 1
};

// One anonymous group around an element, within its enclosing element.
struct GroupStep {
  std::int32_t memberIndex = kNone;  // Type Members row of the group
  std::int32_t occurrence = 1;       // which repeat of the group, from 1
  std::string text;                  // what it holds: "(a, b, c)", or "(a | b)" for a choice
};

// An element or wildcard that may or must come.
struct Expected {
  std::string name;  // UTF-8, as in messages; of a wildcard its constraint, "##any" or so
  std::string namespaceURI;
  std::int32_t memberIndex = kNone;
  bool isWildcard = false;
  std::int32_t owed = 0;    // how many have to come before anything behind it may; 0: none
  std::int32_t atMost = 1;  // how many may come; kUnbounded: any number
  // Neighbours with the same number above 0 are alternatives: one of them is owed, not each.
  std::int32_t choice = 0;
  std::vector<GroupStep> groups;  // around it, outermost first; where it would stand
};

// Where else the model has a name.
struct KnownPlace {
  std::string parent;             // name of the type or element that has it; empty: global element
  std::string namespaceURI;       // of the element itself
  std::int32_t tagIndex = kNone;  // the element's Tags row
  std::int32_t memberIndex = kNone;      // kNone: global element
  std::int32_t parentTypeIndex = kNone;  // the type that has it; kNone: global element
};
// More places than these are not listed; Finding::elsewhereCount has the number of all.
inline constexpr std::size_t kMaxKnownPlaces = 5;

// One fault. Lists are empty where they do not apply.
struct Finding {
  Verdict verdict;
  std::string name;                // of the element, or of the attribute
  std::string namespaceURI;        // of the same
  std::vector<PathStep> path;      // to the element, the root first; of an attribute its element
  std::vector<GroupStep> groups;   // around the element, outermost first
  WalkPosition position;           // of the start, or the end (Incomplete), that shows the fault
  std::string value;               // the faulty text, value or type name, cut off when long; UTF-8
  std::vector<Expected> missing;   // what should have come and did not, in model order
  std::vector<Expected> expected;  // what might have come here, in model order
  std::vector<std::string>
      values;  // the value set, the fixed value or the facet; cut off when long
  std::int32_t atLeast =
      kNone;  // of TooShort: the least length; of WrongCount and WrongCheckSum: what is right
  std::int32_t atMost = kNone;        // of TooLong and BeyondLimit: the limit; -1: none
  std::vector<KnownPlace> elsewhere;  // of KnownElsewhere and WrongNamespace
  std::int64_t elsewhereCount = 0;
};

// "/Order/Item[2]/Price". Namespaces are left out.
std::string toText(const std::vector<PathStep>& path);

}  // namespace cpi

#endif  // CPI_WALK_VERDICT_H
