#include "host/takes/part_of_take.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace mien {

namespace {

/// The timecode at the frame of this index, and whether it is a whole count; if not, the count before.
std::pair<Timecode, bool> TimecodeAt(const Take& take, std::size_t frame) {
  std::string text = take.timecode->At(take.times[frame] - take.times[0]);
  const std::size_t fraction = text.find('.');
  const bool whole = fraction == std::string::npos;
  if (!whole) text.erase(fraction);
  return {ParseTimecode(text + "@" + ToText(take.timecode->rate), take.timecode->rate).value(), whole};
}

FrameSpan Frames(const Take& take, const std::optional<FrameRange>& asked) {
  if (!asked) return {0, take.FrameCount()};
  const FrameSpan frames = FramesIn(*asked, take.frames);
  if (frames.Count() == 0)
    throw InputError(Code::NotFound, take.file, "",
                     fmt::format("there are no frames {} to {}", asked->first, asked->last),
                     take.frames.empty() ? "the take has none"
                                         : fmt::format("the take goes from frame {} to {}",
                                                       take.frames.front(), take.frames.back()));
  return frames;
}

/// The indices of the named markers; all if none is named.
std::vector<std::size_t> Markers(const Take& take, const std::vector<std::string>& asked) {
  std::vector<std::size_t> markers;
  if (asked.empty())
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) markers.push_back(m);
  for (const std::string& name : asked) {
    const auto found = take.FindMarker(name);
    if (!found)
      throw InputError(Code::NotFound, take.file, "", fmt::format("there is no marker {}", Quoted(name)),
                       "`mien info` lists the markers that it has");
    if (std::find(markers.begin(), markers.end(), *found) == markers.end()) markers.push_back(*found);
  }
  return markers;
}

} // namespace

Take PartOfTake(const Take& take, const std::optional<FrameRange>& asked_frames,
                const std::vector<std::string>& asked_markers) {
  const auto [first, end] = Frames(take, asked_frames);
  const std::vector<std::size_t> markers = Markers(take, asked_markers);
  Take part;
  part.file = take.file;
  part.name = take.name;
  part.format = take.format;
  part.flavour = take.flavour;
  part.unit = take.unit;
  part.rate = take.rate;
  part.residual_mm = take.residual_mm;
  part.gaze_axes = take.gaze_axes;
  part.axes = take.axes;
  part.notes = take.notes;
  if (asked_frames && (asked_frames->first < take.frames.front() || asked_frames->last > take.frames.back()))
    part.notes.push_back({Code::NotFound, "",
                          fmt::format("of frames {} to {} the take has {} to {}", asked_frames->first,
                                      asked_frames->last, take.frames[first], take.frames[end - 1])});
  for (const std::size_t m : markers) part.markers.push_back(take.markers[m]);

  const double start = take.times[first],
               stop = end < take.FrameCount() ? take.times[end] : std::numeric_limits<double>::infinity();
  for (const TakeEvent& event : take.events)
    if ((first == 0 || event.time >= start) && event.time < stop) part.events.push_back(event);
  if (take.timecode) {
    const auto [timecode, whole] = TimecodeAt(take, first);
    part.timecode = timecode;
    if (!whole)
      part.notes.push_back({Code::Lossy, "",
                            fmt::format("frame {} lies between two timecodes, {}; it gets the one before",
                                        take.frames[first], take.timecode->At(start - take.times[0]))});
  }

  for (std::size_t f = first; f < end; ++f) {
    const Take::Row to = part.RowOf(part.AddFrame(take.frames[f], take.times[f]));
    if (take.gaze_axes) part.gaze.back() = take.gaze[f];
    for (std::size_t i = 0; i < markers.size(); ++i) {
      const Point* const p = take.At(f, markers[i]);
      if (!p) continue;
      to.positions[i] = *p;
      to.origins[i] = take.OriginAt(f, markers[i]);
      if (!take.HasSightings()) continue;
      to.sightings[i] = take.SightingAt(f, markers[i]).value_or(Sighting{});
      to.sightings[i].cameras = take.CamerasAt(f, markers[i]);
    }
  }
  return part;
}

} // namespace mien
