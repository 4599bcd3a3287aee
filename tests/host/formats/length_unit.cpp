#include "host/formats/length_unit.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

using mien::MillimetresOf;

namespace {

/// Every spelling, and from how many letters on it is the only unit that begins so.
struct Spelling {
  std::string word;
  std::size_t unique_from;
};

const std::map<double, std::vector<Spelling>> kSpellings = {
    {0.001,
     {{"um", 1},
      {"\xC2\xB5m", 3},
      {"\xCE\xBCm", 3},
      {"\xB5m", 2},
      {"micrometres", 3},
      {"micrometers", 3},
      {"microns", 3}}},
    {1,
     {{"mm", 2}, {"millimetres", 3}, {"millimeters", 3}, {"milimetres", 3}, {"milimeters", 3}, {"mms", 2}}},
    {10, {{"cm", 1}, {"cms", 1}, {"centimetres", 1}, {"centimeters", 1}}},
    {25.4, {{"in", 1}, {"inches", 1}}},
    {100, {{"dm", 1}, {"decimetres", 1}, {"decimeters", 1}}},
    {304.8, {{"ft", 1}, {"foot", 1}, {"feet", 1}}},
    {1000, {{"m", 1}, {"metres", 2}, {"meters", 2}}}};

} // namespace

TEST(LengthUnit, EveryUnambiguousBeginningOfASpellingIsTheUnit) {
  for (const auto& [millimetres, spellings] : kSpellings)
    for (const auto& [word, unique_from] : spellings)
      for (std::size_t length = unique_from; length <= word.size(); ++length)
        EXPECT_EQ(MillimetresOf(word.substr(0, length)), millimetres) << word << ' ' << length;
}

TEST(LengthUnit, AWordCutToFourLettersIsTheUnit) {
  EXPECT_EQ(MillimetresOf("mete"), 1000);
  EXPECT_EQ(MillimetresOf("metr"), 1000);
  EXPECT_EQ(MillimetresOf("mill"), 1);
  EXPECT_EQ(MillimetresOf("cent"), 10);
  EXPECT_EQ(MillimetresOf("inch"), 25.4);
}

TEST(LengthUnit, LetterCaseBlanksDotsAndBracketsDoNotMatter) {
  for (const char* unit : {"M", " m", "m  ", "m.", "METERS", "Metres", "[m]", "(Meter) ", "met.", "mEtE\t"})
    EXPECT_EQ(MillimetresOf(unit), 1000) << unit;
  EXPECT_EQ(MillimetresOf("in."), 25.4);
  EXPECT_EQ(MillimetresOf("[Mm]"), 1);
}

TEST(LengthUnit, ABeginningOfSeveralUnitsIsNone) { EXPECT_EQ(MillimetresOf("mi"), std::nullopt); }

TEST(LengthUnit, AnythingElseIsNone) {
  for (const char* unit : {"", " ", ".", "[]", "px", "m/s", "m m", "millimeterss", "km", "mmm", "yd", "elle",
                           "metros", "mm2", "0"})
    EXPECT_EQ(MillimetresOf(unit), std::nullopt) << unit;
}
