// Protobuf's descriptors of the same model: a message for each type with members, a field for each
// member. Made ready from the serialised form, as generated code does it.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>

#include <set>

#include "bench/support/loads.h"

namespace cpi::bench {
namespace {

using google::protobuf::DescriptorPool;
using google::protobuf::DescriptorProto;
using google::protobuf::FieldDescriptorProto;
using google::protobuf::FileDescriptorProto;

// A name that a descriptor may have: letters, digits and underscores, a letter first.
std::string identifierOf(const Text& text) {
  std::string name = "n";
  for (const char unit : text.has_value() ? toUtf8(*text) : std::string()) {
    const auto isPlain = [&](char first, char last) { return unit >= first && unit <= last; };
    const bool isKept = isPlain('a', 'z') || isPlain('A', 'Z') || isPlain('0', '9');
    name += isKept ? unit : '_';
  }
  return name;
}

class DescriptorWriter {
 public:
  explicit DescriptorWriter(const DictionaryTables& tables) : tables_(tables) {
    file_.set_name("model.proto");
    file_.set_package("bench");
    for (std::size_t type = 0; type < tables.Types.size(); ++type) {
      if (hasMembers(type)) addMessage(type);
    }
  }

  std::string serialised() const { return file_.SerializeAsString(); }
  // Messages and fields.
  std::int64_t definitions() const {
    std::int64_t count = file_.message_type_size();
    for (const DescriptorProto& message : file_.message_type()) count += message.field_size();
    return count;
  }

 private:
  bool hasMembers(std::size_t type) const { return tables_.Types[type].ToTypeMbrIndex >= 0; }
  std::string messageName(std::size_t type) const {
    return identifierOf(tables_.Types[type].Identifier) + "_" + std::to_string(type);
  }

  void addMessage(std::size_t type) {
    DescriptorProto& message = *file_.add_message_type();
    message.set_name(messageName(type));
    std::set<std::string> names;
    auto row = static_cast<std::size_t>(tables_.Types[type].ToTypeMbrIndex);
    for (; row < tables_.TypeMembers.size() &&
           tables_.TypeMembers[row].ParentTypeId == tables_.Types[type].TypeId;
         ++row) {
      addField(message, tables_.TypeMembers[row], names);
    }
  }

  void addField(DescriptorProto& message, const MemberRow& member, std::set<std::string>& names) {
    FieldDescriptorProto& field = *message.add_field();
    field.set_number(message.field_size());
    const bool hasTag = member.toTagIndex >= 0;
    std::string name = hasTag ? identifierOf(tables_.Tags[at(member.toTagIndex)].TextIdentifier)
                              : std::string("group");
    if (!names.insert(name).second) name += "_" + std::to_string(field.number());
    field.set_name(name);
    field.set_label(member.MaxOccurs == 1 ? FieldDescriptorProto::LABEL_OPTIONAL
                                          : FieldDescriptorProto::LABEL_REPEATED);
    if (member.toTypeIndex >= 0 && hasMembers(at(member.toTypeIndex))) {
      field.set_type(FieldDescriptorProto::TYPE_MESSAGE);
      field.set_type_name(".bench." + messageName(at(member.toTypeIndex)));
    } else {
      field.set_type(FieldDescriptorProto::TYPE_STRING);
    }
  }

  static std::size_t at(std::int32_t index) { return static_cast<std::size_t>(index); }

  const DictionaryTables& tables_;
  FileDescriptorProto file_;
};

auto poolMaker(const Model& model) {
  return [serialised = DescriptorWriter(model.tables()).serialised()] {
    FileDescriptorProto file;
    auto pool = std::make_unique<DescriptorPool>();
    if (!file.ParseFromString(serialised) || pool->BuildFile(file) == nullptr) {
      throw std::runtime_error("protobuf refuses the model");
    }
    return pool;
  };
}

const bool kRegistered = registered([] {
  addLoads("protobuf", poolMaker);
  addMemory("protobuf", poolMaker);
});

}  // namespace
}  // namespace cpi::bench
