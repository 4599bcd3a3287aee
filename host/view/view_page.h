#pragma once

#include "host/animation/animated_head.h"
#include "host/base/point.h"
#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"
#include "mien/base/geometry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// What a page shows of a marker in a frame.
enum class MarkerState : std::uint8_t { Gap, Measured, Filled, Computed, Slipped };

struct ViewMarkers {
  std::vector<std::string> names;
  std::vector<std::string>
      parts; ///< what each drives: of the face, or "Head"; empty for none (size: markers)
  std::vector<std::array<float, 3>> positions; ///< millimetres; any for a gap (size: frames x markers)
  std::vector<MarkerState> states;             ///< (size: frames x markers)
  std::vector<std::optional<Point>> neutral;   ///< millimetres (size: markers, or 0 without a neutral pose)
};

/// Curves of one kind.
struct ViewCurves {
  std::string name; ///< "Templates"
  std::string unit; ///< "mm"; empty for weights
  double step = 0;  ///< to within half of which the page shows the values
  std::vector<std::string> curves;
  std::vector<double> values; ///< NaN where a curve has none (size: frames x curves)
};

/// Frames, by index, in which a marker or a part is not as measured.
struct ViewSpan {
  std::string kind; ///< "gap", "filled", "resting"
  std::string name;
  std::size_t first = 0, last = 0;
};

/// Frames, by index, that somebody should look at.
struct ViewFlag {
  std::string kind; ///< "jump"
  std::string text;
  std::size_t first = 0, last = 0;
  std::optional<std::pair<std::string, std::string>> curve = {}; ///< the name of its ViewCurves, and its own
};

struct ViewFacts {
  std::string title;
  std::vector<std::pair<std::string, std::string>> rows;
};

/// A head that follows an animation.
struct ViewHead {
  std::string name;
  AnimatedHead head;
  std::string weights; ///< the name of the ViewCurves that drive its morph targets

  /// From the head's scene, in metres, to the markers: scaled, then moved. Nothing where it is not known.
  struct Place {
    double scale = 1000;
    Point moved;
  };
  std::optional<Place> place;
};

/// A take, a solve or an animation.
struct ViewSide {
  std::string name;
  std::string command; ///< that made it; may be empty
  std::vector<ViewFacts> facts;
  std::vector<std::string> notes;
  std::optional<ViewMarkers> markers;
  std::vector<ViewCurves> curves;
  std::vector<ViewSpan> spans;
  std::vector<ViewFlag> flags;
  std::vector<std::pair<std::size_t, std::string>> worst; ///< frames, by index, the worst first
  /// Of the head, from the neutral pose in the axes of the neutral face, in millimetres (size: frames, or 0).
  std::vector<VgeAMatrix> head_motion;
  std::optional<ViewHead> head;
};

/// How a curve of two sides differs.
struct ViewDifference {
  std::string group, name;
  double largest = 0;
  std::size_t largest_frame = 0; ///< index
  double rms = 0;
  std::optional<double> correlation, lag_frames;
};

/// What one self-contained HTML file shows: one side, or two to compare, on the same frames.
struct ViewPage {
  std::string title;
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame
  double timecode_offset_s = 0;     ///< by which the first frame is later than that
  std::vector<std::int64_t> frames; ///< numbers: rising
  std::vector<double> times;        ///< seconds: rising (size: frames)
  std::vector<ViewSide> sides;      ///< one or two
  std::string alignment;            ///< of two sides: how they were aligned
  std::vector<ViewDifference> differences;

  /// Of a page that shows a stream: the path on its own server where it gets frames (live_side.h), each of which
  /// takes the place of one of `frames`. Empty for a page that has everything in it.
  std::string events;

  /// Kept for the heads of the sides, which refer to them. Other heads refer to animations of the caller's.
  std::vector<std::shared_ptr<const Animation>> animations;
};

/// Writes the page. `viewer` is the file that shows it (ViewerPage in viewer_page.h).
void WriteViewPage(const ViewPage& page, std::string_view viewer, std::ostream& out);

} // namespace mien
