#include "host/jobs/calibrate_points.h"

#include "host/calibrate/guided_ranges.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/performer/match_markers.h"
#include "host/performer/rigid_head.h"
#include "host/solve/solve_take.h"

#include <fmt/format.h>

#include <optional>
#include <utility>

namespace mien {

namespace {

std::vector<std::pair<std::string, std::string>> SettingsOf(const SolveOptions& options) {
  std::vector<std::pair<std::string, std::string>> settings = {
      {"head_fit", options.head_fit == HeadFit::Take ? "take" : "markers"},
      {"brows", std::string(ToText(options.brows))},
      {"fill", ToText(options.face_fill)},
      {"fill_head", ToText(options.head_fill)}};
  if (options.smooth_positions_hz)
    settings.emplace_back("smooth_hz", fmt::format("{}", *options.smooth_positions_hz));
  if (options.smooth_weights_hz)
    settings.emplace_back("smooth_weights_hz", fmt::format("{}", *options.smooth_weights_hz));
  return settings;
}

} // namespace

PerformerCalibration::PerformerCalibration(const CalibrateJob& settings, Performer performer)
    : settings_(settings), performer_(std::move(performer)) {
  performer_.ranges.clear();
  performer_.calibration = {};
  performer_.calibration.settings = SettingsOf(settings.solve);
}

void PerformerCalibration::Add(const Take& take, const JobProgress& progress) {
  const bool first = solved_.empty();
  if (first) performer_.calibration.landmarks = LandmarkCount(take.markers);
  CheckMarkers(performer_, take);
  LeaveOutMissingIrises(performer_, take);
  if (first && !settings_.poses.empty()) {
    marks_ = ReadPoseMarks(ReadFile(settings_.poses), InputName(settings_.poses), take);
    result_.notes = MissingPoses(marks_);
  }
  const std::optional<RigidHead> rigid = settings_.solve.head_fit == HeadFit::Take
                                             ? LearnRigidHead(take, performer_, settings_.solve.threads)
                                             : std::nullopt;
  if (first) {
    result_.neutral =
        FindNeutral(take, performer_, settings_.neutral, rigid ? &*rigid : nullptr, settings_.solve.threads);
    performer_.neutral =
        result_.neutral.pose; // that of all takes, as it will be of those that are solved later
  }
  SolvedTake of_take = SolveTake(take, performer_, result_.neutral.pose, settings_.solve,
                                 rigid ? &*rigid : nullptr, [&](std::size_t frame, std::size_t frames) {
                                   if (progress) progress(JobStage::Solving, frame, frames);
                                 });
  of_take.animation.CheckFinite(take.file);
  if (first && !marks_.empty())
    performer_.calibration.poses = RecordPoses(take, of_take.animation, performer_, result_.neutral.pose,
                                               marks_, InputName(settings_.poses));
  solved_.push_back(std::move(of_take.animation));
}

CalibrateResult PerformerCalibration::Measure() {
  result_.templates = Calibrate(solved_, performer_, marks_);
  performer_.ranges = RangesOf(result_.templates);
  if (!settings_.name.empty()) performer_.name = settings_.name;
  return std::move(result_);
}

} // namespace mien
