#pragma once

#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/base/point.h"
#include "host/takes/frame_rate.h"
#include "host/takes/gaze.h"
#include "host/takes/timecode.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// Where a position comes from.
enum class Origin : std::uint8_t {
  None,     ///< there is no position: a gap
  Measured, ///< by the recording's cameras or tracker
  Computed, ///< by the program that wrote the file: interpolated, filtered, made up
  Filled,   ///< by us: see fill_gaps.h
};

/// What a camera system reports about one measured position.
struct Sighting {
  std::uint8_t cameras = 0;  ///< bit i: camera i + 1 took part; 0 if unknown
  std::uint8_t residual = 0; ///< mean distance of the cameras' rays from it, in units of Take::residual_mm
};

/// A named moment of a recording.
struct TakeEvent {
  double time = 0; ///< seconds, on the clock of Take::times
  std::string label;
};

/// A recording of markers: for each frame and marker a position in millimetres, or nothing. A marker that was
/// not seen is a gap, never a zero or NaN position.
///
/// The axes are the source's, made right-handed; a performer says which way the face looks.
struct Take {
  Take() = default;
  explicit Take(std::vector<std::string> marker_names) : markers(std::move(marker_names)) {}

  std::string file;    ///< its path as the user wrote it, for messages
  std::string name;    ///< the file's name without folder and ending
  std::string format;  ///< the source format, as a user reads it: "marker CSV"
  std::string flavour; ///< the kind of that format: "Intel, float"; may be empty
  std::string unit;    ///< of lengths in the file: "m"; positions here are always millimetres
  std::string axes;    ///< what the format says about them: "+y up, ..."; empty if nothing
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame; nothing if the file has none

  /// Marker names in the file's order, UTF-8. Complete before the first AddFrame; renaming one later is fine.
  std::vector<std::string> markers;
  LongVector<std::int64_t> frames; ///< each frame's number in the file: rising, not always from 1, may skip
  LongVector<double> times;        ///< each frame's time in seconds: rising, not always from 0
  std::vector<TakeEvent> events;   ///< by time

  /// The millimetres of a Sighting's residual of 1; above 0 where the file has sightings. Set before the
  /// first AddFrame.
  double residual_mm = 0;

  /// Where the file has directions of the eyes beside the markers: their axes. Set before the first AddFrame.
  std::optional<GazeAxes> gaze_axes;
  LongVector<Gaze> gaze; ///< (size: frames, or 0 without gaze_axes)

  /// What the reader forgave or noticed, for the user: "line 7: 7 keys instead of 8", "frames missing: 3
  /// after frame 57".
  std::vector<Note> notes;

  std::size_t FrameCount() const { return frames.size(); }
  std::size_t MarkerCount() const { return markers.size(); }
  bool HasSightings() const { return residual_mm > 0; }

  /// Appends a frame in which every marker is a gap. Returns its index.
  std::size_t AddFrame(std::int64_t number, double time) {
    const std::size_t size = positions_.size() + markers.size();
    positions_.resize(size);
    origins_.resize(size, Origin::None);
    if (HasSightings()) sightings_.resize(size);
    frames.push_back(number);
    times.push_back(time);
    if (gaze_axes) gaze.emplace_back();
    return frames.size() - 1;
  }

  /// Appends frames that have no values yet. The caller must write all of them, also of gaps: `frames`, `times`,
  /// RowOf, and `gaze` of a take with gaze_axes. Different threads may write different frames. Returns the index
  /// of the first.
  std::size_t AddFrames(std::size_t count) {
    const std::size_t first = frames.size();
    positions_.extend(count * markers.size());
    origins_.extend(count * markers.size());
    if (HasSightings()) sightings_.extend(count * markers.size());
    frames.extend(count);
    times.extend(count);
    if (gaze_axes) gaze.extend(count);
    return first;
  }

  /// Takes back the last AddFrame.
  void RemoveLastFrame() {
    const std::size_t size = positions_.size() - markers.size();
    positions_.resize(size);
    origins_.resize(size);
    if (HasSightings()) sightings_.resize(size);
    frames.pop_back();
    times.pop_back();
    if (gaze_axes) gaze.pop_back();
  }

  /// The position at a frame and marker, both by index; null for a gap. Valid until the next AddFrame.
  const Point* At(std::size_t frame, std::size_t marker) const {
    const std::size_t i = Index(frame, marker);
    return origins_[i] == Origin::None ? nullptr : &positions_[i];
  }

  Origin OriginAt(std::size_t frame, std::size_t marker) const { return origins_[Index(frame, marker)]; }

  /// What the cameras report about a position; nothing for a position that they did not measure, and in a
  /// take without sightings.
  std::optional<Sighting> SightingAt(std::size_t frame, std::size_t marker) const {
    if (!HasSightings() || OriginAt(frame, marker) != Origin::Measured) return std::nullopt;
    return sightings_[Index(frame, marker)];
  }

  /// The cameras that the file names for a position, as Sighting has them: also for a computed one, as
  /// programs write that filter what they measured. 0 where none are known, for a filled position, and in a
  /// take without sightings.
  std::uint8_t CamerasAt(std::size_t frame, std::size_t marker) const {
    const Origin origin = OriginAt(frame, marker);
    if (!HasSightings() || (origin != Origin::Measured && origin != Origin::Computed)) return 0;
    return sightings_[Index(frame, marker)].cameras;
  }

  /// `position` must be finite, `origin` not None.
  void Set(std::size_t frame, std::size_t marker, const Point& position, Origin origin = Origin::Measured) {
    const std::size_t i = Index(frame, marker);
    positions_[i] = position;
    origins_[i] = origin;
  }

  /// Makes a gap.
  void Clear(std::size_t frame, std::size_t marker) { origins_[Index(frame, marker)] = Origin::None; }

  /// All markers of one frame, to write them at once (sizes: markers; sightings empty in a take without).
  struct Row {
    std::span<Point> positions;
    std::span<Origin> origins;
    std::span<Sighting> sightings;
  };
  Row RowOf(std::size_t frame) {
    const std::size_t first = Index(frame, 0), count = markers.size();
    return {positions_.subspan(first, count), origins_.subspan(first, count),
            HasSightings() ? sightings_.subspan(first, count) : std::span<Sighting>()};
  }

  /// The origins of all markers in a frame (size: markers).
  std::span<const Origin> OriginsOf(std::size_t frame) const {
    return origins_.subspan(Index(frame, 0), markers.size());
  }

  /// All positions and their origins, frame by frame (size: frames x markers), for a reader outside. The
  /// position of a gap has no meaning. Valid until the next AddFrame.
  const Point* Positions() const { return positions_.data(); }
  const Origin* Origins() const { return origins_.data(); }

  /// Index of the marker with exactly this name, letter case included: some takes have two markers
  /// "Rcheek_up" and "Rcheek_Up". Of equal names the first.
  std::optional<std::size_t> FindMarker(std::string_view marker) const {
    for (std::size_t i = 0; i < markers.size(); ++i)
      if (markers[i] == marker) return i;
    return std::nullopt;
  }

private:
  std::size_t Index(std::size_t frame, std::size_t marker) const { return frame * markers.size() + marker; }

  // Frame by frame (size: frames x markers).
  LongVector<Point> positions_;
  LongVector<Origin> origins_;
  LongVector<Sighting> sightings_; // empty in a take without
};

} // namespace mien
