#include "host/formats/length_unit.h"

#include <gtest/gtest.h>

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

TEST(LengthUnit, OfAnythingElseNothingIsAssumed) {
  for (const char* unit : {"", " ", "mm ", "px", "m/s", "millimeterss"})
    EXPECT_FALSE(MillimetresOf(unit)) << unit;
}
