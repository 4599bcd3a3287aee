#include "host/solve/character_solver.h"

#include "host/character/character_file.h"
#include "mien/base/bounded_text.h"
#include "mien/base/elementary.h"
#include "mien/face/face.h"
#include "tests/character/characters.h"
#include "tests/character/same_bits.h"
#include "tests/host/global_face_solve.h"
#include "tests/host/input_error.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using mien::Character;
using mien::CharacterSolver;
using mien::ClusterTransform;
using mien::ExpressionWeights;
using mien::ShapeWeights;

namespace {

constexpr int kMouth = 0, kLeftBrow = 1;
constexpr int kOpen = 0, kWhistle = 1;

/// A character of these parts and templates and, after them, `more` members.
Character Read(const std::string& parts, const std::string& templates, const std::string& more = "") {
  return mien::ReadCharacter(R"({ "format": "mien character 1", "name": "Robot", "parts": )" + parts +
                                 R"(, "templates": )" + templates + (more.empty() ? "" : ", ") + more + " }",
                             "c.json");
}

const std::string kParts = R"({ "face": { "shapes": ["a", "b"] }, "jaw": { "shapes": ["c"] } })";
const std::string kTemplates = R"({ "Mouth": { "Open": { "a": 1, "c": -2 }, "Whistle": { "a": 0.5 } } })";
const std::string kExpressions = R"("expressions": {
  "Shapes": { "templates": { "Mouth": { "Whistle": 1 } }, "shapes": { "b": 3, "c": 4 } },
  "Templates": { "templates": { "Mouth": { "Open": 2 } } },
  "Zeros": { "templates": { "Mouth": { "Open": 8 } }, "shapes": { "b": 0 } }
})";

Character WithExpressions() { return Read(kParts, kTemplates, kExpressions); }

/// One cluster "bone" that "drop" moves, and "still" does not.
const std::string kJaw = R"({ "jaw": { "shapes": ["still", "drop"], "clusters": {
  "rest": { "bone": { "translation": [1, 2, 3], "rotation": [0, 0, 90], "scale": [1, 2, -1] } },
  "poses": { "drop": { "bone": { "translation": [1, -8, 3], "rotation": [0, 0, 120], "scale": [1, 8, -3] } } } } } })";

VgeTVector At(double x, double y, double z) { return {x, y, z}; }

VFaceTemplateState Open(double weight) {
  VFaceTemplateState templates;
  templates.mParts[kMouth].mWeights[kOpen] = weight;
  return templates;
}

int CatalogueSize() { return GetGlobalFace()->mExpressions.GetCount(); }

/// --- The same solve, written down as plainly as it can be said.

struct Weights {
  double of[15][500] = {};
};

Weights DefineState(const Character& character, const ShapeWeights& weights) {
  Weights state;
  for (const auto& [name, weight] : weights)
    for (std::size_t p = 0; p < character.parts.size(); ++p)
      for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s)
        if (character.parts[p].shapes[s] == name) state.of[p][s] = weight;
  return state;
}

Weights PlainShapes(const Character& character, const VFaceTemplateState& templates,
                    const std::vector<double>& expressions) {
  const auto each_shape = [&](const auto& call) {
    for (std::size_t p = 0; p < character.parts.size(); ++p)
      for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s) call(p, s);
  };
  Weights directly;                                    // from the expressions that the character defines
  std::vector<double> through_templates = expressions; // the others
  for (std::size_t e = 0; e < expressions.size(); ++e) {
    const Weights definition = DefineState(character, character.expressions[e].shapes);
    each_shape([&](std::size_t p, std::size_t s) {
      directly.of[p][s] += definition.of[p][s] * expressions[e];
      if (definition.of[p][s] != 0) through_templates[e] = 0;
    });
  }
  Weights sum;
  std::vector<std::pair<Weights, double>> terms;
  for (std::size_t f = 0; f < 9; ++f)
    for (std::size_t t = 0; t < character.templates[f].size(); ++t) {
      double of_expressions = 0;
      for (std::size_t e = 0; e < expressions.size(); ++e)
        of_expressions += through_templates[e] * character.expressions[e].templates.mParts[f].mWeights[t];
      terms.emplace_back(DefineState(character, character.templates[f][t]),
                         templates.mParts[f].mWeights[t] + of_expressions);
    }
  each_shape([&](std::size_t p, std::size_t s) {
    for (const auto& [definition, weight] : terms) sum.of[p][s] += definition.of[p][s] * weight;
    sum.of[p][s] += directly.of[p][s];
    if (character.range)
      sum.of[p][s] = std::min(std::max(sum.of[p][s], character.range->least), character.range->most);
  });
  return sum;
}

/// a * b of the upper 3 x 3.
VgeRMatrix Product(const VgeRMatrix& a, const VgeRMatrix& b) {
  VgeRMatrix product;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) {
      double sum = 0;
      for (int k = 0; k < 3; ++k) sum += a.m[k][row] * b.m[column][k];
      product.m[column][row] = sum;
    }
  return product;
}

VgeRMatrix Transposed(const VgeRMatrix& a) {
  VgeRMatrix transposed;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) transposed.m[column][row] = a.m[row][column];
  return transposed;
}

ClusterTransform PlainLocal(const Character::Part& part, std::size_t c, const double* weights) {
  const ClusterTransform& rest = part.clusters[c].rest;
  ClusterTransform local;
  VgeRVector angles(0, 0, 0);
  local.scale = VgeSVector(0, 0, 0);
  for (std::size_t s = 0; s < part.shapes.size(); ++s)
    for (const Character::Pose& pose : part.poses) {
      if (pose.shape != part.shapes[s]) continue;
      const double w = weights[s];
      const ClusterTransform& target = pose.clusters[c];
      local.translation.x += w * (target.translation.x - rest.translation.x);
      local.translation.y += w * (target.translation.y - rest.translation.y);
      local.translation.z += w * (target.translation.z - rest.translation.z);
      VgeRVector turn;
      VTxRotationOrder{.mOrder = 0}.M2V(turn, Product(Transposed(rest.rotation), target.rotation));
      angles.x += w * turn.x, angles.y += w * turn.y, angles.z += w * turn.z;
      local.scale.x += w * mien::Log(target.scale.x / rest.scale.x);
      local.scale.y += w * mien::Log(target.scale.y / rest.scale.y);
      local.scale.z += w * mien::Log(target.scale.z / rest.scale.z);
    }
  local.translation.x += rest.translation.x;
  local.translation.y += rest.translation.y;
  local.translation.z += rest.translation.z;
  VTxRotationOrder{.mOrder = 0}.V2M(local.rotation, angles);
  local.rotation = Product(rest.rotation, local.rotation);
  local.scale = VgeSVector(mien::Exp(local.scale.x) * rest.scale.x, mien::Exp(local.scale.y) * rest.scale.y,
                           mien::Exp(local.scale.z) * rest.scale.z);
  return local;
}

ClusterTransform PlainGlobal(const ClusterTransform& root, const ClusterTransform& local) {
  const double s[3] = {root.scale.x, root.scale.y, root.scale.z};
  const double t[3] = {local.translation.x, local.translation.y, local.translation.z};
  const double t0[3] = {root.translation.x, root.translation.y, root.translation.z};
  double moved[3];
  for (int row = 0; row < 3; ++row) {
    double sum = 0;
    for (int k = 0; k < 3; ++k) sum += root.rotation.m[k][row] * s[k] * t[k];
    moved[row] = sum + t0[row];
  }
  return {At(moved[0], moved[1], moved[2]), Product(root.rotation, local.rotation),
          VgeSVector(local.scale.x * s[0], local.scale.y * s[1], local.scale.z * s[2])};
}

void ExpectSame(const VgeTVector& t, const VgeRMatrix& r, const VgeSVector& s,
                const ClusterTransform& expected) {
  EXPECT_EQ(t, expected.translation);
  EXPECT_EQ(r, expected.rotation);
  EXPECT_EQ(s, expected.scale);
}

void ExpectSameAsPlain(const Character& character, const std::vector<double>& expressions,
                       const VFaceTemplateState& templates, const VCharacterFaceState& solved) {
  const auto plain = std::make_unique<Weights>(PlainShapes(character, templates, expressions));
  for (std::size_t p = 0; p < 15; ++p)
    for (std::size_t s = 0; s < 500; ++s) ASSERT_EQ(solved.mWeights[p][s], plain->of[p][s]) << p << ' ' << s;
  for (std::size_t p = 0; p < 15; ++p) {
    const auto& clusters = solved.mClusters[p].mClusters;
    if (p >= character.parts.size()) {
      EXPECT_EQ(clusters.GetCount(), 0);
      continue;
    }
    const Character::Part& part = character.parts[p];
    ASSERT_EQ(clusters.GetCount(), static_cast<int>(part.clusters.size()));
    for (std::size_t c = 0; c < part.clusters.size(); ++c) {
      const VCharacterFaceClusterState& cluster = *clusters[static_cast<int>(c)];
      const ClusterTransform local = PlainLocal(part, c, plain->of[p]);
      ExpectSame(cluster.mLocalT, cluster.mLocalR, cluster.mLocalS, local);
      ExpectSame(cluster.mGlobalT, cluster.mGlobalR, cluster.mGlobalS, PlainGlobal(part.root, local));
    }
  }
}

/// --- Characters that nobody thought of.

class Invented : public tests::Random {
public:
  explicit Invented(std::uint64_t seed) : Random(seed) {}

  std::size_t Below(std::size_t limit) {
    return static_cast<std::size_t>(Between(0, static_cast<double>(limit)));
  }
  bool Chance(double of_one) { return Between(0, 1) < of_one; }
  double Weight() { return Chance(0.2) ? 0 : Between(-1, 2); }

  VgeRMatrix Rotation() {
    VgeRMatrix rotation;
    VTxRotationOrder().V2M(rotation, {Between(-180, 180), Between(-90, 90), Between(-180, 180)});
    return rotation;
  }

  // Braces, because only in them the numbers are drawn in the same order by every compiler.
  ClusterTransform Transform(const VgeSVector& sign) {
    const auto scale = [this](double s) { return s < 0 ? -Between(0.1, 5) : Between(0.1, 5); };
    return {VgeTVector{Between(-9, 9), Between(-9, 9), Between(-9, 9)}, Rotation(),
            VgeSVector{scale(sign.x), scale(sign.y), scale(sign.z)}};
  }
  ClusterTransform Transform() {
    const auto sign = [this] { return Chance(0.2) ? -1.0 : 1.0; };
    return Transform(VgeSVector{sign(), sign(), sign()});
  }

  ShapeWeights Some(const std::vector<std::string>& shapes, double chance) {
    ShapeWeights weights;
    for (const std::string& shape : shapes)
      if (Chance(chance)) weights.emplace_back(shape, Weight());
    return weights;
  }

  Character AnyCharacter() {
    Character character;
    character.name = "invented";
    const std::size_t parts = 1 + Below(4);
    for (std::size_t p = 0; p < parts; ++p) {
      Character::Part& part = character.parts.emplace_back();
      part.name = "part " + std::to_string(p);
      const std::size_t shapes = Below(9);
      for (std::size_t s = 0; s < shapes; ++s)
        part.shapes.push_back(std::to_string(p) + '.' + std::to_string(s));
      if (Chance(0.4)) continue;
      part.root = Transform();
      const std::size_t clusters = Below(4);
      for (std::size_t c = 0; c < clusters; ++c)
        part.clusters.push_back({std::string(c + 1, 'c'), Transform()});
      for (std::size_t s = shapes; s-- > 0;) { // poses come in any order
        if (Chance(0.3)) continue;
        Character::Pose& pose = part.poses.emplace_back();
        pose.shape = part.shapes[s];
        for (const Character::Cluster& cluster : part.clusters)
          pose.clusters.push_back(Chance(0.3) ? cluster.rest : Transform(cluster.rest.scale));
      }
    }
    const std::vector<std::string> shapes = character.Shapes();
    for (std::size_t f = 0; f < 9; ++f)
      for (int t = 0; t < GetGlobalFace()->mParts[f].mTemplates.GetCount(); ++t)
        character.templates[f].push_back(Some(shapes, 0.3));
    const std::size_t expressions = Below(6);
    for (std::size_t e = 0; e < expressions; ++e) {
      Character::Expression& expression = character.expressions.emplace_back();
      expression.name = "expression " + std::to_string(e);
      if (Chance(0.7))
        for (std::size_t f = 0; f < 9; ++f)
          for (std::size_t t = 0; t < character.templates[f].size(); ++t)
            expression.templates.mParts[f].mWeights[t] = Weight();
      if (Chance(0.5)) expression.shapes = Some(shapes, 0.3);
    }
    if (Chance(0.5)) character.range = Character::Range{Between(-1, 0), Between(0, 1)};
    return character;
  }

  VFaceTemplateState Templates() {
    VFaceTemplateState templates;
    for (VFacePartTemplateState& part : templates.mParts)
      for (double& weight : part.mWeights) weight = Weight();
    return templates;
  }
};

} // namespace

TEST(CharacterSolver, IsToTheBitWhatItsDefinitionSays) {
  int with_clusters = 0, with_expressions = 0, limited = 0;
  for (std::uint64_t seed = 0; seed < 60; ++seed) {
    Invented invented(seed);
    const Character character = invented.AnyCharacter();
    std::vector<double> weights(character.expressions.size());
    ExpressionWeights by_name;
    for (std::size_t e = weights.size(); e-- > 0;) { // in another order than the character's
      if (invented.Chance(0.3)) continue;
      weights[e] = invented.Weight();
      by_name.emplace_back(character.expressions[e].name, weights[e]);
    }
    for (const Character::Part& part : character.parts) with_clusters += part.clusters.empty() ? 0 : 1;
    with_expressions += by_name.empty() ? 0 : 1;
    limited += character.range ? 1 : 0;
    CharacterSolver solver(character, by_name);
    for (int frame = 0; frame < 3; ++frame) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << " frame " << frame);
      const VFaceTemplateState templates = invented.Templates();
      ExpectSameAsPlain(character, weights, templates, solver.Solve(templates));
    }
  }
  EXPECT_GT(with_clusters, 20);
  EXPECT_GT(with_expressions, 20);
  EXPECT_GT(limited, 20);
}

// --- Shapes.

TEST(CharacterSolver, TemplatesDriveTheShapesOfAllParts) {
  const Character character = Read(kParts, kTemplates);
  CharacterSolver solver(character);
  VFaceTemplateState templates = Open(0.5);
  templates.mParts[kMouth].mWeights[kWhistle] = 4;
  templates.mParts[kLeftBrow].mWeights[0] = 7; // moves nothing
  const VCharacterFaceState& state = solver.Solve(templates);
  EXPECT_EQ(state.mWeights[0][0], 2.5);
  EXPECT_EQ(state.mWeights[0][1], 0);
  EXPECT_EQ(state.mWeights[1][0], -1);
}

TEST(CharacterSolver, WithoutARangeWeightsAreWhatTheyComeTo) {
  CharacterSolver solver(Read(kParts, kTemplates));
  EXPECT_EQ(solver.Solve(Open(1e6)).mWeights[0][0], 1e6);
  EXPECT_EQ(solver.Solve(Open(1e6)).mWeights[1][0], -2e6);
}

TEST(CharacterSolver, ARangeLimitsTheSumAndNotItsTerms) {
  CharacterSolver solver(Read(kParts,
                              R"({ "Mouth": { "Open": { "a": 5, "c": -5 }, "Whistle": { "a": -4.5 } } })",
                              R"("range": [-0.25, 1])"));
  VFaceTemplateState templates = Open(1);
  EXPECT_EQ(solver.Solve(templates).mWeights[0][0], 1);
  EXPECT_EQ(solver.Solve(templates).mWeights[1][0], -0.25);
  templates.mParts[kMouth].mWeights[kWhistle] = 1;
  EXPECT_EQ(solver.Solve(templates).mWeights[0][0], 0.5);
}

TEST(CharacterSolver, ARangeWithoutZeroMovesAllShapesAndNothingBeyondThem) {
  CharacterSolver solver(Read(kParts, "{}", R"("range": [0.5, 0.5])"));
  const VCharacterFaceState& state = solver.Solve({});
  EXPECT_EQ(state.mWeights[0][0], 0.5);
  EXPECT_EQ(state.mWeights[0][1], 0.5);
  EXPECT_EQ(state.mWeights[0][2], 0);
  EXPECT_EQ(state.mWeights[1][0], 0.5);
  EXPECT_EQ(state.mWeights[2][0], 0);
}

TEST(CharacterSolver, AFrameKnowsNothingOfTheOneBefore) {
  const Character character =
      Read(kJaw, R"({ "Mouth": { "Open": { "drop": 1, "still": 2 } } })", R"("range": [-3, 3])");
  CharacterSolver solver(character);
  solver.Solve(Open(1));
  const VCharacterFaceState& state = solver.Solve(Open(0.25));
  ExpectSameAsPlain(character, {}, Open(0.25), state);
  EXPECT_EQ(state.mWeights[0][0], 0.5);
}

TEST(CharacterSolver, NeedsTheCharacterOnlyToBeMade) {
  auto character = std::make_unique<Character>(
      Read(kJaw, R"({ "Mouth": { "Open": { "drop": 1 } } })", R"("range": [0, 9])"));
  CharacterSolver solver(*character);
  character.reset();
  EXPECT_EQ(solver.Solve(Open(2)).mWeights[0][1], 2);
}

TEST(CharacterSolver, TakesTheLargestCharacter) {
  Character character;
  const std::string long_name(251, 'n');
  for (int p = 0; p < 15; ++p) {
    Character::Part& part = character.parts.emplace_back();
    part.name = long_name + std::to_string(p);
    for (int s = 0; s < 500; ++s) part.shapes.push_back(std::to_string(p) + '.' + std::to_string(s));
  }
  for (std::size_t f = 0; f < 9; ++f)
    character.templates[f].resize(static_cast<std::size_t>(GetGlobalFace()->mParts[f].mTemplates.GetCount()));
  character.templates[kMouth][kOpen] = {{"0.0", 1}, {"14.499", 2}};
  ExpressionWeights all;
  for (int e = 0; e < 99; ++e) {
    Character::Expression& expression = character.expressions.emplace_back();
    expression.name = long_name + std::to_string(1000 + e);
    expression.shapes = {{"14." + std::to_string(e), 1 + e}};
    all.emplace_back(expression.name, 1);
  }
  CharacterSolver solver(character, all);
  const VCharacterFaceState& state = solver.Solve(Open(1));
  EXPECT_EQ(state.mWeights[0][0], 1);
  EXPECT_EQ(state.mWeights[14][499], 2);
  for (int e = 0; e < 99; ++e) EXPECT_EQ(state.mWeights[14][e], 1 + e);
  EXPECT_EQ(state.mWeights[14][99], 0);
}

// --- Expressions.

TEST(CharacterSolver, AnExpressionOfShapesDrivesThemAndNotItsTemplates) {
  CharacterSolver solver(WithExpressions(), {{"Shapes", 0.5}});
  const VCharacterFaceState& state = solver.Solve({});
  EXPECT_EQ(state.mWeights[0][0], 0) << "not through Whistle";
  EXPECT_EQ(state.mWeights[0][1], 1.5);
  EXPECT_EQ(state.mWeights[1][0], 2);
}

TEST(CharacterSolver, AnExpressionWithoutShapesGoesThroughItsTemplates) {
  CharacterSolver solver(WithExpressions(), {{"Templates", 0.5}});
  EXPECT_EQ(solver.Solve({}).mWeights[0][0], 1);
  EXPECT_EQ(solver.Solve({}).mWeights[1][0], -2);
  EXPECT_EQ(solver.Solve(Open(0.25)).mWeights[0][0], 1.25) << "on top of the frame's own";
}

// Weights of 0 produce nothing.
TEST(CharacterSolver, AnExpressionOfShapesThatAreAllZeroGoesThroughItsTemplates) {
  CharacterSolver solver(WithExpressions(), {{"Zeros", 1}});
  EXPECT_EQ(solver.Solve({}).mWeights[0][0], 8);
}

TEST(CharacterSolver, ExpressionsThatAreNotAskedForDoNothing) {
  CharacterSolver solver(WithExpressions());
  EXPECT_TRUE(solver.Solve({}).IsClear());
  EXPECT_EQ(solver.Solve(Open(1)).mWeights[0][0], 1);
}

TEST(CharacterSolver, AnExpressionAskedForTwiceAddsUp) {
  CharacterSolver solver(WithExpressions(), {{"Shapes", 0.5}, {"Templates", 1}, {"Shapes", 1.5}});
  const VCharacterFaceState& state = solver.Solve({});
  EXPECT_EQ(state.mWeights[0][0], 2);
  EXPECT_EQ(state.mWeights[0][1], 6);
  EXPECT_EQ(state.mWeights[1][0], 8 - 4);
}

TEST(CharacterSolver, TellsWhichExpressionsThereAre) {
  for (const std::string name : {"Smile", "shapes", "", "Shapes "})
    EXPECT_EQ(InputErrorOf([&] {
                CharacterSolver(WithExpressions(), {{"Shapes", 1}, {name, 1}});
              }),
              "c.json:/expressions: there is no expression \"" + name +
                  "\"; name one of: Shapes, Templates, Zeros");
  EXPECT_EQ(InputErrorOf([] {
              CharacterSolver(Read(kParts, kTemplates), {{"Smile", 1}});
            }),
            "c.json:/expressions: there is no expression \"Smile\"; add it to a character file, "
            "which mien character save writes");
}

// --- Clusters.

TEST(CharacterSolver, ClustersRestWhereNothingDrivesThem) {
  CharacterSolver solver(Read(kJaw, R"({ "Mouth": { "Open": { "still": 1 } } })"));
  for (const double open : {0.0, 1.0, -4.0}) {
    const VCharacterFaceClusterState& bone = *solver.Solve(Open(open)).mClusters[0].mClusters[0];
    EXPECT_EQ(bone.mLocalT, At(1, 2, 3));
    EXPECT_EQ(bone.mLocalS, VgeSVector(1, 2, -1));
    EXPECT_NEAR(bone.mLocalR.m[0][1], 1, 1e-15);
  }
}

TEST(CharacterSolver, AShapeAtItsFullWeightIsItsPose) {
  CharacterSolver solver(Read(kJaw, R"({ "Mouth": { "Open": { "drop": 1 } } })"));
  const VCharacterFaceClusterState& full = *solver.Solve(Open(1)).mClusters[0].mClusters[0];
  EXPECT_EQ(full.mLocalT, At(1, -8, 3));
  EXPECT_NEAR(full.mLocalR.m[0][0], -0.5, 1e-14);            // 120 degrees about z
  EXPECT_NEAR(full.mLocalR.m[0][1], std::sqrt(0.75), 1e-14); // through degrees and back
  EXPECT_NEAR(full.mLocalS.y, 8, 1e-14);                     // through a logarithm and back
  EXPECT_NEAR(full.mLocalS.z, -3, 1e-14);
  const VCharacterFaceClusterState& half = *solver.Solve(Open(0.5)).mClusters[0].mClusters[0];
  EXPECT_EQ(half.mLocalT, At(1, -3, 3));
  EXPECT_NEAR(half.mLocalR.m[0][0], std::cos(105 * std::acos(-1.0) / 180), 1e-14);
  EXPECT_NEAR(half.mLocalS.y, 4, 1e-14) << "the geometric mean";
}

TEST(CharacterSolver, ClustersFollowTheLimitedWeights) {
  const std::string templates = R"({ "Mouth": { "Open": { "drop": 1 } } })";
  VgeTVector full;
  {
    CharacterSolver unlimited(Read(kJaw, templates));
    full = unlimited.Solve(Open(1)).mClusters[0].mClusters[0]->mLocalT;
    EXPECT_NE(unlimited.Solve(Open(3)).mClusters[0].mClusters[0]->mLocalT, full);
  }
  CharacterSolver limited(Read(kJaw, templates, R"("range": [0, 1])"));
  EXPECT_EQ(limited.Solve(Open(3)).mClusters[0].mClusters[0]->mLocalT, full);
  EXPECT_EQ(limited.Solve(Open(-3)).mClusters[0].mClusters[0]->mLocalT, At(1, 2, 3));
}

TEST(CharacterSolver, ExpressionsMoveClustersToo) {
  CharacterSolver solver(Read(kJaw, "{}", R"("expressions": { "Gape": { "shapes": { "drop": 1 } } })"),
                         {{"Gape", 1}});
  EXPECT_EQ(solver.Solve({}).mClusters[0].mClusters[0]->mLocalT, At(1, -8, 3));
}

TEST(CharacterSolver, TheRootMovesTheGlobalTransformsAlone) {
  // A quarter of a turn about z, then twice the size along the turned axes.
  const std::string parts = R"({ "p": { "shapes": [], "clusters": {
    "root": { "translation": [10, 20, 30], "rotation": [0, 0, 90], "scale": [2, 3, 4] },
    "rest": { "c": { "translation": [1, 2, 3], "scale": [1, 1, -1] } } } } })";
  CharacterSolver solver(Read(parts, "{}"));
  for (int frame = 0; frame < 2; ++frame) { // the root stays
    const VCharacterFaceClusterState& cluster = *solver.Solve({}).mClusters[0].mClusters[0];
    EXPECT_EQ(cluster.mLocalT, At(1, 2, 3));
    EXPECT_EQ(cluster.mLocalS, VgeSVector(1, 1, -1));
    EXPECT_EQ(cluster.mLocalR, VgeRMatrix());
    EXPECT_NEAR(cluster.mGlobalT.x, 10 - 6, 1e-14); // the sine of 180 degrees is not quite 0
    EXPECT_NEAR(cluster.mGlobalT.y, 20 + 2, 1e-14);
    EXPECT_NEAR(cluster.mGlobalT.z, 30 + 12, 1e-14);
    EXPECT_NEAR(cluster.mGlobalR.m[0][1], 1, 1e-15);
    EXPECT_EQ(cluster.mGlobalS, VgeSVector(2, 3, -4));
  }
}

TEST(CharacterSolver, ClustersOfAPartBehindAnotherAreItsOwn) {
  const Character character = Read(
      R"({ "face": { "shapes": ["x"] },
           "one": { "shapes": ["y"], "clusters": { "rest": { "c": {}, "d": { "translation": [5, 0, 0] } },
                    "poses": { "y": { "d": { "translation": [6, 0, 0] } } } } },
           "two": { "shapes": ["z"], "clusters": { "rest": { "c": {} },
                    "poses": { "z": { "c": { "translation": [0, 0, 7] } } } } } })",
      R"({ "Mouth": { "Open": { "x": 1, "z": 2 }, "Whistle": { "y": 3 } } })");
  CharacterSolver solver(character);
  const VCharacterFaceState& state = solver.Solve(Open(1));
  EXPECT_EQ(state.mClusters[0].mClusters.GetCount(), 0);
  ASSERT_EQ(state.mClusters[1].mClusters.GetCount(), 2);
  EXPECT_EQ(state.mClusters[1].mClusters[0]->mLocalT, At(0, 0, 0));
  EXPECT_EQ(state.mClusters[1].mClusters[1]->mLocalT, At(5, 0, 0));
  EXPECT_EQ(state.mClusters[2].mClusters[0]->mLocalT, At(0, 0, 14));
}

// Names are exact: of two that differ in nothing but case, which no file can have, the second gets a number.
TEST(CharacterSolver, ExpressionsAreFoundByTheirExactNames) {
  Character character = WithExpressions();
  character.expressions[2].name = "SHAPES";
  EXPECT_EQ(CharacterSolver(character, {{"Shapes", 1}}).Solve({}).mWeights[0][1], 3);
  EXPECT_EQ(CharacterSolver(character, {{"SHAPES1", 1}}).Solve({}).mWeights[0][0], 8);
  EXPECT_THROW(CharacterSolver(character, {{"SHAPES", 1}}), mien::InputError);
}

// --- Many frames at once.

// Every number of frames to 20; shapes that are fitted, that follow the eyes, and that are limited.
TEST(CharacterSolver, ManyFramesHaveTheBitsOfEachAlone) {
  for (std::uint64_t seed = 0; seed < 63; ++seed) {
    Invented invented(seed + 300);
    tests::HardNumbers numbers(seed, seed % 2 == 0 ? 0 : 9);
    const Character character = seed % 3 == 0 ? mien::LoadCharacter("arkit52") : invented.AnyCharacter();
    ExpressionWeights expressions;
    for (const Character::Expression& expression : character.expressions)
      if (invented.Chance(0.5)) expressions.emplace_back(expression.name, invented.Weight());
    CharacterSolver one(character, expressions), many(character, expressions);
    const std::vector<std::string> names = {"jawOpen", "browInnerUp", "nobody"};
    if (seed % 2 == 0) one.UseFitted(names), many.UseFitted(names);

    const std::size_t frames = seed % 21;
    std::vector<VFaceTemplateState> states(frames);
    std::vector<double> templates, fitted;
    std::vector<mien::Eyes> eyes(frames);
    for (std::size_t f = 0; f < frames; ++f) {
      for (const mien::TemplateColumn& column : mien::TemplateColumns()) {
        double& weight = states[f].mParts[column.part].mWeights[column.slot];
        weight = numbers.Below(3) == 0 ? 0 : numbers.Weight();
        templates.push_back(weight);
      }
      for (std::size_t i = 0; i < names.size(); ++i) fitted.push_back(numbers.Between(0, 1));
      for (auto& eye : eyes[f]) eye.yaw = numbers.Between(-1, 1), eye.pitch = numbers.Between(-1, 1);
    }
    const bool has_eyes = seed % 4 < 2;
    std::vector<double> shapes(frames * many.Shapes(), 0.5);
    many.SolveShapes(shapes, templates.data(), has_eyes ? eyes.data() : nullptr, fitted.data());
    for (std::size_t f = 0; f < frames; ++f) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", frame " << f);
      const double* const row = shapes.data() + f * many.Shapes();
      const VCharacterFaceState& state = one.Solve(states[f], has_eyes ? &eyes[f] : nullptr,
                                                   std::span(fitted).subspan(f * names.size(), names.size()));
      const VCharacterFaceClusterSetState* const sets = many.SolveClusters(row);
      for (std::size_t p = 0, i = 0; p < character.parts.size(); ++p) {
        for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s, ++i)
          ASSERT_TRUE(tests::SameBits(row[i], state.mWeights[p][s])) << "part " << p << ", shape " << s;
        for (int c = 0; c < state.mClusters[p].mClusters.GetCount(); ++c)
          for (int column = 0; column < 3; ++column)
            for (int r = 0; r < 3; ++r)
              ASSERT_TRUE(tests::SameBits(sets[p].mClusters[c]->mGlobalR.m[column][r],
                                          state.mClusters[p].mClusters[c]->mGlobalR.m[column][r]));
      }
    }
  }
}

// --- Any number at once.

TEST(CharacterSolver, GivesToTheBitWhatTheProcessWideFaceGives) {
  for (std::uint64_t seed = 0; seed < 60; ++seed) {
    Invented invented(seed);
    tests::HardNumbers numbers(seed,
                               seed % 2 == 0 ? 8 : 50); // NaNs, infinities, -0.0 and denormals among them
    Character character = invented.AnyCharacter();
    const std::size_t count = seed == 0 ? 99 : invented.Below(20);
    while (character.expressions.size() < count) {
      Character::Expression& expression = character.expressions.emplace_back();
      expression.name = "more " + std::to_string(character.expressions.size());
      for (VFacePartTemplateState& part : expression.templates.mParts)
        for (double& weight : part.mWeights) weight = numbers.Weight();
      if (invented.Chance(0.5)) expression.shapes = invented.Some(character.Shapes(), 0.3);
      for (auto& [shape, weight] : expression.shapes) weight = numbers.Weight();
    }
    ExpressionWeights by_name;
    std::vector<double> weights;
    for (const Character::Expression& expression : character.expressions) {
      weights.push_back(0 + numbers.Weight()); // as the solver adds up what is asked for: never -0.0
      by_name.emplace_back(expression.name, weights.back());
    }
    std::vector<VFaceTemplateState> frames(3);
    for (VFaceTemplateState& templates : frames)
      for (VFacePartTemplateState& part : templates.mParts)
        for (double& weight : part.mWeights) weight = numbers.Weight();

    CharacterSolver solver(character, by_name);
    tests::GlobalFaceSolve by_global_face(character, weights);
    for (std::size_t f = 0; f < frames.size(); ++f)
      EXPECT_TRUE(tests::SameBits(solver.Solve(frames[f]).mWeights, by_global_face.Solve(frames[f])))
          << "seed " << seed << " frame " << f;
  }
}

TEST(CharacterSolver, LeavesTheProcessWideFaceAlone) {
  ASSERT_EQ(CatalogueSize(), 0);
  CharacterSolver solver(WithExpressions(), {{"Shapes", 1}});
  solver.Solve(Open(1));
  EXPECT_EQ(CatalogueSize(), 0);
}

TEST(CharacterSolver, KnowsNothingOfTheProcessWideFacesExpressions) {
  tests::CatalogueOnLoan catalogue;
  catalogue.Add().mParts[kMouth].mWeights[kOpen] = 100;
  VFaceExpression* const somebody_elses = GetGlobalFace()->mExpressions[0];
  mien::CopyBounded(somebody_elses->mName, "Templates"); // as one of the character's is called
  {
    CharacterSolver solver(WithExpressions(), {{"Templates", 0.5}});
    EXPECT_EQ(solver.Solve(Open(0.25)).mWeights[0][0], 1.25);
    EXPECT_THROW(CharacterSolver(Read(kParts, kTemplates), {{"Templates", 1}}), mien::InputError);
  }
  ASSERT_EQ(CatalogueSize(), 1);
  EXPECT_EQ(GetGlobalFace()->mExpressions[0], somebody_elses);
  EXPECT_STREQ(somebody_elses->mName, "Templates");
  EXPECT_EQ(somebody_elses->mTemplateState.mParts[kMouth].mWeights[kOpen], 100);
}

TEST(CharacterSolver, ThatCannotBeMadeLeavesTheOthers) {
  CharacterSolver solver(WithExpressions(), {{"Templates", 1}});
  EXPECT_THROW(CharacterSolver(WithExpressions(), {{"Nobody", 1}}), mien::InputError);
  Character inconsistent = WithExpressions(); // as no file gives it
  inconsistent.templates[kMouth][kOpen] = {{"nobody's shape", 1}};
  EXPECT_ANY_THROW(CharacterSolver{inconsistent});
  EXPECT_EQ(solver.Solve({}).mWeights[0][0], 2);
}

/// What the solver makes of 40 invented frames: the weights of some shapes, and the clusters.
std::vector<double> Film(CharacterSolver& solver) {
  Invented invented(1);
  std::vector<double> film;
  for (int frame = 0; frame < 40; ++frame) {
    const VCharacterFaceState& state = solver.Solve(invented.Templates());
    for (const auto& row : state.mWeights) film.insert(film.end(), row, row + 9);
    for (const VCharacterFaceClusterSetState& set : state.mClusters)
      for (int c = 0; c < set.mClusters.GetCount(); ++c)
        for (const auto& column : set.mClusters[c]->mGlobalR.m) film.insert(film.end(), column, column + 3);
  }
  return film;
}

TEST(CharacterSolver, OthersOnOtherThreadsMakeNoDifference) {
  std::vector<Character> characters;
  std::vector<ExpressionWeights> expressions;
  std::vector<std::vector<double>> alone;
  for (std::uint64_t seed = 0; seed < 6; ++seed) {
    Invented invented(seed + 100);
    characters.push_back(invented.AnyCharacter());
    expressions.emplace_back();
    for (const Character::Expression& expression : characters.back().expressions)
      expressions.back().emplace_back(expression.name, invented.Weight());
    CharacterSolver solver(characters.back(), expressions.back());
    alone.push_back(Film(solver));
  }

  // All at once.
  std::vector<std::unique_ptr<CharacterSolver>> solvers;
  for (std::size_t i = 0; i < characters.size(); ++i)
    solvers.push_back(std::make_unique<CharacterSolver>(characters[i], expressions[i]));
  for (std::size_t i = solvers.size(); i-- > 0;) EXPECT_EQ(Film(*solvers[i]), alone[i]) << i;

  // And two threads, each of which makes and uses all of them.
  std::vector<std::vector<double>> films[2];
  const auto film_all = [&](std::vector<std::vector<double>>& of_thread) {
    for (std::size_t i = 0; i < characters.size(); ++i) {
      CharacterSolver solver(characters[i], expressions[i]);
      of_thread.push_back(Film(solver));
    }
  };
  std::thread other([&] { film_all(films[1]); });
  film_all(films[0]);
  other.join();
  EXPECT_EQ(films[0], alone);
  EXPECT_EQ(films[1], alone);
}
