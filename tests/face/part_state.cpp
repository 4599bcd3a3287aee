#include "mien/face/part_state.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

static_assert(!std::is_polymorphic_v<VFacePartState>);

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Every coordinate of every slot has a different value: factor * (100 * slot + 1, 2, 3), and w = factor *
/// -slot.
VFacePartState Numbered(double factor) {
  VFacePartState state;
  for (int i = 0; i < 7; ++i) {
    state.mPoints[i].x = factor * (100 * i + 1);
    state.mPoints[i].y = factor * (100 * i + 2);
    state.mPoints[i].z = factor * (100 * i + 3);
    state.mPoints[i].w = factor * -i;
  }
  return state;
}

void ExpectSlot(const VFacePartState& state, int slot, double x, double y, double z, double w) {
  EXPECT_EQ(state.mPoints[slot].x, x) << "slot " << slot;
  EXPECT_EQ(state.mPoints[slot].y, y) << "slot " << slot;
  EXPECT_EQ(state.mPoints[slot].z, z) << "slot " << slot;
  EXPECT_EQ(state.mPoints[slot].w, w) << "slot " << slot;
}

} // namespace

TEST(PartState, StartsWithDefaultPoints) {
  const VFacePartState state;
  for (int i = 0; i < 7; ++i) ExpectSlot(state, i, 0, 0, 0, 1);
}

TEST(PartState, CopiesHaveAllFourComponents) {
  VFacePartState source = Numbered(1);
  const VFacePartState copied(source), moved(std::move(source));
  VFacePartState copy_assigned, move_assigned, temporary = copied;
  copy_assigned = copied;
  move_assigned = std::move(temporary);
  for (const VFacePartState& state : {copied, moved, copy_assigned, move_assigned})
    for (int i = 0; i < 7; ++i) ExpectSlot(state, i, 100 * i + 1, 100 * i + 2, 100 * i + 3, -i);
}

TEST(PartState, AddAddsSlotBySlotAndLeavesW) {
  VFacePartState state = Numbered(1);
  const VFacePartState other = Numbered(10);
  state.Add(&other);
  for (int i = 0; i < 7; ++i)
    ExpectSlot(state, i, 11 * (100 * i + 1), 11 * (100 * i + 2), 11 * (100 * i + 3), -i);
}

TEST(PartState, AddOfAnOffsetMovesEverySlotAndLeavesW) {
  VFacePartState state = Numbered(1);
  VgeTVector offset;
  offset.x = 1000, offset.y = -2000, offset.z = 0.5, offset.w = 77;
  state.Add(&offset);
  for (int i = 0; i < 7; ++i) ExpectSlot(state, i, 100 * i + 1001, 100 * i - 1998, 100 * i + 3.5, -i);
}

TEST(PartState, SubSubtractsSlotBySlotAndLeavesW) {
  VFacePartState state = Numbered(1);
  const VFacePartState other = Numbered(10);
  state.Sub(&other);
  for (int i = 0; i < 7; ++i)
    ExpectSlot(state, i, -9 * (100 * i + 1), -9 * (100 * i + 2), -9 * (100 * i + 3), -i);
}

TEST(PartState, ScaleByAFactorLeavesW) {
  VFacePartState state = Numbered(1);
  state.Scale(-0.5);
  for (int i = 0; i < 7; ++i)
    ExpectSlot(state, i, -0.5 * (100 * i + 1), -0.5 * (100 * i + 2), -0.5 * (100 * i + 3), -i);
}

TEST(PartState, ScaleByAVectorIsPerAxisAndLeavesW) {
  VFacePartState state = Numbered(1);
  VgeSVector factors(-1, 2, 0.25);
  state.Scale(factors);
  for (int i = 0; i < 7; ++i)
    ExpectSlot(state, i, -(100 * i + 1), 2 * (100 * i + 2), 0.25 * (100 * i + 3), -i);
}

TEST(PartState, CopyCopiesPositionsAndLeavesW) {
  // Unlike assignment, which copies w as well.
  VFacePartState state = Numbered(1);
  const VFacePartState other = Numbered(10);
  state.Copy(&other);
  for (int i = 0; i < 7; ++i)
    ExpectSlot(state, i, 10 * (100 * i + 1), 10 * (100 * i + 2), 10 * (100 * i + 3), -i);
}

TEST(PartState, ClearZeroesPositionsAndLeavesW) {
  VFacePartState state = Numbered(1);
  state.mPoints[3].x = kNaN;
  state.mPoints[4].y = -kInfinity;
  state.mPoints[5].z = -1;
  state.Clear();
  for (int i = 0; i < 7; ++i) {
    ExpectSlot(state, i, 0, 0, 0, -i);
    EXPECT_FALSE(std::signbit(state.mPoints[i].x) || std::signbit(state.mPoints[i].y) ||
                 std::signbit(state.mPoints[i].z));
  }
}

TEST(PartState, CombinesWithItself) {
  VFacePartState added = Numbered(1), subtracted = Numbered(1), copied = Numbered(1);
  added.Add(&added);
  subtracted.Sub(&subtracted);
  copied.Copy(&copied);
  for (int i = 0; i < 7; ++i) {
    ExpectSlot(added, i, 2 * (100 * i + 1), 2 * (100 * i + 2), 2 * (100 * i + 3), -i);
    ExpectSlot(subtracted, i, 0, 0, 0, -i);
    ExpectSlot(copied, i, 100 * i + 1, 100 * i + 2, 100 * i + 3, -i);
  }
}

TEST(PartState, ArithmeticIsPlainAndClampsNothing) {
  // NaN stays NaN: no term is skipped because it is multiplied by zero or not finite.
  VFacePartState state;
  state.mPoints[0].x = kNaN;
  state.mPoints[0].y = kInfinity;
  state.mPoints[0].z = -3;
  state.mPoints[1].x = 1e308;
  VFacePartState doubled = state;
  state.Scale(0.0);
  EXPECT_TRUE(std::isnan(state.mPoints[0].x));
  EXPECT_TRUE(std::isnan(state.mPoints[0].y));
  EXPECT_EQ(state.mPoints[0].z, 0);
  EXPECT_TRUE(std::signbit(state.mPoints[0].z));
  doubled.Add(&doubled);
  EXPECT_EQ(doubled.mPoints[1].x, kInfinity);
}
