#include "mien/face/face_state.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

static_assert(!std::is_polymorphic_v<VFaceState>);

namespace {

VgeAMatrix MatrixFullOf(double value) {
  VgeAMatrix matrix;
  for (auto& column : matrix.m)
    for (double& element : column) element = value;
  return matrix;
}

/// A number for every coordinate (axis 3 is w) of every slot of every part.
double Number(int part, int slot, int axis) { return 1000 * part + 10 * slot + axis + 1; }

/// All numbers times `factor`, and `mGlobal` full of it.
VFaceState Numbered(double factor, bool valid) {
  VFaceState state;
  state.mGlobal = MatrixFullOf(factor);
  state.mValid = valid;
  for (int k = 0; k < 9; ++k)
    for (int i = 0; i < 7; ++i) {
      state.mParts[k].mPoints[i].x = factor * Number(k, i, 0);
      state.mParts[k].mPoints[i].y = factor * Number(k, i, 1);
      state.mParts[k].mPoints[i].z = factor * Number(k, i, 2);
      state.mParts[k].mPoints[i].w = factor * Number(k, i, 3);
    }
  return state;
}

/// Expects each coordinate to be `expected(number, axis)` of its number, and w to be `w` times its
/// number.
template <class F>
void ExpectPoints(const VFaceState& state, F expected, double w) {
  for (int k = 0; k < 9; ++k)
    for (int i = 0; i < 7; ++i) {
      const VgeTVector& p = state.mParts[k].mPoints[i];
      EXPECT_EQ(p.x, expected(Number(k, i, 0), 0)) << "part " << k << ", slot " << i;
      EXPECT_EQ(p.y, expected(Number(k, i, 1), 1)) << "part " << k << ", slot " << i;
      EXPECT_EQ(p.z, expected(Number(k, i, 2), 2)) << "part " << k << ", slot " << i;
      EXPECT_EQ(p.w, w * Number(k, i, 3)) << "part " << k << ", slot " << i;
    }
}

} // namespace

TEST(FaceState, StartsInvalidAtTheOriginOfAnIdentityFrame) {
  const VFaceState state;
  EXPECT_FALSE(state.mValid);
  EXPECT_EQ(state.mGlobal, VgeAMatrix());
  for (const VFacePartState& part : state.mParts)
    for (const VgeTVector& point : part.mPoints) EXPECT_EQ(point, VgeTVector());
}

TEST(FaceState, CopiesHaveFrameFlagAndAllFourComponents) {
  VFaceState source = Numbered(3, true);
  const VFaceState copied(source), moved(std::move(source));
  VFaceState copy_assigned, move_assigned, temporary = copied;
  copy_assigned = copied;
  move_assigned = std::move(temporary);
  for (const VFaceState& state : {copied, moved, copy_assigned, move_assigned}) {
    ExpectPoints(
        state, [](double n, int) { return 3 * n; }, 3);
    EXPECT_EQ(state.mGlobal, MatrixFullOf(3));
    EXPECT_TRUE(state.mValid);
  }
}

TEST(FaceState, AddAddsPartByPart) {
  VFaceState state = Numbered(1, true);
  const VFaceState other = Numbered(10, false);
  state.Add(&other);
  ExpectPoints(
      state, [](double n, int) { return 11 * n; }, 1);
  EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
  EXPECT_TRUE(state.mValid);
}

TEST(FaceState, AddOfAnOffsetMovesEverySlotOfEveryPart) {
  VFaceState state = Numbered(1, true);
  VgeTVector offset;
  offset.x = 1, offset.y = 2, offset.z = 3, offset.w = 4;
  state.Add(&offset);
  ExpectPoints(
      state, [](double n, int axis) { return n + axis + 1; }, 1);
  EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
  EXPECT_TRUE(state.mValid);
}

TEST(FaceState, SubSubtractsPartByPart) {
  VFaceState state = Numbered(1, false);
  const VFaceState other = Numbered(10, true);
  state.Sub(&other);
  ExpectPoints(
      state, [](double n, int) { return -9 * n; }, 1);
  EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
  EXPECT_FALSE(state.mValid);
}

TEST(FaceState, ScaleByAFactorChangesOnlyPositions) {
  VFaceState state = Numbered(1, true);
  state.Scale(-0.25);
  ExpectPoints(
      state, [](double n, int) { return -0.25 * n; }, 1);
  EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
  EXPECT_TRUE(state.mValid);
}

TEST(FaceState, ScaleByAMirrorNegatesXOfEverySlot) {
  // Also of the slots that a part does not use.
  VFaceState state = Numbered(1, true);
  VgeSVector mirror(-1, 1, 1);
  state.Scale(mirror);
  ExpectPoints(
      state, [](double n, int axis) { return axis == 0 ? -n : n; }, 1);
  EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
  EXPECT_TRUE(state.mValid);
}

TEST(FaceState, ScaleByAVectorIsPerAxis) {
  VFaceState state = Numbered(1, false);
  VgeSVector factors(2, 3, 5);
  state.Scale(factors);
  constexpr double expected[] = {2, 3, 5};
  ExpectPoints(
      state, [&](double n, int axis) { return expected[axis] * n; }, 1);
}

TEST(FaceState, CopyCopiesPointsAndFlagButNotTheFrame) {
  // Unlike assignment: a solve may copy a pose into a state and keep the state's head frame.
  for (const bool valid : {false, true}) {
    VFaceState state = Numbered(1, !valid);
    const VFaceState other = Numbered(10, valid);
    state.Copy(&other);
    ExpectPoints(
        state, [](double n, int) { return 10 * n; }, 1);
    EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
    EXPECT_EQ(state.mValid, valid);
  }
}

TEST(FaceState, ClearKeepsFrameAndW) {
  VFaceState state = Numbered(1, true);
  state.mParts[8].mPoints[6].z = std::numeric_limits<double>::quiet_NaN();
  state.Clear();
  ExpectPoints(
      state, [](double, int) { return 0.0; }, 1);
  EXPECT_EQ(state.mGlobal, MatrixFullOf(1));
  EXPECT_FALSE(state.mValid);
}

TEST(FaceState, CombinesWithItself) {
  VFaceState added = Numbered(1, true), subtracted = Numbered(1, true), copied = Numbered(1, true);
  added.Add(&added);
  subtracted.Sub(&subtracted);
  copied.Copy(&copied);
  ExpectPoints(
      added, [](double n, int) { return 2 * n; }, 1);
  ExpectPoints(
      subtracted, [](double, int) { return 0.0; }, 1);
  ExpectPoints(
      copied, [](double n, int) { return n; }, 1);
  EXPECT_TRUE(copied.mValid);
}

TEST(FaceState, CanBlendAPoseByWeight) {
  // Rest + weight * (pose - rest), as every solve from weights to points builds it.
  const VFaceState rest = Numbered(1, false), pose = Numbered(3, false);
  VFaceState difference = pose, blended = rest;
  difference.Sub(&rest);
  difference.Scale(0.5);
  blended.Add(&difference);
  ExpectPoints(
      blended, [](double n, int) { return 2 * n; }, 1);
}
