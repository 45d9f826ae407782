// The words in which the verbs speak of definitions, and their short forms.
#ifndef TOOLS_STDDICT_WORDS_H
#define TOOLS_STDDICT_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

// "sequence" for 5, for instance; "unknown (9)" for a code without a word; empty for none (-1 and
// -99). The logical types of wildcards and the codes above them are "wildcard".
std::string compositionWord(std::int32_t composition);
std::string contentWord(std::int32_t content);
std::string logicalTypeWord(std::int32_t logicalType);
// "F, field"; the letter alone when it has no word.
std::string classWord(std::int32_t code);

// "1", "0..1", "2..*".
std::string occursText(std::int32_t minOccurs, std::int32_t maxOccurs);

// The part of a name that elements are compared with: what follows the first '^', or all of it.
std::u16string_view comparedName(const unsigned short* text) noexcept;
// Whether the text is what the compiler gives to definitions that no element is named after.
bool isMarked(const unsigned short* text) noexcept;
// Whether it is that of a repeating group of a FIX message.
bool isFixGroup(const unsigned short* text) noexcept;

// A member that stands for the members inside it: no tag, and a type without values.
bool isGroup(const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION& member,
             const cpi::SMD_TYPE_DEFINITION* type) noexcept;
// A member that stands for elements of certain namespaces.
bool isWildcard(const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION& member,
                const cpi::SMD_TYPE_DEFINITION* type) noexcept;
// "any element outside urn:x (lax)".
std::string wildcardWords(const cpi::SMD_TYPE_DEFINITION& type);

// An argument that is a whole number of 32 bits.
bool readId(const std::string& text, std::int32_t& id) noexcept;

// UTF-8 that is safe to print; empty for null.
std::string shown(const unsigned short* text);
std::string shown(std::u16string_view text);

#endif  // TOOLS_STDDICT_WORDS_H
