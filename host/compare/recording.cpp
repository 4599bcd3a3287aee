#include "host/compare/recording.h"

#include <limits>
#include <numbers>
#include <unordered_set>

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
  recording.frames = {take.frames.begin(), take.frames.end()};
  recording.times = {take.times.begin(), take.times.end()};
  recording.notes = take.notes;
  return recording;
}

template <class Value>
std::vector<double> ValuesOf(std::size_t frames, const Value& value) {
  std::vector<double> values(frames);
  for (std::size_t f = 0; f < frames; ++f) values[f] = value(f);
  return values;
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
  for (std::size_t n = 0; n < take.names.size(); ++n)
    recording.curves.push_back(
        {group, take.names[n], "", ValuesOf(frames, [&](std::size_t f) { return take.Weight(f, n); })});
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
  std::unordered_set<std::string> names;
  for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
    if (!names.insert(take.markers[m]).second) continue;
    Curve marker = {"Markers", take.markers[m], "mm",
                    std::vector<double>(3 * frames, std::numeric_limits<double>::quiet_NaN())};
    for (std::size_t f = 0; f < frames; ++f)
      if (const Point* const p = take.At(f, m)) {
        marker.values[f] = p->x;
        marker.values[frames + f] = p->y;
        marker.values[2 * frames + f] = p->z;
      }
    recording.curves.push_back(std::move(marker));
  }
  return recording;
}

} // namespace mien
