#include "host/jobs/guess_job.h"

#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/performer/neutral.h"
#include "host/performer/neutral_head.h"
#include "host/performer/performer_file.h"

namespace mien {

PerformerGuess Run(const GuessJob& job, const JobProgress& progress) {
  RefuseOverwriting(job.output, job.take, "the take");
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
  const Take take =
      ReadTake(MappedFile(job.take, ReadingProgress(progress)).Bytes(), InputName(job.take), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  PerformerGuess guess = GuessPerformer(take);
  if (!job.name.empty()) guess.performer.name = job.name;
  const auto rigid = LearnRigidHead(take, guess.performer);
  const Neutral neutral = FindNeutral(take, guess.performer, job.neutral, rigid ? &*rigid : nullptr);
  NeutralHead(guess.performer, neutral.pose); // throws where the take could not be solved with it
  if (job.neutral) guess.performer.neutral = neutral.pose;
  WriteWhole(job.output, [&](std::ostream& out) { WritePerformer(guess.performer, out); });
  return guess;
}

} // namespace mien
