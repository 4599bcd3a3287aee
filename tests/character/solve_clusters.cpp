#include "mien/character/character_face.h"
#include "tests/base/rotations.h"
#include "tests/character/characters.h"
#include "tests/character/same_cluster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <numbers>

using namespace tests;

namespace {

/// A character with one cluster part, and a set with the same number of clusters for its result.
struct Rig {
  Rig(int shapes, int clusters) : part(AddClusterPart(character, shapes, clusters)), set(clusters) {}

  VCharacterFaceClusterState& Rest(int cluster = 0) { return *part.mRestClusters.mClusters[cluster]; }
  VCharacterFaceClusterState& Target(int shape, int cluster = 0) {
    return *part.mShapeClusters[shape]->mClusters[cluster];
  }
  VCharacterFaceClusterState& Out(int cluster = 0) { return *set.mClusters[cluster]; }
  void Solve() { character.Character2ClusterSolve(&set, state, 0); }

  VCharacterFace character;
  VCharacterFacePartCluster& part;
  VCharacterFaceClusterSetState set;
  VCharacterFaceState state;
};

/// A value that a solve would not write by accident.
void Spoil(VCharacterFaceClusterState& cluster) {
  cluster.mLocalT = cluster.mGlobalT = {91, 92, 93, 94};
  cluster.mLocalS = cluster.mGlobalS = VgeSVector(95, 96, 97);
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row)
      cluster.mLocalR.m[column][row] = cluster.mGlobalR.m[column][row] = 100 + 4 * column + row;
}

void ExpectSpoiled(const VCharacterFaceClusterState& cluster) {
  VCharacterFaceClusterState spoiled;
  Spoil(spoiled);
  ExpectSame(cluster, spoiled);
}

VgeTVector RandomPoint(Random& random, double range) {
  const double x = random.Between(-range, range), y = random.Between(-range, range),
               z = random.Between(-range, range);
  return {x, y, z};
}

VgeSVector RandomScaling(Random& random) {
  const double x = random.Between(0.5, 2), y = random.Between(0.5, 2), z = random.Between(0.5, 2);
  return {x, y, z};
}

/// A rotation by angles about x, y and z, applied in this order; the middle one is at most `most_y`.
VgeRMatrix RandomRotation(Random& random, double most, double most_y) {
  const VgeRMatrix x = AxisRotation(0, random.Between(-most, most)),
                   y = AxisRotation(1, random.Between(-most_y, most_y)),
                   z = AxisRotation(2, random.Between(-most, most));
  return Product(z, Product(y, x));
}

void Pose(VCharacterFaceClusterState& cluster, Random& random) {
  cluster.mLocalT = RandomPoint(random, 10);
  cluster.mLocalR = RandomRotation(random, 180, 90);
  cluster.mLocalS = RandomScaling(random);
}

VgeRMatrix Transposed(const VgeRMatrix& rotation) {
  VgeRMatrix transposed;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) transposed.m[column][row] = rotation.m[row][column];
  return transposed;
}

// --- A second implementation of the solve, as it is defined, with its own conversions.

VCharacterFaceClusterState PlainBlend(Rig& rig, int cluster) {
  const VCharacterFaceClusterState& rest = rig.Rest(cluster);
  double translation[3] = {}, degrees[3] = {}, logarithms[3] = {};
  for (int s = 0; s < rig.part.mShapes.GetCount(); ++s) {
    if (!rig.part.mShapes[s]->mDrivesClusters) continue;
    const double w = rig.state.mWeights[0][s];
    const VCharacterFaceClusterState& target = rig.Target(s, cluster);
    translation[0] += w * (target.mLocalT.x - rest.mLocalT.x);
    translation[1] += w * (target.mLocalT.y - rest.mLocalT.y);
    translation[2] += w * (target.mLocalT.z - rest.mLocalT.z);
    // R = Rz * Ry * Rx: its first column is (cz cy, sz cy, -sy), its last row (-sy, cy sx, cy cx)
    const VgeRMatrix d = Product(Transposed(rest.mLocalR), target.mLocalR);
    const double per_radian = 180 / std::numbers::pi;
    degrees[0] += w * per_radian * std::atan2(d.m[1][2], d.m[2][2]);
    degrees[1] += w * per_radian * std::asin(-d.m[0][2]);
    degrees[2] += w * per_radian * std::atan2(d.m[0][1], d.m[0][0]);
    logarithms[0] += w * std::log(target.mLocalS.x / rest.mLocalS.x);
    logarithms[1] += w * std::log(target.mLocalS.y / rest.mLocalS.y);
    logarithms[2] += w * std::log(target.mLocalS.z / rest.mLocalS.z);
  }
  VCharacterFaceClusterState out;
  out.mLocalT = {translation[0] + rest.mLocalT.x, translation[1] + rest.mLocalT.y,
                 translation[2] + rest.mLocalT.z};
  out.mLocalR =
      Product(rest.mLocalR, Product(AxisRotation(2, degrees[2]),
                                    Product(AxisRotation(1, degrees[1]), AxisRotation(0, degrees[0]))));
  out.mLocalS = VgeSVector(std::exp(logarithms[0]) * rest.mLocalS.x, std::exp(logarithms[1]) * rest.mLocalS.y,
                           std::exp(logarithms[2]) * rest.mLocalS.z);
  const VCharacterFaceClusterState& root = rig.set.mRoot;
  const double scaled[3] = {out.mLocalT.x * root.mGlobalS.x, out.mLocalT.y * root.mGlobalS.y,
                            out.mLocalT.z * root.mGlobalS.z};
  double moved[3] = {root.mGlobalT.x, root.mGlobalT.y, root.mGlobalT.z};
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) moved[row] += root.mGlobalR.m[column][row] * scaled[column];
  out.mGlobalT = {moved[0], moved[1], moved[2]};
  out.mGlobalR = Product(root.mGlobalR, out.mLocalR);
  out.mGlobalS = VgeSVector(out.mLocalS.x * root.mGlobalS.x, out.mLocalS.y * root.mGlobalS.y,
                            out.mLocalS.z * root.mGlobalS.z);
  return out;
}

void ExpectNear(const VgeTVector& actual, const VgeTVector& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void ExpectNear(const VgeSVector& actual, const VgeSVector& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

} // namespace

TEST(ClusterSolve, APartThatIsNotEnabledLeavesItsSetUnchanged) {
  Rig rig(2, 2);
  Random random(1);
  for (int c = 0; c < 2; ++c) Pose(rig.Target(0, c), random), Spoil(rig.Out(c));
  rig.state.mWeights[0][0] = 1;
  rig.part.mClusterSolveEnabled = false;
  rig.Solve();
  for (int c = 0; c < 2; ++c) ExpectSpoiled(rig.Out(c));
  rig.character.Character2ClusterSolve(&rig.set, rig.state);
  for (int c = 0; c < 2; ++c) ExpectSpoiled(rig.Out(c));
}

TEST(ClusterSolve, AllWeightsZeroGiveTheRestPoseExactly) {
  Rig rig(3, 2);
  Random random(2);
  for (int c = 0; c < 2; ++c) {
    Pose(rig.Rest(c), random);
    for (int s = 0; s < 3; ++s) Pose(rig.Target(s, c), random);
    Spoil(rig.Out(c));
  }
  rig.set.mRoot.mGlobalT = {100, 200, 300};
  rig.set.mRoot.mGlobalR = AxisRotation(2, 1.0, 0.0); // x to y
  rig.set.mRoot.mGlobalS = VgeSVector(2, 4, 8);
  rig.Solve();
  for (int c = 0; c < 2; ++c) {
    const VCharacterFaceClusterState &rest = rig.Rest(c), &out = rig.Out(c);
    EXPECT_EQ(out.mLocalT, (VgeTVector{rest.mLocalT.x, rest.mLocalT.y, rest.mLocalT.z, 94}));
    EXPECT_EQ(out.mLocalR, rest.mLocalR);
    EXPECT_EQ(out.mLocalS, rest.mLocalS);
    EXPECT_EQ(out.mGlobalT, (VgeTVector{-4 * rest.mLocalT.y + 100, 2 * rest.mLocalT.x + 200,
                                        8 * rest.mLocalT.z + 300, 94}));
    EXPECT_EQ(out.mGlobalS, VgeSVector(2 * rest.mLocalS.x, 4 * rest.mLocalS.y, 8 * rest.mLocalS.z));
    EXPECT_EQ(Distance(out.mGlobalR, Product(AxisRotation(2, 1.0, 0.0), rest.mLocalR)), 0);
  }
}

TEST(ClusterSolve, PartWithoutShapesGivesTheRestPose) {
  Rig rig(0, 1);
  Random random(3);
  Pose(rig.Rest(), random);
  rig.state.mWeights[0][0] = kNaN;
  rig.Solve();
  EXPECT_EQ(rig.Out().mLocalT, rig.Rest().mLocalT);
  EXPECT_EQ(rig.Out().mLocalR, rig.Rest().mLocalR);
  EXPECT_EQ(rig.Out().mLocalS, rig.Rest().mLocalS);
}

TEST(ClusterSolve, FullWeightReproducesTheTarget) {
  Random random(4);
  for (int round = 0; round < 200; ++round) {
    Rig rig(3, 2);
    for (int c = 0; c < 2; ++c) {
      Pose(rig.Rest(c), random);
      for (int s = 0; s < 3; ++s) Pose(rig.Target(s, c), random);
    }
    rig.state.mWeights[0][1] = 1;
    rig.Solve();
    for (int c = 0; c < 2; ++c) {
      const VCharacterFaceClusterState &target = rig.Target(1, c), &out = rig.Out(c);
      ExpectNear(out.mLocalT, target.mLocalT, 1e-14); // (t - r) + r: a rounding error of numbers of up to 20
      EXPECT_LT(Distance(out.mLocalR, target.mLocalR),
                2e-12);                               // the Euler round trip is exact to 1e-12
      ExpectNear(out.mLocalS, target.mLocalS, 4e-15); // a logarithm and an exponential
      EXPECT_EQ(out.mGlobalT, out.mLocalT);
      EXPECT_EQ(out.mGlobalR, out.mLocalR);
      EXPECT_EQ(out.mGlobalS, out.mLocalS);
    }
  }
}

TEST(ClusterSolve, TranslationsBlendLinearlyAroundRest) {
  Rig rig(2, 1);
  rig.Rest().mLocalT = {1, 2, 3};
  rig.Target(0).mLocalT = {3, 2, 3};
  rig.Target(1).mLocalT = {1, 6, 11};
  rig.state.mWeights[0][0] = 0.5, rig.state.mWeights[0][1] = -0.25;
  rig.Solve();
  EXPECT_EQ(rig.Out().mLocalT, (VgeTVector{2, 1, 1}));
  rig.state.mWeights[0][0] = 2, rig.state.mWeights[0][1] = 3;
  rig.Solve();
  EXPECT_EQ(rig.Out().mLocalT, (VgeTVector{5, 14, 27}));
}

TEST(ClusterSolve, TranslationsAreAddedInShapeOrderAndRestLast) {
  Rig rig(4, 1);
  rig.Rest().mLocalT = {0.5, 0, 0};
  const double values[] = {1e16, 1, -1e16, 1};
  for (int s = 0; s < 4; ++s) {
    rig.Target(s).mLocalT = {0.5, values[s], 0};
    rig.state.mWeights[0][s] = 1;
  }
  rig.Solve();
  EXPECT_EQ(rig.Out().mLocalT, (VgeTVector{0.5, 1, 0})); // any other order gives 0 or 2
}

TEST(ClusterSolve, HalfOf90DegreesIs45) {
  for (int axis = 0; axis < 3; ++axis) {
    Rig rig(1, 1);
    rig.Target(0).mLocalR = AxisRotation(axis, axis == 1 ? 60.0 : 90.0);
    rig.state.mWeights[0][0] = 0.5;
    rig.Solve();
    EXPECT_LT(Distance(rig.Out().mLocalR, AxisRotation(axis, axis == 1 ? 30.0 : 45.0)), 1e-14) << axis;
    rig.state.mWeights[0][0] = -1;
    rig.Solve();
    EXPECT_LT(Distance(rig.Out().mLocalR, AxisRotation(axis, axis == 1 ? -60.0 : -90.0)), 1e-14) << axis;
    rig.state.mWeights[0][0] = 3; // beyond the range of the angles of one matrix
    rig.Solve();
    EXPECT_LT(Distance(rig.Out().mLocalR, AxisRotation(axis, axis == 1 ? 180.0 : 270.0)), 1e-14) << axis;
  }
}

// The target's rotation is computed relative to rest, in the axes of rest, and applied after rest.
TEST(ClusterSolve, RotationsAreOffsetsInTheAxesOfRest) {
  Rig rig(1, 1);
  rig.Rest().mLocalR = AxisRotation(0, 1.0, 0.0); // 90 degrees about x
  rig.Target(0).mLocalR = Product(rig.Rest().mLocalR, AxisRotation(2, 40.0));
  rig.state.mWeights[0][0] = 0.5;
  rig.Solve();
  EXPECT_LT(Distance(rig.Out().mLocalR, Product(rig.Rest().mLocalR, AxisRotation(2, 20.0))), 1e-14);
}

// Euler angles are added, not rotations: x 30 and z 50 give z after x, whatever the order of the shapes.
TEST(ClusterSolve, AnglesOfSeveralShapesAreSummedAndAppliedXThenYThenZ) {
  const double angles[3] = {30, -20, 50};
  for (const auto& order : {std::array{0, 1, 2}, std::array{2, 1, 0}, std::array{1, 2, 0}}) {
    Rig rig(3, 1);
    for (int s = 0; s < 3; ++s) {
      const int axis = order[static_cast<std::size_t>(s)];
      rig.Target(s).mLocalR = AxisRotation(axis, angles[axis]);
      rig.state.mWeights[0][s] = 1;
    }
    rig.Solve();
    const VgeRMatrix expected =
        Product(AxisRotation(2, 50.0), Product(AxisRotation(1, -20.0), AxisRotation(0, 30.0)));
    EXPECT_LT(Distance(rig.Out().mLocalR, expected), 1e-14);
  }
}

TEST(ClusterSolve, ScalingsBlendGeometrically) {
  Rig rig(2, 1);
  rig.Rest().mLocalS = VgeSVector(1, 3, -2);
  rig.Target(0).mLocalS = VgeSVector(2, 12, -8);
  rig.Target(1).mLocalS = VgeSVector(1, 6, -2);
  const auto Expect = [&rig](double first, double second, const VgeSVector& expected) {
    rig.state.mWeights[0][0] = first, rig.state.mWeights[0][1] = second;
    rig.Solve();
    // a logarithm and an exponential, each to less than 1e-15 of numbers of up to 48
    ExpectNear(rig.Out().mLocalS, expected, 5e-14);
  };
  Expect(1, 0, {2, 12, -8});
  Expect(2, 0, {4, 48, -32}); // weight 2 of a doubling is a factor of four
  Expect(0.5, 0, {std::sqrt(2.0), 6, -4});
  Expect(-1, 0, {0.5, 0.75, -0.5});
  Expect(0.5, 1, {std::sqrt(2.0), 12, -4});
}

// A scaling of 0, or one that changes its sign, has no logarithm. The result is not checked.
TEST(ClusterSolve, ScalingsWithoutALogarithmPropagateUnchecked) {
  Rig rig(1, 1);
  rig.Rest().mLocalS = VgeSVector(1, 0, 1);
  rig.Target(0).mLocalS = VgeSVector(0, 1, -1);
  rig.state.mWeights[0][0] = 1;
  rig.Solve();
  EXPECT_EQ(rig.Out().mLocalS.x, 0);            // exp(-infinity)
  EXPECT_TRUE(std::isnan(rig.Out().mLocalS.y)); // infinity times 0
  EXPECT_TRUE(std::isnan(rig.Out().mLocalS.z));
  EXPECT_EQ(rig.Out().mLocalT, VgeTVector());
  rig.state.mWeights[0][0] = -1;
  rig.Solve();
  EXPECT_EQ(rig.Out().mLocalS.x, kInfinity);
  EXPECT_EQ(rig.Out().mGlobalS.x, kInfinity);
  rig.state.mWeights[0][0] = 0; // still included
  rig.Solve();
  EXPECT_TRUE(std::isnan(rig.Out().mLocalS.x));
}

// 0 times infinity is NaN: such a shape is not left out, as others at weight 0 may be.
TEST(ClusterSolve, AShapeAtWeightZeroPassesOnANonFiniteOffset) {
  for (const double weight : {0.0, -0.0}) {
    const auto Solved = [weight](auto spoil) {
      Rig rig(1, 1);
      rig.state.mWeights[0][0] = weight;
      spoil(rig);
      rig.Solve();
      return rig.Out();
    };
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) { rig.Target(0).mLocalT.y = kInfinity; }).mLocalT.y));
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) {
                             rig.Target(0).mLocalT.z = 1.7e308;
                             rig.Rest().mLocalT.z = -1.7e308; // finite, but not their difference
                           }).mLocalT.z));
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) { rig.Target(0).mLocalR.m[1][0] = kNaN; }).mLocalR.m[0][0]));
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) { rig.Target(0).mLocalS.x = 0; }).mLocalS.x));
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) {
                             rig.Target(0).mLocalS.z = 1e300;
                             rig.Rest().mLocalS.z = 1e-300; // likewise their ratio
                           }).mLocalS.z));
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) { rig.Rest().mLocalT.x = kInfinity; }).mLocalT.x));
    EXPECT_TRUE(std::isnan(Solved([](Rig& rig) { rig.Rest().mLocalS.y = 0; }).mLocalS.y));
    EXPECT_TRUE(
        std::isnan(Solved([](Rig& rig) { rig.Target(0).mLocalS.x = -1; }).mLocalS.x)); // its logarithm
    const auto overflows = [](Rig& rig) {
      for (VgeRMatrix* rotation : {&rig.Rest().mLocalR, &rig.Target(0).mLocalR})
        for (auto& column : rotation->m) std::fill(std::begin(column), std::end(column), 1e160);
    };
    EXPECT_TRUE(std::isnan(Solved(overflows).mLocalR.m[0][0])); // their product
    const auto overflows_later = [](Rig& rig) {
      for (VgeRMatrix* rotation : {&rig.Rest().mLocalR, &rig.Target(0).mLocalR})
        for (auto& column : rotation->m) std::fill(std::begin(column), std::end(column), 1e90);
    };
    EXPECT_TRUE(std::isnan(Solved(overflows_later).mLocalR.m[0][0])); // products of its elements
  }
}

// Leaving shapes out does not change the bits of the others.
TEST(ClusterSolve, ShapesAtWeightZeroDoNotChangeTheBits) {
  Random random(11);
  for (int round = 0; round < 50; ++round) {
    Rig some(6, 2), all(6, 2);
    for (int s = 0; s < 6; ++s) {
      for (int c = 0; c < 2; ++c) {
        Pose(some.Target(s, c), random);
        all.Target(s, c) = some.Target(s, c);
      }
      const double weight = s % 2 ? 0.4 * s - 1 : round % 2 ? 0.0 : -0.0;
      some.state.mWeights[0][s] = all.state.mWeights[0][s] = weight;
      all.part.mShapes[s]->mDrivesClusters = true;
      some.part.mShapes[s]->mDrivesClusters = weight != 0;
    }
    for (int c = 0; c < 2; ++c) {
      Pose(some.Rest(c), random);
      all.Rest(c) = some.Rest(c);
    }
    some.Solve();
    all.Solve();
    for (int c = 0; c < 2; ++c) {
      EXPECT_EQ(std::memcmp(&some.Out(c).mLocalT, &all.Out(c).mLocalT, sizeof(VgeTVector)), 0);
      EXPECT_EQ(std::memcmp(&some.Out(c).mLocalR, &all.Out(c).mLocalR, sizeof(VgeRMatrix)), 0);
      EXPECT_EQ(std::memcmp(&some.Out(c).mLocalS, &all.Out(c).mLocalS, sizeof(VgeSVector)), 0);
    }
  }
}

TEST(ClusterSolve, ShapesThatDriveNoClustersContributeNothing) {
  Rig rig(3, 1);
  Random random(5);
  Pose(rig.Rest(), random);
  for (int s = 0; s < 3; ++s) Pose(rig.Target(s), random);
  rig.part.mShapes[0]->mDrivesClusters = rig.part.mShapes[2]->mDrivesClusters = false;
  rig.state.mWeights[0][0] = kNaN;
  rig.state.mWeights[0][1] = 0.5;
  rig.state.mWeights[0][2] = 1;
  rig.Target(2).mLocalS = VgeSVector(0, 0, 0);
  rig.Solve();
  const VCharacterFaceClusterState expected = PlainBlend(rig, 0);
  ExpectNear(rig.Out().mLocalT, expected.mLocalT, 1e-12);
  EXPECT_LT(Distance(rig.Out().mLocalR, expected.mLocalR), 1e-12);
  ExpectNear(rig.Out().mLocalS, expected.mLocalS, 1e-12);
}

TEST(ClusterSolve, WeightsAreThoseOfThePartsRow) {
  VCharacterFace character;
  AddPart(character, 3);
  VCharacterFacePartCluster& part = AddClusterPart(character, 2, 1);
  part.mShapeClusters[1]->mClusters[0]->mLocalT = {4, 0, 0};
  VCharacterFaceState state;
  FillWeights(state, kNaN);
  state.mWeights[1][0] = 0, state.mWeights[1][1] = 0.5;
  VCharacterFaceClusterSetState set(1);
  character.Character2ClusterSolve(&set, state, 1);
  EXPECT_EQ(set.mClusters[0]->mLocalT, (VgeTVector{2, 0, 0}));
}

TEST(ClusterSolve, TheSetDeterminesHowManyClustersAreSolved) {
  Rig rig(1, 3);
  for (int c = 0; c < 3; ++c) rig.Target(0, c).mLocalT = {1.0 + c, 0, 0};
  rig.state.mWeights[0][0] = 1;
  VCharacterFaceClusterSetState two(2), none(0);
  none.mRoot.mGlobalT = {1, 2, 3};
  rig.character.Character2ClusterSolve(&two, rig.state, 0);
  EXPECT_EQ(two.mClusters[0]->mGlobalT, (VgeTVector{1, 0, 0}));
  EXPECT_EQ(two.mClusters[1]->mGlobalT, (VgeTVector{2, 0, 0}));
  rig.character.Character2ClusterSolve(&none, rig.state, 0);
  EXPECT_EQ(none.mClusters.GetCount(), 0);
  EXPECT_EQ(none.mRoot.mGlobalT, (VgeTVector{1, 2, 3}));
}

TEST(ClusterSolve, RestPosesShapePosesAndRootAreOnlyRead) {
  Rig rig(2, 2);
  Random random(6);
  for (int c = 0; c < 2; ++c) {
    Pose(rig.Rest(c), random);
    for (int s = 0; s < 2; ++s) Pose(rig.Target(s, c), random);
  }
  Pose(rig.set.mRoot, random);
  // The solve reads neither the roots nor the global transforms of the definitions.
  rig.part.mRestClusters.mRoot.mGlobalT.x = rig.part.mShapeClusters[0]->mRoot.mGlobalS.y = kNaN;
  rig.Rest().mGlobalT.x = rig.Target(0).mGlobalR.m[1][1] = rig.Target(0).mGlobalS.z = kNaN;
  VCharacterFaceClusterState rest, target, root;
  rest = rig.Rest(1), target = rig.Target(1, 1), root = rig.set.mRoot;
  rig.state.mWeights[0][0] = 0.5, rig.state.mWeights[0][1] = 0.25;
  rig.Solve();
  ExpectSame(rig.Rest(1), rest);
  ExpectSame(rig.Target(1, 1), target);
  ExpectSame(rig.set.mRoot, root);
  for (int c = 0; c < 2; ++c) {
    EXPECT_TRUE(std::isfinite(rig.Out(c).mGlobalT.x));
    EXPECT_TRUE(std::isfinite(rig.Out(c).mGlobalS.y + rig.Out(c).mGlobalS.z));
    EXPECT_TRUE(std::isfinite(rig.Out(c).mGlobalR.m[1][1]));
  }
}

// Several shapes, clusters and weights beyond [0, 1], with roots that rotate, scale and translate.
TEST(ClusterSolve, AgreesWithItsDefinition) {
  Random random(7);
  for (int round = 0; round < 300; ++round) {
    const int shapes = 1 + round % 8;
    Rig rig(shapes, 3);
    Pose(rig.set.mRoot, random);
    rig.set.mRoot.mGlobalT = RandomPoint(random, 10);
    rig.set.mRoot.mGlobalR = RandomRotation(random, 180, 90);
    rig.set.mRoot.mGlobalS = RandomScaling(random);
    for (int c = 0; c < 3; ++c) {
      Pose(rig.Rest(c), random);
      Spoil(rig.Out(c));
      for (int s = 0; s < shapes; ++s) {
        VCharacterFaceClusterState& target = rig.Target(s, c);
        Pose(target, random);
        // If the middle angle is near its pole or an outer one near the step from 180 to -180, two correct
        // conversions may give different results.
        target.mLocalR = Product(rig.Rest(c).mLocalR, RandomRotation(random, 170, 80));
        if (s % 4 == 3) rig.part.mShapes[s]->mDrivesClusters = false;
      }
    }
    for (int frame = 0; frame < 4; ++frame) {
      for (int s = 0; s < shapes; ++s) rig.state.mWeights[0][s] = random.Between(-0.5, 1.5);
      rig.Solve();
      for (int c = 0; c < 3; ++c) {
        const VCharacterFaceClusterState expected = PlainBlend(rig, c);
        const VCharacterFaceClusterState& out = rig.Out(c);
        // Some dozens of rounding errors of numbers below 500: positions of up to 200, angles of up to 1000
        // degrees.
        ExpectNear(out.mLocalT, expected.mLocalT, 1e-12);
        ExpectNear(out.mGlobalT, expected.mGlobalT, 1e-12);
        EXPECT_LT(Distance(out.mLocalR, expected.mLocalR), 1e-12);
        EXPECT_LT(Distance(out.mGlobalR, expected.mGlobalR), 1e-12);
        EXPECT_NEAR(out.mLocalS.x / expected.mLocalS.x, 1, 1e-12);
        EXPECT_NEAR(out.mLocalS.y / expected.mLocalS.y, 1, 1e-12);
        EXPECT_NEAR(out.mLocalS.z / expected.mLocalS.z, 1, 1e-12);
        EXPECT_NEAR(out.mGlobalS.x / expected.mGlobalS.x, 1, 1e-12);
        EXPECT_NEAR(out.mGlobalS.y / expected.mGlobalS.y, 1, 1e-12);
        EXPECT_NEAR(out.mGlobalS.z / expected.mGlobalS.z, 1, 1e-12);
        for (int i = 0; i < 4; ++i) { // the local one starts from the identity, the global one is unchanged
          EXPECT_EQ(out.mLocalR.m[i][3], i == 3 ? 1 : 0);
          EXPECT_EQ(out.mLocalR.m[3][i], i == 3 ? 1 : 0);
          EXPECT_EQ(out.mGlobalR.m[i][3], 100 + 4 * i + 3);
          EXPECT_EQ(out.mGlobalR.m[3][i], 100 + 4 * 3 + i);
        }
        EXPECT_EQ(out.mLocalT.w, 94);
        EXPECT_EQ(out.mGlobalT.w, 94);
      }
    }
  }
}

// --- All parts

TEST(ClusterSolveOfAllParts, SolvesTheClusterPartsIntoTheirOwnSetsAndLeavesTheOthers) {
  VCharacterFace character;
  AddPart(character, 1);
  AddClusterPart(character, 1, 1).mShapeClusters[0]->mClusters[0]->mLocalT = {1, 0, 0};
  AddPart(character, 1);
  AddClusterPart(character, 1, 1).mClusterSolveEnabled = false;
  AddClusterPart(character, 1, 1).mShapeClusters[0]->mClusters[0]->mLocalT = {2, 0, 0};
  // Usually these are the state's own sets.
  VCharacterFaceState state;
  for (int p = 0; p < 15; ++p) {
    state.mWeights[p][0] = 1 + p;
    state.mClusters[p].mClusters.Add(new VCharacterFaceClusterState);
    Spoil(*state.mClusters[p].mClusters[0]);
  }
  character.Character2ClusterSolve(state.mClusters, state);
  for (int p = 0; p < 15; ++p) {
    const VCharacterFaceClusterState& cluster = *state.mClusters[p].mClusters[0];
    if (p == 1)
      EXPECT_EQ(cluster.mGlobalT.x, 2);
    else if (p == 4)
      EXPECT_EQ(cluster.mGlobalT.x, 10);
    else
      ExpectSpoiled(cluster);
    EXPECT_EQ(state.mWeights[p][0], 1 + p);
  }
}

// For a single part the caller decides; for all parts the type decides.
TEST(ClusterSolveOfAllParts, TheTypeOnlyMattersForAllParts) {
  Rig rig(1, 1);
  rig.Target(0).mLocalT = {1, 0, 0};
  rig.state.mWeights[0][0] = 1;
  for (const int type : {0, 2, -1}) {
    rig.part.mPartType = type;
    Spoil(rig.Out());
    rig.character.Character2ClusterSolve(&rig.set, rig.state);
    ExpectSpoiled(rig.Out());
    rig.Solve();
    EXPECT_EQ(rig.Out().mGlobalT.x, 1);
  }
}

TEST(ClusterSolveOfAllParts, ACharacterWithoutPartsChangesNothing) {
  const VCharacterFace character;
  VCharacterFaceClusterSetState set(1);
  Spoil(*set.mClusters[0]);
  character.Character2ClusterSolve(&set, VCharacterFaceState());
  ExpectSpoiled(*set.mClusters[0]);
}
