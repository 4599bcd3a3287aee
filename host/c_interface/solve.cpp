#include "host/c_interface/animation.h"
#include "host/c_interface/call.h"
#include "host/c_interface/character.h"
#include "host/c_interface/performer.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/take.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/solve_basis.h"
#include "host/jobs/solve_points.h"
#include "host/jobs/take_timecode.h"
#include "host/solve/solve_report_json.h"

#include <memory>
#include <optional>

using namespace mien;

namespace {

/// What the report says of the take: all but the positions, which are the caller's.
Take FactsOf(const Take& take) {
  Take facts(take.markers);
  facts.file = take.file;
  facts.name = take.name;
  facts.format = take.format;
  facts.flavour = take.flavour;
  facts.unit = take.unit;
  facts.axes = take.axes;
  facts.rate = take.rate;
  facts.timecode = take.timecode;
  facts.frames = take.frames;
  facts.times = take.times;
  facts.notes = take.notes;
  return facts;
}

/// What a report is made from.
struct ReportParts {
  Take take; ///< without positions
  Neutral neutral;
  SolveReport report;
  SolveOptions options;
  std::optional<FrameRate> output_rate;

  std::string AsJson() const {
    const SolveRecord record = {.command = {},
                                .files = {},
                                .take = &take,
                                .neutral = &neutral,
                                .options = &options,
                                .report = &report,
                                .output_rate = output_rate};
    return SolveReportAsJson(record).Text() + "\n";
  }
};

std::unique_ptr<mien_animation> Solve(const SolveJob& job, const Take& take, const Performer& performer,
                                      const Character* character, const JobProgress& progress) {
  CheckSolve(job, character ? AnimationFormat::Json : AnimationFormat::TemplateCsv);
  CheckSolve(job, performer);
  const std::optional<ShapeBasis> basis = BasisOf(job);
  if (progress) progress(JobStage::Preparing, 0, 0);
  SolvedPoints solved = SolvePoints({.settings = job,
                                     .take = take,
                                     .performer = performer,
                                     .character = character,
                                     .basis = basis ? &*basis : nullptr,
                                     .keep_frames = true},
                                    progress);
  auto answer = std::make_unique<mien_animation>(std::move(solved.animation), character, take.file);
  if (solved.causal) {
    answer->make_report = [causal = *solved.causal, read = take.FrameCount(),
                           written = answer->animation.frames.size()] {
      return mien::AsJson(causal, read, written).Text() + "\n";
    };
    return answer;
  }
  answer->neutral = solved.neutral.how;
  answer->notes.Add(solved.neutral.notes, take.file);
  answer->quality = std::move(solved.report.per_frame);
  solved.report.per_frame.clear();
  const auto parts = std::make_shared<const ReportParts>(ReportParts{
      FactsOf(take), std::move(solved.neutral), std::move(solved.report), job.solve, job.output_rate});
  answer->make_report = [parts] { return parts->AsJson(); };
  return answer;
}

} // namespace

mien_animation* mien_solve(const mien_take* take, const mien_performer* performer,
                           const mien_character* character, const mien_settings* settings,
                           const mien_progress* progress, mien_messages** errors) {
  return CallNew(errors, [&] {
    const Take* from = &Require(take, "take").take;
    const Performer& of = Require(performer, "performer").performer;
    const mien_character* const with = RequireOrNull(character, "character");
    SolveJob job = SettingsOf(settings, MIEN_STEP_SOLVE).solve;
    job.character = with ? "character" : "";
    job.access = FileAccess::Copy; // to the neutral take, which may be shortened during the read
    std::optional<Take> with_timecode;
    if (job.timecode) {
      with_timecode = *from;
      with_timecode->timecode = RequireTimecode(*job.timecode, from->rate);
      from = &*with_timecode;
    }
    return Solve(job, *from, of, with ? &with->character : nullptr, ProgressOf(progress));
  });
}
