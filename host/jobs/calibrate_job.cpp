#include "host/jobs/calibrate_job.h"

#include "host/files/mapped_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/calibrate_points.h"
#include "host/jobs/output_place.h"
#include "host/jobs/read_points.h"
#include "host/performer/performer_file.h"

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

} // namespace

CalibrateResult Run(const CalibrateJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  PerformerCalibration calibration(job, LoadPerformer(job.performer));
  for (const std::string& name : job.takes) {
    const MappedFile file(name, ReadingProgress(progress));
    const Take take = ReadPoints(file.Bytes(), InputName(name), job.reading);
    if (progress) progress(JobStage::Preparing, 0, 0);
    calibration.Add(take, progress);
    calibration.Record({std::filesystem::path(InputName(name)).filename().string(), Sha256(file)});
  }
  CalibrateResult result = calibration.Measure();
  WriteWhole(job.output, [&](std::ostream& out) { WritePerformer(calibration.Calibrated(), out); });
  return result;
}

} // namespace mien
