#include "host/animation/livelink_csv.h"

#include "host/character/arkit_names.h"
#include "host/character/character_file.h"
#include "host/solve/solve_character.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using mien::Animation;
using mien::kArkitNames;
using mien::LiveLinkCsvWriter;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

const std::string kHeader =
    "Timecode,BlendShapeCount,EyeBlinkLeft,EyeLookDownLeft,EyeLookInLeft,EyeLookOutLeft,EyeLookUpLeft,"
    "EyeSquintLeft,EyeWideLeft,EyeBlinkRight,EyeLookDownRight,EyeLookInRight,EyeLookOutRight,EyeLookUpRight,"
    "EyeSquintRight,EyeWideRight,JawForward,JawRight,JawLeft,JawOpen,MouthClose,MouthFunnel,MouthPucker,"
    "MouthRight,"
    "MouthLeft,MouthSmileLeft,MouthSmileRight,MouthFrownLeft,MouthFrownRight,MouthDimpleLeft,"
    "MouthDimpleRight,"
    "MouthStretchLeft,MouthStretchRight,MouthRollLower,MouthRollUpper,MouthShrugLower,MouthShrugUpper,"
    "MouthPressLeft,MouthPressRight,MouthLowerDownLeft,MouthLowerDownRight,MouthUpperUpLeft,"
    "MouthUpperUpRight,"
    "BrowDownLeft,BrowDownRight,BrowInnerUp,BrowOuterUpLeft,BrowOuterUpRight,CheekPuff,CheekSquintLeft,"
    "CheekSquintRight,NoseSneerLeft,NoseSneerRight,TongueOut,HeadYaw,HeadPitch,HeadRoll,LeftEyeYaw,"
    "LeftEyePitch,"
    "LeftEyeRoll,RightEyeYaw,RightEyePitch,RightEyeRoll";

/// Frames of these shapes, all at rest, with the head in the neutral pose.
Animation Frames(const std::vector<std::string>& shapes, std::size_t count = 1) {
  Animation animation;
  animation.layout.shapes = shapes;
  for (std::size_t f = 0; f < count; ++f) {
    animation.frames.push_back(static_cast<std::int64_t>(f) + 1);
    animation.times.push_back(static_cast<double>(f) / 30);
  }
  animation.weights.resize(count * animation.layout.templates.size());
  animation.shape_weights.resize(count * shapes.size());
  animation.heads.resize(count);
  return animation;
}

std::string Written(const Animation& animation) {
  std::ostringstream out;
  LiveLinkCsvWriter writer(animation.layout, out);
  Write(animation, writer);
  return out.str();
}

std::vector<std::string> Missing(const std::vector<std::string>& shapes) {
  const Animation animation = Frames(shapes);
  std::ostringstream out;
  return LiveLinkCsvWriter(animation.layout, out).Missing();
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  std::istringstream in(text);
  for (std::string piece; std::getline(in, piece, separator);) pieces.push_back(piece);
  return pieces;
}

/// The field of a row, counted from 1, in the column of this title.
std::string Field(const Animation& animation, const std::string& title, std::size_t row = 1) {
  const std::vector<std::string> titles = Split(kHeader, ',');
  const auto column =
      static_cast<std::size_t>(std::find(titles.begin(), titles.end(), title) - titles.begin());
  return Split(Split(Written(animation), '\n').at(row), ',').at(column);
}

std::string Timecode(double seconds) {
  Animation animation = Frames({});
  animation.times = {seconds};
  return Field(animation, "Timecode");
}

/// One frame with these weights.
Animation Pose(const std::vector<std::pair<std::string, double>>& weights) {
  std::vector<std::string> names;
  for (const auto& [name, weight] : weights) names.push_back(name);
  Animation animation = Frames(names);
  for (std::size_t s = 0; s < weights.size(); ++s) animation.shape_weights[s] = weights[s].second;
  return animation;
}

struct Head {
  double yaw, pitch, roll;
};

Head Angles(const VgeAMatrix& motion, const VgeAMatrix& neutral = {}) {
  Animation animation = Frames({});
  animation.layout.neutral_head = neutral;
  animation.heads = {mien::Product(neutral, motion)};
  return {std::stod(Field(animation, "HeadYaw")), std::stod(Field(animation, "HeadPitch")),
          std::stod(Field(animation, "HeadRoll"))};
}

void ExpectAngles(const Head& head, double yaw, double pitch, double roll) {
  constexpr double kWritten = 1e-9; // ten decimals
  EXPECT_NEAR(head.yaw, yaw, kWritten);
  EXPECT_NEAR(head.pitch, pitch, kWritten);
  EXPECT_NEAR(head.roll, roll, kWritten);
}

VgeAMatrix Turned(double x, double y, double z) { return tests::Motion(VgeRVector(x, y, z), {0, 0, 0}); }

const double kDegree = std::acos(-1.0) / 180;

} // namespace

TEST(LiveLinkCsv, HasTheHeaderOfThePhoneApps) {
  EXPECT_EQ(Written(Frames({}, 0)), kHeader + "\n");
  EXPECT_EQ(Split(kHeader, ',').size(), 63u);
}

TEST(LiveLinkCsv, HasARowOf63FieldsPerFrame) {
  const std::string written = Written(Frames({"jawOpen"}, 3));
  EXPECT_EQ(written.back(), '\n');
  EXPECT_EQ(written.find('\r'), std::string::npos);
  EXPECT_EQ(written.find('"'), std::string::npos);
  const std::vector<std::string> lines = Split(written, '\n');
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], kHeader);
  for (std::size_t row = 1; row < 4; ++row) {
    const std::vector<std::string> fields = Split(lines[row], ',');
    ASSERT_EQ(fields.size(), 63u);
    EXPECT_EQ(fields[1], "61");
    for (std::size_t i = 2; i < 63; ++i) EXPECT_THAT(fields[i], MatchesRegex("-?[0-9]+\\.[0-9]{10}")) << i;
  }
}

TEST(LiveLinkCsv, WritesTenDecimals) {
  EXPECT_EQ(Field(Pose({{"jawOpen", 1.0 / 3}}), "JawOpen"), "0.3333333333");
  EXPECT_EQ(Field(Pose({{"jawOpen", 1}}), "JawOpen"), "1.0000000000");
  EXPECT_EQ(Field(Pose({{"jawOpen", 0.00000000005}}), "JawOpen"), "0.0000000001") << "rounded";
  EXPECT_EQ(Field(Pose({{"jawOpen", 1.053}}), "JawOpen"), "1.0530000000") << "not limited";
  EXPECT_EQ(Field(Pose({{"jawOpen", -2}}), "JawOpen"), "-2.0000000000");
}

// A zero of either sign.
TEST(LiveLinkCsv, ZeroHasNoSign) {
  for (const std::string& field : Split(Split(Written(Frames({"jawOpen"})), '\n').at(1), ','))
    EXPECT_NE(field, "-0.0000000000");
  EXPECT_EQ(Field(Pose({{"jawOpen", -0.0}}), "JawOpen"), "0.0000000000");
}

TEST(LiveLinkCsv, EachShapeIsInTheColumnOfItsName) {
  std::vector<std::pair<std::string, double>> weights;
  for (const std::string_view name : kArkitNames)
    weights.emplace_back(name, 0.01 * static_cast<double>(weights.size() + 1));
  std::reverse(weights.begin(), weights.end()); // whatever the order
  const Animation animation = Pose(weights);
  for (const auto& [name, weight] : weights) {
    std::string title = name;
    title[0] = static_cast<char>(std::toupper(title[0]));
    EXPECT_NEAR(std::stod(Field(animation, title)), weight, 1e-10) << name;
  }
  for (const std::string angle : {"HeadYaw", "LeftEyeYaw", "LeftEyePitch", "LeftEyeRoll", "RightEyeYaw",
                                  "RightEyePitch", "RightEyeRoll"})
    EXPECT_EQ(std::stod(Field(animation, angle)), 0) << angle;
}

TEST(LiveLinkCsv, EachFrameHasItsOwnWeights) {
  Animation animation = Frames({"jawOpen", "tongueOut"}, 2);
  animation.shape_weights = {0.1, 0.2, 0.3, 0.4};
  EXPECT_EQ(Field(animation, "TongueOut", 1), "0.2000000000");
  EXPECT_EQ(Field(animation, "JawOpen", 2), "0.3000000000");
}

TEST(LiveLinkCsv, ShapesMayBeSpeltInOtherWays) {
  const Animation animation =
      Pose({{"Head.Jaw_Open.001", 0.1}, {"EYEBLINK_R", 0.2}, {"mouthSmileL", 0.3}, {"other", 9}});
  EXPECT_EQ(Field(animation, "JawOpen"), "0.1000000000");
  EXPECT_EQ(Field(animation, "EyeBlinkRight"), "0.2000000000");
  EXPECT_EQ(Field(animation, "MouthSmileLeft"), "0.3000000000");
  EXPECT_EQ(Field(animation, "EyeBlinkLeft"), "0.0000000000");
}

TEST(LiveLinkCsv, OfSeveralSpellingsTheNameItselfCounts) {
  EXPECT_EQ(Field(Pose({{"A.jawOpen", 0.1}, {"jawOpen", 0.2}, {"JawOpen", 0.3}}), "JawOpen"), "0.2000000000");
  EXPECT_EQ(Field(Pose({{"JawOpen", 0.3}, {"A.jawOpen", 0.1}}), "JawOpen"), "0.3000000000")
      << "otherwise the first";
}

TEST(LiveLinkCsv, TwoHalvesAreTheirMean) {
  const Animation animation =
      Pose({{"browInnerUp_L", 0.2}, {"cheekPuffRight", 1}, {"browInnerUp_R", 0.6}, {"cheekPuffLeft", 0.5}});
  EXPECT_EQ(Field(animation, "BrowInnerUp"), "0.4000000000");
  EXPECT_EQ(Field(animation, "CheekPuff"), "0.7500000000");
  EXPECT_EQ(
      Field(Pose({{"browInnerUp_L", 0.2}, {"browInnerUp", 0.9}, {"browInnerUp_R", 0.6}}), "BrowInnerUp"),
      "0.9000000000")
      << "a whole one comes before its halves";
}

TEST(LiveLinkCsv, ListsTheNamesThatNoShapeMeans) {
  EXPECT_THAT(Missing({}), testing::ElementsAreArray(kArkitNames));
  std::vector<std::string> shapes;
  for (const std::string_view name : kArkitNames)
    if (name != "jawOpen" && name != "browInnerUp" && name != "tongueOut") shapes.emplace_back(name);
  EXPECT_THAT(Missing(shapes), ElementsAre("jawOpen", "browInnerUp", "tongueOut"));
  shapes.insert(shapes.end(), {"x.JawOpen", "browInnerUp_L", "browInnerUp_R", "tongue"});
  EXPECT_THAT(Missing(shapes), ElementsAre("tongueOut"));
  shapes.emplace_back("TONGUE_OUT");
  EXPECT_THAT(Missing(shapes), IsEmpty());
}

TEST(LiveLinkCsv, TheBuiltInCharacterHasAllNames) {
  Animation animation = Frames({}, 2);
  animation.weights[animation.layout.templates.size()] = 0.5; // Mouth.Open of the second frame
  SolveCharacter(animation, mien::LoadCharacter("arkit52"));
  std::ostringstream out;
  EXPECT_THAT(LiveLinkCsvWriter(animation.layout, out).Missing(), IsEmpty());
  EXPECT_EQ(Field(animation, "JawOpen", 1), "0.0000000000");
  EXPECT_EQ(Field(animation, "JawOpen", 2), "0.5000000000");
}

// --- Time.

TEST(LiveLinkCsv, TimecodesCount60PerSecondAtAnyRate) {
  EXPECT_EQ(Timecode(0), "00:00:00:00.000");
  EXPECT_EQ(Timecode(1.0 / 30), "00:00:00:02.000");
  EXPECT_EQ(Timecode(2.0 / 30), "00:00:00:04.000");
  EXPECT_EQ(Timecode(29.0 / 30), "00:00:00:58.000");
  EXPECT_EQ(Timecode(1), "00:00:01:00.000");
  EXPECT_EQ(Timecode(1.0 / 120), "00:00:00:00.500");
  EXPECT_EQ(Timecode(1001.0 / 30000), "00:00:00:02.002");
  EXPECT_EQ(Timecode(12 * 3600 + 34 * 60 + 56 + 0.125), "12:34:56:07.500");
}

// The counts of a timecode of 30 are 30ths of a second here, whatever its exact rate; the take's own times
// are added.
TEST(LiveLinkCsv, TheTakesTimecodeIsThatOfTheFirstFrame) {
  Animation animation = Frames({}, 2);
  animation.times = {7, 7.5};
  animation.layout.timecode = mien::Timecode{.count = 3600 * 30 + 15, .rate = {30, 1}};
  EXPECT_EQ(Field(animation, "Timecode", 1), "01:00:00:30.000");
  EXPECT_EQ(Field(animation, "Timecode", 2), "01:00:01:00.000");
}

TEST(LiveLinkCsv, ARoundedTimecodeCarries) {
  EXPECT_EQ(Timecode(0.99999), "00:00:00:59.999");
  EXPECT_EQ(Timecode(0.999995), "00:00:01:00.000");
  EXPECT_EQ(Timecode(59.999999), "00:01:00:00.000");
  EXPECT_EQ(Timecode(3599.999999), "01:00:00:00.000");
  EXPECT_EQ(Timecode(0.0166666), "00:00:00:01.000");
}

TEST(LiveLinkCsv, TimecodesRestartAtMidnight) {
  EXPECT_EQ(Timecode(86399.5), "23:59:59:30.000");
  EXPECT_EQ(Timecode(86399.999999), "00:00:00:00.000");
  EXPECT_EQ(Timecode(86400), "00:00:00:00.000");
  EXPECT_EQ(Timecode(86400 * 3 + 3661.5), "01:01:01:30.000");
  EXPECT_EQ(Timecode(-0.5), "23:59:59:30.000");
  EXPECT_EQ(Timecode(-1e-9), "00:00:00:00.000");
  EXPECT_EQ(Timecode(-0.0), "00:00:00:00.000");
  EXPECT_EQ(Timecode(-86400 - 3600), "23:00:00:00.000");
}

// A take's times may count from any day, or be in nanoseconds by mistake.
TEST(LiveLinkCsv, AnyTimeGivesAValidTimecode) {
  tests::Random random(12);
  Animation animation = Frames({}, 500);
  for (double& seconds : animation.times)
    seconds = random.Between(-1, 1) * std::pow(10, std::floor(random.Between(5, 308)));
  for (std::size_t f = 0; f < 100; ++f) animation.times[f] = random.Between(1.5e18, 2e18);
  const std::vector<std::string> rows = Split(Written(animation), '\n');
  ASSERT_EQ(rows.size(), 501u);
  for (std::size_t f = 0; f < 500; ++f)
    EXPECT_THAT(Split(rows[f + 1], ',')[0],
                MatchesRegex("([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]:[0-5][0-9]\\.[0-9][0-9][0-9]"))
        << animation.times[f];
}

// --- The head.

TEST(LiveLinkCsv, TheHeadsAnglesAreRadiansFromTheNeutralPose) {
  ExpectAngles(Angles(Turned(0, 0, 0)), 0, 0, 0);
  // About its own y, up: its front, z, turns to x, its left.
  ExpectAngles(Angles(Turned(0, 30, 0)), 30 * kDegree, 0, 0);
  // About its own x, left: its front turns down.
  ExpectAngles(Angles(Turned(20, 0, 0)), 0, 20 * kDegree, 0);
  // About its front: its left rises, so that its top leans to the right shoulder.
  ExpectAngles(Angles(Turned(0, 0, 10)), 0, 0, 10 * kDegree);
  ExpectAngles(Angles(Turned(-5, 0, 0)), 0, -5 * kDegree, 0);
  ExpectAngles(Angles(Turned(0, -170, 0)), -170 * kDegree, 0, 0);
}

TEST(LiveLinkCsv, TheSignsMatchTheVisibleMotion) {
  const VgeAMatrix left = Turned(0, 30, 0), down = Turned(20, 0, 0), leaning = Turned(0, 0, 10);
  EXPECT_GT(left.m[2][0], 0) << "the front goes to the face's own left";
  EXPECT_GT(Angles(left).yaw, 0);
  EXPECT_LT(down.m[2][1], 0) << "the front goes down";
  EXPECT_GT(Angles(down).pitch, 0);
  EXPECT_LT(leaning.m[1][0], 0) << "the top goes to the right";
  EXPECT_GT(Angles(leaning).roll, 0);
}

TEST(LiveLinkCsv, TheHeadRollsFirstThenPitchesThenYaws) {
  tests::Random random(6);
  for (int i = 0; i < 50; ++i) {
    const double yaw = random.Between(-180, 180), pitch = random.Between(-89, 89),
                 roll = random.Between(-180, 180);
    const VgeAMatrix motion =
        mien::Product(Turned(0, yaw, 0), mien::Product(Turned(pitch, 0, 0), Turned(0, 0, roll)));
    ExpectAngles(Angles(motion), yaw * kDegree, pitch * kDegree, roll * kDegree);
    // Whatever the neutral pose's position in the take.
    ExpectAngles(Angles(motion, tests::AnyMotion(random)), yaw * kDegree, pitch * kDegree, roll * kDegree);
  }
}

TEST(LiveLinkCsv, TheHeadsPositionDoesNotChangeItsAngles) {
  ExpectAngles(Angles(tests::Motion(VgeRVector(0, 15, 0), {100, -200, 300})), 15 * kDegree, 0, 0);
}

// --- The stream.

TEST(LiveLinkCsv, WritesDecimalPointsInAnyLocale) {
  const Animation animation = Pose({{"jawOpen", 1234.5}});
  const std::string written = Written(animation);
  const DecimalComma german;
  EXPECT_EQ(Written(animation), written);
}

TEST(LiveLinkCsv, DoesNotDependOnTheStreamsFormat) {
  const Animation animation = Pose({{"jawOpen", 0.25}});
  std::ostringstream out;
  out << std::hex << std::setprecision(2) << std::showpos << std::setfill('*') << std::setw(300);
  LiveLinkCsvWriter writer(animation.layout, out);
  Write(animation, writer);
  EXPECT_EQ(out.str(), Written(animation));
}

// Yaw to the performer's right and pitch down, in radians, as the apps count.
TEST(LiveLinkCsv, HasTheAnglesOfTheEyes) {
  Animation animation = Frames({}, 2);
  EXPECT_EQ(Field(animation, "LeftEyeYaw"), "0.0000000000") << "where the take does not show them";
  animation.eyes = {{}, {{{.yaw = 0.25, .pitch = -0.5}, {.yaw = -0.125, .pitch = 0.0625}}}};
  EXPECT_EQ(Field(animation, "LeftEyeYaw"), "0.0000000000");
  EXPECT_EQ(Field(animation, "LeftEyeYaw", 2), "-0.2500000000");
  EXPECT_EQ(Field(animation, "LeftEyePitch", 2), "-0.5000000000");
  EXPECT_EQ(Field(animation, "LeftEyeRoll", 2), "0.0000000000");
  EXPECT_EQ(Field(animation, "RightEyeYaw", 2), "0.1250000000");
  EXPECT_EQ(Field(animation, "RightEyePitch", 2), "0.0625000000");
  EXPECT_EQ(Field(animation, "RightEyeRoll", 2), "0.0000000000");
}
