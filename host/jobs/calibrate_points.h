#pragma once

#include "host/animation/animation.h"
#include "host/calibrate/pose_marks.h"
#include "host/jobs/calibrate_job.h"
#include "host/jobs/job_progress.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <utility>
#include <vector>

namespace mien {

/// A performer that is calibrated with takes in memory, one after the other. Of the job's settings, the
/// members count that name neither takes nor what is read and written, but for the table of poses.
class PerformerCalibration {
public:
  /// `settings` must outlive it.
  PerformerCalibration(const CalibrateJob& settings, Performer performer);

  /// Solves a take. The first one has the neutral face and the poses. Throws InputError.
  void Add(const Take& take, const JobProgress& progress = nullptr);

  /// Records the take that was added last as one of those that the ranges come from.
  void Record(CalibrationRecord::TakeFile take) { performer_.calibration.takes.push_back(std::move(take)); }

  /// Measures the ranges. To be called once, after at least one take. Throws InputError where none is
  /// trusted.
  CalibrateResult Measure();

  /// The performer, calibrated after Measure.
  const Performer& Calibrated() const { return performer_; }

private:
  const CalibrateJob& settings_;
  Performer performer_;
  CalibrateResult result_;
  std::vector<PoseMark> marks_;
  std::vector<Animation> solved_;
};

} // namespace mien
