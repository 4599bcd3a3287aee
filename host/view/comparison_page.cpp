#include "host/view/comparison_page.h"

#include "host/base/text.h"
#include "host/view/animation_side.h"
#include "host/view/weight_side.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>
#include <utility>

namespace mien {

namespace {

constexpr double kWeightStep = 0.001;
constexpr double kDegreeStep = 0.01;

const Curve* FindCurve(const Recording& recording, std::string_view group, std::string_view name) {
  for (const Curve& curve : recording.curves)
    if (curve.group == group && curve.name == name) return &curve;
  return nullptr;
}

/// An angle in radians; NaN without the curve.
double AngleAt(const Recording& recording, std::string_view group, std::string_view name, std::size_t frame) {
  const Curve* const curve = FindCurve(recording, group, name);
  return (curve ? curve->values[frame] : std::nan("")) * std::numbers::pi / 180;
}

/// The weights and angles of a recording, which its head follows.
WeightTake WeightsOf(const Recording& recording) {
  WeightTake take;
  take.name = recording.name;
  take.rate = recording.rate;
  take.frames = recording.frames;
  take.times = recording.times;
  std::vector<const Curve*> weights;
  for (const Curve& curve : recording.curves)
    if (curve.unit.empty()) weights.push_back(&curve);
  for (const Curve* const curve : weights) take.names.push_back(curve->name);
  const bool has_head = FindCurve(recording, "Head", "Yaw"),
             has_eyes = FindCurve(recording, "Eyes", "LeftYaw");
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    for (const Curve* const curve : weights) take.weights.push_back(curve->values[f]);
    const auto head = [&](const char* name) { return AngleAt(recording, "Head", name, f); };
    const auto eye = [&](const char* name) { return AngleAt(recording, "Eyes", name, f); };
    if (has_head) take.heads.push_back({.yaw = head("Yaw"), .pitch = head("Pitch"), .roll = head("Roll")});
    if (has_eyes)
      take.eyes.push_back({EyeAngles{.yaw = eye("LeftYaw"), .pitch = eye("LeftPitch")},
                           EyeAngles{.yaw = eye("RightYaw"), .pitch = eye("RightPitch")}});
  }
  return take;
}

/// The curves of each group, in the order of the recording.
std::vector<ViewCurves> CurvesOf(const Recording& recording) {
  std::vector<ViewCurves> groups;
  std::vector<std::vector<const Curve*>> members;
  for (const Curve& curve : recording.curves) {
    const auto known = std::find_if(groups.begin(), groups.end(),
                                    [&](const ViewCurves& g) { return g.name == curve.group; });
    const auto g = static_cast<std::size_t>(known - groups.begin());
    if (known == groups.end()) {
      groups.push_back({.name = curve.group,
                        .unit = curve.unit,
                        .step = curve.unit.empty() ? kWeightStep : kDegreeStep,
                        .curves = {},
                        .values = {}});
      members.emplace_back();
    }
    groups[g].curves.push_back(curve.name);
    members[g].push_back(&curve);
  }
  for (std::size_t g = 0; g < groups.size(); ++g)
    for (std::size_t f = 0; f < recording.frames.size(); ++f)
      for (const Curve* const curve : members[g]) groups[g].values.push_back(curve->values[f]);
  return groups;
}

ViewMarkers MarkersOf(const Recording& recording) {
  const std::size_t frames = recording.frames.size(), count = recording.curves.size();
  ViewMarkers markers;
  for (const Curve& curve : recording.curves) markers.names.push_back(curve.name);
  markers.parts.resize(count);
  markers.positions.resize(frames * count);
  markers.states.resize(frames * count, MarkerState::Gap);
  for (std::size_t m = 0; m < count; ++m)
    for (std::size_t f = 0; f < frames; ++f) {
      const LongVector<double>& at = recording.curves[m].values;
      if (std::isnan(at[f])) continue;
      markers.positions[f * count + m] = {static_cast<float>(at[f]), static_cast<float>(at[frames + f]),
                                          static_cast<float>(at[2 * frames + f])};
      markers.states[f * count + m] = MarkerState::Measured;
    }
  return markers;
}

ViewSide SideOf(const Recording& recording, std::size_t frames_of_file, const std::vector<std::string>& only,
                ViewPage& page) {
  ViewSide side;
  if (recording.kind == RecordingKind::Take) {
    side.markers = MarkersOf(recording);
  } else {
    side = SideOfWeights(WeightsOf(recording), page);
    side.curves = CurvesOf(recording);
  }
  side.name = recording.name;
  ViewFacts facts = {.title = "File",
                     .rows = {{"File", recording.file},
                              {"Format", recording.format},
                              {"Frames", fmt::format("{}, of which {} are compared", frames_of_file,
                                                     recording.frames.size())},
                              {"Rate", ToText(recording.rate) + " Hz"}}};
  if (!only.empty()) facts.rows.emplace_back("Only here", Some(only));
  side.facts = {std::move(facts)};
  side.notes = Messages(recording.notes);
  return side;
}

} // namespace

ViewPage PageOf(const Comparison& comparison) {
  const Recording &a = comparison.a, &b = comparison.b;
  ViewPage page;
  page.title = fmt::format("{} and {}", a.name, b.name);
  page.rate = a.rate;
  page.timecode = a.timecode;
  page.timecode_offset_s = a.timecode_offset_s;
  page.frames = {a.frames.begin(), a.frames.end()};
  page.times = {a.times.begin(), a.times.end()};
  page.sides.push_back(SideOf(a, comparison.frames_a, comparison.only_a, page));
  page.sides.push_back(SideOf(b, comparison.frames_b, comparison.only_b, page));
  page.alignment = comparison.alignment.Text();
  for (const Comparison::Pair& pair : comparison.pairs) {
    const CurveDifference& difference = pair.difference;
    if (difference.compared == 0) continue;
    page.differences.push_back({.group = a.curves[pair.a].group,
                                .name = a.curves[pair.a].name,
                                .largest = difference.largest,
                                .largest_frame = difference.largest_frame,
                                .rms = difference.rms,
                                .correlation = difference.correlation,
                                .lag_frames = difference.lag_frames});
  }
  return page;
}

} // namespace mien
