#include "host/solve/solve_shapes.h"

#include "host/character/character_file.h"
#include "host/fit/head_basis.h"
#include "host/performer/performer_file.h"
#include "host/solve/solve_character.h"
#include "tests/host/basis_head.h"
#include "tests/host/plain_face.h"
#include "tests/random.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

using mien::BuiltInBasis;
using mien::FittedShapes;
using mien::LoadBasis;
using mien::LoadPerformer;
using mien::Neutral;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::ShapeBasis;
using mien::SolvedTake;
using mien::SolveOptions;
using mien::Take;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

using Weights = std::map<std::string, double>;

/// The 68 landmarks of the built-in face, which makes this expression.
NeutralPose Landmarks(const Weights& weights) {
  static const ShapeBasis basis = LoadBasis(BuiltInBasis::TwoHeads);
  NeutralPose face;
  for (std::size_t i = 0; i < 68; ++i) {
    Point p = basis.rest[i];
    for (const auto& [shape, weight] : weights) {
      const auto s = static_cast<std::size_t>(std::find(basis.shapes.begin(), basis.shapes.end(), shape) -
                                              basis.shapes.begin());
      const Point& moved = basis.Moved(i, s);
      p.x += weight * moved.x, p.y += weight * moved.y, p.z += weight * moved.z;
    }
    face[basis.points[i]] = p;
  }
  return face;
}

Take EmptyLandmarkTake() {
  std::vector<std::string> names;
  for (int i = 0; i < 68; ++i) names.push_back(fmt::format("lm{}", i));
  Take take(names);
  take.rate = {30, 1};
  return take;
}

struct Solved {
  Take take;
  SolvedTake solved;
  FittedShapes fitted;

  double At(std::size_t frame, const std::string& shape) const {
    const auto s = std::find(fitted.names.begin(), fitted.names.end(), shape) - fitted.names.begin();
    return fitted.weights[frame * fitted.names.size() + static_cast<std::size_t>(s)];
  }
};

Solved Solve(Take take, const Performer& performer, const NeutralPose& pose, const SolveOptions& options = {},
             const ShapeBasis* basis = nullptr) {
  const Neutral neutral = {.pose = pose, .how = "", .notes = {}};
  SolvedTake solved = SolveTake(take, performer, pose, options);
  FittedShapes fitted = SolveShapes(solved, take, performer, neutral, options, basis);
  return {std::move(take), std::move(solved), std::move(fitted)};
}

/// A head that moves, and one expression after the other, each held long enough for the inertia.
Solved SolveExpressions(const std::vector<Weights>& expressions, const SolveOptions& options = {},
                        const ShapeBasis* basis = nullptr) {
  tests::Random random(11);
  Take take = EmptyLandmarkTake();
  for (const Weights& weights : expressions)
    for (int i = 0; i < 15; ++i) tests::Film(take, Landmarks(weights), tests::AnyMotion(random));
  return Solve(std::move(take), LoadPerformer("landmarks68"), Landmarks({}), options, basis);
}

} // namespace

TEST(SolveShapes, FindsWhatAFaceDoesUnderAMovingHead) {
  const std::vector<Weights> expressions = {{{"jawOpen", 0.6}},
                                            {{"mouthSmileLeft", 0.8}},
                                            {{"mouthLeft", 0.7}},
                                            {{"browInnerUp", 0.9}},
                                            {{"mouthFunnel", 0.8}, {"jawOpen", 0.3}}};
  const Solved solved = SolveExpressions(expressions);
  for (std::size_t e = 0; e < expressions.size(); ++e)
    for (const auto& [shape, weight] : expressions[e])
      EXPECT_NEAR(solved.At(15 * e + 14, shape), weight, 0.25) << shape; // damping takes something of each
  EXPECT_LT(solved.At(14, "mouthSmileLeft"), 0.1);
  EXPECT_LT(solved.At(29, "mouthSmileRight"), 0.1) << "sides are apart";
  EXPECT_LT(solved.fitted.report.residual_mm, 1.5);
}

// Lips that stay shut over an open jaw: no take with known answers has this shape.
TEST(SolveShapes, FindsShutLipsOverAnOpenJaw) {
  const Solved solved = SolveExpressions({{{"jawOpen", 0.6}, {"mouthClose", 0.5}}, {{"jawOpen", 0.6}}});
  EXPECT_GT(solved.At(14, "mouthClose"), 0.3);
  EXPECT_GT(solved.At(14, "jawOpen"), 0.4);
  EXPECT_LT(solved.At(29, "mouthClose"), 0.1);
}

TEST(SolveShapes, AFaceAtRestHasNoShape) {
  const Solved solved = SolveExpressions({{}});
  for (const double weight : solved.fitted.weights) EXPECT_LT(weight, 0.02);
}

TEST(SolveShapes, LidsComeFromTheirPartsAndGazeFromNowhere) {
  const FittedShapes fitted = SolveExpressions({{}}).fitted;
  EXPECT_THAT(fitted.report.from_parts,
              ElementsAre("eyeBlinkLeft", "eyeSquintLeft", "eyeBlinkRight", "eyeSquintRight"));
  for (const std::string& name : fitted.names) {
    EXPECT_FALSE(name.starts_with("eyeBlink") || name.starts_with("eyeSquint")) << name;
    EXPECT_FALSE(name.starts_with("eyeLook")) << name;
  }
  EXPECT_EQ(fitted.names.size(), 39u);
  EXPECT_THAT(fitted.report.unmeasured, ElementsAre("mouthClose"));
  EXPECT_THAT(fitted.report.left_out, IsEmpty());
}

TEST(SolveShapes, WhatTheMarkersDoNotShowIsLeftOut) {
  Performer performer = LoadPerformer("landmarks68");
  for (const std::size_t part : {1U, 2U, 3U, 4U, 7U, 8U}) performer.holders[part] = {};
  performer.rigid = performer.head;
  performer.anchors = {};
  Take take = EmptyLandmarkTake();
  take.markers.resize(68);
  NeutralPose face = Landmarks({});
  for (std::size_t i = 17; i < 27; ++i) { // no brows
    face.erase(fmt::format("lm{}", i));
    take.markers[i] = fmt::format("lost{}", i);
  }
  for (int f = 0; f < 5; ++f) tests::Film(take, face);
  // Which way the face looks is told by the eyes: they stay, but drive nothing else.
  performer.holders[3][0] = {"lm43"}, performer.holders[4][0] = {"lm38"};
  const FittedShapes fitted = Solve(take, performer, face).fitted;
  std::vector<std::string> left_out;
  for (const auto& [shape, uncertainty] : fitted.report.left_out) {
    EXPECT_GT(uncertainty, 0.7) << shape;
    left_out.push_back(shape);
  }
  EXPECT_THAT(left_out, Contains("browOuterUpLeft"));
  EXPECT_THAT(left_out, Contains("browOuterUpRight"));
  EXPECT_THAT(left_out, Not(Contains("jawOpen")));
  EXPECT_THAT(fitted.names, Not(Contains("browOuterUpLeft")));
}

TEST(SolveShapes, TheFirstFramesDoNotKnowTheLast) {
  std::vector<Weights> expressions = {{}, {{"jawOpen", 0.5}}, {{"mouthSmileLeft", 0.5}}};
  const Solved longer = SolveExpressions(expressions);
  expressions.pop_back();
  const Solved shorter = SolveExpressions(expressions);
  // The noise of a take decides the inertia; it is below half a millimetre in both.
  ASSERT_LT(longer.fitted.report.noise_mm, 0.5);
  for (std::size_t f = 0; f < 28; ++f)
    for (const std::string& name : shorter.fitted.names)
      EXPECT_EQ(longer.At(f, name), shorter.At(f, name)) << name << " in frame " << f;
}

TEST(SolveShapes, AMarkerThatIsFarNoisierThanTheOthersIsTrustedLess) {
  tests::Random random(4);
  Take take = EmptyLandmarkTake();
  const auto noise = [&](double most) { return random.Between(-most, most); };
  for (int f = 0; f < 90; ++f) {
    NeutralPose face = Landmarks({});
    for (auto& [name, p] : face) {
      const double most = name == "lm8" ? 20 : 0.2; // the chin
      p.x += noise(most), p.y += noise(most), p.z += noise(most);
    }
    tests::Film(take, face);
  }
  const Solved solved = Solve(std::move(take), LoadPerformer("landmarks68"), Landmarks({}));
  double most = 0;
  for (std::size_t f = 0; f < 90; ++f) most = std::max(most, solved.At(f, "jawOpen"));
  EXPECT_LT(most, 0.05);
}

TEST(SolveShapes, AreSmoothedWithTheWeights) {
  std::vector<Weights> expressions;
  for (int i = 0; i < 6; ++i) expressions.push_back({{"jawOpen", i % 2 == 0 ? 0.0 : 0.8}});
  SolveOptions options;
  const auto step = [&](const Solved& solved) {
    double most = 0;
    for (std::size_t f = 1; f < solved.take.FrameCount(); ++f)
      most = std::max(most, std::abs(solved.At(f, "jawOpen") - solved.At(f - 1, "jawOpen")));
    return most;
  };
  const double raw = step(SolveExpressions(expressions));
  options.smooth_weights_hz = 2;
  EXPECT_LT(step(SolveExpressions(expressions, options)), 0.5 * raw);
}

TEST(SolveShapes, TakeThePlaceOfTemplatesInACharacter) {
  Solved solved = SolveExpressions({{{"mouthLeft", 0.7}, {"jawOpen", 0.5}}});
  const mien::Character character = mien::LoadCharacter("arkit52");
  SolveCharacter(solved.solved.animation, character, {}, &solved.fitted);
  const auto& shapes = solved.solved.animation.layout.shapes;
  for (std::size_t s = 0; s < shapes.size(); ++s) {
    const double weight = solved.solved.animation.ShapeWeight(14, s);
    const std::vector<std::string>& fitted = solved.fitted.names;
    if (std::find(fitted.begin(), fitted.end(), shapes[s]) != fitted.end()) {
      EXPECT_EQ(weight, std::min(solved.At(14, shapes[s]), 1.0)) << shapes[s];
    }
    if (shapes[s] == "tongueOut") { EXPECT_EQ(weight, 0); }
  }
}

TEST(SolveShapes, ExpressionsAddToFittedShapes) {
  Solved solved = SolveExpressions({{{"jawOpen", 0.5}}});
  const mien::Character character = mien::ReadCharacter(R"({
    "format": "mien character 1", "name": "c", "parts": { "face": { "shapes": ["Jaw_Open", "ears"] } },
    "templates": { "Mouth": { "Open": { "Jaw_Open": 5, "ears": 1 } } },
    "expressions": { "gasp": { "shapes": { "Jaw_Open": 0.25, "ears": 0.5 } } } })",
                                                        "c.json");
  SolveCharacter(solved.solved.animation, character, {{"gasp", 1}}, &solved.fitted);
  EXPECT_DOUBLE_EQ(solved.solved.animation.ShapeWeight(14, 0), solved.At(14, "jawOpen") + 0.25);
  EXPECT_GT(solved.solved.animation.ShapeWeight(14, 1), 0.6) << "other shapes keep their templates";
}

// What differs is rounding to floats, and that the head's axes and size come from its landmarks.
TEST(SolveShapes, AHeadMadeOfTheBuiltInFaceGivesTheSameWeights) {
  const std::vector<Weights> expressions = {
      {{"jawOpen", 0.6}}, {{"mouthSmileLeft", 0.8}, {"browInnerUp", 0.4}}, {{"mouthPucker", 1}}};
  const ShapeBasis face = LoadBasis(BuiltInBasis::TwoHeads);
  const ShapeBasis head = mien::BasisOfHead(
      tests::HeadOfBasis(face), mien::ReadHeadLandmarks(tests::LandmarksOfBasis(face), "head.landmarks.csv"));
  const Solved built_in = SolveExpressions(expressions), by_head = SolveExpressions(expressions, {}, &head);
  EXPECT_EQ(by_head.fitted.report.basis, "head.glb");
  EXPECT_EQ(built_in.fitted.report.basis, "the built-in face of two heads");
  ASSERT_EQ(by_head.fitted.names.size(), built_in.fitted.names.size());
  for (std::size_t f = 0; f < built_in.take.FrameCount(); ++f)
    for (const std::string& name : built_in.fitted.names)
      EXPECT_NEAR(by_head.At(f, name), built_in.At(f, name), 1e-3) << name << ' ' << f;
  EXPECT_GT(by_head.At(14, "jawOpen"), 0.4);
}
