// AttributeCheck: holds the attributes of an element against those that its type has.
//
// A dictionary that was not made of a schema and tells no attributes at all says nothing of them:
// then all are admitted. Thread rule: one thread at a time. What it has prepared of a type is kept.
#ifndef CPI_WALK_ATTRIBUTECHECK_H
#define CPI_WALK_ATTRIBUTECHECK_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cpi/walk/valuecheck.h"
#include "cpi/walk/verdict.h"
#include "cpi/walk/walkmodel.h"

namespace cpi {

// An attribute as it stands in a message, UTF-8.
struct XmlAttribute {
  std::string_view name;
  std::string_view namespaceURI;
  std::string_view value;
};

class AttributeCheck {
 public:
  // Neither is owned; both must outlive this.
  AttributeCheck(const WalkModel& model, ValueCheck& values);

  // Whether anything is judged at all.
  bool isNeeded() const noexcept { return isNeeded_; }
  // An element of a type begins; judge() follows for each of its attributes.
  void begin(std::int32_t typeIndex);
  // What is wrong with one: UnknownAttribute, or what ValueCheck says; and in `tagIndex` the
  // Tags row of the attribute, or kNone.
  Reason judge(const XmlAttribute& attribute, std::int32_t& tagIndex);
  // The required attributes that did not come.
  template <class Visit>
  void forEachMissing(Visit visit) const {
    for (std::size_t i = 0; current_ != nullptr && i < current_->attributes.size(); ++i) {
      const Attribute& one = current_->attributes[i];
      if (one.isRequired && !seen_[i]) visit(one.name, one.namespaceURI, one.tagIndex);
    }
  }

 private:
  struct Attribute {
    std::string name;
    std::string namespaceURI;
    std::int32_t tagIndex = kNone;
    bool isRequired = false;
  };
  struct Attributes {
    std::vector<Attribute> attributes;
    const Wildcard* wildcard = nullptr;  // null: none
  };

  const Attributes& attributesOf(std::int32_t typeId);
  Reason judgeByWildcard(const XmlAttribute& attribute, std::int32_t& tagIndex);
  Reason judgeValue(const XmlAttribute& attribute, std::int32_t tagIndex);

  const WalkModel& model_;
  const StdDictionaryInfo& dictionary_;
  ValueCheck& values_;
  bool isNeeded_ = false;
  std::unordered_map<std::int32_t, std::int32_t> contexts_;  // Types row, by id of the owner
  std::unordered_map<std::int32_t, Attributes> attributes_;  // by id of the owner
  const Attributes* current_ = nullptr;
  std::vector<char> seen_;  // of current_
};

}  // namespace cpi

#endif  // CPI_WALK_ATTRIBUTECHECK_H
