#include "host/c_interface/live_setup.h"

#include "host/files/read_file.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/output_place.h"
#include "host/jobs/retarget_weights.h"
#include "host/jobs/solve_basis.h"
#include "host/jobs/solve_points.h"
#include "host/performer/ranges_file.h"

#include <memory>
#include <optional>
#include <utility>

namespace mien {

LiveSetup SetupOfMarkers(SolveJob job, const mien_performer& performer, const mien_take* take,
                         std::shared_ptr<const Character> character) {
  job.character = character ? "character" : "";
  job.causal.on = true;
  job.access = FileAccess::Copy;
  const std::optional<FrameRange> neutral = job.neutral;
  if (take) {
    if (!job.causal.neutral_take.empty())
      throw UsageError("neutral-take", "the face is learned from the take of the call");
    job.neutral.reset(); // it selects frames of that take
  }
  CheckSolve(job, character ? AnimationFormat::Json : AnimationFormat::TemplateCsv);
  CheckSolve(job, performer.performer);
  LiveSetup setup = SetupOf(job);
  if (take) {
    setup.neutral_take = take->shared;
    setup.neutral = neutral;
  }
  Performer measured = performer.performer;
  if (!job.ranges) measured.ranges.clear();
  setup.performer = std::make_shared<const Performer>(std::move(measured));
  setup.character = std::move(character);
  if (std::optional<ShapeBasis> basis = BasisOf(job))
    setup.basis = std::make_shared<const ShapeBasis>(std::move(*basis));
  return setup;
}

LiveSetup SetupOfWeights(RetargetJob job, std::shared_ptr<const Character> character) {
  job.character = character ? "character" : "";
  job.causal.on = true;
  CheckRetarget(job);
  LiveSetup setup = SetupOf(job, character != nullptr);
  if (!job.ranges.empty()) setup.weight_ranges = ReadRanges(ReadFile(job.ranges), job.ranges).ranges;
  setup.character = std::move(character);
  return setup;
}

} // namespace mien
