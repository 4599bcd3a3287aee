#include "mien/character/character_state.h"

#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

using namespace tests;

namespace {

/// Different weights everywhere, none of them 0.
void FillWithDistinctWeights(VCharacterFaceState& state, double offset) {
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s) state.mWeights[p][s] = offset + 1000 * p + s;
}

double DistinctWeight(double offset, int part, int shape) { return offset + 1000 * part + shape; }

/// One cluster under a root in the set of `part`, neither at the identity.
VCharacterFaceClusterState& AddPosedCluster(VCharacterFaceState& state, int part) {
  VCharacterFaceClusterSetState& set = state.mClusters[part];
  set.mRoot.mGlobalT = set.mRoot.mLocalT = {9, 8, 7};
  set.mClusters.Add(new VCharacterFaceClusterState);
  VCharacterFaceClusterState& cluster = *set.mClusters.GetLast();
  cluster.mLocalT = cluster.mGlobalT = {1, 2, 3};
  cluster.mLocalR.m[0][1] = cluster.mGlobalR.m[0][1] = 4;
  cluster.mLocalS = cluster.mGlobalS = VgeSVector(5, 6, 7);
  return cluster;
}

void ExpectPosed(const VCharacterFaceClusterState& cluster) {
  EXPECT_EQ(cluster.mLocalT, (VgeTVector{1, 2, 3}));
  EXPECT_EQ(cluster.mGlobalT, (VgeTVector{1, 2, 3}));
  EXPECT_EQ(cluster.mLocalR.m[0][1], 4);
  EXPECT_EQ(cluster.mGlobalR.m[0][1], 4);
  EXPECT_EQ(cluster.mLocalS, VgeSVector(5, 6, 7));
  EXPECT_EQ(cluster.mGlobalS, VgeSVector(5, 6, 7));
}

void ExpectIdentity(const VCharacterFaceClusterState& cluster) {
  EXPECT_EQ(cluster.mLocalT, (VgeTVector{0, 0, 0}));
  EXPECT_EQ(cluster.mGlobalT, (VgeTVector{0, 0, 0}));
  EXPECT_EQ(cluster.mLocalR, VgeRMatrix());
  EXPECT_EQ(cluster.mGlobalR, VgeRMatrix());
  EXPECT_EQ(cluster.mLocalS, VgeSVector(1, 1, 1));
  EXPECT_EQ(cluster.mGlobalS, VgeSVector(1, 1, 1));
}

} // namespace

TEST(CharacterState, HasFifteenPartsOfFiveHundredShapesInOneBlock) {
  EXPECT_TRUE((std::is_same_v<decltype(VCharacterFaceState::mWeights), double[15][500]>));
  EXPECT_EQ(std::extent_v<decltype(VCharacterFaceState::mClusters)>, 15U);
}

TEST(CharacterState, StartsClearAndWithoutClusters) {
  // In memory that is not zero, so that an uninitialised weight is detected.
  struct alignas(VCharacterFaceState) Memory {
    unsigned char bytes[sizeof(VCharacterFaceState)];
  };
  const auto memory = std::make_unique<Memory>();
  std::memset(memory->bytes, 0xa5, sizeof memory->bytes);
  auto* const state = new (memory->bytes) VCharacterFaceState();
  EXPECT_TRUE(state->IsClear());
  EXPECT_TRUE(SameBits(state->mWeights, Weights{})); // none is -0.0
  for (const VCharacterFaceClusterSetState& set : state->mClusters) EXPECT_EQ(set.mClusters.GetCount(), 0);
  state->~VCharacterFaceState();
}

TEST(CharacterState, LastWeightOfTheLastPartCounts) {
  VCharacterFaceState state;
  state.mWeights[14][499] = 5e-324;
  EXPECT_FALSE(state.IsClear());
  EXPECT_FALSE(state.IsClearPart(14));
  EXPECT_TRUE(state.IsClearPart(13));
}

TEST(CharacterState, AnyOneWeightMakesItsPartAndTheStateNotClear) {
  VCharacterFaceState state;
  for (int p = 0; p < 15; ++p)
    for (const int s : {0, 1, 250, 498, 499}) {
      state.mWeights[p][s] = -0.5;
      EXPECT_FALSE(state.IsClear());
      for (int other = 0; other < 15; ++other) EXPECT_EQ(state.IsClearPart(other), other != p);
      state.mWeights[p][s] = 0;
    }
  EXPECT_TRUE(state.IsClear());
}

TEST(CharacterState, NegativeZeroIsClearAndNaNIsNot) {
  VCharacterFaceState state;
  FillWeights(state, -0.0);
  EXPECT_TRUE(state.IsClear());
  EXPECT_TRUE(state.IsClearPart(7));
  state.mWeights[7][123] = kNaN;
  EXPECT_FALSE(state.IsClear());
  EXPECT_FALSE(state.IsClearPart(7));
}

TEST(CharacterState, ClustersDoNotAffectIsClear) {
  VCharacterFaceState state;
  AddPosedCluster(state, 3);
  EXPECT_TRUE(state.IsClear());
}

TEST(CharacterState, ClearResetsWeightsAndClustersAndLeavesRoots) {
  VCharacterFaceState state;
  FillWeights(state, kNaN);
  for (int p = 0; p < 15; ++p) AddPosedCluster(state, p), AddPosedCluster(state, p);
  state.Clear();
  EXPECT_TRUE(SameBits(state.mWeights, Weights{}));
  for (const VCharacterFaceClusterSetState& set : state.mClusters) {
    ASSERT_EQ(set.mClusters.GetCount(), 2);
    ExpectIdentity(*set.mClusters[0]);
    ExpectIdentity(*set.mClusters[1]);
    EXPECT_EQ(set.mRoot.mGlobalT, (VgeTVector{9, 8, 7}));
    EXPECT_EQ(set.mRoot.mLocalT, (VgeTVector{9, 8, 7}));
  }
}

TEST(CharacterState, ClearPartResetsOnlyThatPart) {
  VCharacterFaceState state;
  FillWithDistinctWeights(state, 1);
  for (int p = 0; p < 15; ++p) AddPosedCluster(state, p);
  state.ClearPart(4);
  for (int p = 0; p < 15; ++p) {
    for (int s = 0; s < 500; ++s)
      EXPECT_EQ(state.mWeights[p][s], p == 4 ? 0 : DistinctWeight(1, p, s))
          << "part " << p << ", shape " << s;
    p == 4 ? ExpectIdentity(*state.mClusters[p].mClusters[0]) : ExpectPosed(*state.mClusters[p].mClusters[0]);
  }
  EXPECT_EQ(state.mClusters[4].mRoot.mGlobalT, (VgeTVector{9, 8, 7}));
}

TEST(CharacterState, AddSumsAllWeightsAndLeavesClusters) {
  VCharacterFaceState state, other;
  FillWithDistinctWeights(state, 1);
  FillWithDistinctWeights(other, 0.5);
  const VCharacterFaceClusterState& cluster = AddPosedCluster(state, 2);
  state.Add(&other);
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s) {
      ASSERT_EQ(state.mWeights[p][s], 2 * DistinctWeight(0, p, s) + 1.5);
      ASSERT_EQ(other.mWeights[p][s], DistinctWeight(0.5, p, s));
    }
  ExpectPosed(cluster);
}

TEST(CharacterState, AddedToItselfDoublesEveryWeight) {
  VCharacterFaceState state;
  FillWithDistinctWeights(state, 0.25);
  state.Add(&state);
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s) ASSERT_EQ(state.mWeights[p][s], 2 * DistinctWeight(0.25, p, s));
}

TEST(CharacterState, AddKeepsNaNs) {
  VCharacterFaceState state, other;
  state.mWeights[0][0] = kNaN;
  other.mWeights[0][1] = kInfinity;
  state.mWeights[0][2] = other.mWeights[0][2] = -0.0;
  state.Add(&other);
  EXPECT_TRUE(std::isnan(state.mWeights[0][0]));
  EXPECT_EQ(state.mWeights[0][1], kInfinity);
  EXPECT_TRUE(SameBits(state.mWeights[0][2], -0.0));
}

TEST(CharacterState, AddPartSumsOnlyThatPart) {
  VCharacterFaceState state, other;
  FillWithDistinctWeights(state, 1);
  FillWeights(other, 0.5);
  const VCharacterFaceClusterState& cluster = AddPosedCluster(state, 6);
  state.AddPart(&other, 6);
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s) ASSERT_EQ(state.mWeights[p][s], DistinctWeight(p == 6 ? 1.5 : 1, p, s));
  ExpectPosed(cluster);
}

TEST(CharacterState, CopyCopiesWeightsAndLeavesClusters) {
  VCharacterFaceState state, other;
  FillWithDistinctWeights(other, 1);
  other.mWeights[3][3] = kNaN;
  const VCharacterFaceClusterState& cluster = AddPosedCluster(state, 5);
  AddPosedCluster(other, 8);
  state.Copy(&other);
  EXPECT_TRUE(SameBits(state.mWeights, other.mWeights));
  ExpectPosed(cluster);
  EXPECT_EQ(state.mClusters[8].mClusters.GetCount(), 0);
}

TEST(CharacterState, CopyPartCopiesOnlyThatPart) {
  VCharacterFaceState state, other;
  FillWithDistinctWeights(state, 1);
  FillWithDistinctWeights(other, 0.5);
  const VCharacterFaceClusterState& cluster = AddPosedCluster(state, 14);
  state.CopyPart(&other, 14);
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s) ASSERT_EQ(state.mWeights[p][s], DistinctWeight(p == 14 ? 0.5 : 1, p, s));
  ExpectPosed(cluster);
}

TEST(CharacterState, CopyPartCopiesOneRowToAnother) {
  VCharacterFaceState state, other;
  FillWithDistinctWeights(state, 1);
  FillWithDistinctWeights(other, 0.5);
  const VCharacterFaceClusterState& cluster = AddPosedCluster(state, 2);
  state.CopyPart(&other, 2, 5); // the destination comes first
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s)
      ASSERT_EQ(state.mWeights[p][s], p == 2 ? DistinctWeight(0.5, 5, s) : DistinctWeight(1, p, s));
  ExpectPosed(cluster);
}

TEST(CharacterState, CopyPartCopiesBetweenRowsOfOneState) {
  VCharacterFaceState state;
  FillWithDistinctWeights(state, 1);
  state.CopyPart(&state, 2, 5);
  state.CopyPart(&state, 3);
  state.Copy(&state);
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s) ASSERT_EQ(state.mWeights[p][s], DistinctWeight(1, p == 2 ? 5 : p, s));
}

// A copy shares the clusters of its source, and so does a move, because there is no move constructor.
TEST(CharacterState, CopiesAndMovesHaveWeightsRootsAndTheSameClusters) {
  VCharacterFaceState source;
  FillWithDistinctWeights(source, 1);
  for (int p = 0; p < 15; ++p) AddPosedCluster(source, p);
  source.mClusters[9].mRoot.mGlobalT.w = 5;
  const auto assigned = std::make_unique<VCharacterFaceState>();
  const auto move_assigned = std::make_unique<VCharacterFaceState>();
  const auto copied = std::make_unique<VCharacterFaceState>(source);
  *assigned = source;
  const auto moved = std::make_unique<VCharacterFaceState>(std::move(source));
  *move_assigned = std::move(source);

  // NOLINTNEXTLINE(bugprone-use-after-move): the test checks that the source is unchanged
  for (const VCharacterFaceState* const state :
       {&source, copied.get(), moved.get(), assigned.get(), move_assigned.get()}) {
    for (int p = 0; p < 15; ++p) {
      for (int s = 0; s < 500; ++s) ASSERT_EQ(state->mWeights[p][s], DistinctWeight(1, p, s));
      ASSERT_EQ(state->mClusters[p].mClusters.GetCount(), 1);
      EXPECT_EQ(state->mClusters[p].mClusters[0], source.mClusters[p].mClusters[0]);
      EXPECT_EQ(state->mClusters[p].mRoot.mGlobalT.x, 9);
    }
  }
  EXPECT_EQ(copied->mClusters[9].mRoot.mGlobalT.w, 1); // constructed
  EXPECT_EQ(moved->mClusters[9].mRoot.mGlobalT.w, 1);
  EXPECT_EQ(assigned->mClusters[9].mRoot.mGlobalT.w, 5); // assigned
  EXPECT_EQ(move_assigned->mClusters[9].mRoot.mGlobalT.w, 5);
  for (VCharacterFaceState* const state : {copied.get(), moved.get(), assigned.get(), move_assigned.get()})
    for (VCharacterFaceClusterSetState& set : state->mClusters)
      set.mClusters.Clear(); // the source keeps them
}

TEST(CharacterState, DestructionDestroysTheClusters) {
  class Counted : public VCharacterFaceClusterState {
  public:
    explicit Counted(int& destroyed) : mDestroyed(&destroyed) {}
    ~Counted() override { ++*mDestroyed; }

  private:
    int* mDestroyed;
  };
  int destroyed = 0;
  {
    VCharacterFaceState state;
    for (VCharacterFaceClusterSetState& set : state.mClusters) set.mClusters.Add(new Counted(destroyed));
    state.Clear();
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 15);
}
