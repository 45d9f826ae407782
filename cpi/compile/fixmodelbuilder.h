// FixModelBuilder: from the definitions of FIX data dictionaries to drafts of tags and types.
//
// Fields keep their numbers as tag ids; what has no number of its own (messages, header, trailer,
// groups) gets the ids behind the greatest. Components are no more than a way to write down fields
// together: their fields become members of the message or group that uses them.
#ifndef CPI_COMPILE_FIXMODELBUILDER_H
#define CPI_COMPILE_FIXMODELBUILDER_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cpi/compile/fixdocument.h"
#include "cpi/compile/tabledraft.h"

namespace cpi {

class FixModelBuilder {
 public:
  // Adds all definitions of the documents to `draft`. Throws FileError.
  FixModelBuilder(const std::vector<FixDocument>& documents, TableDraft& draft,
                  std::vector<Notice>& notices);

 private:
  // A field of one or several documents, their values joined.
  struct Field {
    const FixDocument* document;  // the first that defines it
    const FixFieldDefinition* definition;
    std::vector<FixValue> values;
    bool isOpen = false;
    std::int32_t tag = kNone;  // in the draft
  };
  // The members of a header, trailer, message or group while they are collected.
  struct Level {
    std::vector<MemberDraft> members = {};
    std::map<std::int32_t, std::size_t> memberOfTag = {};
    // Components that were unfolded here, as optional or required: once more adds nothing.
    std::set<std::pair<const FixComponent*, bool>> unfolded = {};
  };

  void collectFields(const FixDocument& document);
  void joinField(Field& known, const FixDocument& document, const FixFieldDefinition& field);
  void collectComponents(const FixDocument& document);
  void addFieldTags();
  std::int32_t valueType(const Field& field);
  std::int32_t valueSetOf(const Field& field);

  void addFrame(std::vector<FixItem> FixDocument::*part, std::u16string_view name,
                std::int32_t& tag);
  void addMessage(const FixDocument& document, const FixMessageDefinition& message);
  void append(Level& level, const FixDocument& document, const std::vector<FixItem>& items,
              bool isRequired);
  void appendComponent(Level& level, const FixDocument& document, const FixItem& item,
                       bool isRequired);
  // The member of a field; null when the level has one already.
  bool appendField(Level& level, const FixDocument& document, const FixItem& item, bool isRequired);
  std::int32_t groupTag(const FixDocument& document, const FixItem& group);
  void addMembers(std::int32_t type, const Level& level);
  void note(const std::string& text, const FixDocument& document, SchemaPlace place);

  const Field& fieldOf(const FixDocument& document, const FixItem& item) const;

  const std::vector<FixDocument>& documents_;
  TableDraft& draft_;
  std::vector<Notice>& notices_;
  std::map<std::int32_t, Field> fields_;            // by number
  std::map<std::u16string, std::int32_t> numbers_;  // of the fields, by name
  std::map<std::pair<const FixDocument*, std::u16string>, const FixComponent*> components_;
  std::map<std::u16string, std::int32_t> valueTypes_;               // draft types, by name
  std::map<const FixItem*, std::int32_t> groupTags_;                // draft tags
  std::map<std::u16string, const FixMessageDefinition*> messages_;  // by MsgType
  std::set<std::u16string> messageNames_;
  std::vector<const FixComponent*> unfolding_;  // innermost last
  std::int32_t headerTag_ = kNone;
  std::int32_t trailerTag_ = kNone;
  std::size_t itemCount_ = 0;  // unfolded so far
};

}  // namespace cpi

#endif  // CPI_COMPILE_FIXMODELBUILDER_H
