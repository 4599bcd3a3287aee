#pragma once

#include "host/base/point.h"
#include "host/fit/shape_basis.h"
#include "host/performer/performer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A region of the face that a tracker may shift as a whole.
enum class FitRegion { None, LeftEye, RightEye, Mouth };

/// A basis on a performer's face: for each marker where it rests and how it moves with each shape.
struct LaidBasis {
  struct Marker {
    std::string name;
    Point rest;
    std::optional<std::size_t> landmark; ///< of the 68, if it is one
    FitRegion region = FitRegion::None;
  };
  std::vector<Marker> markers;
  std::vector<std::string> shapes;
  std::vector<Point> moved; ///< (size: markers x shapes)

  Point scale = {1, 1, 1}; ///< of the performer's face to the basis, along x, y and z
  double distance_mm = 0;  ///< of the markers from the basis on this face, on average
};

/// Lays a basis onto a performer's neutral face `rest`: places of markers in the head's frame, where the face
/// looks along +z, x to its left, y up. Of the markers, those are used that drive a part or are one of the 68
/// landmarks.
///
/// The basis is turned, scaled along each axis and shifted until its landmarks are where the performer's are.
/// For markers of unknown places, the middles of the holders stand for landmarks first (the mouth's corners,
/// lips, chin, brows, lids, nostrils), and then also the points of the basis nearest to the markers, six times
/// over.
///
/// A marker that is a landmark moves like it. Any other moves like the skin under it: the mean of the four
/// nearest points of the basis, weighted by the inverse square of their distance, without those of the other
/// lid or lip. Scaling along the axes is all that is needed: bending the basis to pass through every marker
/// does not improve results.
///
/// Throws InputError if the markers do not show where the face is: fewer than four of these places.
LaidBasis LayBasis(const ShapeBasis& basis, const Performer& performer, const NeutralPose& rest);

} // namespace mien
