#include "host/inspect/weight_picture.h"

#include "host/inspect/text_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using mien::DrawnWeight;
using mien::Terminal;
using mien::WeightPicture;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Le;
using testing::Not;

namespace {

std::vector<double> Times(std::size_t frames) {
  std::vector<double> times;
  for (std::size_t f = 0; f < frames; ++f) times.push_back(static_cast<double>(f) / 10);
  return times;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

const DrawnWeight kOpen = {"Open", {0, 0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875, 1, 0.04}, {}};

} // namespace

TEST(WeightPicture, HeightsAreTheWeights) {
  EXPECT_THAT(Lines(WeightPicture(Times(10), {kOpen}, {})),
              ElementsAre("  weights over time, # is 1", "  Open    | .:-=+*%# |", "           0.000 s"));
  EXPECT_THAT(Lines(WeightPicture(Times(10), {kOpen}, {.utf8 = true}))[1],
              "  Open    | \u2581\u2582\u2583\u2584\u2585\u2586\u2587\u2588 |");
}

TEST(WeightPicture, FlagsAreMarkedBelowTheirWeight) {
  DrawnWeight flagged = kOpen;
  flagged.flagged = {{2, 4}, {9, 9}};
  EXPECT_THAT(Lines(WeightPicture(Times(10), {flagged, {"Up", std::vector<double>(10, 0), {}}}, {})),
              ElementsAre("  weights over time, # is 1", "  Open    | .:-=+*%# |", "  flagged |  ^^^    ^|",
                          "           0.000 s"));
}

TEST(WeightPicture, ShowsTheSixThatMoveMost) {
  std::vector<DrawnWeight> weights;
  for (int i = 0; i < 9; ++i) weights.push_back({"w" + std::to_string(i), {0, 0.1 * i}, {}});
  const std::string picture = WeightPicture(Times(2), weights, {});
  for (const char* shown : {"w8", "w7", "w6", "w5", "w4", "w3"}) EXPECT_THAT(picture, HasSubstr(shown));
  EXPECT_THAT(picture, Not(HasSubstr("w2")));
  EXPECT_LT(picture.find("w8"), picture.find("w3"));
}

TEST(WeightPicture, ACellShowsTheLargestOfItsFramesAndTheTopIsTheLargestOfAll) {
  DrawnWeight peak = {"Open", std::vector<double>(2000, 0), {}};
  peak.values[1000] = 2;
  const std::vector<std::string> lines = Lines(WeightPicture(Times(2000), {peak}, {.columns = 40}));
  EXPECT_EQ(lines[0], "  weights over time, # is 2");
  EXPECT_THAT(lines[1], HasSubstr("#"));
}

TEST(WeightPicture, IsAsWideAsTheTerminal) {
  DrawnWeight weight = {"LeftEye.Close", std::vector<double>(3000, 0), {{5, 2999}}};
  weight.values[7] = 1;
  for (std::size_t columns = 40; columns < 200; ++columns) {
    std::vector<std::size_t> widths;
    const std::vector<std::string> lines =
        Lines(WeightPicture(Times(3000), {weight}, {.columns = columns, .utf8 = true}));
    EXPECT_EQ(mien::Columns(lines[1]), columns);
    EXPECT_EQ(mien::Columns(lines[2]), columns);
  }
}

TEST(WeightPicture, IsEmptyWhereNothingMoves) {
  EXPECT_EQ(WeightPicture({}, {}, {}), "");
  EXPECT_EQ(WeightPicture(Times(3), {}, {}), "");
  EXPECT_EQ(WeightPicture(Times(3), {{"a", {0.5, 0.5, 0.505}, {}}}, {}), "");
}
