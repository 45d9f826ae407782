// XmlCheck: what is judged of an XML element beside its place: its text, the type that it asks
// for, and whether it may be nil.
//
// Thread rule: one thread at a time.
#ifndef CPI_WALK_XMLCHECK_H
#define CPI_WALK_XMLCHECK_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "cpi/walk/attributecheck.h"
#include "cpi/walk/modelwalk.h"
#include "cpi/walk/valuecheck.h"
#include "cpi/walk/xmleventparser.h"
#include "cpi/walk/xmltrail.h"

namespace cpi {

// Takes the findings of a check. The position is where the parser stands, unless one is given.
class FindingSink {
 public:
  virtual ~FindingSink();
  virtual void add(Finding finding, const WalkPosition* position) = 0;
};

class XmlCheck {
 public:
  // None is owned; all must outlive this.
  XmlCheck(const WalkModel& model, ModelWalk& walk, XmlTrail& trail, FindingSink& sink)
      : model_(model),
        dictionary_(model.dictionary()),
        walk_(walk),
        trail_(trail),
        sink_(sink),
        values_(model),
        attributes_(model, values_) {}

  // The innermost element has begun, and its frame has its verdict. `typeKey` as ModelWalk has it.
  void start(const XmlStartTag& tag, std::u16string_view typeKey);
  void text(std::string_view piece, const XmlEventParser& parser);
  // The innermost element is about to end.
  void end();

 private:
  const SMD_TAG_DEFINITION* contentTag(const XmlFrame& frame) const;
  bool isOfRightType(const XmlFrame& frame, const XmlStartTag& tag, std::u16string_view typeKey);
  Reason judgeType(std::int32_t tagIndex, std::int32_t typeIndex);
  Reason judgeUnknownType(std::int32_t tagIndex, std::u16string_view typeKey) const;
  void checkAttributes(const XmlFrame& frame, const XmlStartTag& tag);
  void addAttribute(const XmlFrame& frame, const XmlAttribute& attribute, Reason reason,
                    std::int32_t tagIndex);
  void checkInstance(XmlFrame& frame, const XmlStartTag& tag);
  void checkNil(XmlFrame& frame, std::string_view value);
  void addNil(const XmlFrame& frame, Reason reason, std::string_view value);
  void checkText(XmlFrame& frame, std::string_view piece, const XmlEventParser& parser);
  void keep(std::string_view piece);
  void checkValue(const XmlFrame& frame);
  Reason judgeValue(std::int32_t tagIndex);
  Finding findingOf(const XmlFrame& frame, VerdictKind kind, Reason reason) const;

  const WalkModel& model_;
  const StdDictionaryInfo& dictionary_;
  ModelWalk& walk_;
  XmlTrail& trail_;
  FindingSink& sink_;
  ValueCheck values_;
  AttributeCheck attributes_;
  // What is wrong with a type that an element asks for, by their rows.
  std::unordered_map<std::uint64_t, Reason> types_;
  // What text_ has of the value of the innermost element.
  enum class Kept : std::uint8_t {
    Nothing,    // what comes stands behind a child
    All,        // all that came
    Collapsed,  // the same without superfluous white space
    Beginning,  // of a value that is too long
  };

  std::string text_;
  std::string collapsed_;
  Kept kept_ = Kept::Nothing;
};

}  // namespace cpi

#endif  // CPI_WALK_XMLCHECK_H
