#include "storage.h"

#include <cstdlib>
#include <map>

#include "capture.h"
#include "tests/support/idledictionary.h"

namespace cpi::replay {
namespace {

Json usedBytes(const StringTable& property) {
  if (property.buffer == nullptr) return nullptr;
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string hex;
  for (std::uint32_t i = 0; i < property.bufferUsed; ++i) {
    hex += kDigits[property.buffer[i] >> 4U];
    hex += kDigits[property.buffer[i] & 15U];
  }
  return hex;
}

Json propertyState(const StringTable& property) {
  return {{"type", property.type},
          {"rowCount", property.rowCount},
          {"bufferSize", property.bufferSize},
          {"bufferUsed", property.bufferUsed},
          {"bytes", usedBytes(property)}};
}

class StorageReplay {
 public:
  StorageReplay() { table_.owner = &owner_; }

  Json perform(const Json& operation) {
    const Arguments a(operation);
    const std::string name = a.at(0).get<std::string>();
    if (name == "Create") return create(a);
    if (name == "CreateProperty") return createProperty(a);
    if (name == "SetValue") return setValue(a);
    if (name == "SetIntValue") return setIntValue(a);
    if (name == "GetValue") return fromText(property(a).GetValue(unsignedNumber(a.at(2))));
    if (name == "FindTable") {
      return handleOf(table_.properties.FindTable(a.text(1).units(), a.text(2).units()));
    }
    if (name == "group") return group();
    throw InputError("expected a storage operation, found " + name);
  }

 private:
  static std::uint32_t unsignedNumber(const Json& number) { return number.get<std::uint32_t>(); }

  StringTable& property(const Arguments& a) const {
    const auto found = properties_.find(a.number(1));
    if (found == properties_.end()) {
      throw InputError("expected a property, found " + std::to_string(a.number(1)));
    }
    return *found->second;
  }
  Json handleOf(const StringTable* wanted) const {
    if (wanted == nullptr) return nullptr;
    for (const auto& [handle, property] : properties_) {
      if (property == wanted) return handle;
    }
    return "a property that was not created";
  }

  Json create(const Arguments& a) {
    properties_.clear();  // a second Create would destroy them
    table_.Create(unsignedNumber(a.at(1)), unsignedNumber(a.at(2)));
    return {{"size", table_.size},
            {"rowCount", table_.rowCount},
            {"records", table_.records != nullptr}};
  }
  Json createProperty(const Arguments& a) {
    const StringTableRef made = table_.CreateProperty(a.text(2).units(), a.text(3).units(),
                                                      a.number(4), unsignedNumber(a.at(5)));
    properties_[a.number(1)] = made.strings;
    return propertyState(*made.strings);
  }
  Json setValue(const Arguments& a) {
    const Text text = a.text(3);
    property(a).SetValue(unsignedNumber(a.at(2)), text.units());
    return propertyState(property(a));
  }
  Json setIntValue(const Arguments& a) {
    const std::string& digits = a.at(3).get_ref<const std::string&>();
    property(a).SetIntValue(unsignedNumber(a.at(2)), std::strtoll(digits.c_str(), nullptr, 10));
    return propertyState(property(a));
  }
  Json group() const {
    Json handles = Json::array();
    for (const auto& property : table_.properties.tables()) {
      handles.push_back(handleOf(property.get()));
    }
    return handles;
  }

  test::IdleDictionary owner_{0};
  DictTable table_;
  std::map<std::int32_t, StringTable*> properties_;
};

}  // namespace

void replayStorage(const Json& vector, Report& report) {
  const Json& operations = vector.at("ops");
  const Json& answers = vector.at("answers");
  if (operations.size() != answers.size()) throw InputError("expected one answer an operation");
  StorageReplay replay;
  for (std::size_t i = 0; i < operations.size(); ++i) {
    report.beginOperation(i, printable(operations[i]));
    const Attempt made = attempt([&] { return replay.perform(operations[i]); });
    report.same("answer", answers[i], made.error ? errorJson(*made.error) : made.result);
  }
}

}  // namespace cpi::replay
