#include "mien/face/blend_state.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

static_assert(!std::is_polymorphic_v<VFaceBlendState>);

TEST(BlendState, AddsItsThreeSourcesUpByDefault) {
  // Ones, not thirds: a default blend is a sum, not an average.
  const VFaceBlendState state;
  EXPECT_EQ(sizeof state.mWeights, 3 * sizeof(double));
  for (const double weight : state.mWeights) EXPECT_EQ(weight, 1.0);
}

TEST(BlendState, AssignmentsCopyTheWeightsAndLeaveTheSource) {
  VFaceBlendState source, copy_assigned, move_assigned;
  source.mWeights[0] = 0.5, source.mWeights[1] = -2, source.mWeights[2] = 1e300;
  EXPECT_EQ(&(copy_assigned = source), &copy_assigned);
  EXPECT_EQ(&(move_assigned = std::move(source)), &move_assigned);
  for (const VFaceBlendState& state : {copy_assigned, move_assigned, source}) {
    EXPECT_EQ(state.mWeights[0], 0.5);
    EXPECT_EQ(state.mWeights[1], -2);
    EXPECT_EQ(state.mWeights[2], 1e300);
  }
}
