#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// A marker's position in millimetres.
struct Point {
  double x = 0;
  double y = 0;
  double z = 0;
};

/// A recording of markers: for each frame and marker a position in millimetres, or nothing. A marker that was
/// not seen is a gap, never a zero or NaN position.
///
/// The axes are those of the source, made right-handed; which way the face looks is for the performer to say.
struct Take {
  Take() = default;
  explicit Take(std::vector<std::string> marker_names) : markers(std::move(marker_names)) {}

  std::string file;   ///< its path as it was given, for messages
  std::string name;   ///< the file's name without folder and ending
  std::string format; ///< the source format, as a user reads it: "marker CSV"
  double rate_hz = 0; ///< frames per second; not always an integer: 30000/1001, 29.98

  /// Marker names in the file's order, UTF-8. Complete before the first AddFrame; renaming one later is fine.
  std::vector<std::string> markers;
  std::vector<std::int64_t> frames; ///< each frame's number in the file: rising, not always from 1, may skip
  std::vector<double> times;        ///< each frame's time in seconds: rising, not always from 0

  /// What the reader did or noticed that the user should hear, one sentence each: "frames missing: 3 after
  /// frame 57".
  std::vector<std::string> notes;

  std::size_t FrameCount() const { return frames.size(); }
  std::size_t MarkerCount() const { return markers.size(); }

  /// Appends a frame in which every marker is a gap. Returns its index.
  std::size_t AddFrame(std::int64_t number, double time) {
    frames.push_back(number);
    times.push_back(time);
    positions_.resize(positions_.size() + markers.size());
    present_.resize(present_.size() + markers.size(), 0);
    return frames.size() - 1;
  }

  /// The position at a frame and marker, both by index; null for a gap. Stays valid until the next AddFrame.
  const Point* At(std::size_t frame, std::size_t marker) const {
    const std::size_t i = frame * markers.size() + marker;
    return present_[i] ? &positions_[i] : nullptr;
  }

  /// `position` must be finite.
  void Set(std::size_t frame, std::size_t marker, const Point& position) {
    const std::size_t i = frame * markers.size() + marker;
    positions_[i] = position;
    present_[i] = 1;
  }

  /// Makes a gap.
  void Clear(std::size_t frame, std::size_t marker) { present_[frame * markers.size() + marker] = 0; }

  /// Index of the marker with exactly this name, letter case included: takes exist in which "Rcheek_up" and
  /// "Rcheek_Up" are two markers. Of equal names the first.
  std::optional<std::size_t> FindMarker(std::string_view marker) const {
    for (std::size_t i = 0; i < markers.size(); ++i)
      if (markers[i] == marker) return i;
    return std::nullopt;
  }

private:
  // Both frame-major (size: frames x markers).
  std::vector<Point> positions_;
  std::vector<std::uint8_t> present_;
};

} // namespace mien
