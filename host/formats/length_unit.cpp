#include "host/formats/length_unit.h"

#include "host/base/text.h"

#include <string>
#include <utility>

namespace mien {

namespace {

constexpr std::pair<std::string_view, double> kUnits[] = {
    {"mm", 1},
    {"mms", 1},
    {"millimetres", 1},
    {"millimeters", 1},
    {"milimetres", 1}, // often misspelt
    {"milimeters", 1},
    {"cm", 10},
    {"cms", 10},
    {"centimetres", 10},
    {"centimeters", 10},
    {"dm", 100},
    {"decimetres", 100},
    {"decimeters", 100},
    {"m", 1000},
    {"metres", 1000},
    {"meters", 1000},
    {"um", 0.001},
    {"\xC2\xB5m", 0.001}, // the micro sign in UTF-8, the Greek letter, the sign in Latin-1
    {"\xCE\xBCm", 0.001},
    {"\xB5m", 0.001},
    {"micrometres", 0.001},
    {"micrometers", 0.001},
    {"microns", 0.001},
    {"in", 25.4},
    {"inches", 25.4},
    {"ft", 304.8},
    {"feet", 304.8},
    {"foot", 304.8},
};

} // namespace

std::optional<double> MillimetresOf(std::string_view unit) {
  constexpr std::string_view kAround = " \t.()[]";
  const std::size_t first = unit.find_first_not_of(kAround);
  if (first == std::string_view::npos) return std::nullopt;
  const std::string word = ToLower(unit.substr(first, unit.find_last_not_of(kAround) + 1 - first));

  std::optional<double> millimetres;
  bool ambiguous = false;
  for (const auto& [known, length] : kUnits) {
    if (known == word) return length; // "m" is the beginning of others
    if (!known.starts_with(word)) continue;
    ambiguous = ambiguous || (millimetres && *millimetres != length);
    millimetres = length;
  }
  return ambiguous ? std::nullopt : millimetres;
}

} // namespace mien
