#include "bench/peers/quickfix_parser.h"

#include <quickfix/DataDictionary.h>
#include <quickfix/Message.h>

#include <sstream>

namespace cpi {
namespace bench {

struct QuickFixParser::State {
  explicit State(std::istream& text) : dictionary(text) {}
  FIX::DataDictionary dictionary;
  FIX::Message message;
};

QuickFixParser::QuickFixParser(const std::string& dictionary) {
  std::istringstream text(dictionary);
  state_ = std::make_unique<State>(text);
}

QuickFixParser::~QuickFixParser() = default;

void QuickFixParser::parse(const std::string& message) {
  state_->message.setString(message, true, &state_->dictionary);
}

void QuickFixParser::validate() const { state_->dictionary.validate(state_->message); }

}  // namespace bench
}  // namespace cpi
