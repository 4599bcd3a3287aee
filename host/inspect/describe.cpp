#include "host/inspect/describe.h"

#include "host/base/text.h"
#include "host/takes/gaps.h"
#include "host/takes/one_place.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace mien {

namespace {

void Include(std::optional<Extents>& extents, const Extents& more) {
  if (!extents) extents = more;
  auto& [low, high] = *extents;
  low = {std::min(low.x, more.low.x), std::min(low.y, more.low.y), std::min(low.z, more.low.z)};
  high = {std::max(high.x, more.high.x), std::max(high.y, more.high.y), std::max(high.z, more.high.z)};
}

double Period(const FrameRate& rate) { return rate.numerator > 0 ? rate.Seconds(1) : 0; }

/// The gaps of each marker, and the longest of them.
void MeasureGaps(const Take& take, std::vector<MarkerDescription>& markers) {
  std::vector<std::vector<FrameSpan>> gaps = GapsOfAll(take);
  for (std::size_t m = 0; m < markers.size(); ++m) {
    MarkerDescription& marker = markers[m];
    marker.gaps = std::move(gaps[m]);
    for (const FrameSpan& gap : marker.gaps) {
      marker.gap_frames += gap.Count();
      if (!marker.longest_gap || gap.Count() > marker.longest_gap->Count()) marker.longest_gap = gap;
    }
    if (marker.longest_gap)
      marker.longest_gap_s =
          take.times[marker.longest_gap->end - 1] - take.times[marker.longest_gap->first] + Period(take.rate);
  }
}

/// The extents and origins of each marker's positions.
void MeasurePositions(const Take& take, std::vector<MarkerDescription>& markers) {
  struct Residuals {
    double sum = 0; // in whole units of Take::residual_mm
    std::size_t count = 0;
  };
  std::vector<Residuals> residuals(markers.size());
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t m = 0; m < markers.size(); ++m) {
      const Point* const p = take.At(frame, m);
      if (!p) continue;
      MarkerDescription& marker = markers[m];
      Include(marker.extents, {*p, *p});
      const Origin origin = take.OriginAt(frame, m);
      marker.computed += origin == Origin::Computed;
      marker.filled += origin == Origin::Filled;
      if (const auto sighting = take.SightingAt(frame, m)) {
        residuals[m].sum += sighting->residual;
        ++residuals[m].count;
      }
    }
  for (std::size_t m = 0; m < markers.size(); ++m)
    if (const auto& [sum, count] = residuals[m]; count > 0)
      markers[m].residual_mm = sum * take.residual_mm / static_cast<double>(count);
}

std::size_t EmptyFrames(const Take& take) {
  std::size_t empty = 0;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    std::size_t m = 0;
    while (m < take.MarkerCount() && !take.At(frame, m)) ++m;
    empty += m == take.MarkerCount();
  }
  return empty;
}

std::vector<std::vector<std::string>> LikeNames(const std::vector<std::string>& names) {
  std::map<std::string, std::vector<std::string>> groups;
  std::vector<std::string> order;
  for (const std::string& name : names) {
    const std::string folded = ToLower(name);
    auto& group = groups[folded];
    if (group.empty()) order.push_back(folded);
    group.push_back(name);
  }
  std::vector<std::vector<std::string>> like;
  for (const std::string& folded : order)
    if (groups[folded].size() > 1) like.push_back(groups[folded]);
  return like;
}

std::string GuessOfAxes(const std::optional<Extents>& extents) {
  if (!extents) return "";
  constexpr double kFarMm =
      500; // a seated child's face is higher, and no capture volume's centre is as far to the side
  const auto& [low, high] = *extents;
  const std::pair<double, double> ranges[] = {{low.x, high.x}, {low.y, high.y}, {low.z, high.z}};
  std::string guess;
  for (std::size_t axis = 0; axis < std::size(ranges); ++axis) {
    const auto [least, most] = ranges[axis];
    if (least < kFarMm && most > -kFarMm) continue;
    if (!guess.empty()) return ""; // two that could be
    guess = fmt::format("guess: {}{} up, since no marker comes nearer to the origin than {:.0f} mm along it",
                        least > 0 ? '+' : '-', "xyz"[axis], least > 0 ? least : -most);
  }
  return guess;
}

} // namespace

TakeDescription Describe(const Take& take) {
  TakeDescription d;
  d.file = take.file;
  d.name = take.name;
  d.format = take.format;
  d.flavour = take.flavour;
  d.unit = take.unit;
  d.frames = take.FrameCount();
  d.rate = take.rate;
  d.timecode = take.timecode;
  d.events = take.events;
  d.notes = Messages(take.notes);
  if (IsOnePlace(take)) d.notes.emplace_back("all markers are in one place in every frame");
  d.frame_numbers = {take.frames.begin(), take.frames.end()};
  d.times = {take.times.begin(), take.times.end()};
  d.like_names = LikeNames(take.markers);
  if (d.frames > 0) {
    d.first_frame = take.frames.front();
    d.last_frame = take.frames.back();
    d.missing_frames = d.last_frame - d.first_frame + 1 - static_cast<std::int64_t>(d.frames);
    d.start_s = take.times.front();
    d.duration_s = take.times.back() - take.times.front() + Period(take.rate);
    if (take.timecode) d.last_timecode = take.timecode->At(take.times.back() - take.times.front());
  }
  for (const std::string& name : take.markers) d.markers.emplace_back().name = name;
  MeasureGaps(take, d.markers);
  MeasurePositions(take, d.markers);
  d.empty_frames = EmptyFrames(take);
  for (const MarkerDescription& marker : d.markers)
    if (marker.extents) Include(d.extents, *marker.extents);
  d.axes = take.axes.empty() ? GuessOfAxes(d.extents) : take.axes;
  return d;
}

} // namespace mien
