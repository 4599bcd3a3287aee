#include "host/jobs/landmark_head.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using mien::Animation;
using mien::JoinedFrames;
using mien::LandmarkHead;
using testing::HasSubstr;

namespace {

/// Frames at 10 Hz; each head is as far to the left as its number.
Animation Frames(const std::vector<std::int64_t>& numbers, double start) {
  Animation animation;
  animation.layout.rate = {10, 1};
  for (const std::int64_t number : numbers) {
    animation.frames.push_back(number);
    animation.times.push_back(start + static_cast<double>(number) / 10);
    animation.heads.emplace_back().m[3][0] = static_cast<double>(number);
    animation.eyes.push_back({mien::EyeAngles{static_cast<double>(number), 0}, mien::EyeAngles{}});
  }
  return animation;
}

LandmarkHead Head(Animation animation) {
  LandmarkHead head;
  head.file = "landmarks.csv";
  head.animation = std::move(animation);
  return head;
}

} // namespace

TEST(JoinHead, TakesTheHeadAndEyesOfTheSameFrames) {
  Animation animation = Frames({1, 2, 3, 4}, 0);
  animation.heads.assign(4, {});
  const JoinedFrames joined = JoinHead(Head(Frames({0, 2, 4, 7}, 0.04)), "w", animation);
  EXPECT_FALSE(joined.by_time);
  EXPECT_EQ(joined.matched, 2U);
  EXPECT_EQ(joined.without, 2U);
  EXPECT_EQ(joined.unused, 2U);
  const std::vector<double> held = {2, 2, 2, 4}; // the nearest before, at the beginning the first
  for (std::size_t f = 0; f < 4; ++f) {
    EXPECT_EQ(animation.heads[f].m[3][0], held[f]) << f;
    EXPECT_EQ(animation.eyes[f][0].yaw, held[f]) << f;
  }
}

TEST(JoinHead, FramesThatAreNumberedOtherwiseFitByTime) {
  Animation animation = Frames({1, 2, 3}, 0);
  const JoinedFrames joined = JoinHead(Head(Frames({11, 12, 13, 14}, -1.1)), "w", animation);
  EXPECT_TRUE(joined.by_time);
  EXPECT_EQ(joined.matched, 3U);
  EXPECT_EQ(joined.unused, 1U);
  EXPECT_EQ(animation.heads[0].m[3][0], 12); // at 0.1 s
}

TEST(JoinHead, KeepsTheEyesWhereTheLandmarksDoNotShowThem) {
  Animation animation = Frames({1, 2}, 0), seen = Frames({1, 2}, 0);
  seen.eyes.clear();
  JoinHead(Head(seen), "w", animation);
  EXPECT_EQ(animation.eyes[1][0].yaw, 2);
}

TEST(JoinHead, AnotherRecordingIsRefused) {
  Animation animation = Frames({1, 2}, 0);
  EXPECT_EQ(InputErrorOf([&] {
              JoinHead(Head(Frames({1, 2}, 100)), "w.csv", animation);
            }),
            "landmarks.csv: no frame has the time of one in w.csv: 100.1 to 100.2 s, and 0.1 to 0.2 s there; "
            "name the "
            "landmarks and the weights of one recording");
}

TEST(SolveLandmarkHead, RefusesMarkers) {
  const std::filesystem::path samples = MIEN_SAMPLES_FOLDER;
  EXPECT_THAT(InputErrorOf([&] { mien::SolveLandmarkHead(samples / "markers.csv", {}); }),
              HasSubstr("the file has neither the 68 nor the 478 landmarks of a face"));
}
