#pragma once

#include "host/base/point.h"
#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A box along the take's axes, in millimetres.
struct Extents {
  Point low; ///< smallest x, y, z
  Point high;
};

/// What a take holds for one marker.
struct MarkerDescription {
  std::string name;
  std::vector<FrameSpan> gaps;          ///< see GapsOf
  std::size_t gap_frames = 0;           ///< in all gaps, frames without any marker included
  std::optional<FrameSpan> longest_gap; ///< the first of several
  double longest_gap_s = 0;             ///< from its first frame to the end of its last
  std::size_t computed = 0;             ///< positions of Origin::Computed
  std::size_t filled = 0;               ///< positions of Origin::Filled
  std::optional<double> residual_mm;    ///< mean of all sightings; nothing without any
  std::optional<Extents> extents;       ///< of its positions; nothing for a marker that is never seen
};

/// Where a face looks, as unit vectors in the take's axes.
struct FaceDirections {
  Point left; ///< the performer's own
  Point up;
  Point forward;
};

/// What there is to know about a take before working with it.
struct TakeDescription {
  std::string file;
  std::string name;
  std::string format;
  std::string flavour; ///< may be empty
  std::string unit;    ///< of lengths in the file; may be empty
  std::size_t frames = 0;
  std::int64_t first_frame = 0; ///< as numbered in the file
  std::int64_t last_frame = 0;
  std::int64_t missing_frames = 0; ///< missing numbers between first and last
  std::size_t empty_frames = 0;    ///< frames without any marker
  FrameRate rate;
  double start_s = 0; ///< the first frame's time
  /// From the first frame to the end of the last: one period more than their times are apart.
  double duration_s = 0;
  std::optional<Timecode> timecode; ///< of the first frame
  std::string last_timecode;        ///< of the last frame; empty without one
  std::vector<MarkerDescription> markers;
  std::optional<Extents> extents; ///< over all markers; nothing if none is ever seen
  std::vector<TakeEvent> events;
  /// Names that are easily confused, in groups: equal ones and those that differ only in letter case.
  std::vector<std::vector<std::string>> like_names;
  std::vector<std::string> notes;

  std::vector<std::int64_t> frame_numbers; ///< of every frame, for the gaps (size: frames)
  std::vector<double> times;               ///< (size: frames)

  /// What the format says about the axes, or else "guess: ..." with its reason; empty if there is neither.
  /// The guess: if along exactly one axis every marker stays half a metre or more to one side of the origin,
  /// which in capture volumes is on the floor, that way is up.
  std::string axes;

  /// The caller sets this: only a performer says which way the face looks.
  std::optional<FaceDirections> face;
};

/// Describes any take, even without frames or markers.
TakeDescription Describe(const Take& take);

} // namespace mien
