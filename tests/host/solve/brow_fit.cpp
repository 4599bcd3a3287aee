#include "host/solve/brow_fit.h"

#include "host/base/face_parts.h"
#include "mien/base/affine.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

using mien::BrowFit;
using mien::FaceBatch;
using mien::kLeftBrow;
using mien::kRightBrow;

namespace {

constexpr int kUp = 0, kDown = 1;

// Points are known to 1e-15 of a unit of some ten millimetres; the templates stand at an angle that costs a
// digit.
constexpr double kRounding = 1e-13;

/// The face at rest, but for brows that are u times up and d times down of each point's way to the template.
VFaceState Brows(const VFace& face, double u, double d, int only = -1) {
  VFaceState state;
  face.SetToDefaultState(&state);
  for (const int p : {kLeftBrow, kRightBrow}) {
    if (only >= 0 && p != only) continue;
    const VFacePart& part = face.mParts[p];
    for (int j = 0; j < part.mPointCount; ++j) {
      const VgeTVector &rest = part.mDefaultPoints[j], &up = part.mTemplates[kUp]->mPoints[j],
                       &down = part.mTemplates[kDown]->mPoints[j];
      state.mParts[p].mPoints[j] = {rest.x + u * (up.x - rest.x) + d * (down.x - rest.x),
                                    rest.y + u * (up.y - rest.y) + d * (down.y - rest.y),
                                    rest.z + u * (up.z - rest.z) + d * (down.z - rest.z)};
    }
  }
  return state;
}

/// How far the brow that these weights give back is from `solved`, squared and summed over its points.
double Error(const VFace& face, const VFaceState& solved, int p, double u, double d) {
  const VFaceState given_back = Brows(face, u, d);
  double squares = 0;
  for (int j = 0; j < face.mParts[p].mPointCount; ++j) {
    const VgeTVector off = mien::Difference(solved.mParts[p].mPoints[j], given_back.mParts[p].mPoints[j]);
    squares += mien::Dot(off, off);
  }
  return squares;
}

std::pair<double, double> Fitted(const VFace& face, const VFaceState& solved, int p = kLeftBrow) {
  double weights[FaceBatch::kTemplates];
  BrowFit(face).Fit(1, {&solved.mParts[0].mPoints[0].x, 0, 4}, {weights});
  const int column = FaceBatch::kFirstTemplate[p];
  return {weights[column + kUp], weights[column + kDown]};
}

/// That no weights between the bounds are better than these.
void ExpectBest(const VFace& face, const VFaceState& solved, int p, const std::pair<double, double>& fitted) {
  const double least = Error(face, solved, p, fitted.first, fitted.second);
  constexpr int kSteps = 80;
  for (int i = 0; i <= kSteps; ++i)
    for (int k = 0; k <= kSteps; ++k)
      ASSERT_LE(least, Error(face, solved, p, 2.0 * i / kSteps, 2.0 * k / kSteps) + 1e-12) << i << ' ' << k;
}

} // namespace

TEST(BrowFit, FindsBothWeightsOfABrowThatTheyMakeUp) {
  const VFace& face = *GetGlobalFace();
  tests::Random random(1);
  for (int round = 0; round < 200; ++round) {
    const double u = random.Between(0, 2), d = random.Between(0, 2);
    const VFaceState solved = Brows(face, u, d);
    for (const int p : {kLeftBrow, kRightBrow}) {
      const auto [up, down] = Fitted(face, solved, p);
      EXPECT_NEAR(up, u, kRounding);
      EXPECT_NEAR(down, d, kRounding);
    }
  }
}

// By closeness a raised brow leaves a part to Down, and none of it is exact.
TEST(BrowFit, ARaisedBrowHasUpAlone) {
  const VFace& face = *GetGlobalFace();
  for (const double amount : {0.0, 0.1, 0.5, 1.0, 1.5}) {
    const auto [up, none_down] = Fitted(face, Brows(face, amount, 0));
    EXPECT_NEAR(up, amount, kRounding);
    EXPECT_NEAR(none_down, 0, kRounding);
    const auto [none_up, down] = Fitted(face, Brows(face, 0, amount));
    EXPECT_NEAR(none_up, 0, kRounding);
    EXPECT_NEAR(down, amount, kRounding);
  }
}

TEST(BrowFit, EachBrowIsItsOwn) {
  const VFace& face = *GetGlobalFace();
  const VFaceState solved = Brows(face, 0.75, 0.25, kRightBrow);
  EXPECT_EQ(Fitted(face, solved, kLeftBrow), std::pair(0.0, 0.0));
  const auto [up, down] = Fitted(face, solved, kRightBrow);
  EXPECT_NEAR(up, 0.75, kRounding);
  EXPECT_NEAR(down, 0.25, kRounding);
}

TEST(BrowFit, OtherPartsKeepTheirWeights) {
  const VFace& face = *GetGlobalFace();
  double weights[FaceBatch::kTemplates];
  std::fill(std::begin(weights), std::end(weights), 7);
  const VFaceState solved = Brows(face, 0.5, 0);
  BrowFit(face).Fit(1, {&solved.mParts[0].mPoints[0].x, 0, 4}, {weights});
  for (int c = 0; c < FaceBatch::kTemplates; ++c)
    if (c < FaceBatch::kFirstTemplate[kLeftBrow] || c >= FaceBatch::kFirstTemplate[kRightBrow + 1])
      EXPECT_EQ(weights[c], 7) << c;
    else
      EXPECT_NE(weights[c], 7) << c;
}

// However the caller's arrays are laid out.
TEST(BrowFit, EachFrameHasItsOwnWeights) {
  const VFace& face = *GetGlobalFace();
  constexpr std::size_t kFrames = 7;
  std::vector<double> points(kFrames * 63 * 3), weights(kFrames * FaceBatch::kTemplates);
  tests::Random random(3);
  std::vector<VFaceState> solved;
  for (std::size_t f = 0; f < kFrames; ++f) {
    solved.push_back(Brows(face, random.Between(-1, 3), random.Between(-1, 3)));
    for (std::size_t i = 0; i < 63; ++i) {
      const VgeTVector& p = solved[f].mParts[i / 7].mPoints[i % 7];
      points[(3 * i) * kFrames + f] = p.x;
      points[(3 * i + 1) * kFrames + f] = p.y;
      points[(3 * i + 2) * kFrames + f] = p.z;
    }
  }
  BrowFit(face).Fit(kFrames, {points.data(), 1, 3 * kFrames, kFrames}, {weights.data(), 1, kFrames});
  for (std::size_t f = 0; f < kFrames; ++f)
    for (const int p : {kLeftBrow, kRightBrow}) {
      const auto column = static_cast<std::size_t>(FaceBatch::kFirstTemplate[p]);
      EXPECT_EQ(std::pair(weights[column * kFrames + f], weights[(column + 1) * kFrames + f]),
                Fitted(face, solved[f], p));
    }
}

// --- Beyond the bounds the best of what is within them: on each edge and in each corner.

TEST(BrowFit, BeyondABoundTheOtherWeightIsTheBestBesideIt) {
  const VFace& face = *GetGlobalFace();
  for (const double u : {-1.5, -0.1, 0.7, 2.1, 4.0})
    for (const double d : {-1.5, -0.1, 0.7, 2.1, 4.0}) {
      const VFaceState solved = Brows(face, u, d);
      const auto fitted = Fitted(face, solved);
      ExpectBest(face, solved, kLeftBrow, fitted);
      const auto is_within = [](double weight) { return weight >= 0 && weight <= 2; };
      EXPECT_TRUE(is_within(fitted.first) && is_within(fitted.second)) << u << ' ' << d;
      if (!is_within(u) || !is_within(d)) {
        const auto is_bound = [](double weight) { return weight == 0 || weight == 2; };
        EXPECT_TRUE(is_bound(fitted.first) || is_bound(fitted.second)) << u << ' ' << d;
      }
    }
}

// A brow that comes in or out, or goes any way that no template goes.
TEST(BrowFit, IsTheBestOfAnyBrow) {
  const VFace& face = *GetGlobalFace();
  tests::Random random(2);
  for (int round = 0; round < 60; ++round) {
    VFaceState solved = Brows(face, random.Between(-1, 3), random.Between(-1, 3));
    for (VgeTVector& p : solved.mParts[kRightBrow].mPoints)
      p = {p.x + random.Between(-1, 1), p.y + random.Between(-1, 1), p.z + random.Between(-1, 1)};
    ExpectBest(face, solved, kRightBrow, Fitted(face, solved, kRightBrow));
  }
}

// --- A face of a caller's own, whose brow templates do not tell two ways.

TEST(BrowFit, TemplatesThatGoOneWayShareIt) {
  const auto face = std::make_unique<VFace>();
  VFacePart& part = face->mParts[kLeftBrow];
  for (const double factor : {1.0, 0.5, -1.0, 1e-9}) { // of Up's way is Down's
    for (int j = 0; j < part.mPointCount; ++j) {
      const VgeTVector &rest = part.mDefaultPoints[j], &up = part.mTemplates[kUp]->mPoints[j];
      part.mTemplates[kDown]->mPoints[j] = {rest.x + factor * (up.x - rest.x),
                                            rest.y + factor * (up.y - rest.y),
                                            rest.z + factor * (up.z - rest.z)};
    }
    for (const double amount : {-3.0, -0.5, 0.0, 0.5, 1.9, 5.0}) {
      const VFaceState solved = Brows(*face, amount, 0);
      ExpectBest(*face, solved, kLeftBrow, Fitted(*face, solved));
    }
  }
}

TEST(BrowFit, ATemplateThatDoesNotMoveHasNoWeight) {
  const auto face = std::make_unique<VFace>();
  VFacePart& part = face->mParts[kLeftBrow];
  const VFaceState raised = Brows(*face, 0.5, 0);
  std::copy_n(part.mDefaultPoints, part.mPointCount, part.mTemplates[kDown]->mPoints);
  EXPECT_NEAR(Fitted(*face, raised).first, 0.5, kRounding);
  EXPECT_EQ(Fitted(*face, raised).second, 0);
  std::copy_n(part.mDefaultPoints, part.mPointCount, part.mTemplates[kUp]->mPoints);
  EXPECT_EQ(Fitted(*face, raised), std::pair(0.0, 0.0));
}

// Or a brow that nobody could measure would pass for one at rest.
TEST(BrowFit, APointThatIsNotFiniteGivesNoNumber) {
  const VFace& face = *GetGlobalFace();
  for (const double value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    VFaceState solved = Brows(face, 0.5, 0);
    solved.mParts[kLeftBrow].mPoints[1].y = value;
    const auto [up, down] = Fitted(face, solved);
    EXPECT_TRUE(std::isnan(up) && std::isnan(down)) << value;
    EXPECT_NEAR(Fitted(face, solved, kRightBrow).first, 0.5, kRounding);
  }
}
