#include "host/inspect/description_text.h"

#include "tests/host/inspect/sample_takes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

using mien::Describe;
using mien::Take;
using mien::TakeDescription;
using mien::ToText;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using tests::RichSample;
using tests::Sample;
using tests::Seen;

TEST(DescriptionText, ShowsWhatWasCounted) {
  EXPECT_EQ(ToText(Describe(Sample())),
            "sample: marker CSV\n"
            "  frames    8 (10 to 18), 1 missing, 2 without any marker\n"
            "  rate      20 Hz\n"
            "  duration  0.450 s\n"
            "  extents   x -50.0 to 7.0, y -7.0 to 2.2, z 0.0 to 107.0 mm\n"
            "  axes      unknown: name a performer (-p) to find them\n"
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

TEST(DescriptionText, ShowsWhatOnlySomeFormatsHave) {
  EXPECT_EQ(
      ToText(Describe(RichSample())),
      "rich: C3D (Intel, float), lengths in m\n"
      "  frames    4 (1 to 4), 0 missing, 0 without any marker\n"
      "  rate      30000/1001 Hz (29.97003)\n"
      "  duration  0.133 s\n"
      "  timecode  00:00:33:10 to 00:00:33:13.003, 30 counts per second\n"
      "  extents   x 0.1 to 1.0, y 2.0 to 2.0, z 3.0 to 3.0 mm\n"
      "  axes      unknown: name a performer (-p) to find them\n"
      "  events    2: 0.100 s clap, 0.125 s say?\"a\"\n"
      "  hint      \"A\", \"a\" are 2 markers: their names differ only in letter case\n"
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

TEST(DescriptionText, ShowsTheTimecodeOfTheFirstFrameAndTheLast) {
  Take take = Seen("xxxx", {30, 1});
  take.timecode = mien::Timecode{29, {30, 1}, false};
  EXPECT_THAT(ToText(Describe(take)),
              HasSubstr("  timecode  00:00:00:29 to 00:00:01:02, 30 counts per second\n"));
}

TEST(DescriptionText, HintsAtNamesThatAreEasilyConfused) {
  EXPECT_THAT(
      ToText(Describe(Take({"Up", "UP"}))),
      HasSubstr("  hint      \"Up\", \"UP\" are 2 markers: their names differ only in letter case\n"));
  EXPECT_THAT(ToText(Describe(Take({"Up", "Up"}))),
              HasSubstr("  hint      \"Up\" is the name of 2 markers; only the first is used\n"));
}

TEST(DescriptionText, ALongListOfEventsIsCut) {
  Take take({"A"});
  for (int i = 0; i < 8; ++i) take.events.push_back({static_cast<double>(i), "e"});
  EXPECT_THAT(ToText(Describe(take)),
              HasSubstr("  events    8: 0.000 s e, 1.000 s e, 2.000 s e, 3.000 s e, 4.000 s e and 3 more\n"));
}

TEST(DescriptionText, SharesAreRoundedNeitherToNothingNorToAll) {
  std::string seen(3000, 'x');
  EXPECT_THAT(ToText(Describe(Seen(seen))), HasSubstr("  0 %  "));
  seen[7] = '.';
  EXPECT_THAT(ToText(Describe(Seen(seen))), HasSubstr("  <0.1 %  "));
  EXPECT_THAT(ToText(Describe(Seen("x" + std::string(2999, '.')))), HasSubstr("  >99.9 %  "));
}

TEST(DescriptionText, ShowsWhatTheFormatSaysOfTheAxes) {
  Take take({"A"});
  take.axes = "+y up";
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("  axes      +y up\n"));
}

TEST(DescriptionText, AxesAreNamedAfterTheFacesDirections) {
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

TEST(DescriptionText, TakeWithoutAnyPositionSaysSo) {
  Take take({"A"});
  take.AddFrame(1, 0);
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("  extents   none, no marker is ever seen\n"));
  EXPECT_THAT(ToText(Describe(Take())), HasSubstr("  extents   none, no marker is ever seen\n"));
}

TEST(DescriptionText, NamesCannotSteerTheTerminal) {
  Take take({"\x1B[2JA"});
  take.AddFrame(1, 0);
  take.name = take.flavour = take.unit = "\x1B[2J";
  take.notes = {{mien::Code::Doubtful, "\x1B[2J", "\x1B[2J"}};
  take.events = {{0, "\x1B[2J"}};
  const std::string text = ToText(Describe(take));
  EXPECT_THAT(text, HasSubstr("?[2JA"));
  EXPECT_THAT(text, Not(HasSubstr("\x1B")));
}

TEST(DescriptionText, NamesInOtherScriptsStandInColumnsToo) {
  Take take({"\xC3\xA4", "bb"});
  take.AddFrame(1, 0);
  EXPECT_THAT(ToText(Describe(take)), AllOf(HasSubstr("  \xC3\xA4          1"), HasSubstr("  bb         1")));
}

TEST(DescriptionText, ALongNameIsWholeInTheTable) {
  const std::string name(100, 'n');
  Take take({name});
  take.AddFrame(1, 0);
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("  " + name + "     1"));
}
