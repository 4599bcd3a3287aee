#include "host/guess/face_atlas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

using mien::FaceAtlas;
using mien::kRegionCount;
using mien::RegionLikelihoods;

TEST(FaceAtlas, ARegionExplainsItsOwnPlaceBestOnBothSides) {
  for (std::size_t r = 0; r < kRegionCount; ++r) {
    const auto& [x, y, z] = FaceAtlas()[r].place;
    for (const double side : {1.0, -1.0}) {
      const auto likelihoods = RegionLikelihoods({side * x, y, z});
      EXPECT_EQ(likelihoods[r], 1);
      EXPECT_EQ(std::max_element(likelihoods.begin(), likelihoods.end()) - likelihoods.begin(),
                static_cast<std::ptrdiff_t>(r));
    }
  }
}

TEST(FaceAtlas, NothingExplainsWhatIsFarAway) {
  for (const double likelihood : RegionLikelihoods({0, 300, 0})) EXPECT_EQ(likelihood, 0);
}
