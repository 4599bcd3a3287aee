#include "host/solve/solve_report_json.h"

#include <nlohmann/json.hpp>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

template <class T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json SettingsOf(const SolveOptions& options) {
  return {{"fill", ToText(options.face_fill)},
          {"fill_head", ToText(options.head_fill)},
          {"head_tolerance_mm", OrNull(options.head_tolerance_mm)},
          {"fade_s", options.fade_s},
          {"smooth_hz", OrNull(options.smooth_positions_hz)},
          {"smooth_weights_hz", OrNull(options.smooth_weights_hz)}};
}

Json FillsOf(const std::vector<FilledMarker>& fills) {
  Json markers = Json::array();
  for (const FilledMarker& fill : fills) {
    Json filled = Json::object();
    for (const FillMethod method :
         {FillMethod::Hold, FillMethod::Linear, FillMethod::Cubic, FillMethod::Pattern})
      if (const std::size_t frames = fill.filled_by[static_cast<std::size_t>(method)]; frames > 0)
        filled[std::string(ToText(method))] = frames;
    markers.push_back({{"marker", fill.marker},
                       {"gaps", fill.gaps},
                       {"gap_frames", fill.gap_frames},
                       {"longest_gap", fill.longest_gap},
                       {"filled_frames", filled},
                       {"empty_frames", fill.gap_frames - fill.FilledFrames()}});
  }
  return markers;
}

} // namespace

void WriteSolveReport(const SolveRecord& record, std::ostream& out) {
  const Take& take = *record.take;
  const SolveReport& report = record.solved->report;
  Json json = {{"format", "mien report 1"}, {"tool", "mien " MIEN_VERSION}, {"command", record.command}};

  for (const auto& [role, name, sha256] : record.files) {
    json["files"][role] = {{"name", name}};
    json["files"][role]["sha256"] = sha256.empty() ? Json("built in") : Json(sha256);
  }
  json["take"] = {{"format", take.format},
                  {"flavour", take.flavour},
                  {"frames", take.FrameCount()},
                  {"first_frame", take.frames.front()},
                  {"last_frame", take.frames.back()},
                  {"rate", ToText(take.rate)},
                  {"timecode", take.timecode ? Json(ToText(*take.timecode)) : Json(nullptr)},
                  {"markers", take.MarkerCount()},
                  {"notes", take.notes}};
  json["settings"] = SettingsOf(*record.options);
  json["neutral"] = {{"from", record.neutral->how}, {"notes", record.neutral->notes}};

  Json slipped = Json::array();
  for (const SlippedMarker& marker : report.slipped.markers)
    slipped.push_back({{"marker", marker.marker},
                       {"frames", marker.frames},
                       {"first_frame", marker.first_frame},
                       {"furthest_mm", marker.furthest_mm}});
  json["head"] = {{"motion_removed", report.head_motion_removed},
                  {"frames_without_head", report.frames_without_head},
                  {"slipped", slipped},
                  {"doubtful_frames", report.slipped.doubtful_frames},
                  {"markers", FillsOf(report.head_fills)}};
  json["markers"] = FillsOf(report.face_fills);
  json["left_out"] = report.left_out;
  json["parts"] = Json::array();
  for (const SolveReport::Part& part : report.parts)
    json["parts"].push_back({{"part", part.name},
                             {"markers", part.markers},
                             {"rest_frames", part.markers == 0 ? report.frames : part.rest_frames},
                             {"partly_at_rest_frames", part.partial_frames},
                             {"residual_rms_mm", part.rms_mm},
                             {"residual_worst_mm", part.worst_mm},
                             {"worst_frame", take.frames[part.worst_frame]}});
  json["worst_frames"] = Json::array();
  for (const SolveReport::Frame& worst : report.worst_frames)
    json["worst_frames"].push_back({{"frame", take.frames[worst.frame]},
                                    {"time", take.times[worst.frame]},
                                    {"part", report.parts[worst.part].name},
                                    {"residual_mm", worst.residual_mm}});
  // Names out of files that are no UTF-8 are shown with their bad bytes replaced.
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace mien
