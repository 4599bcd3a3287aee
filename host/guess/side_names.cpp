#include "host/guess/side_names.h"

#include "host/base/text.h"

#include <string>

namespace mien {

int SideInName(std::string_view name) {
  const auto is_small = [](char c) { return c >= 'a' && c <= 'z'; };
  const auto is_capital = [](char c) { return c >= 'A' && c <= 'Z'; };
  bool left = false, right = false;
  std::string word;
  const auto end_word = [&] {
    if (EqualIgnoringCase(word, "l") || EqualIgnoringCase(word, "left")) left = true;
    if (EqualIgnoringCase(word, "r") || EqualIgnoringCase(word, "right")) right = true;
    word.clear();
  };
  for (const char c : name) {
    if (!is_small(c) && !is_capital(c)) {
      end_word();
      continue;
    }
    if (is_capital(c) && !word.empty() && is_small(word.back())) end_word();
    word += c;
  }
  end_word();
  return left == right ? 0 : left ? 1 : -1;
}

} // namespace mien
