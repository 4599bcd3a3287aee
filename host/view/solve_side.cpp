#include "host/view/solve_side.h"

#include "host/base/text.h"
#include "host/view/animation_side.h"
#include "host/view/take_side.h"
#include "mien/base/affine.h"
#include "mien/face/face.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace mien {

namespace {

/// What a performer's markers drive, by their names: of several parts the first.
std::map<std::string, std::string> PartsOfMarkers(const Performer& performer) {
  std::map<std::string, std::string> parts;
  for (std::size_t p = 0; p < performer.holders.size(); ++p)
    for (const auto& holder : performer.holders[p])
      for (const std::string& marker : holder)
        parts.emplace(marker, GetGlobalFace()->mParts[static_cast<int>(p)].mName);
  for (const auto* const skull : {&performer.head, &performer.rigid})
    for (const std::string& marker : *skull) parts.emplace(marker, "Head");
  for (const auto& iris : performer.irises)
    for (const std::string& marker : iris) parts.emplace(marker, "Iris");
  return parts;
}

ViewMarkers MarkersOf(const ViewedSolve& viewed, const VgeAMatrix& to_page) {
  const Take& take = *viewed.record.take;
  ViewMarkers markers = MarkersOf(take, to_page);
  const std::size_t count = take.MarkerCount();

  const std::map<std::string, std::string> parts = PartsOfMarkers(viewed.performer);
  for (std::size_t m = 0; m < count; ++m)
    if (const auto part = parts.find(take.markers[m]); part != parts.end()) markers.parts[m] = part->second;

  // The solver's markers are in the head's frame.
  const Take& face = viewed.face;
  for (std::size_t i = 0; i < face.MarkerCount(); ++i) {
    const auto m = take.FindMarker(face.markers[i]);
    if (!m) continue;
    for (std::size_t f = 0; f < face.FrameCount(); ++f) {
      if (face.OriginAt(f, i) != Origin::Filled) continue;
      const Point& p = *face.At(f, i);
      const VgeTVector in_take = TransformPoint(viewed.animation.heads[f], {p.x, p.y, p.z});
      const VgeTVector moved = TransformPoint(to_page, in_take);
      markers.positions[f * count + *m] = {static_cast<float>(moved.x), static_cast<float>(moved.y),
                                           static_cast<float>(moved.z)};
      markers.states[f * count + *m] = MarkerState::Filled;
    }
  }
  for (const SlippedMarker& slipped : viewed.record.report->slipped.markers)
    if (const auto m = take.FindMarker(slipped.marker))
      for (const FrameSpan& span : slipped.spans)
        for (std::size_t f = span.first; f < span.end; ++f)
          markers.states[f * count + *m] = MarkerState::Slipped;

  markers.neutral.resize(count);
  for (std::size_t m = 0; m < count; ++m)
    if (const auto at = viewed.record.neutral->pose.find(take.markers[m]);
        at != viewed.record.neutral->pose.end()) {
      const VgeTVector p = TransformPoint(to_page, {at->second.x, at->second.y, at->second.z});
      markers.neutral[m] = {p.x, p.y, p.z};
    }
  return markers;
}

/// The frames in which something holds, as spans.
template <class Holds>
void AddSpans(std::vector<ViewSpan>& spans, const char* kind, const std::string& name, std::size_t frames,
              const Holds& holds) {
  for (std::size_t f = 0; f < frames; ++f) {
    if (!holds(f)) continue;
    const std::size_t first = f;
    while (f + 1 < frames && holds(f + 1)) ++f;
    spans.push_back({.kind = kind, .name = name, .first = first, .last = f});
  }
}

/// Gaps of the take, filled markers of the face, and parts of which all markers are missing.
std::vector<ViewSpan> SpansOf(const ViewedSolve& viewed) {
  const Take& face = viewed.face;
  std::vector<ViewSpan> spans = GapSpansOf(*viewed.record.take);
  for (std::size_t m = 0; m < face.MarkerCount(); ++m)
    AddSpans(spans, "filled", face.markers[m], face.FrameCount(),
             [&](std::size_t f) { return face.OriginAt(f, m) == Origin::Filled; });
  for (std::size_t p = 0; p < viewed.performer.holders.size(); ++p) {
    std::vector<std::size_t> own;
    for (const auto& holder : viewed.performer.holders[p])
      for (const std::string& marker : holder)
        if (const auto m = face.FindMarker(marker)) own.push_back(*m);
    if (own.empty()) continue;
    AddSpans(spans, "resting", GetGlobalFace()->mParts[static_cast<int>(p)].mName, face.FrameCount(),
             [&](std::size_t f) {
               return std::all_of(own.begin(), own.end(),
                                  [&](std::size_t m) { return face.OriginAt(f, m) == Origin::None; });
             });
  }
  return spans;
}

/// The parts that have markers.
ViewCurves ResidualsOf(const SolveReport& report) {
  constexpr double kMillimetreStep = 0.01;
  ViewCurves curves = {
      .name = "Residuals", .unit = "mm", .step = kMillimetreStep, .curves = {}, .values = {}};
  for (const SolveReport::Part& part : report.parts)
    if (part.markers > 0) curves.curves.push_back(part.name);
  for (const SolveReport::FrameQuality& frame : report.per_frame)
    for (std::size_t p = 0; p < report.parts.size(); ++p)
      if (report.parts[p].markers > 0) curves.values.push_back(frame.residual_mm[p]);
  return curves;
}

/// Frames in which a part's residual is that of a poor solve, with the largest of each stretch.
std::vector<ViewFlag> PoorResiduals(const SolveReport& report) {
  std::vector<ViewFlag> flags;
  if (!report.quality.eye_corners_mm) return flags;
  const double poor_mm = Quality::kPoorAbove * *report.quality.eye_corners_mm;
  for (std::size_t p = 0; p < report.parts.size(); ++p) {
    if (!report.quality.share[p]) continue;
    const std::string& part = report.parts[p].name;
    for (std::size_t f = 0; f < report.per_frame.size(); ++f) {
      double worst = report.per_frame[f].residual_mm[p];
      if (!(worst > poor_mm)) continue;
      const std::size_t first = f;
      for (; f + 1 < report.per_frame.size() && report.per_frame[f + 1].residual_mm[p] > poor_mm; ++f)
        worst = std::max(worst, report.per_frame[f + 1].residual_mm[p]);
      flags.push_back({.kind = "residual",
                       .text = fmt::format("{} has a residual of {:.1f} mm", part, worst),
                       .first = first,
                       .last = f,
                       .curve = std::pair("Residuals", part)});
    }
  }
  return flags;
}

std::vector<ViewFlag> FlagsOf(const SolveReport& report) {
  std::vector<ViewFlag> flags;
  for (const QualityFlag& flag : report.quality.flags) {
    ViewFlag& shown = flags.emplace_back();
    shown = {.kind = std::string(ToText(flag.kind)),
             .text = StatementOf(flag),
             .first = flag.first,
             .last = flag.last};
    if (!flag.weight.empty()) shown.curve = {"Templates", flag.weight};
  }
  const std::vector<ViewFlag> poor = PoorResiduals(report);
  flags.insert(flags.end(), poor.begin(), poor.end());
  std::stable_sort(flags.begin(), flags.end(),
                   [](const ViewFlag& a, const ViewFlag& b) { return a.first < b.first; });
  return flags;
}

/// "3 to 40, 52": numbers in order, consecutive ones together.
std::string Runs(const std::vector<std::int64_t>& numbers) {
  std::vector<std::string> runs;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t first = i;
    while (i + 1 < numbers.size() && numbers[i + 1] == numbers[i] + 1) ++i;
    runs.push_back(first == i ? std::to_string(numbers[i])
                              : fmt::format("{} to {}", numbers[first], numbers[i]));
  }
  return Some(runs, 12);
}

ViewFacts NeutralFacts(const Neutral& neutral, const SolveReport& report) {
  ViewFacts facts = {.title = "Neutral face", .rows = {{"From", neutral.how}}};
  if (!neutral.frames.empty()) facts.rows.emplace_back("Frames", Runs(neutral.frames));
  for (const NeutralDoubt& doubt : report.neutral_doubts)
    facts.rows.emplace_back("In doubt",
                            fmt::format("{}: {:+.2f} from stricter frames", doubt.name, doubt.difference));
  return facts;
}

ViewFacts QualityFacts(const SolveReport& report) {
  ViewFacts facts = {.title = "Quality", .rows = {}};
  if (report.quality.grade != Grade::None) facts.rows.emplace_back("Grade", ToText(report.quality.grade));
  for (std::size_t p = 0; p < report.parts.size(); ++p) {
    const SolveReport::Part& part = report.parts[p];
    std::string text = part.markers == 0 ? "at rest: no markers" : fmt::format("{:.2f} mm", part.rms_mm);
    if (const auto& share = report.quality.share[p])
      text +=
          fmt::format(", {:.1f} % of the eye distance, {}", 100 * *share, ToText(report.quality.grades[p]));
    if (part.rest_frames > 0) text += fmt::format("; rests in {}", Count(part.rest_frames, "frame"));
    facts.rows.emplace_back(part.name, std::move(text));
  }
  return facts;
}

ViewFacts GapFacts(const SolveReport& report) {
  ViewFacts facts = {.title = "Gaps", .rows = {}};
  for (const auto* const fills : {&report.head_fills, &report.face_fills})
    for (const FilledMarker& fill : *fills)
      if (fill.gap_frames > 0)
        facts.rows.emplace_back(fill.marker, fmt::format("{} missing, {} filled; the longest is {}",
                                                         Count(fill.gap_frames, "frame"), fill.FilledFrames(),
                                                         fill.longest_gap));
  for (const SlippedMarker& slipped : report.slipped.markers)
    facts.rows.emplace_back(slipped.marker, fmt::format("slipped in {}, by up to {:.1f} mm",
                                                        Count(slipped.frames, "frame"), slipped.furthest_mm));
  if (facts.rows.empty()) facts.rows.emplace_back("Missing", "none");
  return facts;
}

ViewFacts SettingFacts(const SolveOptions& options, const SolveReport& report) {
  ViewFacts facts = {.title = "Settings", .rows = {}};
  const auto add = [&](const char* name, std::string value) {
    facts.rows.emplace_back(name, std::move(value));
  };
  add("Head", report.rigid.empty() ? "from the head markers"
                                   : fmt::format("fitted to {}", Count(report.rigid.size(), "rigid marker")));
  add("Brows", std::string(ToText(options.brows)));
  add("Fill", ToText(options.face_fill));
  add("Fill head", ToText(options.head_fill));
  add("Fade", fmt::format("{} s", options.fade_s));
  if (options.smooth_positions_hz)
    add("Smooth positions", fmt::format("{} Hz", *options.smooth_positions_hz));
  if (options.smooth_weights_hz) add("Smooth weights", fmt::format("{} Hz", *options.smooth_weights_hz));
  if (!report.fit.basis.empty())
    add("Fit", fmt::format("{}, {}, residual {:.2f} mm", report.fit.basis,
                           Count(report.fit.fitted.size(), "shape"), report.fit.residual_mm));
  if (report.gaze.source != GazeSource::None) add("Gaze", std::string(ToText(report.gaze.source)));
  return facts;
}

} // namespace

ViewSide SideOfSolve(const ViewedSolve& viewed) {
  const SolveRecord& record = viewed.record;
  const Animation& animation = viewed.animation;
  const SolveReport& report = *record.report;
  const Take& take = *record.take;
  const VgeAMatrix to_page = InverseOfOrthogonalAxes(animation.layout.neutral_head);

  ViewSide side = SideOfAnimation(animation);
  side.name = take.name;
  side.markers = MarkersOf(viewed, to_page);
  side.curves.push_back(ResidualsOf(report));
  side.spans = SpansOf(viewed);
  side.flags = FlagsOf(report);
  for (const SolveReport::Frame& worst : report.worst_frames)
    side.worst.emplace_back(worst.frame,
                            fmt::format("{} {:.2f} mm", report.parts[worst.part].name, worst.residual_mm));

  side.notes = Messages(take.notes);
  for (const std::string& note : Messages(record.neutral->notes)) side.notes.push_back(note);
  for (const std::string& marker : report.left_out)
    side.notes.push_back(
        fmt::format("the marker {} is missing from the neutral pose and was left out", marker));

  side.facts = {FactsOf(take), NeutralFacts(*record.neutral, report), QualityFacts(report), GapFacts(report),
                SettingFacts(*record.options, report)};
  if (!report.ranges.empty()) {
    ViewFacts facts = {.title = "Calibration", .rows = {}};
    for (const Range& range : report.ranges)
      facts.rows.emplace_back(range.name, fmt::format("{:.2f} to {:.2f}", range.low, range.high));
    side.facts.push_back(std::move(facts));
  }
  if (!record.files.empty()) {
    ViewFacts facts = {.title = "Files", .rows = {}};
    for (const ReportedFile& file : record.files)
      facts.rows.emplace_back(file.role, file.sha256.empty()
                                             ? file.name + ", built in"
                                             : fmt::format("{}, SHA-256 {}", file.name, file.sha256));
    side.facts.push_back(std::move(facts));
  }
  return side;
}

std::optional<ViewHead::Place> PlaceOfFace(const Performer& performer, const NeutralPose& neutral,
                                           const VgeAMatrix& neutral_head) {
  const VgeAMatrix to_page = InverseOfOrthogonalAxes(neutral_head);
  // The middles of the parts: of their markers, and of their points on the reference face in its centimetres.
  std::vector<std::pair<VgeTVector, VgeTVector>> middles;
  for (std::size_t p = 0; p < performer.holders.size(); ++p) {
    VgeTVector sum = {0, 0, 0};
    double count = 0;
    for (const auto& holder : performer.holders[p])
      for (const std::string& marker : holder)
        if (const auto at = neutral.find(marker); at != neutral.end()) {
          const VgeTVector m = TransformPoint(to_page, {at->second.x, at->second.y, at->second.z});
          sum = {sum.x + m.x, sum.y + m.y, sum.z + m.z};
          ++count;
        }
    if (count == 0) continue;
    const VFacePart& part = GetGlobalFace()->mParts[static_cast<int>(p)];
    middles.emplace_back(VgeTVector{sum.x / count, sum.y / count, sum.z / count}, part.mCenter);
  }
  if (middles.size() < 3) return std::nullopt;
  VgeTVector mean_m = {0, 0, 0}, mean_r = {0, 0, 0};
  const auto n = static_cast<double>(middles.size());
  for (const auto& [m, r] : middles) {
    mean_m = {mean_m.x + m.x / n, mean_m.y + m.y / n, mean_m.z + m.z / n};
    mean_r = {mean_r.x + r.x / n, mean_r.y + r.y / n, mean_r.z + r.z / n};
  }
  double both = 0, reference = 0; // across and up: markers stand before the skin by different lengths
  for (const auto& [m, r] : middles) {
    both += (m.x - mean_m.x) * (r.x - mean_r.x) + (m.y - mean_m.y) * (r.y - mean_r.y);
    reference += (r.x - mean_r.x) * (r.x - mean_r.x) + (r.y - mean_r.y) * (r.y - mean_r.y);
  }
  if (!(both > 0) || !(reference > 0)) return std::nullopt;
  const double scale = both / reference; // millimetres for a centimetre
  return ViewHead::Place{
      .scale = 100 * scale,
      .moved = {mean_m.x - scale * mean_r.x, mean_m.y - scale * mean_r.y, mean_m.z - scale * mean_r.z}};
}

} // namespace mien
