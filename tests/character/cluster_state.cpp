#include "mien/character/cluster_state.h"

#include "tests/base/rotations.h"
#include "tests/character/characters.h"
#include "tests/character/same_cluster.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

using namespace tests;

namespace {

/// `offset` makes all six members and the fourth rows and columns of the matrices different.
void Distinguish(VCharacterFaceClusterState& cluster, double offset) {
  cluster.mLocalT = {offset + 1, offset + 2, offset + 3, offset + 4};
  cluster.mLocalS = VgeSVector(offset + 5, offset + 6, offset + 7);
  cluster.mGlobalT = {offset + 8, offset + 9, offset + 10, offset + 11};
  cluster.mGlobalS = VgeSVector(offset + 12, offset + 13, offset + 14);
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row) {
      cluster.mLocalR.m[column][row] = offset + 20 + 4 * column + row;
      cluster.mGlobalR.m[column][row] = offset + 40 + 4 * column + row;
    }
}

class RecordedCluster : public VCharacterFaceClusterState {
public:
  RecordedCluster(std::vector<int>& gone, int number) : mGone(&gone), mNumber(number) {}
  ~RecordedCluster() override { mGone->push_back(mNumber); }

private:
  std::vector<int>* mGone;
  int mNumber;
};

VgeRMatrix RandomRotation(Random& random) {
  VgeRMatrix rotation;
  for (int axis = 0; axis < 3; ++axis)
    rotation = Product(AxisRotation(axis, random.Between(-180, 180)), rotation);
  return rotation;
}

VgeTVector RandomPoint(Random& random, double range) {
  const double x = random.Between(-range, range), y = random.Between(-range, range),
               z = random.Between(-range, range);
  return {x, y, z};
}

VgeSVector RandomScaling(Random& random) {
  const double x = random.Between(0.25, 4), y = random.Between(0.25, 4), z = -random.Between(0.25, 4);
  return {x, y, z};
}

} // namespace

// --- VCharacterFaceClusterState

TEST(ClusterState, StartsAtTheIdentity) {
  const VCharacterFaceClusterState cluster;
  EXPECT_EQ(cluster.mLocalT, VgeTVector());
  EXPECT_EQ(cluster.mGlobalT, VgeTVector());
  EXPECT_EQ(cluster.mLocalR, VgeRMatrix());
  EXPECT_EQ(cluster.mGlobalR, VgeRMatrix());
  EXPECT_EQ(cluster.mLocalS, VgeSVector(1, 1, 1));
  EXPECT_EQ(cluster.mGlobalS, VgeSVector(1, 1, 1));
}

// A copy has w = 1, an assignment copies w: this difference is intended.
TEST(ClusterState, CopyConstructionSetsTheFourthComponentsToOne) {
  VCharacterFaceClusterState source;
  Distinguish(source, 100);
  const VCharacterFaceClusterState copy(source);
  EXPECT_EQ(copy.mLocalT, (VgeTVector{101, 102, 103, 1}));
  EXPECT_EQ(copy.mGlobalT, (VgeTVector{108, 109, 110, 1}));
  EXPECT_EQ(copy.mLocalR, source.mLocalR);
  EXPECT_EQ(copy.mGlobalR, source.mGlobalR);
  EXPECT_EQ(copy.mLocalS, source.mLocalS);
  EXPECT_EQ(copy.mGlobalS, source.mGlobalS);
}

TEST(ClusterState, AssignmentCopiesAllSix) {
  VCharacterFaceClusterState source, assigned;
  Distinguish(source, 100);
  assigned = source;
  EXPECT_EQ(assigned.mLocalT, (VgeTVector{101, 102, 103, 104}));
  EXPECT_EQ(assigned.mGlobalT, (VgeTVector{108, 109, 110, 111}));
  ExpectSame(assigned, source);
}

TEST(ClusterState, ClearStateSetsBothTransformsToTheIdentity) {
  VCharacterFaceClusterState cluster;
  Distinguish(cluster, kNaN);
  cluster.mLocalT.w = 5, cluster.mGlobalT.w = 6;
  cluster.ClearState();
  EXPECT_EQ(cluster.mLocalT, (VgeTVector{0, 0, 0, 5}));
  EXPECT_EQ(cluster.mGlobalT, (VgeTVector{0, 0, 0, 6}));
  EXPECT_EQ(cluster.mLocalR, VgeRMatrix()); // the fourth row and column too
  EXPECT_EQ(cluster.mGlobalR, VgeRMatrix());
  EXPECT_EQ(cluster.mLocalS, VgeSVector(1, 1, 1));
  EXPECT_EQ(cluster.mGlobalS, VgeSVector(1, 1, 1));
}

// --- VCharacterFaceClusterSetState

TEST(ClusterSet, StartsWithTheGivenNumberOfNewClusters) {
  const VCharacterFaceClusterSetState set(3);
  ASSERT_EQ(set.mClusters.GetCount(), 3);
  for (int c = 0; c < 3; ++c) ExpectSame(*set.mClusters[c], VCharacterFaceClusterState());
  EXPECT_NE(set.mClusters[0], set.mClusters[1]);
  EXPECT_NE(set.mClusters[1], set.mClusters[2]);
  ExpectSame(set.mRoot, VCharacterFaceClusterState());
}

TEST(ClusterSet, CountBelowOneGivesNoClusters) {
  for (const int count : {0, -1, -1000}) {
    const VCharacterFaceClusterSetState set(count);
    EXPECT_EQ(set.mClusters.GetCount(), 0);
    ExpectSame(set.mRoot, VCharacterFaceClusterState());
  }
}

TEST(ClusterSet, ArraysOfSetsStartWithoutClusters) {
  const VCharacterFaceClusterSetState sets[3];
  for (const VCharacterFaceClusterSetState& set : sets) {
    EXPECT_EQ(set.mClusters.GetCount(), 0);
    ExpectSame(set.mRoot, VCharacterFaceClusterState());
  }
}

TEST(ClusterSet, DestroysItsClustersFromTheLastToTheFirst) {
  std::vector<int> gone;
  {
    VCharacterFaceClusterSetState set(0);
    set.mClusters.Add(new RecordedCluster(gone, 1));
    set.mClusters.Add(nullptr); // skipped
    set.mClusters.Add(new RecordedCluster(gone, 2));
    set.mClusters.Add(new RecordedCluster(gone, 3));
  }
  EXPECT_EQ(gone, (std::vector{3, 2, 1}));
}

TEST(ClusterSet, CopiesShareTheClustersAndHaveTheirOwnRoot) {
  std::vector<int> gone;
  {
    VCharacterFaceClusterSetState source(0);
    Distinguish(source.mRoot, 7);
    source.mRoot.mGlobalT.w = 5;
    source.mClusters.Add(new RecordedCluster(gone, 1));
    source.mClusters.Add(new RecordedCluster(gone, 2));

    VCharacterFaceClusterSetState copy(source), assigned(0);
    assigned = source;
    EXPECT_EQ(copy.mRoot.mGlobalT.w, 1);     // as the root is copied
    EXPECT_EQ(assigned.mRoot.mGlobalT.w, 5); // as the root is assigned
    ExpectSame(assigned.mRoot, source.mRoot);
    for (VCharacterFaceClusterSetState* const set : {&copy, &assigned}) {
      EXPECT_EQ(set->mRoot.mGlobalR, source.mRoot.mGlobalR);
      EXPECT_EQ(set->mRoot.mLocalS, source.mRoot.mLocalS);
      ASSERT_EQ(set->mClusters.GetCount(), 2);
      EXPECT_EQ(set->mClusters[0], source.mClusters[0]);
      EXPECT_EQ(set->mClusters[1], source.mClusters[1]);
      set->mClusters.Clear();
      EXPECT_EQ(source.mClusters.GetCount(), 2);
    }
    EXPECT_TRUE(gone.empty());
  }
  EXPECT_EQ(gone, (std::vector{2, 1}));
}

TEST(ClusterSet, AssignmentDropsTheFormerClustersWithoutDestroyingThem) {
  std::vector<int> gone;
  const auto former = std::make_unique<RecordedCluster>(gone, 1);
  VCharacterFaceClusterSetState set(0);
  set.mClusters.Add(former.get());
  set = VCharacterFaceClusterSetState(0);
  EXPECT_EQ(set.mClusters.GetCount(), 0);
  EXPECT_TRUE(gone.empty());
}

// --- ComputeGlobalZpx

TEST(ClusterSetGlobal, IdentityRootMakesEveryGlobalTransformTheLocalOne) {
  Random random(1);
  VCharacterFaceClusterSetState set(5);
  for (int c = 0; c < 5; ++c) {
    set.mClusters[c]->mLocalT = RandomPoint(random, 100);
    set.mClusters[c]->mLocalR = RandomRotation(random);
    set.mClusters[c]->mLocalS = RandomScaling(random);
  }
  set.ComputeGlobalZpx();
  for (int c = 0; c < 5; ++c) {
    const VCharacterFaceClusterState& cluster = *set.mClusters[c];
    EXPECT_EQ(cluster.mGlobalT, cluster.mLocalT);
    EXPECT_EQ(cluster.mGlobalR, cluster.mLocalR);
    EXPECT_EQ(cluster.mGlobalS, cluster.mLocalS);
  }
}

// By hand, all numbers exact: the root scales, rotates by 90 degrees about z (x to y, y to -x), and
// translates.
TEST(ClusterSetGlobal, RootScalesThenRotatesThenTranslates) {
  VCharacterFaceClusterSetState set(1);
  set.mRoot.mGlobalT = {100, 200, 300};
  set.mRoot.mGlobalR = AxisRotation(2, 1.0, 0.0);
  set.mRoot.mGlobalS = VgeSVector(2, 3, 5);
  VCharacterFaceClusterState& cluster = *set.mClusters[0];
  cluster.mLocalT = {1, 10, 7};
  cluster.mLocalR = AxisRotation(0, 1.0, 0.0); // y to z
  cluster.mLocalS = VgeSVector(0.5, 4, -1);
  set.ComputeGlobalZpx();
  EXPECT_EQ(cluster.mGlobalT, (VgeTVector{100 - 30, 200 + 2, 300 + 35}));
  EXPECT_EQ(cluster.mGlobalS, VgeSVector(1, 12, -5));
  // x to y, y to z and z (by the cluster to -y, then by the root) to x: the root's rotation follows the
  // cluster's. The root's scaling does not affect it.
  EXPECT_EQ(cluster.mGlobalR.m[0][1], 1);
  EXPECT_EQ(cluster.mGlobalR.m[1][2], 1);
  EXPECT_EQ(cluster.mGlobalR.m[2][0], 1);
}

TEST(ClusterSetGlobal, LocalTransformsAreUnchangedAndTheRootsLocalOneIsNotRead) {
  VCharacterFaceClusterSetState set(2);
  Distinguish(set.mRoot, 3);
  set.mRoot.mGlobalR = AxisRotation(1, 0.6, 0.8);
  Distinguish(*set.mClusters[0], 5);
  Distinguish(*set.mClusters[1], 6);
  VCharacterFaceClusterState root, first;
  root = set.mRoot, first = *set.mClusters[0];
  set.ComputeGlobalZpx();
  ExpectSame(set.mRoot, root);
  EXPECT_EQ(set.mClusters[0]->mLocalT, first.mLocalT);
  EXPECT_EQ(set.mClusters[0]->mLocalR, first.mLocalR);
  EXPECT_EQ(set.mClusters[0]->mLocalS, first.mLocalS);

  const VgeTVector global = set.mClusters[0]->mGlobalT;
  set.mRoot.mLocalT = {kNaN, kNaN, kNaN};
  set.mRoot.mLocalS = VgeSVector(kNaN, kNaN, kNaN);
  set.mRoot.mLocalR.m[0][0] = kNaN;
  set.ComputeGlobalZpx();
  EXPECT_EQ(set.mClusters[0]->mGlobalT, global);
}

TEST(ClusterSetGlobal, FourthRowsAndColumnsAreUnchangedAndNotRead) {
  VCharacterFaceClusterSetState set(1);
  VCharacterFaceClusterState& cluster = *set.mClusters[0];
  for (int i = 0; i < 4; ++i) {
    set.mRoot.mGlobalR.m[i][3] = set.mRoot.mGlobalR.m[3][i] = kNaN;
    cluster.mLocalR.m[i][3] = cluster.mLocalR.m[3][i] = kNaN;
    cluster.mGlobalR.m[i][3] = 50 + i;
    cluster.mGlobalR.m[3][i] = 60 + i;
  }
  cluster.mLocalT = {1, 2, 3, kNaN};
  set.mRoot.mGlobalT.w = kNaN;
  cluster.mGlobalT.w = 8;
  set.ComputeGlobalZpx();
  EXPECT_EQ(Distance(cluster.mGlobalR, VgeRMatrix()), 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(cluster.mGlobalR.m[i][3], 50 + i);
    EXPECT_EQ(cluster.mGlobalR.m[3][i], 60 + i);
  }
  EXPECT_EQ(cluster.mGlobalR.m[3][3], 63);
  EXPECT_EQ(cluster.mGlobalT, (VgeTVector{1, 2, 3, 8}));
}

TEST(ClusterSetGlobal, ASetWithoutClustersIsUnchanged) {
  VCharacterFaceClusterSetState set(0);
  Distinguish(set.mRoot, 3);
  VCharacterFaceClusterState root;
  root = set.mRoot;
  set.ComputeGlobalZpx();
  set.ComputeLocalZpx();
  ExpectSame(set.mRoot, root);
  EXPECT_EQ(set.mClusters.GetCount(), 0);
}

// --- ComputeLocalZpx

TEST(ClusterSetLocal, UndoesTheRootByHand) {
  VCharacterFaceClusterSetState set(1);
  set.mRoot.mGlobalT = {100, 200, 300};
  set.mRoot.mGlobalR = AxisRotation(2, 1.0, 0.0);
  set.mRoot.mGlobalS = VgeSVector(2, 4, 0.5);
  VCharacterFaceClusterState& cluster = *set.mClusters[0];
  cluster.mGlobalT = {100 - 40, 200 + 2, 300 + 3.5};
  cluster.mGlobalR = AxisRotation(2, 1.0, 0.0);
  cluster.mGlobalS = VgeSVector(1, 12, -5);
  set.ComputeLocalZpx();
  EXPECT_EQ(cluster.mLocalT, (VgeTVector{1, 10, 7}));
  EXPECT_EQ(cluster.mLocalR, VgeRMatrix());
  EXPECT_EQ(cluster.mLocalS, VgeSVector(0.5, 3, -10));
}

TEST(ClusterSetLocal, InvertsComputeGlobal) {
  Random random(2);
  for (int round = 0; round < 200; ++round) {
    VCharacterFaceClusterSetState set(3);
    set.mRoot.mGlobalT = RandomPoint(random, 100);
    set.mRoot.mGlobalR = RandomRotation(random);
    set.mRoot.mGlobalS = RandomScaling(random);
    VCharacterFaceClusterState before[3];
    for (int c = 0; c < 3; ++c) {
      before[c].mLocalT = RandomPoint(random, 100);
      before[c].mLocalR = RandomRotation(random);
      before[c].mLocalS = RandomScaling(random);
      *set.mClusters[c] = before[c];
    }
    set.ComputeGlobalZpx();
    for (int c = 0; c < 3; ++c) {
      set.mClusters[c]->mLocalT = {kNaN, kNaN, kNaN};
      for (auto& column : set.mClusters[c]->mLocalR.m)
        for (double& element : column) element = kNaN;
    }
    set.ComputeLocalZpx();
    for (int c = 0; c < 3; ++c) {
      const VCharacterFaceClusterState& cluster = *set.mClusters[c];
      // Coordinates of up to 700 pass two matrices: a few rounding errors of 1e-13, and the root's scaling of
      // at least 1/4 multiplies them by up to 4.
      EXPECT_NEAR(cluster.mLocalT.x, before[c].mLocalT.x, 4e-12);
      EXPECT_NEAR(cluster.mLocalT.y, before[c].mLocalT.y, 4e-12);
      EXPECT_NEAR(cluster.mLocalT.z, before[c].mLocalT.z, 4e-12);
      EXPECT_LT(Distance(cluster.mLocalR, before[c].mLocalR),
                1e-14); // nine roundings of at most 1
      EXPECT_DOUBLE_EQ(cluster.mLocalS.x, before[c].mLocalS.x);
      EXPECT_DOUBLE_EQ(cluster.mLocalS.y, before[c].mLocalS.y);
      EXPECT_DOUBLE_EQ(cluster.mLocalS.z, before[c].mLocalS.z);
    }
  }
}

// Row i of the inverse is column i over its squared length: a root with a stretched "rotation" is inverted
// for positions, while the rotation is only transposed.
TEST(ClusterSetLocal, InverseIsThatOfOrthogonalColumnsOfAnyLength) {
  VCharacterFaceClusterSetState set(1);
  set.mRoot.mGlobalR.m[0][0] = 2, set.mRoot.mGlobalR.m[1][1] = 4, set.mRoot.mGlobalR.m[2][2] = -8;
  VCharacterFaceClusterState& cluster = *set.mClusters[0];
  cluster.mGlobalT = {2, 4, 8};
  set.ComputeLocalZpx();
  EXPECT_EQ(cluster.mLocalT, (VgeTVector{1, 1, -1}));
  EXPECT_EQ(cluster.mLocalR.m[0][0], 2);
  EXPECT_EQ(cluster.mLocalR.m[1][1], 4);
  EXPECT_EQ(cluster.mLocalR.m[2][2], -8);
  EXPECT_EQ(cluster.mLocalS, VgeSVector(1, 1, 1));
}

// The first column of a sheared root is divided by its own squared length, 2, whatever the other columns.
TEST(ClusterSetLocal, AShearedRootIsTreatedAsOrthogonal) {
  VCharacterFaceClusterSetState set(1);
  set.mRoot.mGlobalR.m[0][1] = 1; // x to x + y
  set.mClusters[0]->mGlobalT = {3, 5, 7};
  set.ComputeLocalZpx();
  EXPECT_EQ(set.mClusters[0]->mLocalT, (VgeTVector{4, 5, 7}));
}

TEST(ClusterSetLocal, GlobalTransformsFourthComponentsAndRootAreUnchanged) {
  VCharacterFaceClusterSetState set(1);
  Distinguish(set.mRoot, 3);
  VCharacterFaceClusterState& cluster = *set.mClusters[0];
  Distinguish(cluster, 5);
  VCharacterFaceClusterState root, before;
  root = set.mRoot, before = cluster;
  set.ComputeLocalZpx();
  ExpectSame(set.mRoot, root);
  EXPECT_EQ(cluster.mGlobalT, before.mGlobalT);
  EXPECT_EQ(cluster.mGlobalR, before.mGlobalR);
  EXPECT_EQ(cluster.mGlobalS, before.mGlobalS);
  EXPECT_EQ(cluster.mLocalT.w, before.mLocalT.w);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(cluster.mLocalR.m[i][3], before.mLocalR.m[i][3]);
    EXPECT_EQ(cluster.mLocalR.m[3][i], before.mLocalR.m[3][i]);
  }
}

TEST(ClusterSetLocal, RootScalingOfZeroGivesInfinitiesAndNaNs) {
  VCharacterFaceClusterSetState set(1);
  set.mRoot.mGlobalS = VgeSVector(0, 2, 1);
  VCharacterFaceClusterState& cluster = *set.mClusters[0];
  cluster.mGlobalT = {1, 2, 3};
  cluster.mGlobalS = VgeSVector(5, 6, 0);
  set.ComputeLocalZpx();
  EXPECT_TRUE(std::isnan(cluster.mLocalT.x)); // 0 divided by the squared length 0
  EXPECT_EQ(cluster.mLocalT.y, 1);
  EXPECT_EQ(cluster.mLocalT.z, 3);
  EXPECT_EQ(cluster.mLocalS, VgeSVector(kInfinity, 3, 0));
  EXPECT_EQ(cluster.mLocalR, VgeRMatrix()); // the rotation does not depend on the scaling
  cluster.mGlobalS = VgeSVector(0, 0, 0);
  set.ComputeLocalZpx();
  EXPECT_TRUE(std::isnan(cluster.mLocalS.x));
}
