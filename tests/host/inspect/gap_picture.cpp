#include "host/inspect/gap_picture.h"

#include "tests/host/inspect/sample_takes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

using mien::Describe;
using mien::GapPicture;
using mien::Take;
using mien::Terminal;
using testing::ElementsAre;
using testing::StartsWith;
using tests::Seen;

namespace {

// The lines of the gaps' picture without its legend.
std::vector<std::string> Picture(const Take& take, const Terminal& terminal = {}) {
  std::vector<std::string> lines;
  std::istringstream in(GapPicture(Describe(take), terminal));
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

} // namespace

TEST(GapPicture, IsEmptyWithoutGaps) {
  EXPECT_EQ(GapPicture(Describe(Seen("xxxx")), {}), "");
  EXPECT_EQ(GapPicture(Describe(Take({"A"})), {}), "");
  EXPECT_EQ(GapPicture(Describe(Take()), {}), "");
}

TEST(GapPicture, BeginsWithTheMeaningOfItsShades) {
  EXPECT_THAT(
      GapPicture(Describe(Seen(".x")), {}),
      StartsWith("  gaps over time: . below a third of the frames, : below two thirds, + more, # all\n"));
  EXPECT_THAT(
      GapPicture(Describe(Seen(".x")), {.utf8 = true}),
      StartsWith(
          "  gaps over time: \u2591 below a third of the frames, \u2592 below two thirds, \u2593 more, "
          "\u2588 all\n"));
}

// The narrowest picture has 20 cells: here of six frames each.
TEST(GapPicture, ShadesAStretchByTheShareOfItsFramesThatIsMissing) {
  std::string seen;
  for (int i = 0; i < 12; ++i) seen += "xxxxxx"; // nothing
  seen += "xxxxx.xxxx.."
          "xxx...xx....x....."; // one, two, three, four, five of six
  seen += "......";
  for (int i = 0; i < 2; ++i) seen += "xxxxxx";
  ASSERT_EQ(seen.size(), 20u * 6);
  const Take take = Seen(seen);
  EXPECT_THAT(Picture(take, {.columns = 1, .utf8 = false}),
              ElementsAre("  A |            .::++#  |", "     0.0 s          9.0 s"));
  EXPECT_THAT(
      Picture(take, {.columns = 1, .utf8 = true}),
      ElementsAre("  A |            \u2591\u2592\u2592\u2593\u2593\u2588  |", "     0.0 s          9.0 s"));
}

TEST(GapPicture, IsAsWideAsTheTerminal) {
  for (const std::size_t columns : {40u, 80u, 132u}) {
    const auto picture = Picture(Seen(std::string(1000, '.')), {.columns = columns});
    ASSERT_EQ(picture.size(), 2u);
    EXPECT_EQ(picture[0].size(), columns);
    EXPECT_LE(picture[1].size(), columns + 8); // the last time may stand out
  }
}

TEST(GapPicture, EachGapShowsHoweverShortItIs) {
  for (const std::size_t frame : {0u, 1u, 500u, 998u, 999u}) {
    std::string seen(1000, 'x');
    seen[frame] = '.';
    const auto picture = Picture(Seen(seen));
    const std::string row = picture.at(0).substr(picture[0].find('|'));
    EXPECT_EQ(std::count(row.begin(), row.end(), '.'), 1) << frame;
    // In a cell at its own place along the row.
    EXPECT_EQ(row.find('.') - 1, frame * (row.size() - 2) / 1000) << frame;
  }
}

TEST(GapPicture, MarkersWithTheSameGapsShareARow) {
  Take take({"A", "B", "C"});
  for (int f = 0; f < 4; ++f) take.AddFrame(f, f);
  for (const std::size_t f : {0u, 3u})
    for (const std::size_t m : {0u, 2u}) take.Set(f, m, {});
  take.Set(1, 1, {});
  EXPECT_THAT(Picture(take),
              ElementsAre("  B            |# ##|", "  A and 1 more | ## |", "                0.00 s"));
}

TEST(GapPicture, HasFortyRowsTheWorstFirstAndOneForTheRest) {
  std::vector<std::string> names;
  for (int i = 0; i < 45; ++i) names.push_back("m" + std::to_string(i));
  Take take(names);
  for (int f = 0; f < 45; ++f) take.AddFrame(f, f);
  for (std::size_t m = 0; m < 45; ++m)
    for (std::size_t f = m + 1; f < 45; ++f) take.Set(f, m, {}); // marker m misses frames 0 to m
  const auto picture = Picture(take);
  ASSERT_EQ(picture.size(), 42u);
  EXPECT_EQ(picture[0], "  m44        |" + std::string(45, '#') + "|");
  EXPECT_EQ(picture[39], "  m5         |" + std::string(6, '#') + std::string(39, ' ') + "|");
  EXPECT_EQ(picture[40], "  and 5 more |#+::." + std::string(40, ' ') + "|"); // 5, 4, 3, 2, 1 of 5
}

TEST(GapPicture, ALongNameIsCut) {
  std::string name;
  for (int i = 0; i < 30; ++i) name += "\xC3\xA4";
  Take take({name});
  take.AddFrame(1, 0);
  EXPECT_EQ(Picture(take).at(0), "  " + name.substr(0, 44) + ".. |#|");
}

TEST(GapPicture, NamesInOtherScriptsStandInColumnsToo) {
  Take take({"\xC3\xA4", "bb"});
  for (int f = 0; f < 2; ++f) take.AddFrame(f, f);
  take.Set(1, 0, {});
  EXPECT_THAT(Picture(take), ElementsAre("  bb |##|", "  \xC3\xA4  |# |", "      0.00 s"));
}

TEST(GapPicture, NamesCannotSteerTheTerminal) {
  Take take({"\x1B[2JA"});
  take.AddFrame(1, 0);
  EXPECT_EQ(Picture(take).at(0), "  ?[2JA |#|");
}
