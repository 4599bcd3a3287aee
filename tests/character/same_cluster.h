#pragma once

#include "mien/character/cluster_state.h"

#include <gtest/gtest.h>

namespace tests {

/// By value, local and global transform.
inline void ExpectSame(const VCharacterFaceClusterState& actual, const VCharacterFaceClusterState& expected) {
  EXPECT_EQ(actual.mLocalT, expected.mLocalT);
  EXPECT_EQ(actual.mLocalR, expected.mLocalR);
  EXPECT_EQ(actual.mLocalS, expected.mLocalS);
  EXPECT_EQ(actual.mGlobalT, expected.mGlobalT);
  EXPECT_EQ(actual.mGlobalR, expected.mGlobalR);
  EXPECT_EQ(actual.mGlobalS, expected.mGlobalS);
}

} // namespace tests
