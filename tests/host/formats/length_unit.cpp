#include "host/formats/length_unit.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using mien::MillimetresOf;

TEST(LengthUnit, IsKnownAsPeopleWriteIt) {
  EXPECT_EQ(MillimetresOf("mm"), 1);
  EXPECT_EQ(MillimetresOf("MM"), 1);
  EXPECT_EQ(MillimetresOf("cm"), 10);
  EXPECT_EQ(MillimetresOf("Meters"), 1000);
  EXPECT_EQ(MillimetresOf("metres"), 1000);
  EXPECT_EQ(MillimetresOf("in"), 25.4);
  EXPECT_EQ(MillimetresOf("ft"), 304.8);
  EXPECT_EQ(MillimetresOf("\xC2\xB5m"), 0.001);
}

TEST(LengthUnit, EverySpellingHasItsMillimetres) {
  const std::map<double, std::vector<std::string>> spellings = {
      {0.001, {"um", "\xC2\xB5m"}},
      {1, {"mm", "millimeter", "millimeters", "millimetre", "millimetres"}},
      {10, {"cm", "centimeter", "centimeters", "centimetre", "centimetres"}},
      {25.4, {"in", "inch", "inches"}},
      {100, {"dm"}},
      {304.8, {"ft", "foot", "feet"}},
      {1000, {"m", "meter", "meters", "metre", "metres"}}};
  for (const auto& [millimetres, units] : spellings)
    for (const std::string& unit : units) EXPECT_EQ(MillimetresOf(unit), millimetres) << unit;
}

TEST(LengthUnit, OfAnythingElseNothingIsAssumed) {
  for (const char* unit : {"", " ", "mm ", "px", "m/s", "millimeterss"})
    EXPECT_FALSE(MillimetresOf(unit)) << unit;
}
