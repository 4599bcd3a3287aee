#include "host/formats/mesh_mirror.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using mien::kMeshPoints;
using mien::MirroredMeshPoint;

TEST(MeshMirror, EveryPointIsTheMirrorImageOfItsMirrorImage) {
  for (std::size_t i = 0; i < kMeshPoints; ++i) {
    ASSERT_LT(MirroredMeshPoint(i), kMeshPoints);
    EXPECT_EQ(MirroredMeshPoint(MirroredMeshPoint(i)), i);
  }
}

TEST(MeshMirror, OnlyThePointsOfTheMiddleStay) {
  std::vector<std::size_t> middle;
  for (std::size_t i = 0; i < kMeshPoints; ++i)
    if (MirroredMeshPoint(i) == i) middle.push_back(i);
  EXPECT_EQ(middle,
            (std::vector<std::size_t>{0,  1,  2,  4,  5,  6,   8,   9,   10,  11,  12,  13,  14,  15,
                                      16, 17, 18, 19, 94, 151, 152, 164, 168, 175, 195, 197, 199, 200}));
}

TEST(MeshMirror, LidsCornersAndIrisesChangePlaces) {
  const std::size_t pairs[][2] = {{33, 263}, {133, 362}, {159, 386}, {145, 374}, {61, 291},  {234, 454},
                                  {70, 300}, {105, 334}, {468, 473}, {469, 476}, {470, 475}, {471, 474}};
  for (const auto& [right, left] : pairs) EXPECT_EQ(MirroredMeshPoint(right), left);
}
