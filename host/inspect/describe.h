#pragma once

#include "host/takes/take.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Frames of a take by their places in it, both ends included: 0 is the first frame, whatever its number.
struct FrameRun {
  std::size_t first = 0;
  std::size_t last = 0;

  std::size_t Frames() const { return last - first + 1; }
  bool operator==(const FrameRun&) const = default;
  bool operator<(const FrameRun& other) const {
    return first != other.first ? first < other.first : last < other.last;
  }
};

struct MarkerDescription {
  std::string name;
  std::size_t gaps = 0;              ///< frames without this marker, those without any marker included
  std::vector<FrameRun> gap_runs;    ///< where they are, in order
  std::optional<FrameRun> longest;   ///< the longest of these, the first of several
  double longest_s = 0;              ///< from its first frame to the end of its last
  std::size_t computed = 0;          ///< positions of Origin::Computed
  std::size_t filled = 0;            ///< positions of Origin::Filled
  std::optional<double> residual_mm; ///< mean of all sightings; nothing where there are none
  Point low;  ///< smallest x, y, z in millimetres; (0, 0, 0) for a marker that is never seen
  Point high; ///< largest
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
  std::int64_t missing_frames = 0; ///< numbers between first and last that the file does not have
  std::size_t empty_frames = 0;    ///< frames that are there and hold no marker
  FrameRate rate;
  double start_s = 0; ///< the first frame's time
  double duration_s =
      0; ///< from the first frame to the end of the last: one period more than their times are apart
  std::optional<Timecode> timecode; ///< of the first frame
  std::string last_timecode;        ///< of the last frame; empty without one
  std::vector<MarkerDescription> markers;
  Point low; ///< over all markers; (0, 0, 0) without any
  Point high;
  std::vector<TakeEvent> events;
  /// Names that are easily taken for each other, in groups: equal ones, and such that only letter case tells apart.
  std::vector<std::vector<std::string>> like_names;
  std::vector<std::string> notes;

  std::vector<std::int64_t> frame_numbers; ///< of every frame, for the runs (size: frames)
  std::vector<double> times;               ///< (size: frames)

  /// What the format says of the axes, or else "guess: ..." with its reason; empty where nothing tells. A guess there is
  /// where along one axis alone every marker stays half a metre and more to one side of the origin, which in capture
  /// volumes lies on the floor: that way is up.
  std::string axes;

  /// For the caller to set: the take alone does not tell which way the face looks, a performer does.
  std::optional<FaceDirections> face;
};

TakeDescription Describe(const Take& take);

/// What a terminal can show.
struct Terminal {
  std::size_t columns = 80;
  bool utf8 = false; ///< otherwise the picture of the gaps is drawn in ASCII
};

/// As text for a terminal, in lines: what the take holds, a table of its markers and, where there are gaps, a picture of
/// them over time.
std::string ToText(const TakeDescription& description, const Terminal& terminal = {});

/// As JSON for programs. Numbers are not rounded, "..._s" are seconds, "..._mm" millimetres, frames are the file's
/// numbers, points and directions [x, y, z]; what a take has not is null, or an empty list.
///
///     {
///       "format": "mien take description 1",
///       "file": "takes/smile.c3d",
///       "name": "smile",
///       "source": { "format": "C3D", "flavour": "Intel, float", "unit": "mm" },
///       "frames": { "count": 3000, "first": 1, "last": 3001, "missing": 1, "empty": 0 },
///       "rate": { "text": "30000/1001", "numerator": 30000, "denominator": 1001, "hz": 29.97002997002997 },
///       "start_s": 0, "duration_s": 100.1,
///       "timecode": { "first": "10:02:59:29", "last": "10:04:39:29", "rate": "30", "drop": false },
///       "extents_mm": { "low": [x, y, z], "high": [x, y, z] },
///       "axes": "guess: +z up, since ...",
///       "face": { "left": [1, 0, 0], "up": [0, 0, 1], "forward": [0, -1, 0] },      null without a performer
///       "events": [{ "time_s": 1.5, "label": "clap" }],
///       "markers": [
///         {
///           "name": "chin",
///           "gaps": 42,                                      frames, all in
///           "gap_runs": [[57, 60], [301, 338]],              first and last frame of each
///           "longest_gap": { "frames": 38, "first": 301, "last": 338, "duration_s": 0.38 },
///           "computed": 12, "filled": 0,                     positions
///           "residual_mm": 0.31,                             mean
///           "extents_mm": { "low": [x, y, z], "high": [x, y, z] }
///         }
///       ],
///       "like_names": [["Cheek_up", "Cheek_Up"]],
///       "notes": ["frames missing: 1 after frame 57"]
///     }
std::string ToJson(const TakeDescription& description);

} // namespace mien
