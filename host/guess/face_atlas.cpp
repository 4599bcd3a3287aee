#include "host/guess/face_atlas.h"

#include <cmath>

namespace mien {

// Eye corners are 90 mm apart outside and 32 mm inside, the corners of the mouth 54 mm; from the line of the
// eyes it is 42 mm down to the wings of the nose, 69 mm to the corners of the mouth, and about 100 mm to the
// front of the chin, where markers go. The deviations are wide where people place markers freely (cheeks,
// forehead) or differ (brows, chin), and narrow where the face decides (lips, wings of the nose).
const std::array<RegionPlace, kRegionCount>& FaceAtlas() {
  static constexpr std::array<RegionPlace, kRegionCount> kAtlas = {{
      {{12, 25, 12}, {5, 7, 6}},     // inner brow
      {{34, 28, 4}, {10, 7, 7}},     // middle brow
      {{54, 19, -12}, {7, 7, 7}},    // outer brow
      {{0, 26, 15}, {2, 7, 6}},      // glabella
      {{40, 52, -4}, {14, 10, 9}},   // forehead
      {{0, 55, 10}, {3, 12, 8}},     // middle forehead
      {{33, 6, 1}, {8, 5, 5}},       // upper lid
      {{33, -5, 0}, {8, 5, 5}},      // lower lid
      {{16, -2, 0}, {4, 5, 5}},      // inner eye corner
      {{48, 0, -8}, {5, 5, 6}},      // outer eye corner
      {{0, 2, 17}, {2, 6, 5}},       // nose root
      {{0, -26, 36}, {3, 8, 6}},     // nose tip
      {{11, -15, 16}, {4, 7, 6}},    // nose side
      {{15, -42, 15}, {4, 7, 6}},    // nose wing
      {{34, -25, 2}, {9, 7, 7}},     // upper cheek
      {{58, -28, -20}, {8, 10, 12}}, // cheekbone
      {{38, -45, -2}, {9, 9, 8}},    // middle cheek
      {{48, -68, -16}, {9, 10, 10}}, // lower cheek
      {{9, -60, 20}, {7, 5, 6}},     // upper lip
      {{0, -60, 23}, {2, 5, 6}},     // middle upper lip
      {{27, -69, 5}, {5, 6, 6}},     // mouth corner
      {{11, -77, 16}, {7, 5, 7}},    // lower lip
      {{0, -78, 18}, {2, 5, 7}},     // middle lower lip
      {{14, -98, 6}, {9, 7, 9}},     // side of the chin
      {{0, -98, 10}, {2, 8, 9}},     // middle of the chin
      {{45, -94, -29}, {9, 10, 12}}, // side of the jaw
  }};
  return kAtlas;
}

std::array<double, kRegionCount> RegionLikelihoods(const VgeTVector& place) {
  constexpr double kFar = 18; // exp(-9) is nothing beside any other
  const double p[3] = {std::fabs(place.x), place.y, place.z};
  std::array<double, kRegionCount> likelihoods = {};
  for (std::size_t r = 0; r < kRegionCount; ++r) {
    const RegionPlace& region = FaceAtlas()[r];
    double square = 0;
    for (std::size_t axis = 0; axis < 3 && square < kFar; ++axis) {
      const double off = (p[axis] - region.place[axis]) / region.deviation[axis];
      square += off * off;
    }
    if (square < kFar) likelihoods[r] = std::exp(-square / 2);
  }
  return likelihoods;
}

} // namespace mien
