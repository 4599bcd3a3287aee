#include "host/stream/replay.h"

#include "host/base/error.h"

#include <gtest/gtest.h>

namespace mien {

namespace {

TEST(Replay, ATakeIsASourceOfMarkersWithItsOwnTimes) {
  const Replay replay(MIEN_SAMPLES_FOLDER "/landmarks.csv", {});
  EXPECT_EQ(replay.Source().kind, LiveKind::Markers);
  EXPECT_EQ(replay.Source().names.size(), 68U);
  ASSERT_GT(replay.FrameCount(), 30U);
  EXPECT_EQ(replay.TimeOf(0), 0);
  LiveInput input;
  replay.Fill(30, 10, input);
  EXPECT_NEAR(input.source_s.value(), 11, 1e-3);
  EXPECT_EQ(input.markers.size(), 68U);
  EXPECT_GT(replay.Duration(), replay.TimeOf(replay.FrameCount() - 1));
}

TEST(Replay, RecordedWeightsAreASourceOfWeights) {
  const Replay replay(MIEN_SAMPLES_FOLDER "/mesh/weights_phone.csv", {});
  EXPECT_EQ(replay.Source().kind, LiveKind::Weights);
  LiveInput input;
  replay.Fill(0, 0, input);
  EXPECT_EQ(input.weights.size(), replay.Source().names.size());
  EXPECT_TRUE(input.head);
}

TEST(Replay, WhatIsNeitherIsRefused) {
  EXPECT_THROW(Replay(MIEN_SAMPLES_FOLDER "/head.glb", {}), InputError);
  EXPECT_THROW(Replay("no such file", {}), InputError);
}

} // namespace

} // namespace mien
