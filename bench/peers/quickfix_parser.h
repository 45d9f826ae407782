// QuickFIX behind an interface without its headers, which C++17 and later do not compile.
#ifndef BENCH_PEERS_QUICKFIX_PARSER_H
#define BENCH_PEERS_QUICKFIX_PARSER_H

#include <memory>
#include <string>

namespace cpi {
namespace bench {

// One data dictionary and one message object, used again for each message.
class QuickFixParser {
 public:
  explicit QuickFixParser(const std::string& dictionary);
  ~QuickFixParser();

  // Parses along the dictionary, checks length and checksum, and builds the groups. Throws what
  // QuickFIX throws.
  void parse(const std::string& message);
  // Checks the message parsed last against the dictionary.
  void validate() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace bench
}  // namespace cpi

#endif  // BENCH_PEERS_QUICKFIX_PARSER_H
