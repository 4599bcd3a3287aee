#include "mien/character/baked_clusters.h"

#include "mien/character/baked_part.h"
#include "mien/character/character_face.h"
#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

using namespace tests;
using mien::BakedClusters;
using mien::detail::BakedPart, mien::detail::BlendClusters, mien::detail::ClusterBlend,
    mien::detail::ClusterBlends;

namespace {

VgeTVector Point(HardNumbers& numbers, double range) {
  const auto number = [&] { return numbers.Between(-range, range); };
  const double x = number(), y = number(), z = number();
  return {x, y, z};
}

/// Any rotation, also at a pole; and, as often as `numbers` has special values, not even a rotation.
void Pose(VCharacterFaceClusterState& cluster, HardNumbers& numbers, bool hard) {
  cluster.mLocalT = Point(numbers, 10);
  VTxRotationOrder().V2M(cluster.mLocalR, Point(numbers, 180));
  if (numbers.Below(8) == 0)
    VTxRotationOrder().V2M(cluster.mLocalR, VgeRVector(0, 90, numbers.Between(-9, 9)));
  cluster.mLocalS = {numbers.Between(0.5, 2), numbers.Between(0.5, 2), numbers.Between(0.5, 2)};
  if (!hard || numbers.Below(4) > 0) return;
  double* const spoiled[] = {&cluster.mLocalT.x,       &cluster.mLocalT.z,       &cluster.mLocalR.m[0][0],
                             &cluster.mLocalR.m[1][2], &cluster.mLocalR.m[2][0], &cluster.mLocalS.x,
                             &cluster.mLocalS.y,       &cluster.mLocalS.z};
  *spoiled[numbers.Below(8)] = numbers.Weight() * (numbers.Below(3) == 0 ? 1e200 : 1);
}

/// A part with some shapes that drive clusters and some that do not, and sets for its results with roots.
struct Rig {
  Rig(int shapes, int clusters, HardNumbers& numbers, bool hard)
      : part(AddClusterPart(character, shapes, clusters)) {
    for (int c = 0; c < clusters; ++c) Pose(*part.mRestClusters.mClusters[c], numbers, hard);
    for (int s = 0; s < shapes; ++s) {
      part.mShapes[s]->mDrivesClusters = numbers.Below(4) > 0;
      for (int c = 0; c < clusters; ++c) Pose(*part.mShapeClusters[s]->mClusters[c], numbers, hard);
    }
    Pose(root, numbers, hard);
  }

  std::unique_ptr<VCharacterFaceClusterSetState> Set(int clusters) const {
    auto set = std::make_unique<VCharacterFaceClusterSetState>(clusters);
    set->mRoot.mGlobalT = root.mLocalT, set->mRoot.mGlobalR = root.mLocalR,
    set->mRoot.mGlobalS = root.mLocalS;
    for (int c = 0; c < clusters; ++c) { // what a solve leaves unchanged
      set->mClusters[c]->mLocalT.w = 3, set->mClusters[c]->mGlobalT.w = 4;
      set->mClusters[c]->mLocalR.m[3][1] = set->mClusters[c]->mGlobalR.m[3][1] = 5;
      set->mClusters[c]->mGlobalR.m[0][3] = 6;
    }
    return set;
  }

  VCharacterFace character;
  VCharacterFacePartCluster& part;
  VCharacterFaceClusterState root;
  VCharacterFaceState state;
};

testing::AssertionResult SameSets(const VCharacterFaceClusterSetState& actual,
                                  const VCharacterFaceClusterSetState& expected) {
  if (actual.mClusters.GetCount() != expected.mClusters.GetCount()) return testing::AssertionFailure();
  for (int c = 0; c < actual.mClusters.GetCount(); ++c) {
    const auto numbers = [c](const VCharacterFaceClusterSetState& set) {
      const VCharacterFaceClusterState& x = *set.mClusters[c];
      std::vector<double> all = {x.mLocalT.x,  x.mLocalT.y,  x.mLocalT.z,  x.mLocalT.w,  x.mLocalS.x,
                                 x.mLocalS.y,  x.mLocalS.z,  x.mGlobalT.x, x.mGlobalT.y, x.mGlobalT.z,
                                 x.mGlobalT.w, x.mGlobalS.x, x.mGlobalS.y, x.mGlobalS.z};
      for (const VgeRMatrix* rotation : {&x.mLocalR, &x.mGlobalR})
        for (const auto& column : rotation->m) all.insert(all.end(), column, column + 4);
      return all;
    };
    const std::vector<double> a = numbers(actual), b = numbers(expected);
    for (std::size_t i = 0; i < a.size(); ++i)
      if (!SameBits(a[i], b[i]))
        return testing::AssertionFailure()
               << "cluster " << c << ", number " << i << ": " << a[i] << " instead of " << b[i];
  }
  return testing::AssertionSuccess();
}

/// Every variant gives the bits of Character2ClusterSolve, for sets with all of the clusters and with fewer.
void ExpectTheSame(Rig& rig, int clusters) {
  const BakedPart part(rig.part);
  const BakedClusters baked(rig.character);
  for (const int count : {clusters, clusters / 2}) {
    const auto expected = rig.Set(count), by_class = rig.Set(count);
    rig.character.Character2ClusterSolve(expected.get(), rig.state, 0);
    for (std::size_t i = 0; i < ClusterBlends().size(); ++i) {
      const auto set = rig.Set(count);
      ClusterBlends()[i](part, *set, rig.state.mWeights[0]);
      ASSERT_TRUE(SameSets(*set, *expected)) << "blend " << i << ", " << count << " clusters";
    }
    baked.Solve(by_class.get(), rig.state);
    ASSERT_TRUE(SameSets(*by_class, *expected)) << count << " clusters";
  }
}

} // namespace

TEST(BakedClusters, HaveAVariantForEveryWidthOfThisProcessor) {
#if defined(__x86_64__)
  EXPECT_EQ(ClusterBlends().size(),
            2U + (__builtin_cpu_supports("avx2") ? 1 : 0) + (__builtin_cpu_supports("avx512f") ? 1 : 0));
#else
  EXPECT_GE(ClusterBlends().size(), 1U);
#endif
}

TEST(BakedClusters, EveryWidthGivesTheBitsOfCharacter2ClusterSolve) {
  HardNumbers numbers(51, 0);
  for (int clusters = 0; clusters <= 20; ++clusters)
    for (const int shapes : {0, 1, 7, 20}) {
      Rig rig(shapes, clusters, numbers, false);
      for (int frame = 0; frame < 3; ++frame) {
        for (int s = 0; s < shapes; ++s)
          rig.state.mWeights[0][s] =
              numbers.Below(3) == 0 ? (s % 2 == 0 ? 0.0 : -0.0) : numbers.Between(-2, 3);
        ExpectTheSame(rig, clusters);
      }
    }
}

// Infinities, NaNs, zeros, negative scalings and overflows: in the weights, in the rest pose, in the poses of shapes
// at weight 0, and in the root.
TEST(BakedClusters, EveryWidthGivesTheSameBitsForHardNumbers) {
  HardNumbers numbers(52, 4);
  for (int round = 0; round < 400; ++round) {
    const int shapes = numbers.Below(9), clusters = numbers.Below(19);
    Rig rig(shapes, clusters, numbers, round % 2 == 0);
    for (int s = 0; s < shapes; ++s) {
      rig.state.mWeights[0][s] = numbers.Below(2) == 0 ? 0 : numbers.Weight();
      if (numbers.Below(20) == 0) rig.state.mWeights[0][s] *= 1e9; // angles of many turns
    }
    SCOPED_TRACE(round);
    ExpectTheSame(rig, clusters);
  }
}

// Part types, disabled parts, several cluster parts, and the rows of a state.
TEST(BakedClusters, SolveTheCharactersClusterPartsAlone) {
  HardNumbers numbers(53, 0);
  VCharacterFace character;
  AddPart(character, 3);
  for (int p = 1; p < 5; ++p) {
    VCharacterFacePartCluster& part = AddClusterPart(character, 4, 3);
    for (int c = 0; c < 3; ++c) {
      Pose(*part.mRestClusters.mClusters[c], numbers, false);
      for (int s = 0; s < 4; ++s) Pose(*part.mShapeClusters[s]->mClusters[c], numbers, false);
    }
  }
  auto& disabled = static_cast<VCharacterFacePartCluster&>(*character.mParts[2]);
  disabled.mClusterSolveEnabled = false;
  character.mParts[3]->mPartType = 0;
  VCharacterFaceState state;
  for (auto& row : state.mWeights)
    for (double& weight : row) weight = numbers.Between(0, 1);
  const BakedClusters baked(character);
  VCharacterFaceClusterSetState actual[5], expected[5], by_part[5];
  for (auto* const sets : {actual, expected, by_part})
    for (int p = 0; p < 5; ++p)
      for (int c = 0; c < 3; ++c) {
        sets[p].mClusters.Add(new VCharacterFaceClusterState);
        sets[p].mClusters[c]->mLocalT.x = 91;
      }
  character.Character2ClusterSolve(expected, state);
  baked.Solve(actual, state);
  for (int p = 0; p < 5; ++p) {
    EXPECT_TRUE(SameSets(actual[p], expected[p])) << p;
    EXPECT_EQ(actual[p].mClusters[0]->mLocalT.x == 91, p == 0 || p == 2 || p == 3) << p;
    baked.SolvePart(&by_part[p], state.mWeights[p], p);
    EXPECT_TRUE(SameSets(by_part[p], expected[p])) << p;
  }
}

// The set of a shape that drives no clusters may be empty, and a part without clusters may have no poses at all.
TEST(BakedClusters, ReadNoPoseThatDrivesNothing) {
  HardNumbers numbers(54, 0);
  Rig rig(3, 2, numbers, false);
  for (int s = 0; s < 3; ++s) rig.part.mShapes[s]->mDrivesClusters = s == 1;
  for (const int s : {0, 2}) {
    delete rig.part.mShapeClusters[s];
    rig.part.mShapeClusters[s] = new VCharacterFaceClusterSetState;
  }
  rig.state.mWeights[0][1] = 0.5;
  ExpectTheSame(rig, 2);

  Rig empty(2, 0, numbers, false);
  while (empty.part.mShapeClusters.GetCount() > 0) delete empty.part.mShapeClusters.RemoveLast();
  ExpectTheSame(empty, 0);
}

TEST(BakedClusters, KeepNothingOfTheCharacter) {
  HardNumbers numbers(55, 0);
  auto rig = std::make_unique<Rig>(6, 9, numbers, false);
  for (int s = 0; s < 6; ++s) rig->state.mWeights[0][s] = numbers.Between(0, 1);
  const std::vector<double> weights(rig->state.mWeights[0], rig->state.mWeights[0] + 6);
  const auto expected = rig->Set(9), actual = rig->Set(9);
  rig->character.Character2ClusterSolve(expected.get(), rig->state, 0);
  const BakedClusters baked(rig->character);
  rig.reset();
  baked.SolvePart(actual.get(), weights.data(), 0);
  EXPECT_TRUE(SameSets(*actual, *expected));
}

TEST(BakedClusters, TwoThreadsMayUseOne) {
  HardNumbers numbers(56, 0);
  Rig rig(10, 21, numbers, false);
  const BakedClusters baked(rig.character);
  const auto film = [&](double step, VCharacterFaceClusterSetState& set) {
    double weights[10];
    for (int frame = 0; frame < 300; ++frame) {
      for (int s = 0; s < 10; ++s) weights[s] = step * frame - 0.1 * s;
      baked.SolvePart(&set, weights, 0);
    }
  };
  const double steps[] = {0.003, -0.007};
  const auto first = rig.Set(21), second = rig.Set(21);
  std::thread other([&] { film(steps[1], *second); });
  film(steps[0], *first);
  other.join();
  for (const auto* const set : {&first, &second}) {
    const auto expected = rig.Set(21);
    for (int s = 0; s < 10; ++s) rig.state.mWeights[0][s] = steps[set == &first ? 0 : 1] * 299 - 0.1 * s;
    rig.character.Character2ClusterSolve(expected.get(), rig.state, 0);
    EXPECT_TRUE(SameSets(**set, *expected));
  }
}
