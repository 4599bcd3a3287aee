#include "host/jobs/calibrate_weights_job.h"

#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/weights/fill_missing.h"
#include "host/weights/to_animation.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace mien {

namespace {

void CheckPlaces(const CalibrateWeightsJob& job) {
  std::vector<NamedInput> inputs = {{"poses", job.poses}};
  for (const std::string& take : job.takes) {
    inputs.push_back({"take", take});
    RefuseOverwriting(job.output, take, "the recording");
  }
  RefuseReadingTwice(inputs);
  RefuseOverwriting(job.output, job.poses, "the table of poses");
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
}

/// Blinks are not measured across frames without a face.
void LeaveOutLostFrames(WeightTake& take) {
  const std::size_t names = take.names.size();
  std::size_t kept = 0;
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    const auto row = take.weights.begin() + static_cast<std::ptrdiff_t>(f * names);
    const auto end = row + static_cast<std::ptrdiff_t>(names);
    if (std::all_of(row, end, [](double weight) { return std::isnan(weight); })) continue;
    take.frames[kept] = take.frames[f];
    take.times[kept] = take.times[f];
    std::copy(row, end, take.weights.begin() + static_cast<std::ptrdiff_t>(kept * names));
    ++kept;
  }
  if (kept == 0) throw InputError(Code::Empty, take.file, "", "no frame has weights", "record a face");
  take.frames.resize(kept);
  take.times.resize(kept);
  take.weights.resize(kept * names);
  take.eyes.clear();
  take.heads.clear();
}

/// Frames and times, for the marks of poses.
Take ClockOf(const WeightTake& weights) {
  Take clock;
  for (std::size_t f = 0; f < weights.frames.size(); ++f) clock.AddFrame(weights.frames[f], weights.times[f]);
  clock.rate = weights.rate;
  return clock;
}

} // namespace

CalibrateWeightsResult Run(const CalibrateWeightsJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  CalibrateWeightsResult result;
  WeightRanges ranges;
  std::vector<PoseMark> marks;
  std::vector<Animation> recorded;
  for (const std::string& name : job.takes) {
    const MappedFile file(name, ReadingProgress(progress));
    WeightTake take = ReadWeights(file.Bytes(), InputName(name), job.reading);
    if (progress) progress(JobStage::Preparing, 0, 0);
    LeaveOutLostFrames(take);
    constexpr double kFade_s = 0.25; // of single weights, as mien retarget fills them
    FillMissing(take, kFade_s);
    if (recorded.empty()) {
      ranges.name = job.name.empty() ? take.name : job.name;
      if (!job.poses.empty()) {
        marks = ReadPoseMarks(ReadFile(job.poses), InputName(job.poses), ClockOf(take));
        result.notes = MissingPoses(marks);
      }
    }
    result.take_notes.emplace_back(take.file, std::move(take.notes));
    recorded.push_back(ToAnimation(take));
    ranges.takes.push_back({std::filesystem::path(InputName(name)).filename().string(), Sha256(file)});
  }
  const auto kind_of = [](const Animation& take) {
    return take.layout.shapes.empty() ? WeightKind::Templates : WeightKind::Shapes;
  };
  const WeightKind kind = kind_of(recorded[0]);
  for (std::size_t t = 1; t < recorded.size(); ++t)
    if (kind_of(recorded[t]) != kind)
      throw InputError(Code::Contradiction, InputName(job.takes[t]), "",
                       "of the recordings, some have weights of templates and others of shapes",
                       "calibrate each kind by itself");
  result.weights = CalibrateWeights(recorded, kind, marks);
  ranges.ranges = RangesOf(result.weights);
  WriteWhole(job.output, [&](std::ostream& out) { WriteRanges(ranges, out); });
  return result;
}

} // namespace mien
