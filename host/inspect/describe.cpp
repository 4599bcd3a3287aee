#include "host/inspect/describe.h"

#include "host/base/error.h"
#include "host/base/json_text.h"
#include "host/base/text.h"
#include "mien/base/elementary.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>
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

double Period(const FrameRate& rate) { return rate.numerator > 0 ? rate.Seconds(1) : 0; }

void AddGap(MarkerDescription& marker, std::size_t frame) {
  ++marker.gaps;
  if (!marker.gap_runs.empty() && marker.gap_runs.back().last + 1 == frame)
    marker.gap_runs.back().last = frame;
  else
    marker.gap_runs.push_back({frame, frame});
}

void DescribeMarkers(const Take& take, TakeDescription& d) {
  struct Residuals {
    double sum = 0; // in units of Take::residual_mm, of which there are whole ones only
    std::size_t count = 0;
  };
  std::vector<Residuals> residuals(take.MarkerCount());
  for (const std::string& name : take.markers) d.markers.emplace_back().name = name;

  for (std::size_t frame = 0; frame < d.frames; ++frame) {
    bool any = false;
    for (std::size_t m = 0; m < d.markers.size(); ++m) {
      MarkerDescription& marker = d.markers[m];
      const Point* const p = take.At(frame, m);
      if (!p) {
        AddGap(marker, frame);
        continue;
      }
      any = true;
      Include(*p, *p, frame > marker.gaps, marker.low, marker.high);
      const Origin origin = take.OriginAt(frame, m);
      marker.computed += origin == Origin::Computed;
      marker.filled += origin == Origin::Filled;
      if (const auto sighting = take.SightingAt(frame, m)) {
        residuals[m].sum += sighting->residual;
        ++residuals[m].count;
      }
    }
    if (!any) ++d.empty_frames;
  }

  bool any = false;
  for (std::size_t m = 0; m < d.markers.size(); ++m) {
    MarkerDescription& marker = d.markers[m];
    for (const FrameRun& run : marker.gap_runs)
      if (!marker.longest || run.Frames() > marker.longest->Frames()) marker.longest = run;
    if (marker.longest)
      marker.longest_s =
          take.times[marker.longest->last] - take.times[marker.longest->first] + Period(take.rate);
    if (residuals[m].count > 0)
      marker.residual_mm = residuals[m].sum * take.residual_mm / static_cast<double>(residuals[m].count);
    if (marker.gaps == d.frames) continue;
    Include(marker.low, marker.high, any, d.low, d.high);
    any = true;
  }
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

// --- As text.

std::string Tenths(double value) {
  const std::string text = fmt::format("{:.1f}", value);
  return text == "-0.0" ? "0.0" : text;
}

std::string Range(double low, double high) { return Tenths(low) + " to " + Tenths(high); }

// Rounded, but neither to nothing nor to all.
std::string Percent(std::size_t part, std::size_t whole) {
  if (part == 0 || part == whole) return part == 0 ? "0 %" : "100 %";
  const std::string text = Tenths(100 * static_cast<double>(part) / static_cast<double>(whole));
  return text == "0.0" ? "<0.1 %" : text == "100.0" ? ">99.9 %" : text + " %";
}

// Of UTF-8 text, one for each character.
std::size_t Columns(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string Padded(std::string_view text, std::size_t columns) {
  const std::size_t width = Columns(text);
  return std::string(text).append(width < columns ? columns - width : 0, ' ');
}

// Of a name that is longer, its beginning.
std::string Shortened(std::string_view name, std::size_t columns) {
  if (Columns(name) <= columns) return std::string(name);
  std::size_t end = 0;
  for (std::size_t shown = 0; shown + 2 < columns; ++shown) do
      ++end;
    while ((static_cast<unsigned char>(name[end]) & 0xC0) == 0x80);
  return std::string(name.substr(0, end)) + "..";
}

// A column is as wide as its widest field, the first one flush left and the others flush right. A row may be short.
std::string Table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], Columns(row[c]));
  }
  std::string text;
  for (const auto& row : rows) {
    for (std::size_t c = 0; c < row.size(); ++c) {
      text += "  ";
      text += c > 0            ? std::string(widths[c] - Columns(row[c]), ' ') + row[c]
              : row.size() > 1 ? Padded(row[c], widths[c])
                               : row[c];
    }
    text += '\n';
  }
  return text;
}

std::string MarkerTable(const TakeDescription& d) {
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
    auto& row = rows.emplace_back();
    row = {Printable(m.name),
           fmt::format("{}", m.gaps),
           Percent(m.gaps, d.frames),
           m.longest ? fmt::format("{}", m.longest->Frames()) : "-",
           m.longest ? fmt::format("{:.3f} s", m.longest_s) : "-",
           fmt::format("{}", m.gap_runs.size())};
    if (m.gaps == d.frames) {
      row.push_back("never seen");
      continue;
    }
    if (computed) row.push_back(fmt::format("{}", m.computed));
    if (filled) row.push_back(fmt::format("{}", m.filled));
    if (residual) row.push_back(m.residual_mm ? fmt::format("{:.3f}", *m.residual_mm) : "none");
    row.insert(row.end(), {Range(m.low.x, m.high.x), Range(m.low.y, m.high.y), Range(m.low.z, m.high.z)});
  }
  return Table(rows);
}

// Gaps over time: a row for each marker that has any, a cell for each stretch of frames. Markers whose gaps are the same
// ones share a row: those that a tracker loses with the whole face.
class GapPicture {
public:
  GapPicture(const TakeDescription& d, const Terminal& terminal) : d_(d), utf8_(terminal.utf8) {
    Markers markers;
    for (const MarkerDescription& m : d.markers)
      if (m.gaps > 0) markers.push_back(&m);
    std::stable_sort(markers.begin(), markers.end(), [](const auto* a, const auto* b) {
      return a->gaps != b->gaps ? a->gaps > b->gaps : a->gap_runs < b->gap_runs;
    });
    for (const MarkerDescription* m : markers)
      if (rows_.empty() || rows_.back()[0]->gap_runs != m->gap_runs)
        rows_.push_back({m});
      else
        rows_.back().push_back(m);
    if (rows_.size() > kMostRows) {
      for (std::size_t i = kMostRows; i < rows_.size(); ++i)
        others_.insert(others_.end(), rows_[i].begin(), rows_[i].end());
      rows_.resize(kMostRows);
    }
    for (const Markers& row : rows_) name_columns_ = std::max(name_columns_, Columns(Name(row)));
    if (!others_.empty()) name_columns_ = std::max(name_columns_, Columns(OthersName()));

    constexpr std::size_t kFewestCells = 20, kMostCells = 200;
    const std::size_t beside = 2 + name_columns_ + 1 + 2; // the margin, the name, a blank, the two bars
    cells_ = std::clamp(terminal.columns > beside ? terminal.columns - beside : 0, kFewestCells, kMostCells);
    cells_ = std::min(cells_, d.frames); // so that none is without a frame
  }

  std::string Text() const {
    if (rows_.empty()) return "";
    const auto& blocks = Blocks();
    std::string text = fmt::format(
        "  gaps over time: {} below a third of the frames, {} below two thirds, {} more, {} all\n", blocks[1],
        blocks[2], blocks[3], blocks[4]);
    for (const Markers& row : rows_) text += Row(Name(row), row);
    if (!others_.empty()) text += Row(OthersName(), others_);
    return text + Axis();
  }

private:
  using Markers = std::vector<const MarkerDescription*>;
  static constexpr std::size_t kMostRows = 40;

  static std::string Name(const Markers& row) {
    constexpr std::size_t kLongest = 24;
    std::string name = Shortened(Printable(row[0]->name), kLongest);
    return row.size() == 1 ? name : name + fmt::format(" and {} more", row.size() - 1);
  }
  std::string OthersName() const { return fmt::format("and {} more", others_.size()); }

  // For none missing, up to a third, up to two thirds, more, and all.
  const std::array<std::string_view, 5>& Blocks() const {
    static constexpr std::array<std::string_view, 5> kUnicode = {" ", "\u2591", "\u2592", "\u2593", "\u2588"};
    static constexpr std::array<std::string_view, 5> kAscii = {" ", ".", ":", "+", "#"};
    return utf8_ ? kUnicode : kAscii;
  }

  std::size_t CellOf(std::size_t frame) const { return frame * cells_ / d_.frames; }
  // The first frame in a cell.
  std::size_t StartOf(std::size_t cell) const { return (cell * d_.frames + cells_ - 1) / cells_; }

  std::string Row(const std::string& name, const Markers& markers) const {
    std::vector<std::size_t> missing(cells_, 0);
    for (const MarkerDescription* m : markers)
      for (const FrameRun& run : m->gap_runs)
        for (std::size_t cell = CellOf(run.first); cell <= CellOf(run.last); ++cell)
          missing[cell] += std::min(run.last + 1, StartOf(cell + 1)) - std::max(run.first, StartOf(cell));
    std::string text = fmt::format("  {} |", Padded(name, name_columns_));
    for (std::size_t cell = 0; cell < cells_; ++cell) {
      const std::size_t all = (StartOf(cell + 1) - StartOf(cell)) * markers.size();
      const std::size_t shade = missing[cell] == 0     ? 0
                                : missing[cell] == all ? 4
                                                       : 1 + 3 * missing[cell] / all;
      text += Blocks()[shade];
    }
    return text + "|\n";
  }

  // The times of some cells' first frames, each under the left edge of its cell.
  std::string Axis() const {
    constexpr std::size_t kApart = 15;
    const int decimals = d_.duration_s < 1 ? 3 : d_.duration_s < 10 ? 2 : 1;
    std::string line(2 + name_columns_ + 2, ' ');
    const std::size_t left = line.size();
    for (std::size_t cell = 0; cell < cells_; cell += kApart) {
      if (line.size() > left + cell) break; // times so long that they would meet
      line.append(left + cell - line.size(), ' ');
      line += fmt::format("{:.{}f} s ", d_.times[StartOf(cell)], decimals);
    }
    line.pop_back();
    return line + '\n';
  }

  const TakeDescription& d_;
  bool utf8_;
  std::vector<Markers> rows_; // worst first
  Markers others_;            // those beyond the rows
  std::size_t name_columns_ = 0;
  std::size_t cells_ = 0;
};

// The axis that a direction is nearest to, such as "+z", and the angle between them in degrees.
std::pair<std::string, double> NearestAxis(const Point& direction) {
  const double values[3] = {direction.x, direction.y, direction.z};
  std::size_t nearest = 0;
  for (std::size_t axis = 1; axis < 3; ++axis)
    if (std::abs(values[axis]) > std::abs(values[nearest])) nearest = axis;
  constexpr double kDegrees = 57.29577951308232;
  const double cosine = std::min(1.0, std::abs(values[nearest]));
  return {fmt::format("{}{}", values[nearest] < 0 ? '-' : '+', "xyz"[nearest]),
          kDegrees * detail::ArcTangent2(std::sqrt(1 - cosine * cosine), cosine)};
}

std::string GuessOfAxes(const TakeDescription& d) {
  if (d.empty_frames == d.frames) return "";
  constexpr double kFarMm =
      500; // a sitting child's face is higher, and no capture volume's middle so far beside it
  const std::pair<double, double> extents[] = {{d.low.x, d.high.x}, {d.low.y, d.high.y}, {d.low.z, d.high.z}};
  std::string guess;
  for (std::size_t axis = 0; axis < std::size(extents); ++axis) {
    const auto [low, high] = extents[axis];
    if (low < kFarMm && high > -kFarMm) continue;
    if (!guess.empty()) return ""; // two that could be
    guess = fmt::format("guess: {}{} up, since no marker comes nearer to the origin than {:.0f} mm along it",
                        low > 0 ? '+' : '-', "xyz"[axis], low > 0 ? low : -high);
  }
  return guess;
}

std::string AxesText(const TakeDescription& d) {
  const std::optional<FaceDirections>& face = d.face;
  if (!face) return d.axes.empty() ? "unknown from the take alone; a performer (-p) tells" : d.axes;
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
  for (std::size_t i = 0; i < std::min(events.size(), kShown); ++i)
    texts.push_back(fmt::format("{:.3f} s {}", events[i].time, Printable(events[i].label)));
  if (events.size() > kShown) texts.push_back(fmt::format("and {} more", events.size() - kShown));
  if (texts.empty()) return {};
  return {fmt::format("{}: {}", events.size(), fmt::join(texts, ", "))};
}

std::vector<std::string> LikeNameTexts(const std::vector<std::vector<std::string>>& groups) {
  std::vector<std::string> texts;
  for (const auto& group : groups) {
    std::vector<std::string> quoted;
    for (const std::string& name : group) quoted.push_back(Quoted(name));
    const bool equal =
        std::all_of(group.begin(), group.end(), [&](const std::string& name) { return name == group[0]; });
    texts.push_back(
        equal ? fmt::format("{} is the name of {} markers; the first is meant by it", quoted[0], group.size())
              : fmt::format("{} are {} markers: only letter case tells them apart", fmt::join(quoted, ", "),
                            group.size()));
  }
  return texts;
}

// --- As JSON.

std::string Json(const std::string& text) { // a file's own text need not be UTF-8
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
std::string Json(double number) { return std::isfinite(number) ? fmt::format("{}", number) : "null"; }
std::string Json(const Point& p) { return fmt::format("[{}, {}, {}]", Json(p.x), Json(p.y), Json(p.z)); }

template <class List, class Write>
std::string JsonList(const List& list, const Write& write) {
  std::vector<std::string> written;
  for (const auto& item : list) written.push_back(write(item));
  return fmt::format("[{}]", fmt::join(written, ", "));
}
std::string Json(const std::vector<std::string>& texts) {
  return JsonList(texts, [](const std::string& text) { return Json(text); });
}

std::string JsonCount(auto count) { return fmt::format("{}", count); }

std::string JsonExtents(const Point& low, const Point& high, bool any) {
  return any ? JsonLine({JsonMember("low", Json(low)), JsonMember("high", Json(high))}) : "null";
}

std::string JsonMarker(const MarkerDescription& m, const TakeDescription& d) {
  const auto number = [&](std::size_t frame) { return d.frame_numbers[frame]; };
  const auto runs = JsonList(m.gap_runs, [&](const FrameRun& run) {
    return fmt::format("[{}, {}]", number(run.first), number(run.last));
  });
  const std::string longest = !m.longest ? "null"
                                         : JsonLine({JsonMember("frames", JsonCount(m.longest->Frames())),
                                                     JsonMember("first", JsonCount(number(m.longest->first))),
                                                     JsonMember("last", JsonCount(number(m.longest->last))),
                                                     JsonMember("duration_s", Json(m.longest_s))});
  return JsonLines({JsonMember("name", Json(m.name)), JsonMember("gaps", JsonCount(m.gaps)),
                    JsonMember("gap_runs", runs), JsonMember("longest_gap", longest),
                    JsonMember("computed", JsonCount(m.computed)), JsonMember("filled", JsonCount(m.filled)),
                    JsonMember("residual_mm", m.residual_mm ? Json(*m.residual_mm) : "null"),
                    JsonMember("extents_mm", JsonExtents(m.low, m.high, m.gaps < d.frames))},
                   "    ");
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
  d.notes = take.notes;
  d.frame_numbers = take.frames;
  d.times = take.times;
  d.like_names = LikeNames(take.markers);
  if (d.frames > 0) {
    d.first_frame = take.frames.front();
    d.last_frame = take.frames.back();
    d.missing_frames = d.last_frame - d.first_frame + 1 - static_cast<std::int64_t>(d.frames);
    d.start_s = take.times.front();
    d.duration_s = take.times.back() - take.times.front() + Period(take.rate);
    if (take.timecode) d.last_timecode = take.timecode->At(take.times.back() - take.times.front());
  }
  DescribeMarkers(take, d);
  d.axes = take.axes.empty() ? GuessOfAxes(d) : take.axes;
  return d;
}

std::string ToText(const TakeDescription& d, const Terminal& terminal) {
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
  if (d.empty_frames == d.frames)
    fmt::format_to(to, "  extents   none, no marker is ever seen\n");
  else
    fmt::format_to(to, "  extents   x {}, y {}, z {} mm\n", Range(d.low.x, d.high.x),
                   Range(d.low.y, d.high.y), Range(d.low.z, d.high.z));
  fmt::format_to(to, "  axes      {}\n", AxesText(d));
  std::vector<std::string> notes;
  for (const std::string& note : d.notes) notes.push_back(Printable(note));
  fmt::format_to(to, "{}{}{}", Lines("events", EventTexts(d.events)), Lines("note", notes),
                 Lines("hint", LikeNameTexts(d.like_names)));
  fmt::format_to(to, "  {} marker{}\n{}{}", d.markers.size(), d.markers.size() == 1 ? "" : "s",
                 MarkerTable(d), GapPicture(d, terminal).Text());
  return fmt::to_string(text);
}

std::string ToJson(const TakeDescription& d) {
  const std::string frames = JsonLine(
      {JsonMember("count", JsonCount(d.frames)), JsonMember("first", JsonCount(d.first_frame)),
       JsonMember("last", JsonCount(d.last_frame)), JsonMember("missing", JsonCount(d.missing_frames)),
       JsonMember("empty", JsonCount(d.empty_frames))});
  const std::string rate = JsonLine(
      {JsonMember("text", Json(ToText(d.rate))), JsonMember("numerator", JsonCount(d.rate.numerator)),
       JsonMember("denominator", JsonCount(d.rate.denominator)), JsonMember("hz", Json(d.rate.Hz()))});
  const std::string timecode =
      !d.timecode
          ? "null"
          : JsonLine({JsonMember("first", Json(d.timecode->At(0))), JsonMember("last", Json(d.last_timecode)),
                      JsonMember("rate", Json(ToText(d.timecode->rate))),
                      JsonMember("drop", d.timecode->drop ? "true" : "false")});
  const std::string face =
      !d.face ? "null"
              : JsonLine({JsonMember("left", Json(d.face->left)), JsonMember("up", Json(d.face->up)),
                          JsonMember("forward", Json(d.face->forward))});
  const std::string events = JsonList(d.events, [](const TakeEvent& event) {
    return JsonLine({JsonMember("time_s", Json(event.time)), JsonMember("label", Json(event.label))});
  });
  std::vector<std::string> markers;
  for (const MarkerDescription& m : d.markers) markers.push_back("\n    " + JsonMarker(m, d));
  return JsonLines(
      {JsonMember("format", Json(std::string("mien take description 1"))), JsonMember("file", Json(d.file)),
       JsonMember("name", Json(d.name)),
       JsonMember("source",
                  JsonLine({JsonMember("format", Json(d.format)), JsonMember("flavour", Json(d.flavour)),
                            JsonMember("unit", Json(d.unit))})),
       JsonMember("frames", frames), JsonMember("rate", rate), JsonMember("start_s", Json(d.start_s)),
       JsonMember("duration_s", Json(d.duration_s)), JsonMember("timecode", timecode),
       JsonMember("extents_mm", JsonExtents(d.low, d.high, d.empty_frames < d.frames)),
       JsonMember("axes", d.axes.empty() ? "null" : Json(d.axes)), JsonMember("face", face),
       JsonMember("events", events),
       JsonMember("markers", fmt::format("[{}{}]", fmt::join(markers, ","), markers.empty() ? "" : "\n  ")),
       JsonMember("like_names", JsonList(d.like_names, [](const auto& group) { return Json(group); })),
       JsonMember("notes", Json(d.notes))},
      "");
}

} // namespace mien
