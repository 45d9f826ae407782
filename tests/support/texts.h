// Texts that many tests make and compare.
#ifndef STDDI_TESTS_SUPPORT_TEXTS_H
#define STDDI_TESTS_SUPPORT_TEXTS_H

#include <string>
#include <string_view>

namespace cpi::test {

inline std::string repeated(std::string_view text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

// What the Error says that the call throws; "accepted" when it throws none.
template <class Error, class Call>
std::string refusalOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error.what();
  }
  return "accepted";
}

}  // namespace cpi::test

#endif  // STDDI_TESTS_SUPPORT_TEXTS_H
