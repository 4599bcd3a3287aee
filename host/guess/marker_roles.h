#pragma once

#include "host/guess/face_atlas.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A pair of markers that mirror each other, a marker on the mid-line, or one without a counterpart; and what
/// it is on the face.
struct FaceSpot {
  std::vector<std::size_t> points; ///< indices: of a pair the left one first
  VgeTVector place;                ///< in the atlas's axes; of a pair the mean, with x not negative
  bool on_mid_line = false;

  std::optional<Region> region; ///< nothing where `unused` says why
  std::string unused;
  bool between = false; ///< unused because two holders explain it
  std::string doubt;    ///< about its region; empty for none

  bool IsPair() const { return points.size() == 2; }
};

/// Whether markers of this region drive a part of the face. The others are rigid, or move with no template.
bool DrivesAPart(Region region);

/// The spots of markers at `places` (the atlas's axes), paired as in counterparts.h. A spot gets the region
/// that explains it best, then order decides what distance leaves open:
///
/// - Of lips and chin, those above the corners of the mouth are the upper lip. Those below are the lower lip
///   down to the first gap of 6 mm, and the chin from there, if it is as low as one.
/// - Where no lower lid was found, but two rigid pairs that may be eye corners have markers above and below
///   between them, these are the lids.
/// - Lids in two rows are the upper and the lower lid. A lower one more than 13 mm from the upper one is a
///   cheek: an open eye is not that high.
///
/// A spot that two holders explain nearly as well is left out if the better one has other markers; between a
/// cheek and a corner of the mouth that has another marker, it is on the cheek. Either has a doubt.
std::vector<FaceSpot> FindSpots(const std::vector<VgeTVector>& places);

} // namespace mien
