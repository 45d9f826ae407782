// What a dictionary says of a tag, a type, a member or a value set, as facts.
#ifndef TOOLS_STDDICT_DEFINITIONS_H
#define TOOLS_STDDICT_DEFINITIONS_H

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "tools/stddict/answerlimit.h"
#include "tools/stddict/facts.h"

// Finds definitions by what a user types: a name, or an id.
struct Query {
  std::string text;
  std::optional<std::string> namespaceUri;  // not given: any; empty: none
};

// The Tags rows: of the id when `text` is a number that is one; else of the name, whole or behind
// the first '^'.
std::vector<std::int32_t> findTags(const cpi::StdDictionaryInfo& dictionary, const Query& query);
// The same, but the rows with the whole name if there are any.
std::vector<std::int32_t> chooseTags(const cpi::StdDictionaryInfo& dictionary, const Query& query);
// The Types rows of an id or of a whole name; the Type Members rows of an id, or of a name that is
// not also their tag's.
std::vector<std::int32_t> findTypes(const cpi::StdDictionaryInfo& dictionary, const Query& query);
std::vector<std::int32_t> findMembers(const cpi::StdDictionaryInfo& dictionary, const Query& query);

// The rows of a type's members, in order.
struct MemberRows {
  std::int32_t begin = 0;
  std::int32_t end = 0;
};
MemberRows membersOf(const cpi::StdDictionaryInfo& dictionary, std::int32_t typeIndex);

// What a member is, for people: an element's name, a group's composition, a wildcard's words.
std::string memberWords(const cpi::StdDictionaryInfo& dictionary,
                        const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION& member);

// {"id", "name"} of a row; null when there is no such row.
Json tagReference(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex);
Json typeReference(const cpi::StdDictionaryInfo& dictionary, std::int32_t typeIndex);
// Null for none.
Json namespaceFact(const cpi::StdDictionaryInfo& dictionary, std::int32_t namespaceIndex);

// A value as JSON has it: numbers and flags as such, the rest as text. Null when there is none, or
// none of a known kind.
Json valueFact(const cpi::StdDictionaryInfo& dictionary, std::int32_t valueIndex);
// {"value", "kind", "role"} of each value that readers find in a tag's set, or in an override's;
// of FIX fields with "description", null where there is none.
Json valueSetFacts(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex,
                   std::int32_t overrideIndex, AnswerLimit& answer);
// The values of such a set alone, and at most `limit` of them.
inline constexpr std::size_t kAllValues = std::numeric_limits<std::size_t>::max();
Json valueList(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex,
               std::int32_t overrideIndex, AnswerLimit& answer, std::size_t limit = kAllValues);

// Where definitions are used: made once, asked often.
class Usage {
 public:
  explicit Usage(const cpi::StdDictionaryInfo& dictionary);
  // Rows: the members of a tag, the members without tag of a type, the tags of a type.
  const std::vector<std::int32_t>& membersWithTag(std::int32_t tagIndex) const;
  const std::vector<std::int32_t>& membersWithType(std::int32_t typeIndex) const;
  const std::vector<std::int32_t>& tagsOfType(std::int32_t typeIndex) const;

 private:
  using Lists = std::vector<std::vector<std::int32_t>>;
  static const std::vector<std::int32_t>& at(const Lists& lists, std::int32_t index);
  Lists membersWithTag_;
  Lists membersWithType_;
  Lists tagsOfType_;
};

// All of a row; the entries of its lists are taken off `answer`.
Json tagFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row,
              AnswerLimit& answer);
Json typeFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row,
               AnswerLimit& answer);
Json memberFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row,
                 AnswerLimit& answer);

#endif  // TOOLS_STDDICT_DEFINITIONS_H
