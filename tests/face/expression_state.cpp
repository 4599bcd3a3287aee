#include "mien/face/expression_state.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <utility>

static_assert(!std::is_polymorphic_v<VFaceExpressionState>);

namespace {

VFaceExpressionState Numbered(double factor, int index) {
  VFaceExpressionState state;
  state.mIndex = index;
  for (int k = 0; k < 100; ++k) state.mWeights[k] = factor * (k + 1);
  return state;
}

void ExpectWeights(const VFaceExpressionState& state, double factor) {
  for (int k = 0; k < 100; ++k) EXPECT_EQ(state.mWeights[k], factor * (k + 1)) << "expression " << k;
}

} // namespace

TEST(ExpressionState, StartsAtZeroWithIndexMinusOne) {
  const VFaceExpressionState state;
  EXPECT_EQ(state.mIndex, -1);
  ExpectWeights(state, 0);
}

TEST(ExpressionState, ClearZeroesAllHundredWeightsAndKeepsTheIndex) {
  VFaceExpressionState state = Numbered(-3, 7);
  state.mWeights[99] = std::numeric_limits<double>::quiet_NaN();
  state.Clear();
  ExpectWeights(state, 0);
  EXPECT_EQ(state.mIndex, 7);
}

TEST(ExpressionState, CopyCopiesTheWeightsButNotTheIndex) {
  VFaceExpressionState state = Numbered(1, 5);
  state.Copy(Numbered(10, 7));
  ExpectWeights(state, 10);
  EXPECT_EQ(state.mIndex, 5);
  state.Copy(state);
  ExpectWeights(state, 10);
}

TEST(ExpressionState, AssignmentsCopyEveryFieldAndLeaveTheSource) {
  VFaceExpressionState source = Numbered(10, 7), copy_assigned, move_assigned;
  EXPECT_EQ(&(copy_assigned = source), &copy_assigned);
  EXPECT_EQ(&(move_assigned = std::move(source)), &move_assigned);
  for (const VFaceExpressionState& state : {copy_assigned, move_assigned, source}) {
    ExpectWeights(state, 10);
    EXPECT_EQ(state.mIndex, 7);
  }
}
