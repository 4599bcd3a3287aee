#include "host/inspect/describe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using mien::Describe;
using mien::FrameRun;
using mien::Origin;
using mien::Point;
using mien::Take;
using mien::TakeDescription;
using mien::Terminal;
using mien::ToJson;
using mien::ToText;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

// Eight frames 10 to 18 without 14. A is always there but in the two empty frames 12 and 13; B has gaps of 1,
// 4 (with the empty frames inside) and none at the end; C is never seen.
Take Sample() {
  Take take({"A", "B", "C"});
  take.file = "takes/sample.csv";
  take.name = "sample";
  take.format = "marker CSV";
  take.rate = {20, 1};
  take.notes = {"frames missing: 1 after frame 13"};
  for (const int number : {10, 11, 12, 13, 15, 16, 17, 18}) take.AddFrame(number, number / 20.0);
  for (const std::size_t frame : {0u, 1u, 4u, 5u, 6u, 7u}) {
    const double f = static_cast<double>(frame);
    take.Set(frame, 0, {f, -f, 100 + f});
  }
  for (const std::size_t frame : {0u, 5u, 7u}) take.Set(frame, 1, {-50, 2.25, static_cast<double>(frame)});
  return take;
}

// The same with what only some formats have.
Take RichSample() {
  Take take({"A", "a"});
  take.file = "rich.c3d";
  take.name = "rich";
  take.format = "C3D";
  take.flavour = "Intel, float";
  take.unit = "m";
  take.rate = {30000, 1001};
  take.timecode = mien::Timecode{1000, {30, 1}, false};
  take.residual_mm = 0.5;
  take.events = {{0.1, "clap"}, {0.125, "say\n\"a\""}};
  for (int f = 0; f < 4; ++f) take.AddFrame(f + 1, f * 1001.0 / 30000);
  for (std::size_t f = 0; f < 4; ++f) {
    const auto row = take.RowOf(f);
    row.positions[0] = {1, 2, 3};
    row.origins[0] = f == 3 ? Origin::Computed : Origin::Measured;
    row.sightings[0] = {.cameras = 3, .residual = static_cast<std::uint8_t>(f)};
  }
  take.Set(0, 1, {0.1, 2, 3}, Origin::Filled);
  return take;
}

// A take of one marker that is seen where `seen` has an 'x'.
Take Seen(const std::string& seen, const mien::FrameRate& rate = {10, 1}) {
  Take take({"A"});
  take.rate = rate;
  for (std::size_t f = 0; f < seen.size(); ++f) {
    take.AddFrame(static_cast<std::int64_t>(f), rate.Seconds(static_cast<std::int64_t>(f)));
    if (seen[f] == 'x') take.Set(f, 0, {});
  }
  return take;
}

// The lines of the gaps' picture: those behind its legend.
std::vector<std::string> Picture(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text.substr(std::min(text.find("  gaps over time"), text.size())));
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

} // namespace

TEST(Describe, CountsFramesAndWhatIsMissing) {
  const TakeDescription d = Describe(Sample());
  EXPECT_EQ(d.name, "sample");
  EXPECT_EQ(d.format, "marker CSV");
  EXPECT_EQ(d.frames, 8u);
  EXPECT_EQ(d.first_frame, 10);
  EXPECT_EQ(d.last_frame, 18);
  EXPECT_EQ(d.missing_frames, 1);
  EXPECT_EQ(d.empty_frames, 2u);
  EXPECT_EQ(d.rate.Hz(), 20);
  EXPECT_DOUBLE_EQ(d.duration_s, 0.45); // 9 periods of 1/20 s, the last frame's own among them
  EXPECT_THAT(d.notes, ElementsAre("frames missing: 1 after frame 13"));
}

TEST(Describe, CountsGapsAndTheLongestRunOfThem) {
  const TakeDescription d = Describe(Sample());
  ASSERT_EQ(d.markers.size(), 3u);
  EXPECT_EQ(d.markers[0].name, "A");
  EXPECT_EQ(d.markers[0].gaps, 2u);
  EXPECT_THAT(d.markers[0].gap_runs, ElementsAre(FrameRun{2, 3}));
  EXPECT_EQ(d.markers[0].longest, (FrameRun{2, 3}));
  EXPECT_DOUBLE_EQ(d.markers[0].longest_s, 0.1);
  EXPECT_EQ(d.markers[1].gaps, 5u);
  EXPECT_THAT(d.markers[1].gap_runs, ElementsAre(FrameRun{1, 4}, FrameRun{6, 6}));
  EXPECT_EQ(d.markers[1].longest, (FrameRun{1, 4}));
  EXPECT_DOUBLE_EQ(d.markers[1].longest_s,
                   0.25); // frames 11 to 15: five periods, one of them the missing frame's
  EXPECT_EQ(d.markers[2].gaps, 8u);
  EXPECT_THAT(d.markers[2].gap_runs, ElementsAre(FrameRun{0, 7}));
}

TEST(Describe, OfGapsOfOneLengthTheFirstIsTheLongest) {
  const TakeDescription d = Describe(Seen("x..x.x..x"));
  EXPECT_EQ(d.markers[0].longest, (FrameRun{1, 2}));
}

TEST(Describe, MarkerWithoutGapsHasNoLongestOne) {
  const TakeDescription d = Describe(Seen("xxx"));
  EXPECT_FALSE(d.markers[0].longest);
  EXPECT_EQ(d.markers[0].longest_s, 0);
  EXPECT_THAT(d.markers[0].gap_runs, IsEmpty());
}

TEST(Describe, TellsWhereThePositionsAreFrom) {
  const TakeDescription d = Describe(RichSample());
  EXPECT_EQ(d.markers[0].computed, 1u);
  EXPECT_EQ(d.markers[0].filled, 0u);
  EXPECT_EQ(d.markers[0].residual_mm, 0.5); // of the measured ones, 0, 1 and 2 times half a millimetre
  EXPECT_EQ(d.markers[1].computed, 0u);
  EXPECT_EQ(d.markers[1].filled, 1u);
  EXPECT_FALSE(d.markers[1].residual_mm);
}

TEST(Describe, TimecodeGoesFromTheFirstFrameToTheLast) {
  EXPECT_FALSE(Describe(Sample()).timecode);
  EXPECT_EQ(Describe(Sample()).last_timecode, "");
  Take take = Seen("xxxx", {30, 1});
  take.timecode = mien::Timecode{29, {30, 1}, false};
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.timecode->At(0), "00:00:00:29");
  EXPECT_EQ(d.last_timecode, "00:00:01:02");
  EXPECT_THAT(ToText(d), HasSubstr("  timecode  00:00:00:29 to 00:00:01:02, 30 counts per second\n"));
}

TEST(Describe, NamesThatOnlyLetterCaseTellsApartAreLike) {
  EXPECT_THAT(Describe(Take({"Cheek_up", "b", "Cheek_Up", "B", "c", "chin", "cheek_up"})).like_names,
              ElementsAre(ElementsAre("Cheek_up", "Cheek_Up", "cheek_up"), ElementsAre("b", "B")));
  EXPECT_THAT(Describe(Take({"a", "ab", "\xC3\x84", "\xC3\xA4"})).like_names, IsEmpty());
  EXPECT_THAT(ToText(Describe(Take({"Up", "UP"}))),
              HasSubstr("  hint      \"Up\", \"UP\" are 2 markers: only letter case tells them apart\n"));
  EXPECT_THAT(ToText(Describe(Take({"Up", "Up"}))),
              HasSubstr("  hint      \"Up\" is the name of 2 markers; the first is meant by it\n"));
}

TEST(Describe, ExtentsHoldSeenPositionsOnly) {
  const TakeDescription d = Describe(Sample());
  // A is never at 0 in z, nor B in x: a gap taken for a zero position would show there.
  EXPECT_EQ(d.markers[0].low.x, 0);
  EXPECT_EQ(d.markers[0].high.x, 7);
  EXPECT_EQ(d.markers[0].low.y, -7);
  EXPECT_EQ(d.markers[0].high.y, 0);
  EXPECT_EQ(d.markers[0].low.z, 100);
  EXPECT_EQ(d.markers[0].high.z, 107);
  EXPECT_EQ(d.markers[1].low.x, -50);
  EXPECT_EQ(d.markers[1].high.x, -50);
  EXPECT_EQ(d.low.x, -50);
  EXPECT_EQ(d.high.x, 7);
  EXPECT_EQ(d.low.y, -7);
  EXPECT_EQ(d.high.y, 2.25);
  EXPECT_EQ(d.low.z, 0);
  EXPECT_EQ(d.high.z, 107);
}

TEST(Describe, ExtentsOfAMarkerThatAppearsLateLeaveOutTheGap) {
  Take take({"A"});
  take.AddFrame(1, 0);
  take.AddFrame(2, 1);
  take.Set(1, 0, {5, 6, 7});
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.markers[0].low.x, 5);
  EXPECT_EQ(d.markers[0].high.z, 7);
  EXPECT_EQ(d.low.y, 6);
}

TEST(Describe, MarkerThatIsNeverSeenHasNoPartInTheExtents) {
  Take take({"never", "A", "never either"});
  take.AddFrame(1, 0);
  take.Set(0, 1, {5, 6, 7});
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.low.x, 5);
  EXPECT_EQ(d.low.z, 7);
  EXPECT_EQ(d.high.y, 6);
}

TEST(Describe, TextShowsWhatWasCounted) {
  EXPECT_EQ(ToText(Describe(Sample())),
            "sample: marker CSV\n"
            "  frames    8 (10 to 18), 1 missing, 2 without any marker\n"
            "  rate      20 Hz\n"
            "  duration  0.450 s\n"
            "  extents   x -50.0 to 7.0, y -7.0 to 2.2, z 0.0 to 107.0 mm\n"
            "  axes      unknown from the take alone; a performer (-p) tells\n"
            "  note      frames missing: 1 after frame 13\n"
            "  3 markers\n"
            "  marker  gaps  of all  longest  lasting  runs            x mm         y mm            z mm\n"
            "  A          2  25.0 %        2  0.100 s     1      0.0 to 7.0  -7.0 to 0.0  100.0 to 107.0\n"
            "  B          5  62.5 %        4  0.250 s     2  -50.0 to -50.0   2.2 to 2.2      0.0 to 7.0\n"
            "  C          8   100 %        8  0.450 s     1      never seen\n"
            "  gaps over time: . below a third of the frames, : below two thirds, + more, # all\n"
            "  C |########|\n"
            "  B | #### # |\n"
            "  A |  ##    |\n"
            "     0.500 s\n");
}

TEST(Describe, TextShowsWhatOnlySomeFormatsHave) {
  EXPECT_EQ(
      ToText(Describe(RichSample())),
      "rich: C3D (Intel, float), lengths in m\n"
      "  frames    4 (1 to 4), 0 missing, 0 without any marker\n"
      "  rate      30000/1001 Hz (29.97003)\n"
      "  duration  0.133 s\n"
      "  timecode  00:00:33:10 to 00:00:33:13.003, 30 counts per second\n"
      "  extents   x 0.1 to 1.0, y 2.0 to 2.0, z 3.0 to 3.0 mm\n"
      "  axes      unknown from the take alone; a performer (-p) tells\n"
      "  events    2: 0.100 s clap, 0.125 s say?\"a\"\n"
      "  hint      \"A\", \"a\" are 2 markers: only letter case tells them apart\n"
      "  2 markers\n"
      "  marker  gaps  of all  longest  lasting  runs  computed  filled  residual mm        x mm        "
      "y mm        z mm\n"
      "  A          0     0 %        -        -     0         1       0        0.500  1.0 to 1.0  2.0 to "
      "2.0  3.0 to 3.0\n"
      "  a          3  75.0 %        3  0.100 s     1         0       1         none  0.1 to 0.1  2.0 to "
      "2.0  3.0 to 3.0\n"
      "  gaps over time: . below a third of the frames, : below two thirds, + more, # all\n"
      "  a | ###|\n"
      "     0.000 s\n");
}

TEST(Describe, ALongListOfEventsIsCut) {
  Take take({"A"});
  for (int i = 0; i < 8; ++i) take.events.push_back({static_cast<double>(i), "e"});
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("4.000 s e, and 3 more\n"));
}

TEST(Describe, SharesAreRoundedNeitherToNothingNorToAll) {
  std::string seen(3000, 'x');
  EXPECT_THAT(ToText(Describe(Seen(seen))), HasSubstr("  0 %  "));
  seen[7] = '.';
  EXPECT_THAT(ToText(Describe(Seen(seen))), HasSubstr("  <0.1 %  "));
  EXPECT_THAT(ToText(Describe(Seen("x" + std::string(2999, '.')))), HasSubstr("  >99.9 %  "));
}

// One axis alone along which every marker is far from the origin, on the same side of it, is the height above a floor.
TEST(Describe, UpIsGuessedFromTheHeightAboveTheOrigin) {
  const auto axes_of = [](const Point& a, const Point& b) {
    Take take({"A", "B"});
    take.AddFrame(1, 0);
    take.Set(0, 0, a), take.Set(0, 1, b);
    return Describe(take).axes;
  };
  EXPECT_EQ(axes_of({0, 100, 1500}, {-100, 0, 1612.6}),
            "guess: +z up, since no marker comes nearer to the origin than 1500 mm along it");
  EXPECT_EQ(axes_of({0, -700, 150}, {-100, -500, 0}),
            "guess: -y up, since no marker comes nearer to the origin than 500 mm along it");
  EXPECT_EQ(axes_of({0, 100, 499}, {-100, 0, 1612}), "") << "not far";
  EXPECT_EQ(axes_of({0, 100, 1500}, {-100, 0, -1500}), "") << "on both sides";
  EXPECT_EQ(axes_of({900, 100, 1500}, {900, 0, 1500}), "") << "two that could be";
  EXPECT_EQ(Describe(Take({"A"})).axes, "") << "nothing is seen";
}

TEST(Describe, WhatTheFormatSaysOfTheAxesIsNoGuess) {
  Take take({"A"});
  take.axes = "+y up";
  take.AddFrame(1, 0);
  take.Set(0, 0, {0, 0, 2000});
  EXPECT_EQ(Describe(take).axes, "+y up");
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("  axes      +y up\n"));
}

TEST(Describe, AxesAreNamedAfterTheFacesDirections) {
  TakeDescription d = Describe(Sample());
  const auto axes = [&](const mien::FaceDirections& face) {
    d.face = face;
    const std::string text = ToText(d);
    const std::size_t start = text.find("axes      ") + 10;
    return text.substr(start, text.find('\n', start) - start);
  };
  EXPECT_EQ(axes({.left = {1, 0, 0}, .up = {0, 0, 1}, .forward = {0, -1, 0}}),
            "+z up, the face looks along -y, +x is the performer's left (within 0 degrees)");
  // Turned by 30 degrees to its right about the upright axis.
  const double c = 0.86602540378443864676, s = 0.5;
  EXPECT_EQ(axes({.left = {c, 0, s}, .up = {0, 1, 0}, .forward = {-s, 0, c}}),
            "+y up, the face looks along +z, +x is the performer's left (within 30 degrees)");
  const double h = 0.70710678118654752440;
  EXPECT_EQ(axes({.left = {h, 0, h}, .up = {0, 1, 0}, .forward = {-h, 0, h}}),
            "askew: up is (0.00, 1.00, 0.00), the face looks along (-0.71, 0.00, 0.71)");
}

TEST(Describe, TakeWithoutGapsHasNoPictureOfThem) {
  EXPECT_THAT(ToText(Describe(Seen("xxxx"))), Not(HasSubstr("gaps over time")));
}

// The narrowest picture has 20 cells: here of six frames each.
TEST(Describe, ThePictureShadesAStretchByTheShareOfItsFramesThatIsMissing) {
  std::string seen;
  for (int i = 0; i < 12; ++i) seen += "xxxxxx"; // nothing
  seen += "xxxxx.xxxx.."
          "xxx...xx....x....."; // one, two, three, four, five of six
  seen += "......";
  for (int i = 0; i < 2; ++i) seen += "xxxxxx";
  ASSERT_EQ(seen.size(), 20u * 6);
  const TakeDescription d = Describe(Seen(seen));
  EXPECT_THAT(Picture(ToText(d, {.columns = 1, .utf8 = false})),
              ElementsAre("  A |            .::++#  |", "     0.0 s          9.0 s"));
  EXPECT_THAT(
      Picture(ToText(d, {.columns = 1, .utf8 = true})),
      ElementsAre("  A |            \u2591\u2592\u2592\u2593\u2593\u2588  |", "     0.0 s          9.0 s"));
}

TEST(Describe, ThePictureIsAsWideAsTheTerminal) {
  for (const std::size_t columns : {40u, 80u, 132u}) {
    const auto picture = Picture(ToText(Describe(Seen(std::string(1000, '.'))), {.columns = columns}));
    ASSERT_EQ(picture.size(), 2u);
    EXPECT_EQ(picture[0].size(), columns);
    EXPECT_LE(picture[1].size(), columns + 8); // the last time may stand out
  }
}

TEST(Describe, EachGapShowsHoweverShortItIs) {
  for (const std::size_t frame : {0u, 1u, 500u, 998u, 999u}) {
    std::string seen(1000, 'x');
    seen[frame] = '.';
    const auto picture = Picture(ToText(Describe(Seen(seen))));
    const std::string row = picture.at(0).substr(picture[0].find('|'));
    EXPECT_EQ(std::count(row.begin(), row.end(), '.'), 1) << frame;
    // In a cell at its own place along the row.
    EXPECT_EQ(row.find('.') - 1, frame * (row.size() - 2) / 1000) << frame;
  }
}

TEST(Describe, MarkersWithTheSameGapsShareARowOfThePicture) {
  Take take({"A", "B", "C"});
  for (int f = 0; f < 4; ++f) take.AddFrame(f, f);
  for (const std::size_t f : {0u, 3u})
    for (const std::size_t m : {0u, 2u}) take.Set(f, m, {});
  take.Set(1, 1, {});
  EXPECT_THAT(Picture(ToText(Describe(take))),
              ElementsAre("  B            |# ##|", "  A and 1 more | ## |", "                0.00 s"));
}

TEST(Describe, ThePictureHasFortyRowsTheWorstFirstAndOneForTheRest) {
  std::vector<std::string> names;
  for (int i = 0; i < 45; ++i) names.push_back("m" + std::to_string(i));
  Take take(names);
  for (int f = 0; f < 45; ++f) take.AddFrame(f, f);
  for (std::size_t m = 0; m < 45; ++m)
    for (std::size_t f = m + 1; f < 45; ++f) take.Set(f, m, {}); // marker m misses frames 0 to m
  const auto picture = Picture(ToText(Describe(take)));
  ASSERT_EQ(picture.size(), 42u);
  EXPECT_EQ(picture[0], "  m44        |" + std::string(45, '#') + "|");
  EXPECT_EQ(picture[39], "  m5         |" + std::string(6, '#') + std::string(39, ' ') + "|");
  EXPECT_EQ(picture[40], "  and 5 more |#+::." + std::string(40, ' ') + "|"); // 5, 4, 3, 2, 1 of 5
}

TEST(Describe, TakeWithoutAnyPositionSaysSo) {
  Take take({"A"});
  take.AddFrame(1, 0);
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("  extents   none, no marker is ever seen\n"));
  EXPECT_THAT(ToText(Describe(Take())), HasSubstr("  extents   none, no marker is ever seen\n"));
  EXPECT_TRUE(json::parse(ToJson(Describe(take)))["extents_mm"].is_null());
  EXPECT_TRUE(json::parse(ToJson(Describe(Take())))["markers"].empty());
}

TEST(Describe, NamesCannotSteerTheTerminal) {
  Take take({"\x1B[2JA"});
  take.AddFrame(1, 0);
  take.name = take.flavour = take.unit = "\x1B[2J";
  take.notes = {"\x1B[2J"};
  take.events = {{0, "\x1B[2J"}};
  const std::string text = ToText(Describe(take));
  EXPECT_THAT(text, HasSubstr("?[2JA"));
  EXPECT_THAT(text, Not(HasSubstr("\x1B")));
}

TEST(Describe, NamesInOtherScriptsStandInColumnsToo) {
  Take take({"\xC3\xA4", "bb"});
  take.AddFrame(1, 0);
  EXPECT_THAT(ToText(Describe(take)), AllOf(HasSubstr("  \xC3\xA4          1"), HasSubstr("  bb         1"),
                                            HasSubstr("  \xC3\xA4 and 1 more |#|")));
}

TEST(Describe, ALongNameIsCutInThePictureAndWholeInTheTable) {
  std::string name;
  for (int i = 0; i < 30; ++i) name += "\xC3\xA4";
  Take take({name});
  take.AddFrame(1, 0);
  const std::string text = ToText(Describe(take));
  EXPECT_THAT(text, HasSubstr("  " + name + "     1"));
  EXPECT_THAT(text, HasSubstr("  " + name.substr(0, 44) + ".. |#|"));
}

TEST(Describe, JsonTellsItAllUnrounded) {
  TakeDescription d = Describe(RichSample());
  d.face = mien::FaceDirections{.left = {1, 0, 0}, .up = {0, 0, 1}, .forward = {0, -1, 0}};
  d.axes = "guess: +z up";
  d.notes = {"a note"};
  json expected = json::parse(R"({
    "format": "mien take description 1",
    "file": "rich.c3d",
    "name": "rich",
    "source": { "format": "C3D", "flavour": "Intel, float", "unit": "m" },
    "frames": { "count": 4, "first": 1, "last": 4, "missing": 0, "empty": 0 },
    "rate": { "text": "30000/1001", "numerator": 30000, "denominator": 1001, "hz": 29.97002997002997 },
    "start_s": 0,
    "timecode": { "first": "00:00:33:10", "last": "00:00:33:13.003", "rate": "30", "drop": false },
    "extents_mm": { "low": [0.1, 2, 3], "high": [1, 2, 3] },
    "axes": "guess: +z up",
    "face": { "left": [1, 0, 0], "up": [0, 0, 1], "forward": [0, -1, 0] },
    "events": [{ "time_s": 0.1, "label": "clap" }, { "time_s": 0.125, "label": "say\n\"a\"" }],
    "markers": [
      { "name": "A", "gaps": 0, "gap_runs": [], "longest_gap": null, "computed": 1, "filled": 0, "residual_mm": 0.5,
        "extents_mm": { "low": [1, 2, 3], "high": [1, 2, 3] } },
      { "name": "a", "gaps": 3, "gap_runs": [[2, 4]],
        "longest_gap": { "frames": 3, "first": 2, "last": 4, "duration_s": 0.1001 },
        "computed": 0, "filled": 1, "residual_mm": null, "extents_mm": { "low": [0.1, 2, 3], "high": [0.1, 2, 3] } }
    ],
    "like_names": [["A", "a"]],
    "notes": ["a note"]
  })");
  expected["duration_s"] = d.duration_s; // to the last bit, whatever that is
  EXPECT_EQ(json::parse(ToJson(d)), expected);
}

TEST(Describe, JsonNamesGapsByTheFilesFrameNumbers) {
  const json d = json::parse(ToJson(Describe(Sample())));
  EXPECT_EQ(d["markers"][1]["gap_runs"], json::parse("[[11, 15], [17, 17]]"));
  EXPECT_EQ(d["markers"][1]["longest_gap"]["frames"], 4);
  EXPECT_TRUE(d["markers"][2]["extents_mm"].is_null());
  EXPECT_TRUE(d["timecode"].is_null());
  EXPECT_TRUE(d["axes"].is_null());
  EXPECT_TRUE(d["face"].is_null());
}

TEST(Describe, JsonIsJsonWhateverTheFileHolds) {
  Take take({"\xFF\"\\\n"});
  take.file = "\xC3";
  take.events = {{0, "\xFF"}};
  take.AddFrame(1, -1e308);
  take.AddFrame(2, 1e308);
  const json d = json::parse(ToJson(Describe(take)));
  EXPECT_EQ(d["markers"][0]["name"], "\xEF\xBF\xBD\"\\\n");
  EXPECT_TRUE(d["duration_s"].is_null()); // no number of seconds holds it
}
