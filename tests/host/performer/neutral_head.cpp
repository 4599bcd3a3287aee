#include "host/performer/neutral_head.h"

#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using mien::Column;
using mien::Dot;
using mien::NeutralHead;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::Product;
using testing::StartsWith;
using tests::Carried;
using tests::Difference;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

// The shift of up to two metres is exact to 2e-13 m, and about twenty sums follow.
constexpr double kRounding = 1e-9;

constexpr std::size_t kMouth = 0, kLeftBrow = 1, kRightBrow = 2, kLeftEye = 3, kRightEye = 4, kLeftCheek = 5,
                      kRightCheek = 6, kLeftNostril = 7, kRightNostril = 8;

/// The plain performer with markers only on these parts.
Performer With(const std::vector<std::size_t>& parts) {
  Performer performer = PlainPerformer();
  for (std::size_t p = 0; p < 9; ++p)
    if (std::find(parts.begin(), parts.end(), p) == parts.end()) performer.holders[p] = {};
  return performer;
}

std::string Error(const Performer& performer, const NeutralPose& pose) {
  return InputErrorOf([&] { NeutralHead(performer, pose); });
}

/// Whether the axes are those of an upright face: x to its left, y up, z forward, as exactly as the depth of
/// the markers allows for y.
void ExpectUpright(const VgeAMatrix& axes) {
  EXPECT_NEAR(axes.m[0][0], 1, kRounding);
  EXPECT_GT(axes.m[1][1], 0.9);
  EXPECT_GT(axes.m[2][2], 0.9);
}

} // namespace

TEST(NeutralHead, IsRigidAndUprightForAnUprightFace) {
  const VgeAMatrix axes = NeutralHead(PlainPerformer(), PlainFace());
  ExpectUpright(axes);
  for (int a = 0; a < 3; ++a)
    for (int b = 0; b < 3; ++b)
      EXPECT_NEAR(Dot(Column(axes, a), Column(axes, b)), a == b ? 1 : 0, 1e-15 * 4) << a << b;
}

// From the middle of the mouth to the middle of the brows, perpendicular to x.
TEST(NeutralHead, UprightIsFromTheMouthToTheBrows) {
  const VgeAMatrix axes = NeutralHead(PlainPerformer(), PlainFace());
  // mouth without the chin: corners (13, 92) twice, lips (18, 99), (9, 98); each brow: (59, 92), (56, 86),
  // (54, 95)
  const double rise = (59.0 + 56 + 54) / 3 - (13.0 + 13 + 18 + 9) / 4,
               depth = (92.0 + 86 + 95) / 3 - (92.0 + 92 + 99 + 98) / 4, length = std::hypot(rise, depth);
  EXPECT_NEAR(axes.m[1][1], rise / length, 1e-15 * 10);
  EXPECT_NEAR(axes.m[1][2], depth / length, 1e-15 * 10);
}

TEST(NeutralHead, TurnsWithTheTake) {
  tests::Random random(1);
  const VgeAMatrix still = NeutralHead(PlainPerformer(), PlainFace());
  for (int i = 0; i < 200; ++i) {
    const VgeAMatrix motion = tests::AnyMotion(random);
    const VgeAMatrix axes = NeutralHead(PlainPerformer(), Carried(motion, PlainFace()));
    ASSERT_LT(Difference(axes, Product(motion, still)), kRounding) << i;
  }
}

TEST(NeutralHead, TheOriginIsTheMeanOfTheHeadMarkersOrOfAll) {
  const VgeAMatrix axes = NeutralHead(PlainPerformer(), PlainFace());
  EXPECT_NEAR(axes.m[3][0], 0, kRounding);
  EXPECT_NEAR(axes.m[3][1], (150.0 + 120 + 120 + 170 + 100) / 5, kRounding);
  EXPECT_NEAR(axes.m[3][2], (80.0 + 20 + 20 - 50 - 70) / 5, kRounding);

  Performer headless = With({kMouth, kLeftBrow, kRightBrow});
  headless.head.clear();
  const VgeAMatrix of_all = NeutralHead(headless, PlainFace());
  EXPECT_NEAR(of_all.m[3][1], (13.0 + 18 + 9 + 13 - 12 + 2 * (59 + 56 + 54)) / 11, kRounding);
}

// The jaw may hang or be clenched in the neutral face.
TEST(NeutralHead, IsNotMovedByTheChin) {
  NeutralPose open = PlainFace();
  open["Chin"] = {14, -50, 60};
  EXPECT_EQ(NeutralHead(PlainPerformer(), open), NeutralHead(PlainPerformer(), PlainFace()));
}

TEST(NeutralHead, IsFoundFromAnyPairsAndHeights) {
  const std::vector<std::size_t> enough[] = {
      {kMouth, kLeftBrow},             // left and right by the corners of the mouth
      {kMouth, kLeftBrow, kRightBrow}, //
      {kMouth, kLeftEye, kRightEye},   // eyes instead of brows
      {kLeftBrow, kLeftNostril, kRightNostril},
      {kRightEye, kLeftCheek, kRightCheek},
      {kLeftEye, kRightEye, kLeftCheek},
  };
  for (const auto& parts : enough) {
    SCOPED_TRACE(testing::PrintToString(parts));
    ExpectUpright(NeutralHead(With(parts), PlainFace()));
  }
}

// y is from the mouth, otherwise the nostrils or the cheeks, to the brows, otherwise the eyes; exactly if
// depths are equal.
TEST(NeutralHead, UprightIsFromTheFirstOfThesePartsWithMarkers) {
  const auto y_of = [](const std::vector<std::size_t>& parts, const std::vector<std::string>& lower,
                       const std::vector<std::string>& upper) {
    NeutralPose pose = PlainFace();
    for (auto& [name, p] : pose) p = {p.x, p.y, 0};
    for (const std::string& name : lower) pose[name].z = 10;
    for (const std::string& name : upper) pose[name].z = 20;
    const VgeAMatrix axes = NeutralHead(With(parts), pose);
    return axes.m[1][2] / axes.m[1][1];
  };
  const std::vector<std::string> nose = {"NoseL", "NoseR"},
                                 cheeks = {"CheekUpL", "CheekUpR", "CheekL", "CheekR"},
                                 brows = {"BrowL", "BrowR", "BrowOutL", "BrowOutR", "BrowInL", "BrowInR"},
                                 lids = {"LidUpL", "LidUpR", "LidLowL", "LidLowR"};
  const double brow = (59.0 + 56 + 54) / 3, lid = (52.0 + 44) / 2, nostril = 25, cheek = (36.0 + 26) / 2;
  const std::vector<std::size_t> without_mouth = {kLeftBrow,  kRightBrow,  kLeftEye,     kRightEye,
                                                  kLeftCheek, kRightCheek, kLeftNostril, kRightNostril};
  EXPECT_NEAR(y_of(without_mouth, nose, brows), 10 / (brow - nostril), 1e-14);
  EXPECT_NEAR(y_of({kLeftBrow, kRightBrow, kLeftCheek, kRightCheek}, cheeks, brows), 10 / (brow - cheek),
              1e-14);
  EXPECT_NEAR(y_of({kLeftEye, kRightEye, kLeftNostril, kRightNostril}, nose, lids), 10 / (lid - nostril),
              1e-14);
}

// Brows one metre beside the mouth and `height` above it.
TEST(NeutralHead, AThousandthOfHeightIsNotALine) {
  for (const double height : {0.99, 1.01}) {
    Performer performer = With({kMouth, kLeftBrow, kRightBrow});
    performer.holders[kMouth] = {{{}, {"LipUp"}, {}, {}, {}}};
    const NeutralPose pose = {
        {"LipUp", {0, 0, 0}}, {"BrowL", {1001, height, 0}}, {"BrowR", {999, height, 0}}};
    EXPECT_EQ(Error(performer, pose) == "no InputError", height > 1) << height;
  }
}

// Six markers on the left brow and one on the right one do not turn the face.
TEST(NeutralHead, APairCountsOnceHoweverManyMarkersItHas) {
  Performer performer = With({kMouth, kLeftBrow, kRightBrow});
  NeutralPose pose = PlainFace();
  for (int i = 0; i < 20; ++i) {
    const std::string name = "more" + std::to_string(i);
    performer.holders[kLeftBrow][0].push_back(name);
    pose[name] = pose["BrowL"];
  }
  EXPECT_NEAR(NeutralHead(performer, pose).m[0][0], 1, 1e-3);
}

TEST(NeutralHead, APairWithOneVisibleSideDoesNotCount) {
  const Performer performer = With({kMouth, kLeftBrow, kRightBrow, kLeftNostril, kRightNostril});
  NeutralPose pose = PlainFace();
  pose.erase("NoseR");
  ExpectUpright(NeutralHead(performer, pose));
}

TEST(NeutralHead, ReportsWhatIsMissing) {
  const std::string message =
      "plain.json:/parts: the neutral pose does not show which way the face looks; add markers on a left "
      "and a right part or both corners of the mouth, on brows or eyes, and on the mouth, nostrils or cheeks";
  Performer no_pair = With({kMouth, kLeftBrow, kLeftEye, kLeftCheek, kLeftNostril});
  no_pair.holders[kMouth][0].clear();
  EXPECT_EQ(Error(no_pair, PlainFace()), message);
  EXPECT_EQ(Error(With({kMouth, kLeftCheek, kRightCheek, kLeftNostril, kRightNostril}), PlainFace()), message)
      << "nothing above";
  EXPECT_EQ(Error(With({kLeftBrow, kRightBrow, kLeftEye, kRightEye}), PlainFace()), message)
      << "nothing below";
  Performer chin = With({kMouth, kLeftBrow, kRightBrow});
  chin.holders[kMouth] = {{{}, {}, {}, {}, {"Chin"}}};
  EXPECT_EQ(Error(chin, PlainFace()), message) << "only the chin";
  EXPECT_EQ(Error(PlainPerformer(), {}), message) << "nothing visible";
}

TEST(NeutralHead, MarkersOnALineAreRefused) {
  NeutralPose on_a_line, in_a_point;
  for (const auto& [name, p] : PlainFace()) {
    on_a_line[name] = {p.x, 2 * p.x, -p.x};
    in_a_point[name] = {1, 2, 3};
  }
  const std::string message =
      "plain.json:/parts: the neutral pose's markers are on one line; check which markers are "
      "named left, right, brow and mouth";
  EXPECT_EQ(Error(PlainPerformer(), on_a_line), message);
  EXPECT_EQ(Error(PlainPerformer(), in_a_point), message);
}

// Left and right that contradict each other cancel out.
TEST(NeutralHead, PairsThatContradictEachOtherAreRefused) {
  Performer performer = With({kMouth, kLeftBrow, kRightBrow});
  performer.holders[kMouth] = {
      {{"BrowR", "BrowOutR", "BrowInR"}, {"LipUp"}, {}, {"BrowL", "BrowOutL", "BrowInL"}, {}}};
  EXPECT_THAT(Error(performer, PlainFace()), StartsWith("plain.json:/parts: "));
}

// Positions that are finite but absurd: no result is NaN.
TEST(NeutralHead, HugePositionsAreAnErrorOrFinite) {
  for (const double factor : {1e100, 1e160, 1e300}) {
    NeutralPose pose = PlainFace();
    for (auto& [name, p] : pose) p = {factor * p.x, factor * p.y, factor * p.z};
    try {
      const VgeAMatrix axes = NeutralHead(PlainPerformer(), pose);
      for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 3; ++row) EXPECT_TRUE(std::isfinite(axes.m[column][row])) << factor;
    } catch (const mien::InputError&) {}
  }
}
