#include "host/formats/write_take.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/c3d.h"
#include "host/formats/marker_csv.h"
#include "host/formats/trc.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {
namespace {

struct Format {
  TakeFormat format;
  std::string_view name;
  std::string_view ending;
  void (*write)(const Take& take, std::ostream& out);
};

constexpr Format kFormats[] = {{TakeFormat::C3d, "C3D", ".c3d", WriteC3d},
                               {TakeFormat::Trc, "TRC", ".trc", WriteTrc},
                               {TakeFormat::MarkerCsv, "marker CSV", ".csv", WriteMarkerCsv}};

const Format& Of(TakeFormat format) {
  return *std::find_if(std::begin(kFormats), std::end(kFormats),
                       [&](const Format& f) { return f.format == format; });
}

double Distance(const Point& a, const Point& b) {
  const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return std::sqrt(x * x + y * y + z * z);
}

std::string Counted(std::size_t count, std::string_view one, std::string_view many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

struct Losses {
  std::vector<Note> notes;

  template <typename... Arguments>
  void Add(fmt::format_string<Arguments...> what, Arguments&&... arguments) {
    notes.push_back({Code::Lossy, "", fmt::format(what, std::forward<Arguments>(arguments)...)});
  }
};

// How positions, and what is known of each, differ.
class Positions {
public:
  void Compare(const Take& take, std::size_t frame, const Take& kept, std::size_t kept_frame) {
    for (std::size_t m = 0; m < std::min(take.MarkerCount(), kept.MarkerCount()); ++m) {
      const Point* const was = take.At(frame, m);
      const Point* const is = kept.At(kept_frame, m);
      if (!was || !is) {
        lost_ += was != nullptr;
        made_up_ += is != nullptr;
        continue;
      }
      if (const double moved = Distance(*was, *is); moved > most_moved_) {
        most_moved_ = moved;
        where_moved_ = fmt::format("{} in frame {}", Quoted(take.markers[m]), take.frames[frame]);
      }
      CompareOrigins(take.OriginAt(frame, m), kept.OriginAt(kept_frame, m));
      if (take.OriginAt(frame, m) == Origin::Computed)
        CompareCameras(take.CamerasAt(frame, m), kept.CamerasAt(kept_frame, m));
      CompareSightings(take.SightingAt(frame, m), take.residual_mm, kept.SightingAt(kept_frame, m),
                       kept.residual_mm);
    }
  }

  void AddTo(Losses& lost) const {
    const auto add = [&](std::size_t count, std::string_view one, std::string_view many) {
      if (count > 0) lost.Add("{}", Counted(count, one, many));
    };
    add(lost_, "position became a gap", "positions became gaps");
    add(made_up_, "gap became a position", "gaps became positions");
    if (most_moved_ > 0)
      lost.Add("positions are rounded, by {:.2g} mm at most ({})", most_moved_, where_moved_);
    add(computed_as_measured_, "computed position becomes a measured one",
        "computed positions become measured ones");
    add(filled_as_measured_, "filled position becomes a measured one",
        "filled positions become measured ones");
    add(filled_as_computed_, "filled position becomes a computed one",
        "filled positions become computed ones");
    add(measured_as_computed_, "measured position becomes a computed one",
        "measured positions become computed ones");
    add(sightings_, "position loses its cameras and residual", "positions lose their cameras and residuals");
    add(cameras_, "position has other cameras", "positions have other cameras");
    if (most_residual_ > 0) lost.Add("residuals are rounded, by {:.2g} mm at most", most_residual_);
  }

private:
  void CompareOrigins(Origin was, Origin is) {
    computed_as_measured_ += was == Origin::Computed && is != was;
    filled_as_measured_ += was == Origin::Filled && is == Origin::Measured;
    filled_as_computed_ += was == Origin::Filled && is == Origin::Computed;
    measured_as_computed_ += was == Origin::Measured && is != was;
  }

  void CompareCameras(std::uint8_t was, std::uint8_t is) {
    if (was == 0 || was == is) return;
    ++(is == 0 ? sightings_ : cameras_);
  }

  void CompareSightings(const std::optional<Sighting>& was, double was_mm, const std::optional<Sighting>& is,
                        double is_mm) {
    if (!was) return;
    if (!is) {
      ++sightings_;
      return;
    }
    cameras_ += was->cameras != is->cameras;
    most_residual_ = std::max(most_residual_, std::abs(was->residual * was_mm - is->residual * is_mm));
  }

  std::size_t lost_ = 0, made_up_ = 0;
  double most_moved_ = 0;
  std::string where_moved_;
  std::size_t computed_as_measured_ = 0, filled_as_measured_ = 0, filled_as_computed_ = 0,
              measured_as_computed_ = 0;
  std::size_t sightings_ = 0, cameras_ = 0;
  double most_residual_ = 0;
};

void CompareMarkers(const Take& take, const Take& kept, Losses& lost) {
  if (kept.MarkerCount() != take.MarkerCount())
    lost.Add("{} markers instead of {}", kept.MarkerCount(), take.MarkerCount());
  std::size_t renamed = 0;
  std::string first;
  for (std::size_t m = 0; m < std::min(take.MarkerCount(), kept.MarkerCount()); ++m)
    if (take.markers[m] != kept.markers[m] && renamed++ == 0)
      first = fmt::format("{} is now {}", Quoted(take.markers[m]), Quoted(kept.markers[m]));
  if (renamed > 0) lost.Add("{}: {}", Counted(renamed, "marker is renamed", "markers are renamed"), first);
}

void CompareFrames(const Take& take, const Take& kept, Losses& lost) {
  const std::size_t count = take.FrameCount(), kept_count = kept.FrameCount();
  if (count == 0 || kept_count == 0) {
    if (count != kept_count) lost.Add("{} frames instead of {}", kept_count, count);
    return;
  }
  const std::int64_t renumbered = kept.frames[0] - take.frames[0];
  if (renumbered != 0)
    lost.Add("the first frame's number is {} instead of {}", kept.frames[0], take.frames[0]);

  Positions positions;
  std::size_t matched = 0;
  double most_shift = 0;
  std::int64_t where_shifted = 0;
  for (std::size_t f = 0, k = 0; f < count && k < kept_count;) {
    const std::int64_t number = take.frames[f] + renumbered;
    if (number != kept.frames[k]) {
      ++(kept.frames[k] < number ? k : f);
      continue;
    }
    ++matched;
    positions.Compare(take, f, kept, k);
    const double shift = std::abs((kept.times[k] - kept.times[0]) - (take.times[f] - take.times[0]));
    if (shift > most_shift) {
      most_shift = shift;
      where_shifted = take.frames[f];
    }
    ++f;
    ++k;
  }
  if (matched < count) lost.Add("{}", Counted(count - matched, "frame is lost", "frames are lost"));
  if (matched < kept_count)
    lost.Add("{}", Counted(kept_count - matched, "missing frame becomes an empty one",
                           "missing frames become empty ones"));

  constexpr double kNothing = 1e-9; // seconds; times that are counted from frames in two ways differ by less
  if (std::abs(kept.times[0] - take.times[0]) > kNothing)
    lost.Add("the first frame's time is {} s instead of {} s", kept.times[0], take.times[0]);
  if (most_shift > kNothing)
    lost.Add("times become multiples of the rate's period and shift by {:.2g} ms at most (frame {})",
             1000 * most_shift, where_shifted);
  positions.AddTo(lost);
}

void CompareEvents(const Take& take, const Take& kept, Losses& lost) {
  std::map<std::string_view, std::vector<double>> times; // of the events of each label, the last first
  for (std::size_t i = kept.events.size(); i-- > 0;)
    times[kept.events[i].label].push_back(kept.events[i].time);
  std::vector<std::string> left_out; // labels
  double most_shift = 0;
  for (const TakeEvent& event : take.events) {
    const auto found = times.find(event.label);
    if (found == times.end() || found->second.empty()) {
      left_out.push_back(event.label);
      continue;
    }
    most_shift = std::max(most_shift, std::abs(found->second.back() - event.time));
    found->second.pop_back();
  }
  if (!left_out.empty())
    lost.Add("{} left out: {}", Counted(left_out.size(), "event is", "events are"), SomeQuoted(left_out, 3));
  if (most_shift > 0) lost.Add("events shift by {:.2g} ms at most", 1000 * most_shift);
}

} // namespace

std::optional<TakeFormat> TakeFormatOf(const std::filesystem::path& path) {
  const std::string ending = ToLower(path.extension().string());
  for (const Format& format : kFormats)
    if (ending == format.ending) return format.format;
  return std::nullopt;
}

std::string_view ToText(TakeFormat format) { return Of(format).name; }

void WriteTake(const Take& take, TakeFormat format, std::ostream& out) { Of(format).write(take, out); }

std::vector<Note> WhatWasLost(const Take& take, const Take& kept) {
  Losses lost;
  CompareMarkers(take, kept, lost);
  CompareFrames(take, kept, lost);
  if (take.rate != kept.rate)
    lost.Add("the rate is {} Hz instead of {} Hz", ToText(kept.rate), ToText(take.rate));
  if (take.timecode && !kept.timecode)
    lost.Add("the timecode, {}, is left out", ToText(*take.timecode));
  else if (take.timecode && take.timecode != kept.timecode)
    lost.Add("the timecode is {} instead of {}", ToText(*kept.timecode), ToText(*take.timecode));
  if (take.gaze_axes != kept.gaze_axes) lost.Add("where the eyes look is left out");
  CompareEvents(take, kept, lost);
  return std::move(lost.notes);
}

} // namespace mien
