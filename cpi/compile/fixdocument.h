// FixDocument: one FIX data dictionary as its XML says it, with the place of everything.
//
// The form is the one that FIX engines share: a root element `fix` with header, trailer, messages,
// components and fields. Names are not resolved here; see FixModelBuilder.
#ifndef CPI_COMPILE_FIXDOCUMENT_H
#define CPI_COMPILE_FIXDOCUMENT_H

#include <cstdint>
#include <string>
#include <vector>

#include "cpi/compile/notice.h"
#include "cpi/compile/schemascan.h"

namespace cpi {

// A field, group or component where it is used.
struct FixItem {
  enum class Kind : std::uint8_t { Field, Group, Component };

  Kind kind = Kind::Field;
  std::u16string name;  // of a group: its count field's
  bool isRequired = false;
  SchemaPlace place;
  std::vector<FixItem> children;  // of a group
};

struct FixComponent {
  std::u16string name;
  SchemaPlace place;
  std::vector<FixItem> items;
};

struct FixMessageDefinition {
  std::u16string name;
  std::u16string msgType;
  SchemaPlace place;
  std::vector<FixItem> items;
};

struct FixValue {
  std::u16string text;
  std::u16string description;  // empty: none
};

struct FixFieldDefinition {
  std::int32_t number = 0;
  std::u16string name;
  std::u16string type;  // in capitals
  SchemaPlace place;
  bool isOpen = false;  // other values than these may be
  std::vector<FixValue> values;
};

struct FixDocument {
  std::string path;
  bool isTransport = false;  // of the session layer, to which application dictionaries are added
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::vector<FixItem> header;
  std::vector<FixItem> trailer;
  std::vector<FixMessageDefinition> messages;
  std::vector<FixComponent> components;
  std::vector<FixFieldDefinition> fields;
};

// Whether the root element of an XML file is that of a FIX data dictionary. False also for a file
// that is not well-formed up to there. Throws FileError when it cannot be read.
bool isFixDocument(const std::string& path);

// Reads a dictionary. Elements that it does not know are passed over with a notice. Throws
// FileError, with file and line, for what is not well-formed, lacks an attribute, or stands where
// it may not.
FixDocument readFixDocument(const std::string& path, std::vector<Notice>& notices);

}  // namespace cpi

#endif  // CPI_COMPILE_FIXDOCUMENT_H
