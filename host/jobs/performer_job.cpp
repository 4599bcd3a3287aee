#include "host/jobs/performer_job.h"

#include "host/base/text.h"
#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral_head.h"
#include "host/performer/performer_file.h"

#include <fmt/format.h>

namespace mien {

Neutral TakeNeutral(const PerformerJob& job, const Take& take, Performer& performer) {
  CheckMarkers(performer, take);
  Performer seen = performer; // the file keeps its irises
  LeaveOutMissingIrises(seen, take);
  const std::optional<RigidHead> rigid =
      job.head_fit == HeadFit::Take ? LearnRigidHead(take, seen) : std::nullopt;
  Neutral neutral = FindNeutral(take, seen, job.neutral, rigid ? &*rigid : nullptr);
  NeutralHead(performer, neutral.pose); // throws where a take could not be solved with it
  if (!performer.ranges.empty() && !neutral.frames.empty()) { // not the file's own neutral
    neutral.notes.push_back(
        {Code::Ignored, "",
         fmt::format("the ranges of {} were measured from another neutral face and are left "
                     "out; calibrate again",
                     Quoted(performer.name))});
    performer.ranges.clear();
    performer.calibration = {};
  }
  performer.neutral = neutral.pose;
  if (!job.name.empty()) performer.name = job.name;
  return neutral;
}

Neutral Run(const PerformerJob& job, const JobProgress& progress) {
  RefuseReadingTwice({{"take", job.take}, {"performer", job.performer}});
  RefuseOverwriting(job.output, job.take, "the take"); // a performer file may be renewed in its place
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
  Performer performer = LoadPerformer(job.performer);
  const Take take =
      ReadTake(MappedFile(job.take, ReadingProgress(progress)).Bytes(), InputName(job.take), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  Neutral neutral = TakeNeutral(job, take, performer);
  WriteWhole(job.output, [&](std::ostream& out) { WritePerformer(performer, out); });
  return neutral;
}

} // namespace mien
