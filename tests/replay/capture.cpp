#include "capture.h"

#include <typeinfo>

namespace cpi::replay {
namespace {

Json insertText(const KelInsert& insert) {
  if (const auto* text = std::get_if<KelStringBase>(&insert.value())) return fromText(*text);
  return fromUtf8(insert.text());
}

Json plainInsert(const Json& insert) {
  if (insert.is_string()) return insert;
  return insert.is_null() ? Json("") : Json(insert.dump());
}

CaughtError describe(const KelException& error) {
  CaughtError caught;
  const auto* parserError = dynamic_cast<const KelParserException*>(&error);
  caught.type = parserError != nullptr ? "KelParserException" : "KelConfigurationException";
  caught.file = error.file();
  caught.line = error.line();
  caught.operation = error.operation();
  caught.number = error.messageNumber();
  caught.message = fromUtf8(error.message());
  for (const KelInsert& insert : error.inserts()) caught.inserts.push_back(insertText(insert));
  caught.source = parserError != nullptr ? parserError->logSource() : nullptr;
  caught.isForeign = false;
  return caught;
}

CaughtError describeForeign(const std::string& type, const std::string& message) {
  CaughtError caught;
  caught.type = type + ": " + message;
  return caught;
}

std::optional<CaughtError> errorOf(const std::function<Json()>& call, Json& result) {
  try {
    result = call();
    return std::nullopt;
  } catch (const Json::exception&) {
    throw;  // the vector's fault, not the library's
  } catch (const InputError&) {
    throw;
  } catch (const KelException& error) {
    return describe(error);
  } catch (const std::exception& error) {
    return describeForeign(typeid(error).name(), error.what());
  } catch (...) {
    return describeForeign("an exception of unknown type", "");
  }
}

}  // namespace

bool CaughtError::isRefusal() const {
  return type == "KelConfigurationException" && number == CP_DICTIONARY_ERROR.number;
}

Attempt attempt(const std::function<Json()>& call) {
  Attempt made;
  const auto start = std::chrono::steady_clock::now();
  made.error = errorOf(call, made.result);
  made.duration = std::chrono::steady_clock::now() - start;
  return made;
}

Json errorJson(const CaughtError& error) {
  return {{"class", error.type},          {"file", error.file},     {"line", error.line},
          {"operation", error.operation}, {"number", error.number}, {"message", error.message},
          {"inserts", error.inserts}};
}

Json expectedError(const Json& error) {
  if (error.is_null()) return error;
  Json members = Json::object();
  for (const char* name : {"class", "file", "line", "operation", "number", "message"}) {
    members[name] = error.at(name);
  }
  members["inserts"] = plainInserts(error.at("inserts"));
  return members;
}

Json plainInserts(const Json& inserts) {
  Json texts = Json::array();
  for (const Json& insert : inserts) texts.push_back(plainInsert(insert));
  return texts;
}

void LogCapture::write(const KelLogItem& item) {
  Json fields = Json::array({fromUtf8(item.text)});
  for (const KelInsert& insert : item.inserts) fields.push_back(insertText(insert));
  items_.push_back({item.kind, std::string(item.operation), std::move(fields)});
}

Json LogCapture::items(LogKind kind) const {
  Json list = Json::array();
  for (const Item& item : items_) {
    if (item.kind == kind) list.push_back(item.fields);
  }
  return list;
}

Json LogCapture::failureText(std::string_view operation) const {
  Json text;
  for (const Item& item : items_) {
    if (item.kind == LogKind::DebugExit &&
        item.operation.ends_with("::" + std::string(operation))) {
      text = item.fields.front() == "" ? Json() : item.fields.front();
    }
  }
  return text;
}

}  // namespace cpi::replay
