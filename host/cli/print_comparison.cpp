#include "host/cli/print_comparison.h"

#include "host/base/text.h"
#include "host/inspect/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

std::string Line(std::string_view title, std::string_view text) {
  return fmt::format("{:<9} {}\n", title, text);
}

/// With its unit. What is not 0 is not shown as 0.
std::string Value(double value, const std::string& unit) {
  const int decimals = unit.empty() ? 4 : 3;
  std::string text = fmt::format("{:.{}f}", value, decimals);
  if (value != 0 && text.find_first_not_of("0.") == std::string::npos)
    text = fmt::format("<{:.{}f}", std::pow(10, -decimals), decimals);
  return unit.empty() ? text : text + ' ' + unit;
}

std::string Side(const Recording& side, std::size_t frames) {
  return fmt::format("{}: {}, {} at {} Hz, {}", Printable(side.file), side.format, Count(frames, "frame"),
                     ToText(side.rate),
                     Count(side.curves.size(), side.kind == RecordingKind::Take ? "marker" : "curve"));
}

/// "+2.5"
std::string Lag(const std::optional<double>& frames) {
  if (!frames) return "-";
  const double tenths = std::round(*frames * 10);
  return tenths == 0 ? "0.0" : fmt::format("{:+.1f}", tenths / 10);
}

/// "frame 57 (10:02:59:29)"
std::string Place(const Recording& a, std::size_t frame) {
  const std::string timecode = a.TimecodeAt(frame);
  return fmt::format("frame {}{}", a.frames[frame], timecode.empty() ? "" : fmt::format(" ({})", timecode));
}

std::string TableOf(const Comparison& comparison, std::size_t most) {
  const Recording& a = comparison.a;
  const bool markers = a.kind == RecordingKind::Take, timecodes = a.timecode.has_value();
  const bool gaps = std::any_of(comparison.pairs.begin(), comparison.pairs.end(), [](const auto& pair) {
    return pair.difference.only_a + pair.difference.only_b > 0;
  });
  std::vector<std::vector<std::string>> rows = {{markers ? "marker" : "curve", "largest", "frame"}};
  if (timecodes) rows[0].push_back("timecode");
  rows[0].push_back("rms");
  if (!markers) rows[0].insert(rows[0].end(), {"correlation", "lag"});
  if (gaps) rows[0].insert(rows[0].end(), {"only A", "only B"});
  for (const Comparison::Pair& pair : comparison.pairs) {
    if (rows.size() > most) break;
    const Curve& curve = a.curves[pair.a];
    const CurveDifference& d = pair.difference;
    const bool any = d.compared > 0;
    auto& row = rows.emplace_back();
    row = {Printable(FullName(curve)), any ? Value(d.largest, curve.unit) : "-",
           any ? std::to_string(a.frames[d.largest_frame]) : "-"};
    if (timecodes) row.push_back(any ? a.TimecodeAt(d.largest_frame) : "-");
    row.push_back(any ? Value(d.rms, curve.unit) : "-");
    if (!markers) {
      row.push_back(d.correlation ? fmt::format("{:.4f}", *d.correlation) : "-");
      row.push_back(Lag(d.lag_frames));
    }
    if (gaps) row.insert(row.end(), {std::to_string(d.only_a), std::to_string(d.only_b)});
  }
  std::string table = Table(rows);
  if (comparison.pairs.size() > most)
    table += fmt::format("  and {} more; --all lists them\n", comparison.pairs.size() - most);
  return table;
}

} // namespace

std::string ToText(const Comparison& comparison, std::size_t most) {
  const Recording &a = comparison.a, &b = comparison.b;
  const Alignment& alignment = comparison.alignment;
  const char* const what = a.kind == RecordingKind::Take ? "marker" : "curve";
  std::string text = Line("A", Side(a, comparison.frames_a)) + Line("B", Side(b, comparison.frames_b)) +
                     Line("aligned", alignment.Text());
  text +=
      Line("common",
           fmt::format("{}, {} to {}", Count(a.frames.size(), "frame"), a.frames.front(), a.frames.back()) +
               (alignment.only_a + alignment.only_b == 0
                    ? ""
                    : fmt::format("; only in A {}, only in B {}", alignment.only_a, alignment.only_b)));
  text += '\n' + TableOf(comparison, most) + '\n';
  const auto differing =
      static_cast<std::size_t>(std::count_if(comparison.pairs.begin(), comparison.pairs.end(),
                                             [](const auto& pair) { return pair.difference.largest > 0; }));
  const CurveDifference& worst = comparison.pairs[0].difference;
  text += Line("differ", fmt::format("{} of {}", differing, Count(comparison.pairs.size(), what)));
  if (differing > 0) {
    const Curve& curve = a.curves[comparison.pairs[0].a];
    text += Line("worst", fmt::format("{} by {} in {}", Printable(FullName(curve)),
                                      Value(worst.largest, curve.unit), Place(a, worst.largest_frame)));
  }
  const std::pair<const char*, const std::vector<std::string>&> sides[] = {{"only in A", comparison.only_a},
                                                                           {"only in B", comparison.only_b}};
  for (const auto& [title, names] : sides)
    if (!names.empty()) text += Line(title, Printable(Some(names, most)));
  return text;
}

} // namespace mien
