// Where the parser of a message stands in it: lines, columns and offsets of what it reports.
//
// Thread rule: one thread at a time. An offset is not known (-1) where the parser has converted the
// bytes, a column not (0) where the start of the line is no longer at hand.
#ifndef CPI_WALK_XMLPOSITION_H
#define CPI_WALK_XMLPOSITION_H

#include <libxml/tree.h>

#include <string_view>

#include "cpi/walk/verdict.h"

namespace cpi {

// While the parser reads, its buffer may have moved, which it tells its input only afterwards. To
// be called first by whoever looks at the input meanwhile.
void catchUp(xmlParserInput& input) noexcept;

// The tag at whose end the parser stands, or which it is reading.
const xmlChar* tagStart(const xmlParserInput& input) noexcept;
// Where it is; of a tag that comes out of an entity, where the reference is.
WalkPosition tagPosition(const xmlParserInput& input) noexcept;

// The end of the piece of text that is being reported, or of a part that ends with it: where that
// begins. Text that comes out of an entity, was converted, or is a long CDATA section has the place
// where the parser stands.
WalkPosition textPosition(const xmlParserInput& input, std::string_view part) noexcept;

}  // namespace cpi

#endif  // CPI_WALK_XMLPOSITION_H
