#include "host/formats/text_number.h"

#include "host/base/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace mien {

using Kind = TextNumber::Kind;

namespace {

std::string_view WithoutSign(std::string_view text) {
  return text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
}

} // namespace

TextNumber ValueOf(std::string_view text) {
  if (text.empty()) return {};
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  TextNumber value;
  char with_point[64];
  if (const std::size_t comma = text.find(','); comma != std::string_view::npos) {
    const std::size_t before = comma - (text.starts_with('-') ? 1 : 0);
    const std::size_t after =
        std::min(text.find_first_not_of("0123456789", comma + 1), text.size()) - comma - 1;
    if (after == 0 || text.size() > sizeof with_point || text.find('.') != std::string_view::npos)
      return {.kind = Kind::Text};
    value.comma = true;
    value.no_thousands = after != 3 || before == 0 || before > 3 || text[comma - before] == '0';
    std::copy(text.begin(), text.end(), with_point);
    with_point[comma] = '.';
    text = std::string_view(with_point, text.size());
  }
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value.number);
  if (stop == end && error != std::errc::invalid_argument)
    value.kind = error == std::errc::result_out_of_range || std::isinf(value.number) ? Kind::Infinite
                 : std::isnan(value.number)                                          ? Kind::Empty
                                                                                     : Kind::Number;
  else if (const std::string_view word = WithoutSign(text); word.starts_with("1.#")) // "-1.#IND", "1.#QNAN"
    value.kind = StartsWithIgnoringCase(word.substr(3), "INF") ? Kind::Infinite : Kind::Empty;
  else
    value.kind = Kind::Text;
  return value;
}

} // namespace mien
