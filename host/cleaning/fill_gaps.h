#pragma once

#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What takes the place of a marker that was not seen for a while.
enum class FillMethod {
  None,   ///< nothing
  Hold,   ///< where it was seen last
  Linear, ///< the straight way from where it was seen last to where it is seen next
  Cubic,  ///< the curve that leaves and arrives with the marker's speed before and after
  Pattern ///< where its neighbours, taken as one rigid body, have carried it
};

std::string_view ToText(FillMethod method);

/// A method, and the longest gap that it may fill, in seconds. A longer one it does not fill, not even in part.
struct FillStep {
  FillMethod method;
  double longest_s;
};

/// What is tried for a gap, in this order: the first step that may fill it and can does. Empty: nothing is filled.
using FillPlan = std::vector<FillStep>;

/// "cubic:0.15,pattern:0.5", "none": methods, and behind a colon the longest gap in seconds. Without it the method's own
/// longest: it is DefaultLongest. Nothing for anything else.
std::string ToText(const FillPlan& plan);
std::optional<FillPlan> ParseFillPlan(std::string_view text);

/// The longest gap, in seconds, that a method may fill unless told otherwise.
///
/// On a face at 100 Hz that talks, sings and turns by up to 38 degrees, seen stretches of 16 markers were hidden and filled
/// in the head's frame. The largest error in each, in millimetres, for the middle one and for nine of ten:
///
///     hidden for   0.05 s      0.1 s       0.15 s      0.2 s       0.5 s        1 s
///     Hold         0.4, 2.0    0.6, 3.6    0.8, 4.7    1.0, 5.9    2.3, 10.8    3.9, 15.6
///     Linear       0.2, 0.6    0.3, 1.4    0.4, 2.2    0.6, 3.1    1.4,  7.0    2.9, 12.0
///     Cubic        0.2, 0.5    0.3, 1.2    0.5, 1.9    0.6, 3.0    1.7,  8.2    3.5, 14.5
///     Pattern      0.2, 0.6    0.3, 1.2    0.4, 1.6    0.6, 2.1    1.4,  4.3    2.4,  6.7
///     at rest                                                      4.3, 14.3
///
/// Up to the default, nine of ten stay below two millimetres; with Pattern, which is still three times nearer than a
/// marker at rest, below five. It is better than rest for longer still, but only as long as the neighbours are near: where a
/// whole part is hidden it holds what was seen last. Head markers rebuilt by it are within 1.8 mm at half a second and 3.3 at
/// two.
double DefaultLongest(FillMethod method);

struct FilledMarker {
  std::string marker;
  std::size_t gaps = 0;                   ///< see GapsOf
  std::size_t gap_frames = 0;             ///< in all of them
  std::size_t longest_gap = 0;            ///< frames
  std::array<std::size_t, 5> filled_by{}; ///< of gap_frames, those that each FillMethod filled

  std::size_t FilledFrames() const;
};

/// Fills the gaps of these markers (indices) in a take; the filled positions' origin is Filled. Linear and Cubic need
/// the marker on both sides of a gap, Hold before it. Pattern needs it on one side where the take begins or ends there, else on
/// both, and neighbours that are seen there and in the gap: up to five of `markers`, those that are seen in most of the gap and
/// then the nearest. Frames of the gap in which fewer than three of them are seen stay empty. Answers what was done,
/// for each of `markers`.
///
/// Times count, not frame numbers: the speed is right where a recording dropped frames.
std::vector<FilledMarker> FillGaps(Take& take, const std::vector<std::size_t>& markers, const FillPlan& plan);

} // namespace mien
