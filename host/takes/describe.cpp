#include "host/takes/describe.h"

#include "host/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace mien {
namespace {

// Grows a box that is empty while `any` is false.
void Include(const Point& low, const Point& high, bool any, Point& box_low, Point& box_high) {
  if (!any) {
    box_low = low;
    box_high = high;
    return;
  }
  box_low = {std::min(box_low.x, low.x), std::min(box_low.y, low.y), std::min(box_low.z, low.z)};
  box_high = {std::max(box_high.x, high.x), std::max(box_high.y, high.y), std::max(box_high.z, high.z)};
}

MarkerDescription DescribeMarker(const Take& take, std::size_t marker) {
  MarkerDescription description;
  description.name = take.markers[marker];
  std::size_t run = 0;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    if (const Point* p = take.At(frame, marker)) {
      Include(*p, *p, frame > description.gaps, description.low, description.high);
      run = 0;
    } else {
      ++description.gaps;
      description.longest_gap = std::max(description.longest_gap, ++run);
    }
  }
  return description;
}

bool IsEmpty(const Take& take, std::size_t frame) {
  for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
    if (take.At(frame, marker)) return false;
  return true;
}

std::string Tenths(double value) {
  const std::string text = fmt::format("{:.1f}", value);
  return text == "-0.0" ? "0.0" : text;
}

std::string Range(double low, double high) { return Tenths(low) + " to " + Tenths(high); }

} // namespace

TakeDescription Describe(const Take& take) {
  TakeDescription d;
  d.name = take.name;
  d.format = take.format;
  d.frames = take.FrameCount();
  d.rate_hz = take.rate_hz;
  d.notes = take.notes;
  if (d.frames > 0) {
    d.first_frame = take.frames.front();
    d.last_frame = take.frames.back();
    d.missing_frames = d.last_frame - d.first_frame + 1 - static_cast<std::int64_t>(d.frames);
    d.duration_s = take.times.back() - take.times.front() + (take.rate_hz > 0 ? 1 / take.rate_hz : 0);
  }
  for (std::size_t frame = 0; frame < d.frames; ++frame)
    if (IsEmpty(take, frame)) ++d.empty_frames;
  bool any = false;
  for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) {
    d.markers.push_back(DescribeMarker(take, marker));
    const MarkerDescription& m = d.markers.back();
    if (m.gaps == d.frames) continue;
    Include(m.low, m.high, any, d.low, d.high);
    any = true;
  }
  return d;
}

std::string ToText(const TakeDescription& d) {
  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "{}: {}\n", Printable(d.name), d.format);
  fmt::format_to(to, "  frames    {} ({} to {}), {} missing, {} without any marker\n", d.frames,
                 d.first_frame, d.last_frame, d.missing_frames, d.empty_frames);
  fmt::format_to(to, "  rate      {:.6g} Hz\n", d.rate_hz);
  fmt::format_to(to, "  duration  {:.3f} s\n", d.duration_s);
  if (d.empty_frames == d.frames)
    fmt::format_to(to, "  extents   none, no marker is ever seen\n");
  else
    fmt::format_to(to, "  extents   x {}, y {}, z {} mm\n", Range(d.low.x, d.high.x),
                   Range(d.low.y, d.high.y), Range(d.low.z, d.high.z));
  for (const std::string& note : d.notes) fmt::format_to(to, "  note      {}\n", Printable(note));

  std::size_t width = std::string_view("marker").size();
  for (const MarkerDescription& m : d.markers) width = std::max(width, m.name.size());
  width = std::min<std::size_t>(width, 40);
  fmt::format_to(to, "  {} markers\n", d.markers.size());
  fmt::format_to(to, "  {:<{}}  {:>6}  {:>7}  {:>20}  {:>20}  {:>20}\n", "marker", width, "gaps", "longest",
                 "x mm", "y mm", "z mm");
  for (const MarkerDescription& m : d.markers) {
    fmt::format_to(to, "  {:<{}}  {:>6}  {:>7}", Printable(m.name), width, m.gaps, m.longest_gap);
    if (m.gaps == d.frames)
      fmt::format_to(to, "  never seen\n");
    else
      fmt::format_to(to, "  {:>20}  {:>20}  {:>20}\n", Range(m.low.x, m.high.x), Range(m.low.y, m.high.y),
                     Range(m.low.z, m.high.z));
  }
  return fmt::to_string(text);
}

} // namespace mien
