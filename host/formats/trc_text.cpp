#include "host/formats/trc_text.h"

#include <cmath>

namespace mien::trc {

std::optional<std::int64_t> WholeNumber(const Value& value) {
  constexpr double kLargestNumber = 1e12;
  if (value.kind != Kind::Number || value.comma || std::trunc(value.number) != value.number ||
      std::abs(value.number) > kLargestNumber)
    return std::nullopt;
  return static_cast<std::int64_t>(value.number);
}

} // namespace mien::trc
