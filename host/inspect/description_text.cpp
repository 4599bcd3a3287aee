#include "host/inspect/description_text.h"

#include "host/base/text.h"
#include "host/inspect/gap_picture.h"
#include "host/inspect/text_table.h"
#include "mien/base/elementary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace mien {

namespace {

std::string Tenths(double value) {
  const std::string text = fmt::format("{:.1f}", value);
  return text == "-0.0" ? "0.0" : text;
}

std::string Range(double low, double high) { return Tenths(low) + " to " + Tenths(high); }

// Rounded, but never to 0 or 100 unless it is exactly that.
std::string Percent(std::size_t part, std::size_t whole) {
  if (part == 0 || part == whole) return part == 0 ? "0 %" : "100 %";
  const std::string text = Tenths(100 * static_cast<double>(part) / static_cast<double>(whole));
  return text == "0.0" ? "<0.1 %" : text == "100.0" ? ">99.9 %" : text + " %";
}

std::string MarkerTable(const TakeDescription& d, std::size_t most) {
  const auto any = [&](auto has) { return std::any_of(d.markers.begin(), d.markers.end(), has); };
  const bool computed = any([](const MarkerDescription& m) { return m.computed > 0; });
  const bool filled = any([](const MarkerDescription& m) { return m.filled > 0; });
  const bool residual = any([](const MarkerDescription& m) { return m.residual_mm.has_value(); });

  std::vector<std::vector<std::string>> rows = {{"marker", "gaps", "of all", "longest", "lasting", "runs"}};
  if (computed) rows[0].push_back("computed");
  if (filled) rows[0].push_back("filled");
  if (residual) rows[0].push_back("residual mm");
  rows[0].insert(rows[0].end(), {"x mm", "y mm", "z mm"});
  for (const MarkerDescription& m : d.markers) {
    if (rows.size() > most) break;
    auto& row = rows.emplace_back();
    row = {Printable(m.name),
           fmt::format("{}", m.gap_frames),
           Percent(m.gap_frames, d.frames),
           m.longest_gap ? fmt::format("{}", m.longest_gap->Count()) : "-",
           m.longest_gap ? fmt::format("{:.3f} s", m.longest_gap_s) : "-",
           fmt::format("{}", m.gaps.size())};
    if (!m.extents) {
      row.push_back("never seen");
      continue;
    }
    if (computed) row.push_back(fmt::format("{}", m.computed));
    if (filled) row.push_back(fmt::format("{}", m.filled));
    if (residual) row.push_back(m.residual_mm ? fmt::format("{:.3f}", *m.residual_mm) : "none");
    const auto& [low, high] = *m.extents;
    row.insert(row.end(), {Range(low.x, high.x), Range(low.y, high.y), Range(low.z, high.z)});
  }
  std::string table = Table(rows);
  if (d.markers.size() > most)
    table += fmt::format("  and {} more; --all lists them\n", d.markers.size() - most);
  return table;
}

// The nearest axis to a direction, such as "+z", and the angle between them in degrees.
std::pair<std::string, double> NearestAxis(const Point& direction) {
  const double values[3] = {direction.x, direction.y, direction.z};
  std::size_t nearest = 0;
  for (std::size_t axis = 1; axis < 3; ++axis)
    if (std::abs(values[axis]) > std::abs(values[nearest])) nearest = axis;
  constexpr double kDegrees = 57.29577951308232;
  const double cosine = std::min(1.0, std::abs(values[nearest]));
  return {fmt::format("{}{}", values[nearest] < 0 ? '-' : '+', "xyz"[nearest]),
          kDegrees * ArcTangent2(std::sqrt(1 - cosine * cosine), cosine)};
}

std::string AxesText(const TakeDescription& d) {
  const std::optional<FaceDirections>& face = d.face;
  if (!face) return d.axes.empty() ? "unknown: name a performer (-p) to find them" : d.axes;
  const auto [up, up_off] = NearestAxis(face->up);
  const auto [forward, forward_off] = NearestAxis(face->forward);
  const auto [left, left_off] = NearestAxis(face->left);
  const double off = std::max({up_off, forward_off, left_off});
  constexpr double kMostOff = 40; // below 45 degrees the three axes are three
  if (!(off < kMostOff)) {
    const auto vector = [](const Point& p) { return fmt::format("({:.2f}, {:.2f}, {:.2f})", p.x, p.y, p.z); };
    return fmt::format("askew: up is {}, the face looks along {}", vector(face->up), vector(face->forward));
  }
  return fmt::format("{} up, the face looks along {}, {} is the performer's left (within {:.0f} degrees)", up,
                     forward, left, off);
}

std::string Lines(const std::string& title, const std::vector<std::string>& texts) {
  std::string lines;
  for (const std::string& text : texts) lines += fmt::format("  {:<9} {}\n", title, text);
  return lines;
}

std::vector<std::string> EventTexts(const std::vector<TakeEvent>& events) {
  constexpr std::size_t kShown = 5;
  std::vector<std::string> texts;
  for (const auto& [time, label] : events)
    texts.push_back(fmt::format("{:.3f} s {}", time, Printable(label)));
  if (texts.empty()) return {};
  return {fmt::format("{}: {}", events.size(), Some(texts, kShown))};
}

std::vector<std::string> LikeNameTexts(const std::vector<std::vector<std::string>>& groups) {
  std::vector<std::string> texts;
  for (const auto& group : groups) {
    const bool equal =
        std::all_of(group.begin(), group.end(), [&](const std::string& name) { return name == group[0]; });
    texts.push_back(equal ? fmt::format("{} is the name of {} markers; only the first is used",
                                        Quoted(group[0]), group.size())
                          : fmt::format("{} are {} markers: their names differ only in letter case",
                                        SomeQuoted(group, group.size()), group.size()));
  }
  return texts;
}

} // namespace

std::string ToText(const TakeDescription& d, const Terminal& terminal, std::size_t most_markers) {
  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "{}: {}", Printable(d.name), d.format);
  if (!d.flavour.empty()) fmt::format_to(to, " ({})", Printable(d.flavour));
  if (!d.unit.empty()) fmt::format_to(to, ", lengths in {}", Printable(d.unit));
  fmt::format_to(to, "\n  frames    {} ({} to {}), {} missing, {} without any marker\n", d.frames,
                 d.first_frame, d.last_frame, d.missing_frames, d.empty_frames);
  const std::string rate = ToText(d.rate);
  fmt::format_to(to, "  rate      {} Hz", rate);
  if (rate.find('/') != std::string::npos) fmt::format_to(to, " ({:.7g})", d.rate.Hz());
  fmt::format_to(to, "\n  duration  {:.3f} s\n", d.duration_s);
  if (d.timecode)
    fmt::format_to(to, "  timecode  {} to {}, {} counts per second\n", d.timecode->At(0), d.last_timecode,
                   ToText(d.timecode->rate));
  if (!d.extents) {
    fmt::format_to(to, "  extents   none, no marker is ever seen\n");
  } else {
    const auto& [low, high] = *d.extents;
    fmt::format_to(to, "  extents   x {}, y {}, z {} mm\n", Range(low.x, high.x), Range(low.y, high.y),
                   Range(low.z, high.z));
  }
  fmt::format_to(to, "  axes      {}\n", AxesText(d));
  std::vector<std::string> notes;
  for (const std::string& note : d.notes) notes.push_back(Printable(note));
  fmt::format_to(to, "{}{}{}", Lines("events", EventTexts(d.events)), Lines("note", notes),
                 Lines("hint", LikeNameTexts(d.like_names)));
  fmt::format_to(to, "  {}\n{}{}", Count(d.markers.size(), "marker"), MarkerTable(d, most_markers),
                 GapPicture(d, terminal));
  return fmt::to_string(text);
}

} // namespace mien
