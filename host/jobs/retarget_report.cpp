#include "host/jobs/retarget_report.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

namespace {

JsonValue WeightsOf(const WeightTake& take) {
  const std::optional<std::string> timecode =
      take.timecode ? std::optional(ToText(*take.timecode)) : std::nullopt;
  const std::vector<std::string> notes = Messages(take.notes);
  return JsonObjectOnLines({{"layout", take.format},
                            {"frames", take.frames.size()},
                            {"first_frame", take.frames.front()},
                            {"last_frame", take.frames.back()},
                            {"rate", ToText(take.rate)},
                            {"timecode", timecode},
                            {"names", take.names},
                            {"notes", JsonListOnLines({notes.begin(), notes.end()})}});
}

JsonValue SettingsOf(const RetargetJob& job) {
  const std::optional<std::string> rate =
      job.output_rate ? std::optional(ToText(*job.output_rate)) : std::nullopt;
  return JsonObjectOnLines({{"map", job.character.empty() ? JsonValue(nullptr) : JsonValue(job.map)},
                            {"swap_sides", job.swap_sides},
                            {"fade_s", job.fade_s},
                            {"smooth_weights_hz", job.smooth_weights_hz},
                            {"smooth_gaze_hz", job.smooth_gaze_hz},
                            {"output_rate", rate}});
}

JsonValue RangesOf(const AppliedRanges& ranges) {
  std::vector<JsonValue> applied;
  for (const Range& range : ranges.applied)
    applied.push_back(JsonObject({{"weight", range.name}, {"low", range.low}, {"high", range.high}}));
  return JsonObjectOnLines({{"applied", JsonListOnLines(applied)},
                            {"not_trusted", ranges.doubted},
                            {"without_weight", ranges.unmatched}});
}

std::string EyesFrom(const RetargetResult& result) {
  if (result.landmarks && result.landmarks->gaze != GazeSource::None)
    return std::string(ToText(result.landmarks->gaze));
  if (result.eyes_of_shapes) return "eyeLook shapes";
  return result.take.eyes.empty() ? "none" : "angles";
}

} // namespace

JsonValue RetargetReportAsJson(const RetargetJob& job, const RetargetResult& result) {
  std::vector<JsonMember> members = {{"format", "mien retarget report 1"},
                                     {"tool", "mien " MIEN_VERSION},
                                     {"command", job.command},
                                     {"files", FilesAsJson(result.files)},
                                     {"weights", WeightsOf(result.take)},
                                     {"settings", SettingsOf(job)},
                                     {"written_frames", result.written.frames},
                                     {"missing_frames", result.missing_frames},
                                     {"angles", result.take.angles},
                                     {"eyes", EyesFrom(result)},
                                     {"unused", result.unused}};
  if (!job.ranges.empty()) members.push_back({"ranges", RangesOf(result.ranges)});
  if (result.landmarks)
    members.push_back({"landmarks", JsonObject({{"layout", result.landmarks->format},
                                                {"matched_frames", result.joined.matched},
                                                {"frames_without", result.joined.without},
                                                {"unused_frames", result.joined.unused}})});
  return JsonObjectOnLines(members);
}

} // namespace mien
