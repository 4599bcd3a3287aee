#include "host/jobs/guess_job.h"

#include "host/base/error.h"
#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/performer/neutral.h"
#include "host/performer/neutral_head.h"
#include "host/performer/performer_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

namespace mien {

namespace {

/// Landmarks of trackers are known by their names, and are too many to be found by their places.
void RefuseKnownMarkers(const Take& take) {
  std::string known;
  std::size_t most = 0;
  for (const std::string& name : BuiltInPerformers()) {
    const std::vector<std::string> markers = LoadPerformer(name).Markers();
    if (markers.size() > most && std::all_of(markers.begin(), markers.end(), [&](const std::string& marker) {
          return take.FindMarker(marker).has_value();
        }))
      known = name, most = markers.size();
  }
  if (most > 0)
    throw InputError(Code::Unsolvable, take.file, "",
                     fmt::format("its markers are those of the built-in performer {}", known),
                     fmt::format("use --performer {}", known));
}

} // namespace

PerformerGuess GuessFor(const GuessJob& job, const Take& take) {
  RefuseKnownMarkers(take);
  PerformerGuess guess = GuessPerformer(take);
  if (!job.name.empty()) guess.performer.name = job.name;
  const auto rigid = LearnRigidHead(take, guess.performer);
  const Neutral neutral = FindNeutral(take, guess.performer, job.neutral, rigid ? &*rigid : nullptr);
  NeutralHead(guess.performer, neutral.pose); // throws where the take could not be solved with it
  if (job.neutral) guess.performer.neutral = neutral.pose;
  return guess;
}

PerformerGuess Run(const GuessJob& job, const JobProgress& progress) {
  RefuseOverwriting(job.output, job.take, "the take");
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
  const Take take =
      ReadTake(MappedFile(job.take, ReadingProgress(progress)).Bytes(), InputName(job.take), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  PerformerGuess guess = GuessFor(job, take);
  WriteWhole(job.output, [&](std::ostream& out) { WritePerformer(guess.performer, out); });
  return guess;
}

} // namespace mien
