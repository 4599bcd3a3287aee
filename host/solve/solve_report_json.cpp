#include "host/solve/solve_report_json.h"

#include "host/base/json_text.h"

#include <string>
#include <string_view>

namespace mien {

namespace {

JsonValue TakeOf(const Take& take) {
  const std::optional<std::string> timecode =
      take.timecode ? std::optional(ToText(*take.timecode)) : std::nullopt;
  const std::vector<std::string> notes = Messages(take.notes);
  return JsonObjectOnLines({{"format", take.format},
                            {"flavour", take.flavour},
                            {"frames", take.FrameCount()},
                            {"first_frame", take.frames.front()},
                            {"last_frame", take.frames.back()},
                            {"rate", ToText(take.rate)},
                            {"timecode", timecode},
                            {"markers", take.MarkerCount()},
                            {"notes", JsonListOnLines({notes.begin(), notes.end()})}});
}

JsonValue Settings(const SolveOptions& options, const std::optional<FrameRate>& output_rate) {
  std::vector<JsonMember> settings = {{"head_fit", options.head_fit == HeadFit::Take ? "take" : "markers"},
                                      {"brows", ToText(options.brows)},
                                      {"fill", ToText(options.face_fill)},
                                      {"fill_head", ToText(options.head_fill)},
                                      {"head_tolerance_mm", options.head_tolerance_mm},
                                      {"fade_s", options.fade_s},
                                      {"smooth_hz", options.smooth_positions_hz},
                                      {"smooth_weights_hz", options.smooth_weights_hz}};
  if (options.solver == ShapeSolver::Fit) settings.push_back({"solver", "fit"});
  if (!options.gaze) settings.push_back({"gaze", false});
  if (options.smooth_gaze_hz) settings.push_back({"smooth_gaze_hz", options.smooth_gaze_hz});
  if (options.level_lids) settings.push_back({"level_lids", true});
  if (output_rate) settings.push_back({"output_rate", ToText(*output_rate)});
  return JsonObjectOnLines(settings);
}

JsonValue Fills(const std::vector<FilledMarker>& fills) {
  std::vector<JsonValue> markers;
  for (const FilledMarker& fill : fills) {
    std::vector<JsonMember> filled;
    for (const FillMethod method :
         {FillMethod::Hold, FillMethod::Linear, FillMethod::Cubic, FillMethod::Pattern})
      if (const std::size_t frames = fill.filled_by[static_cast<std::size_t>(method)]; frames > 0)
        filled.push_back({std::string(ToText(method)), frames});
    markers.push_back(JsonObject({{"marker", fill.marker},
                                  {"gaps", fill.gaps},
                                  {"gap_frames", fill.gap_frames},
                                  {"longest_gap", fill.longest_gap},
                                  {"filled_frames", JsonObject(filled)},
                                  {"empty_frames", fill.gap_frames - fill.FilledFrames()}}));
  }
  return JsonListOnLines(markers);
}

JsonValue Head(const SolveReport& report) {
  std::vector<JsonValue> slipped;
  for (const SlippedMarker& marker : report.slipped.markers)
    slipped.push_back(JsonObject({{"marker", marker.marker},
                                  {"frames", marker.frames},
                                  {"first_frame", marker.first_frame},
                                  {"furthest_mm", marker.furthest_mm}}));
  std::vector<JsonValue> rigid, anchored;
  for (const SolveReport::RigidMarker& marker : report.rigid)
    rigid.push_back(JsonObject({{"marker", marker.marker}, {"spread_mm", marker.spread_mm}}));
  for (const SolveReport::AnchoredPart& part : report.anchored)
    anchored.push_back(JsonObject({{"part", report.parts[part.part].name},
                                   {"anchors", part.anchors},
                                   {"gain", JsonTightList({part.gain.begin(), part.gain.end()})}}));
  return JsonObjectOnLines({{"motion_removed", report.head_motion_removed},
                            {"fit", report.rigid.empty() ? "markers" : "take"},
                            {"rigid_markers", JsonListOnLines(rigid)},
                            {"calmed", report.head_calmed},
                            {"anchored_parts", JsonListOnLines(anchored)},
                            {"frames_without_head", report.frames_without_head},
                            {"slipped", JsonListOnLines(slipped)},
                            {"doubtful_frames", report.slipped.doubtful_frames},
                            {"markers", Fills(report.head_fills)}});
}

JsonValue NeutralAsJson(const Neutral& neutral, const SolveReport& report) {
  std::vector<JsonValue> spreads, doubts;
  for (std::size_t p = 0; p < neutral.spread_mm.size(); ++p)
    if (neutral.spread_mm[p] > 0)
      spreads.push_back(JsonObject({{"part", report.parts[p].name}, {"spread_mm", neutral.spread_mm[p]}}));
  for (const NeutralDoubt& doubt : report.neutral_doubts)
    doubts.push_back(JsonObject({{"template", doubt.name}, {"difference", doubt.difference}}));
  return JsonObjectOnLines({{"from", neutral.how},
                            {"frames", JsonTightList({neutral.frames.begin(), neutral.frames.end()})},
                            {"spread", JsonListOnLines(spreads)},
                            {"doubts", JsonListOnLines(doubts)},
                            {"notes", Messages(neutral.notes)}});
}

/// Null where nothing is graded.
JsonValue GradeOf(Grade grade) { return grade == Grade::None ? JsonValue(nullptr) : ToText(grade); }

JsonValue QualityOf(const Quality& quality) {
  return JsonObjectOnLines({{"grade", GradeOf(quality.grade)},
                            {"eye_corners_mm", quality.eye_corners_mm},
                            {"good_below", Quality::kGoodBelow},
                            {"poor_above", Quality::kPoorAbove}});
}

JsonValue FlagAsJson(const QualityFlag& flag, const Take& take, const SolveReport& report) {
  return JsonObject({{"kind", ToText(flag.kind)},
                     {"part", report.parts[flag.part].name},
                     {"template", flag.weight.empty() ? JsonValue(nullptr) : flag.weight},
                     {"markers", flag.markers},
                     {"first_frame", take.frames[flag.first]},
                     {"last_frame", take.frames[flag.last]},
                     {"size", flag.size}});
}

JsonValue Flags(const Take& take, const SolveReport& report) {
  std::vector<JsonValue> flags;
  for (const QualityFlag& flag : report.quality.flags) flags.push_back(FlagAsJson(flag, take, report));
  return JsonListOnLines(flags);
}

JsonValue Parts(const Take& take, const SolveReport& report) {
  std::vector<JsonValue> parts;
  for (std::size_t p = 0; p < report.parts.size(); ++p) {
    const SolveReport::Part& part = report.parts[p];
    parts.push_back(JsonObject({{"part", part.name},
                                {"markers", part.markers},
                                {"rest_frames", part.markers == 0 ? report.frames : part.rest_frames},
                                {"partly_at_rest_frames", part.partial_frames},
                                {"residual_rms_mm", part.rms_mm},
                                {"residual_worst_mm", part.worst_mm},
                                {"worst_frame", take.frames[part.worst_frame]},
                                {"residual_share", report.quality.share[p]},
                                {"grade", GradeOf(report.quality.grades[p])}}));
  }
  return JsonListOnLines(parts);
}

/// In radians.
JsonValue GazeOf(const GazeReport& gaze) {
  const auto angles = [](const EyeAngles& eye) { return JsonTightList({eye.yaw, eye.pitch}); };
  std::vector<JsonMember> members = {{"from", ToText(gaze.source)},
                                     {"measured_frames", gaze.measured_frames},
                                     {"closed_frames", gaze.closed_frames},
                                     {"filled_frames", gaze.filled_frames},
                                     {"rest_frames", gaze.rest_frames},
                                     {"clipped_frames", gaze.clipped_frames},
                                     {"straight", angles(gaze.straight)},
                                     {"low", angles(gaze.low)},
                                     {"high", angles(gaze.high)}};
  if (gaze.lids)
    members.push_back({"lids", JsonObject({{"close_down", gaze.lids->close_down},
                                           {"close_straight", gaze.lids->close_straight},
                                           {"down_frames", gaze.lids->down_frames}})});
  return JsonObjectOnLines(members);
}

JsonValue FitOf(const FitReport& fit) {
  std::vector<JsonValue> left_out;
  for (const auto& [shape, uncertainty] : fit.left_out)
    left_out.push_back(JsonObject({{"shape", shape}, {"uncertainty", uncertainty}}));
  return JsonObjectOnLines({{"basis", fit.basis},
                            {"markers", fit.markers},
                            {"distance_mm", fit.distance_mm},
                            {"noise_mm", fit.noise_mm},
                            {"residual_rms_mm", fit.residual_mm},
                            {"own_poses", fit.own_poses},
                            {"shapes", fit.fitted},
                            {"from_parts", fit.from_parts},
                            {"unmeasured", fit.unmeasured},
                            {"left_out", JsonListOnLines(left_out)},
                            {"notes", Messages(fit.notes)}});
}

JsonValue Ranges(const SolveReport& report) {
  std::vector<JsonValue> ranges;
  for (const Range& range : report.ranges)
    ranges.push_back(JsonObject({{"template", range.name}, {"low", range.low}, {"high", range.high}}));
  return JsonListOnLines(ranges);
}

JsonValue WorstFrames(const Take& take, const SolveReport& report) {
  std::vector<JsonValue> frames;
  for (const SolveReport::Frame& worst : report.worst_frames)
    frames.push_back(JsonObject({{"frame", take.frames[worst.frame]},
                                 {"time", take.times[worst.frame]},
                                 {"part", report.parts[worst.part].name},
                                 {"residual_mm", worst.residual_mm}}));
  return JsonListOnLines(frames);
}

} // namespace

JsonValue FilesAsJson(const std::vector<ReportedFile>& files) {
  std::vector<JsonMember> members;
  for (const auto& [role, name, sha256] : files)
    members.push_back({role, JsonObject({{"name", name}, {"sha256", sha256.empty() ? "built in" : sha256}})});
  return JsonObjectOnLines(members);
}

namespace {

JsonValue ReportAsJson(const SolveRecord& record, const JsonValue& flags) {
  const Take& take = *record.take;
  const SolveReport& report = *record.report;
  const Neutral& neutral = *record.neutral;
  std::vector<JsonMember> members = {{"format", "mien report 1"},
                                     {"tool", "mien " MIEN_VERSION},
                                     {"command", record.command},
                                     {"files", FilesAsJson(record.files)},
                                     {"take", TakeOf(take)},
                                     {"settings", Settings(*record.options, record.output_rate)},
                                     {"neutral", NeutralAsJson(neutral, report)},
                                     {"head", Head(report)},
                                     {"markers", Fills(report.face_fills)},
                                     {"left_out", report.left_out},
                                     {"quality", QualityOf(report.quality)},
                                     {"flags", flags},
                                     {"parts", Parts(take, report)},
                                     {"worst_frames", WorstFrames(take, report)}};
  if (report.gaze.source != GazeSource::None) members.push_back({"gaze", GazeOf(report.gaze)});
  if (!report.fit.basis.empty()) members.push_back({"fit", FitOf(report.fit)});
  if (!report.ranges.empty()) members.push_back({"ranges", Ranges(report)});
  return JsonObjectOnLines(members);
}

} // namespace

JsonValue SolveReportAsJson(const SolveRecord& record) {
  return ReportAsJson(record, Flags(*record.take, *record.report));
}

void WriteSolveReport(const SolveRecord& record, std::ostream& out) {
  const std::string flags(1, '\x01'); // which is in no JSON: there may be several flags per frame
  const std::string text = ReportAsJson(record, JsonValue::Written(flags)).Text();
  const std::size_t at = text.find(flags);
  out << std::string_view(text).substr(0, at) << '[';
  bool is_first = true;
  for (const QualityFlag& flag : record.report->quality.flags) {
    out << (is_first ? "\n    " : ",\n    ") << FlagAsJson(flag, *record.take, *record.report).Text();
    is_first = false;
  }
  out << (is_first ? "]" : "\n  ]") << std::string_view(text).substr(at + flags.size()) << '\n';
}

} // namespace mien
