#include "host/jobs/calibrate_job.h"

#include "host/base/text.h"
#include "host/calibrate/guided_ranges.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/read_points.h"
#include "host/performer/match_markers.h"
#include "host/performer/performer_file.h"
#include "host/performer/rigid_head.h"
#include "host/solve/solve_take.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace mien {

namespace {

void CheckPlaces(const CalibrateJob& job) {
  std::vector<NamedInput> inputs = {{"performer", job.performer}, {"poses", job.poses}};
  for (const std::string& take : job.takes) {
    inputs.push_back({"take", take});
    RefuseOverwriting(job.output, take, "the take"); // a performer file may be renewed in its place
  }
  RefuseReadingTwice(inputs);
  RefuseOverwriting(job.output, job.poses, "the table of poses");
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
}

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

CalibrateResult Run(const CalibrateJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  Performer performer = LoadPerformer(job.performer);
  performer.ranges.clear();
  performer.calibration = {};
  performer.calibration.settings = SettingsOf(job.solve);

  CalibrateResult result;
  std::vector<PoseMark> marks;
  std::vector<Animation> solved;
  for (const std::string& name : job.takes) {
    const bool first = solved.empty();
    const MappedFile file(name, ReadingProgress(progress));
    const Take take = ReadPoints(file.Bytes(), InputName(name), job.reading);
    if (progress) progress(JobStage::Preparing, 0, 0);
    if (first) performer.calibration.landmarks = LandmarkCount(take.markers);
    CheckMarkers(performer, take);
    LeaveOutMissingIrises(performer, take);
    if (first && !job.poses.empty()) {
      marks = ReadPoseMarks(ReadFile(job.poses), InputName(job.poses), take);
      result.notes = MissingPoses(marks);
    }
    const std::optional<RigidHead> rigid =
        job.solve.head_fit == HeadFit::Take ? LearnRigidHead(take, performer) : std::nullopt;
    if (first) {
      result.neutral =
          FindNeutral(take, performer, job.neutral, rigid ? &*rigid : nullptr, job.solve.threads);
      performer.neutral =
          result.neutral.pose; // that of all takes, as it will be of those that are solved later
    }
    SolvedTake of_take = SolveTake(take, performer, result.neutral.pose, job.solve, rigid ? &*rigid : nullptr,
                                   [&](std::size_t frame, std::size_t frames) {
                                     if (progress) progress(JobStage::Solving, frame, frames);
                                   });
    of_take.animation.CheckFinite(InputName(name));
    if (first && !marks.empty())
      performer.calibration.poses =
          RecordPoses(take, of_take.animation, performer, result.neutral.pose, marks, InputName(job.poses));
    solved.push_back(std::move(of_take.animation));
    performer.calibration.takes.push_back(
        {std::filesystem::path(InputName(name)).filename().string(), Sha256(file)});
  }

  result.templates = Calibrate(solved, performer, marks);
  performer.ranges = RangesOf(result.templates);
  if (!job.name.empty()) performer.name = job.name;
  WriteWhole(job.output, [&](std::ostream& out) { WritePerformer(performer, out); });
  return result;
}

} // namespace mien
