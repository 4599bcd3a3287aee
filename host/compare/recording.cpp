#include "host/compare/recording.h"

#include <algorithm>
#include <limits>
#include <numbers>
#include <span>
#include <unordered_set>
#include <vector>

namespace mien {

namespace {

/// What both kinds have.
template <class Source>
Recording WithoutCurves(const Source& take) {
  Recording recording;
  recording.file = take.file;
  recording.name = take.name;
  recording.format = take.format;
  recording.rate = take.rate;
  recording.timecode = take.timecode;
  recording.frames = take.frames;
  recording.times = take.times;
  recording.notes = take.notes;
  return recording;
}

template <class Value>
LongVector<double> ValuesOf(std::size_t frames, const Value& value) {
  LongVector<double> values(frames);
  for (std::size_t f = 0; f < frames; ++f) values[f] = value(f);
  return values;
}

/// Calls `write(first, count)` for ranges of frames: what is written curve by curve is then fetched once for many
/// frames, however many curves there are, and what is read frame by frame comes from a cache.
template <class Write>
void InRanges(std::size_t frames, const Write& write) {
  constexpr std::size_t kAtOnce = 512;
  for (std::size_t first = 0; first < frames; first += kAtOnce)
    write(first, std::min(kAtOnce, frames - first));
}

} // namespace

std::string Recording::TimecodeAt(std::size_t frame) const {
  return timecode ? timecode->At(times[frame] - times[0] + timecode_offset_s) : "";
}

Recording RecordingOf(const WeightTake& take) {
  constexpr double kDegrees = 180 / std::numbers::pi;
  Recording recording = WithoutCurves(take);
  recording.kind = RecordingKind::Animation;
  recording.timecode_offset_s = take.timecode_offset_s;
  const std::size_t frames = take.frames.size();
  const char* const group = take.HasTemplates() ? "Templates" : "Shapes";
  for (const std::string& name : take.names) {
    recording.curves.push_back({group, name, "", {}});
    recording.curves.back().values.extend(frames);
  }
  InRanges(frames, [&](std::size_t first, std::size_t count) {
    for (std::size_t n = 0; n < take.names.size(); ++n) {
      const std::span<double> values = recording.curves[n].values.subspan(first, count);
      for (std::size_t i = 0; i < count; ++i) values[i] = take.Weight(first + i, n);
    }
  });
  const auto add_angle = [&](const char* of, const char* name, const auto& radians) {
    recording.curves.push_back(
        {of, name, "deg", ValuesOf(frames, [&](std::size_t f) { return radians(f) * kDegrees; })});
  };
  if (!take.heads.empty()) {
    add_angle("Head", "Yaw", [&](std::size_t f) { return take.heads[f].yaw; });
    add_angle("Head", "Pitch", [&](std::size_t f) { return take.heads[f].pitch; });
    add_angle("Head", "Roll", [&](std::size_t f) { return take.heads[f].roll; });
  }
  if (!take.eyes.empty()) {
    add_angle("Eyes", "LeftYaw", [&](std::size_t f) { return take.eyes[f][0].yaw; });
    add_angle("Eyes", "LeftPitch", [&](std::size_t f) { return take.eyes[f][0].pitch; });
    add_angle("Eyes", "RightYaw", [&](std::size_t f) { return take.eyes[f][1].yaw; });
    add_angle("Eyes", "RightPitch", [&](std::size_t f) { return take.eyes[f][1].pitch; });
  }
  return recording;
}

Recording RecordingOf(const Take& take) {
  Recording recording = WithoutCurves(take);
  recording.kind = RecordingKind::Take;
  const std::size_t frames = take.FrameCount();
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  std::unordered_set<std::string> names;
  std::vector<std::size_t> columns; // of the curves
  for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
    if (!names.insert(take.markers[m]).second) continue;
    recording.curves.push_back({"Markers", take.markers[m], "mm", {}});
    recording.curves.back().values.extend(3 * frames);
    columns.push_back(m);
  }
  InRanges(frames, [&](std::size_t first, std::size_t count) {
    for (std::size_t c = 0; c < columns.size(); ++c) {
      LongVector<double>& values = recording.curves[c].values;
      const std::span<double> x = values.subspan(first, count), y = values.subspan(frames + first, count),
                              z = values.subspan(2 * frames + first, count);
      for (std::size_t i = 0; i < count; ++i) {
        const Point* const p = take.At(first + i, columns[c]);
        x[i] = p ? p->x : kNone;
        y[i] = p ? p->y : kNone;
        z[i] = p ? p->z : kNone;
      }
    }
  });
  return recording;
}

} // namespace mien
