#include "host/compare/comparison.h"

#include "host/compare/comparison_csv.h"
#include "host/compare/comparison_json.h"
#include "host/compare/read_recording.h"
#include "tests/host/compare/recordings.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <sstream>

using mien::Compare;
using mien::Comparison;
using mien::Recording;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

Recording Read(const std::string& text) { return mien::ReadRecording(text, "r.csv"); }

std::vector<std::string> Names(const Comparison& comparison) {
  std::vector<std::string> names;
  for (const Comparison::Pair& pair : comparison.pairs)
    names.push_back(FullName(comparison.a.curves[pair.a]));
  return names;
}

} // namespace

TEST(Compare, TheSameIsTheSameEverywhere) {
  const std::string text = "frame,time,timecode,Mouth.Open,LeftEye.Close\n1,0,10:00:00:00,0.1,0.3\n"
                           "2,0.033,10:00:00:01,0.7,0\n4,0.1,10:00:00:03,0.2,\n";
  const Comparison comparison = Compare(Read(text), Read(text));
  EXPECT_THAT(Names(comparison), ElementsAre("Mouth.Open", "LeftEye.Close"));
  for (const Comparison::Pair& pair : comparison.pairs) {
    EXPECT_EQ(pair.difference.largest, 0);
    EXPECT_EQ(pair.difference.rms, 0);
    EXPECT_EQ(pair.difference.only_a + pair.difference.only_b, 0U);
  }
  EXPECT_EQ(comparison.pairs[0].difference.compared, 3U);
  EXPECT_EQ(comparison.pairs[1].difference.compared, 2U);
  EXPECT_EQ(comparison.a.frames, comparison.b.frames);
  EXPECT_THAT(comparison.notes, IsEmpty());
}

TEST(Compare, FindsCurvesInAnyOrderAndSpelling) {
  const Comparison comparison = Compare(
      Read("frame,time,jawOpen,eyeBlinkLeft,mine\n1,0,0.25,0.5,1\n2,0.1,0.25,0.5,1\n"),
      Read("frame,timestamp_ms,Eye_Blink_L,A01_Jaw_Open,browInnerUp\n1,0,0.5,0.75,0\n2,100,1,0.75,0\n"));
  EXPECT_THAT(Names(comparison), ElementsAre("jawOpen", "eyeBlinkLeft")); // of equal size in the order of A
  EXPECT_EQ(comparison.pairs[0].difference.largest, 0.5);
  EXPECT_EQ(comparison.pairs[1].difference.largest_frame, 1U);
  EXPECT_THAT(comparison.only_a, ElementsAre("mine"));
  EXPECT_THAT(comparison.only_b, ElementsAre("browInnerUp"));
}

TEST(Compare, BothSidesAreOnTheCommonFrames) {
  const auto value = [](double frame) { return frame / 64; };
  const Comparison comparison = Compare(At(Weight(Frames(6), "w", value), "10:00:00:00"),
                                        At(Weight(Frames(20, {60, 1}), "w", value), "10:00:00:04"));
  EXPECT_THAT(comparison.a.frames, ElementsAre(3, 4, 5, 6));
  EXPECT_EQ(comparison.b.frames, comparison.a.frames);
  EXPECT_EQ(comparison.b.times, comparison.a.times);
  EXPECT_THAT(comparison.a.curves[0].values, ElementsAre(2 / 64.0, 3 / 64.0, 4 / 64.0, 5 / 64.0));
  EXPECT_THAT(comparison.b.curves[0].values, ElementsAre(0, 2 / 64.0, 4 / 64.0, 6 / 64.0));
  EXPECT_EQ(comparison.a.TimecodeAt(0), "10:00:00:02");
  EXPECT_EQ(comparison.a.TimecodeAt(3), "10:00:00:05");
  EXPECT_EQ(comparison.frames_b, 20U);
  EXPECT_THAT(comparison.notes, IsEmpty()); // each of A's frames is one of B's
}

TEST(Compare, AnotherRateIsReadBetweenItsFramesWithANote) {
  const auto line = [](double frame) { return frame / 64; };
  const Comparison comparison = Compare(Weight(Frames(9, {60, 1}), "w", [](double f) { return f / 128; }),
                                        Weight(Frames(5), "w", line));
  EXPECT_NEAR(comparison.pairs[0].difference.largest, 0, 1e-15); // a cubic through a line
  EXPECT_THAT(
      comparison.notes,
      ElementsAre("A is at 60 Hz, B at 30 Hz; B is read between its frames in 4 of 9 frames: curves on a "
                  "monotone cubic"));
}

TEST(Compare, AShiftedCopyIsEqualWithItsLagAsTheOffset) {
  const auto curve = [](double frame) { return std::sin(frame / 9) + std::sin(frame / 31); };
  const Recording a = Weight(Frames(200), "w", curve);
  const Recording b = Weight(Frames(200), "w", [&](double frame) { return curve(frame - 4); });
  const Comparison shifted = Compare(a, b);
  ASSERT_EQ(shifted.pairs[0].difference.lag_frames, 4);
  EXPECT_GT(shifted.pairs[0].difference.largest, 0.1);
  const Comparison aligned = Compare(a, b, {.offset_frames = 4});
  EXPECT_EQ(aligned.pairs[0].difference.largest, 0);
  EXPECT_EQ(aligned.pairs[0].difference.lag_frames, 0);
  EXPECT_EQ(aligned.a.frames.size(), 196U);
}

TEST(Compare, AMissingValueIsMissingBetweenFramesToo) {
  Recording b = Weight(Frames(5), "w", [](double frame) { return frame; });
  b.curves[0].values[2] = std::nan("");
  const Comparison comparison = Compare(Weight(Frames(9, {60, 1}), "w", [](double f) { return f / 2; }), b);
  EXPECT_EQ(comparison.pairs[0].difference.compared, 6U);
  EXPECT_EQ(comparison.pairs[0].difference.only_a, 3U); // at 1.5, 2 and 2.5
  EXPECT_NEAR(comparison.pairs[0].difference.largest, 0, 0.2);
}

TEST(Compare, TakesAreComparedInMillimetresWhateverTheirUnit) {
  const Comparison comparison =
      Compare(Read("frame,time,Chin.x,Chin.y,Chin.z,A.x,A.y,A.z,N.x,N.y,N.z\n1,0,1,2,3,0,0,1,1,1,1\n"
                   "2,0.1,1,2,3,,,,1,1,1\n"),
              Read("PathFileType\t4\t(X/Y/Z)\tr.trc\n"
                   "DataRate\tCameraRate\tNumFrames\tNumMarkers\tUnits\tOrigDataRate\tOrigDataStartFrame\t"
                   "OrigNumFrames\n10\t10\t2\t2\tm\t10\t1\t2\nFrame#\tTime\tA\t\t\tChin\t\t\n"
                   "\t\tX1\tY1\tZ1\tX2\tY2\tZ2\n\n1\t0\t0.001\t0.002\t0.003\t0.001\t0.002\t0.003\n"
                   "2\t0.1\t0.001\t0.002\t0.003\t0.004\t0.006\t0.003\n"));
  ASSERT_THAT(Names(comparison), ElementsAre("Chin", "A"));
  const auto& [chin, a] = std::pair(comparison.pairs[0].difference, comparison.pairs[1].difference);
  EXPECT_DOUBLE_EQ(chin.largest, 5);
  EXPECT_EQ(chin.largest_frame, 1U);
  EXPECT_DOUBLE_EQ(chin.rms, std::sqrt(12.5));
  EXPECT_EQ(a.compared, 1U);
  EXPECT_EQ(a.only_b, 1U);
  EXPECT_DOUBLE_EQ(a.largest, 3);
  EXPECT_THAT(comparison.only_a, ElementsAre("N"));
}

TEST(Compare, MarkersBetweenFramesAreOnAStraightLine) {
  const Comparison comparison = Compare(
      Read("frame,time,A.x,A.y,A.z\n1,0,0,0,0\n2,0.05,1,0,0\n3,0.1,2,0,0\n4,0.15,2,0,0\n5,0.2,2,0,0\n"),
      Read("frame,time,A.x,A.y,A.z\n1,0,0,0,0\n2,0.1,2,0,0\n3,0.2,4,0,0\n"));
  EXPECT_THAT(comparison.b.curves[0].values, testing::Contains(testing::DoubleNear(3, 1e-12)));
  EXPECT_NEAR(comparison.pairs[0].difference.largest, 2, 1e-12);
  EXPECT_THAT(comparison.notes, ElementsAre(Says(HasSubstr("markers on a straight line"))));
}

TEST(Compare, AnglesAreComparedInDegreesAndSortedInRadians) {
  const std::string header = "frame,time,jawOpen,HeadYaw,HeadPitch,HeadRoll\n";
  const Comparison comparison = Compare(Read(header + "1,0,0,0,0,0\n2,0.1,0,0,0,0\n"),
                                        Read(header + "1,0,0.5,0.25,0,0\n2,0.1,0,0,1,0\n"));
  EXPECT_THAT(Names(comparison), ElementsAre("Head.Pitch", "jawOpen", "Head.Yaw", "Head.Roll"));
  EXPECT_NEAR(comparison.pairs[0].difference.largest, 57.29577951308232, 1e-12);
}

TEST(Compare, WithoutACommonCurveBothAreNamed) {
  EXPECT_THAT(InputErrorOf([] { Compare(Read("frame,time,a,b\n1,0,0,0\n"), Read("frame,time,c\n1,0,0\n")); }),
              HasSubstr("no curve is in both: A has a, b, B c"));
}

TEST(ComparisonCsv, HasARowPerCurve) {
  const Comparison comparison =
      Compare(Read("frame,time,timecode,\"a,b\",c\n7,0,10:00:00:00,0.1,\n8,0.1,10:00:00:01,0.1,\n"),
              Read("frame,time,timecode,\"a,b\",c\n7,0,10:00:00:00,0.1,1\n8,0.1,10:00:00:01,0.6,1\n"));
  std::ostringstream out;
  WriteComparisonCsv(comparison, out);
  EXPECT_EQ(out.str(),
            "group,curve,unit,frames,only_a,only_b,largest,frame,time,timecode,rms,correlation,lag_frames\n"
            "Shapes,\"a,b\",,2,0,0,0.5,8,0.1,10:00:00:01,0.3535533905932738,,\n"
            "Shapes,c,,0,0,2,,,,,,,\n");
}

TEST(ComparisonJson, HasEverything) {
  const auto json =
      nlohmann::json::parse(ComparisonAsJson(Compare(Read("frame,time,w,x\n1,0,0,0\n2,0.1,1,0\n"),
                                                     Read("frame,time,w\n2,0.1,0.5\n3,0.2,0\n")))
                                .Text());
  EXPECT_EQ(json["kind"], "animation");
  EXPECT_EQ(json["a"]["frames"], 2);
  EXPECT_EQ(json["a"]["timecode"], nullptr);
  EXPECT_EQ(json["alignment"]["by"], "frames");
  EXPECT_EQ(json["alignment"]["b_starts"], 1);
  EXPECT_EQ(json["alignment"]["only_a"], 1);
  EXPECT_EQ(json["only_a"], nlohmann::json::parse(R"(["x"])"));
  const auto& curve = json["curves"][0];
  EXPECT_EQ(curve["largest"], 0.5);
  EXPECT_EQ(curve["frame"], 2);
  EXPECT_EQ(curve["timecode"], nullptr);
  EXPECT_EQ(curve["correlation"], nullptr);
}
