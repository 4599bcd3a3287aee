#pragma once

/// @file
/// What does not change between the frames of a performer. Not installed.

#include "mien/base/geometry.h"

#include <cstddef>
#include <vector>

class VActorFace;
class VFace;
struct VFaceMarkerSetState;

namespace mien::detail::batch {

/// How far along a way a point has gone: Dot(direction, moved) / length.
struct Way {
  VgeTVector direction; ///< Of length 1.
  double length;        ///< If 0, no point gets anywhere: the fraction is 0.
};

/// A point's follow-up of a marker.
struct Pull {
  int point;
  double weight; ///< Not 0.
};

/// A marker entry of a part.
struct Entry {
  std::ptrdiff_t marker;
  VgeTVector rest;                      ///< In the part's volume.
  std::size_t first_pull, end_of_pulls; ///< In `FaceConstants::pulls`.
};

struct Part {
  VgeTVector rest[7];
  int point_count;
  std::size_t first_entry, end_of_entries; ///< In `FaceConstants::entries`.
  VgeAMatrix to_volume, volume;
};

struct MouthConstants {
  struct Side {
    double rest_gap;
    Way way;
  };
  struct Corner {
    double base, span;
  };
  bool chin_is_measured;
  Way open_chin, open_left, open_right;
  Side square_left, square_right;
  double whistle_width, rest_width;
  Corner right, left;
  VgeTVector middle_of_lower_lip;
};

struct BrowConstants {
  VgeTVector up_middle, down_inner; ///< The points that the templates are measured on, in their poses.
};

struct EyeConstants {
  double highest_upper, lowest_upper, highest_lower; ///< The limits of the lids.
  bool has_squint;                                   ///< Else the outer corner is not moved.
  VgeTVector travel;                                 ///< Of the outer corner.
  double closed, wide_open, squinted;                ///< The heights that the weights are measured on.
};

/// The one coordinate of a template of cheek or nostril.
struct RampConstants {
  double rest, full;
};

/// A triangle of head markers i < j < k that is well shaped in the reference.
struct Triangle {
  int i, j, k;
  VgeAMatrix inverse;
};

struct FaceConstants {
  /// See FaceBatch.
  FaceConstants(const VActorFace& actor, const VFace& face, const VFaceMarkerSetState& reference);
  FaceConstants(const FaceConstants&) = delete;
  FaceConstants& operator=(const FaceConstants&) = delete;

  int head_markers;
  Triangle triangles[10];
  int triangle_count = 0;
  VgeAMatrix head_in_rigid_body;

  Part parts[9];
  const Entry* entries; ///< Of all parts.
  const Pull* pulls;
  MouthConstants mouth;
  BrowConstants brows[2]; ///< Left, right; so are all that follow.
  EyeConstants eyes[2];
  RampConstants cheeks_up[2], cheeks_out[2], nostrils_up[2];

  VgeTVector deltas[23][7]; ///< By FaceBatch's template columns: the template's pose minus the rest pose.

private:
  std::vector<Entry> mEntries;
  std::vector<Pull> mPulls;
};

} // namespace mien::detail::batch
