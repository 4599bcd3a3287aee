#include "host/performer/ranges_file.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

using mien::ReadRanges;
using testing::HasSubstr;

TEST(RangesFile, ReadsWhatItWrites) {
  const mien::WeightRanges ranges = {
      .name = "Ada",
      .ranges = {{.name = "eyeBlinkLeft",
                  .low = 0.02,
                  .high = 0.71,
                  .seen = 11,
                  .trusted = true,
                  .why = "11 blinks"},
                 {.name = "jawOpen", .low = 0, .high = 0.0625, .seen = 1, .trusted = false, .why = "noise"}},
      .takes = {{"talk.csv", "5d0c"}}};
  std::ostringstream out;
  WriteRanges(ranges, out);
  const mien::WeightRanges read = ReadRanges(out.str(), "r.json");
  EXPECT_EQ(read.name, "Ada");
  EXPECT_EQ(read.ranges, ranges.ranges);
  EXPECT_EQ(read.takes, ranges.takes);
}

TEST(RangesFile, ARangeNeedsNoMoreThanItsEnds) {
  const mien::WeightRanges read = ReadRanges(
      R"({"format": "mien ranges 1", "name": "Ada", "ranges": {"jawOpen": {"low": 0.1, "high": 0.8}}})", "r");
  ASSERT_EQ(read.ranges.size(), 1U);
  EXPECT_TRUE(read.ranges[0].trusted);
}

TEST(RangesFile, MistakesAreReportedTogether) {
  EXPECT_THAT(InputErrorOf([] {
                ReadRanges(R"({"format": "mien ranges 1", "name": "Ada", "what": 1, "takes": 5,
                               "ranges": {"jawOpen": {"low": 0.1}, "cheekPuff": {"low": 1, "high": 0}}})",
                           "r");
              }),
              testing::AllOf(HasSubstr("/what"), HasSubstr("/takes: this is not a list"),
                             HasSubstr("/ranges/jawOpen/high: a range has two ends"),
                             HasSubstr("/ranges/cheekPuff: 1 to 0 is not a range")));
  EXPECT_THAT(InputErrorOf([] { ReadRanges(R"({"format": "mien performer 2"})", "r"); }),
              HasSubstr("this is a \"performer\" file"));
  EXPECT_THAT(InputErrorOf([] { ReadRanges(R"({"format": "mien ranges 1", "name": "Ada"})", "r"); }),
              HasSubstr("the file has no ranges"));
}
