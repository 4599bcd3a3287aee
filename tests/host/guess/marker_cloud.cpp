#include "host/guess/marker_cloud.h"

#include "tests/host/input_error.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

using mien::FindMarkerCloud;
using mien::MarkerCloud;
using mien::Point;
using mien::Take;
using mien::UnusedMarker;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// A take of 20 frames in which each marker is at its place, carried along by 10 mm a frame.
Take At(const std::vector<Point>& places) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < places.size(); ++i) names.push_back("m" + std::to_string(i));
  return tests::TakeAlong(names, tests::Numbers(1, 20), {30, 1}, [&](double seconds, std::size_t m) {
    return Point{places[m].x + 300 * seconds, places[m].y, places[m].z};
  });
}

} // namespace

TEST(MarkerCloud, NeighboursFormGroupsTheLargestFirst) {
  const MarkerCloud cloud =
      FindMarkerCloud(At({{0, 0, 0}, {900, 0, 0}, {950, 0, 0}, {55, 0, 0}, {1005, 0, 0}, {0, 61, 0}}));
  EXPECT_THAT(cloud.groups, ElementsAre(ElementsAre(1, 2, 4), ElementsAre(0, 3), ElementsAre(5)));
  EXPECT_THAT(cloud.unused, testing::IsEmpty());
}

TEST(MarkerCloud, OfMarkersInOnePlaceTheOneSeenMoreIsKept) {
  Take take = At({{0, 0, 0}, {0.2, 0, 0}, {50, 0, 0}});
  tests::Hide(take, 0, 0, 5);
  const MarkerCloud cloud = FindMarkerCloud(take);
  EXPECT_THAT(cloud.groups, ElementsAre(ElementsAre(1, 2)));
  EXPECT_THAT(cloud.unused, ElementsAre(UnusedMarker{"m0", "in the same place as \"m1\""}));
}

TEST(MarkerCloud, MarkersVisibleInLessThanAQuarterOfTheFramesAreUnused) {
  Take take = At({{0, 0, 0}, {50, 0, 0}, {20, 20, 0}, {0, 50, 0}});
  tests::Hide(take, 0, 0, 16); // 20 %
  tests::Hide(take, 1, 0, 15); // 25 %
  const MarkerCloud cloud = FindMarkerCloud(take);
  EXPECT_THAT(cloud.groups, ElementsAre(ElementsAre(1, 2, 3)));
  EXPECT_THAT(cloud.unused, ElementsAre(UnusedMarker{"m0", "visible in 20 % of the frames"}));
  EXPECT_THAT(cloud.seen, ElementsAre(0.2, 0.25, 1, 1));
}

TEST(MarkerCloud, FramesWithoutAnyMarkerDoNotCount) {
  Take take = At({{0, 0, 0}, {50, 0, 0}});
  for (std::size_t m : {0U, 1U}) tests::Hide(take, m, 0, 18);
  EXPECT_THAT(FindMarkerCloud(take).seen, ElementsAre(1, 1));
}

TEST(MarkerCloud, WhatNoFaceCanBeIsRefused) {
  EXPECT_THAT(InputErrorOf([] { FindMarkerCloud(Take()); }), HasSubstr("no marker is visible in any frame"));
  EXPECT_THAT(InputErrorOf([] {
                FindMarkerCloud(At({{0, 0, 0}, {0.1, 0, 0}, {0, 0.2, 0}}));
              }),
              HasSubstr("all markers are within 0.224 mm; is the take in another unit?"));
  EXPECT_EQ(ProblemOf([] { FindMarkerCloud(At(std::vector<Point>(1001))); }), "limit at no place");
}
