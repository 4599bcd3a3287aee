#include "host/formats/length_unit.h"

#include "host/base/text.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace mien {

std::optional<double> MillimetresOf(std::string_view unit) {
  constexpr std::pair<std::string_view, double> kUnits[] = {
      {"mm", 1},        {"millimeter", 1},  {"millimeters", 1},  {"millimetre", 1},   {"millimetres", 1},
      {"cm", 10},       {"centimeter", 10}, {"centimeters", 10}, {"centimetre", 10},  {"centimetres", 10},
      {"dm", 100},      {"m", 1000},        {"meter", 1000},     {"meters", 1000},    {"metre", 1000},
      {"metres", 1000}, {"in", 25.4},       {"inch", 25.4},      {"inches", 25.4},    {"ft", 304.8},
      {"foot", 304.8},  {"feet", 304.8},    {"um", 0.001},       {"\xC2\xB5m", 0.001}};
  const std::string lower = ToLower(unit);
  const auto found = std::find_if(std::begin(kUnits), std::end(kUnits),
                                  [&](const auto& known) { return known.first == lower; });
  return found == std::end(kUnits) ? std::nullopt : std::optional(found->second);
}

} // namespace mien
