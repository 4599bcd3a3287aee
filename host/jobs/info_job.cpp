#include "host/jobs/info_job.h"

#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/jobs/output_place.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/neutral_head.h"
#include "host/performer/performer_file.h"

namespace mien {

namespace {

FaceDirections DirectionsOf(const Take& take, Performer performer) {
  CheckMarkers(performer, take);
  LeaveOutMissingIrises(performer, take);
  const VgeAMatrix head = NeutralHead(performer, FindNeutral(take, performer, std::nullopt).pose);
  const auto axis = [&](int column) {
    return Point{head.m[column][0], head.m[column][1], head.m[column][2]};
  };
  return {.left = axis(0), .up = axis(1), .forward = axis(2)};
}

} // namespace

std::vector<TakeInfo> Run(const InfoJob& job, const JobProgress& progress) {
  std::vector<NamedInput> inputs = {{"performer", job.performer}};
  for (const std::string& take : job.takes) inputs.push_back({"take", take});
  RefuseReadingTwice(inputs);
  std::optional<Performer> performer;
  if (!job.performer.empty()) performer = LoadPerformer(job.performer);

  std::vector<TakeInfo> infos;
  for (const std::string& file : job.takes) {
    TakeInfo& info = infos.emplace_back();
    info.file = file;
    try {
      const Take take =
          ReadTake(MappedFile(file, ReadingProgress(progress)).Bytes(), InputName(file), job.reading);
      info.description = Describe(take);
      if (performer) info.description->face = DirectionsOf(take, *performer);
    } catch (const InputError& error) { info.problems = error.Problems(); }
  }
  return infos;
}

} // namespace mien
