#pragma once

#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The position of a missing marker.
enum class FillMethod {
  None,   ///< none: the gap is not filled
  Hold,   ///< the marker's last position
  Linear, ///< on the straight line from its last position to its next
  Cubic,  ///< on the curve from its last position to its next, with its speeds before and after
  Pattern ///< where its neighbours, as one rigid body, have carried it
};

/// The method's name: "none", "hold", "linear", "cubic" or "pattern".
std::string_view ToText(FillMethod method);

/// A method, and the longest gap that it may fill, in seconds. Longer gaps are not filled, not even in part.
struct FillStep {
  FillMethod method;
  double longest_s;
};

/// The steps that are tried for a gap, in this order. The first one that may and can fill it does. Without
/// steps, nothing is filled.
using FillPlan = std::vector<FillStep>;

/// The plan as text: methods, each with its longest gap in seconds after a colon, "cubic:0.15,pattern:0.5";
/// or "none".
std::string ToText(const FillPlan& plan);

/// Reads a plan. A method without a longest gap gets DefaultLongest. Returns nothing if the text is not a
/// plan.
std::optional<FillPlan> ParseFillPlan(std::string_view text);

/// The longest gap, in seconds, that a method fills by default.
///
/// Measured on a face at 100 Hz that talks, sings and turns by up to 38 degrees: visible stretches of 16
/// markers were hidden and filled in the head's frame. The largest error in a stretch, in millimetres, median
/// and 90th percentile:
///
///     hidden for   0.05 s      0.1 s       0.15 s      0.2 s       0.5 s        1 s
///     Hold         0.4, 2.0    0.6, 3.6    0.8, 4.7    1.0, 5.9    2.3, 10.8    3.9, 15.6
///     Linear       0.2, 0.6    0.3, 1.4    0.4, 2.2    0.6, 3.1    1.4,  7.0    2.9, 12.0
///     Cubic        0.2, 0.5    0.3, 1.2    0.5, 1.9    0.6, 3.0    1.7,  8.2    3.5, 14.5
///     Pattern      0.2, 0.6    0.3, 1.2    0.4, 1.6    0.6, 2.1    1.4,  4.3    2.4,  6.7
///     at rest                                                      4.3, 14.3
///
/// Up to the default, the 90th percentile is below two millimetres; with Pattern it is below five, a third of
/// the error of a marker at rest. Pattern is better than rest for longer gaps as well, but only while the
/// neighbours are near: if a whole part is hidden, it freezes the last pose. For head markers its 90th
/// percentile is 1.8 mm at half a second and 3.3 mm at two seconds.
double DefaultLongest(FillMethod method);

/// What FillGaps did to one marker.
struct FilledMarker {
  std::string marker;                     ///< its name
  std::size_t gaps = 0;                   ///< see GapsOf
  std::size_t gap_frames = 0;             ///< in all gaps
  std::size_t longest_gap = 0;            ///< frames
  std::array<std::size_t, 5> filled_by{}; ///< of gap_frames, those that each FillMethod filled

  /// Of gap_frames, those that are filled.
  std::size_t FilledFrames() const;
};

/// Fills the gaps of these markers (indices) in a take; the origin of the new positions is Filled.
///
/// Linear and Cubic need a position of the marker before and after the gap, Hold before it. Pattern needs
/// both, or one if the take begins or ends with the gap, and neighbours with positions there and in the gap:
/// up to five of `markers`, first those visible in most of the gap, then the nearest. Frames of the gap with
/// fewer than three of them stay empty, as do those in which a marker would be beyond a kilometre.
///
/// Uses times, not frame numbers, so that speeds are correct if the recording dropped frames. Returns what
/// was done for each of `markers`.
std::vector<FilledMarker> FillGaps(Take& take, const std::vector<std::size_t>& markers, const FillPlan& plan,
                                   std::size_t threads = 1);

} // namespace mien
