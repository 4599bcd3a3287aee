#include "host/c_interface/animation.h"
#include "host/c_interface/call.h"
#include "host/c_interface/character.h"
#include "host/c_interface/performer.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/take.h"
#include "host/jobs/solve_basis.h"
#include "host/jobs/solve_points.h"
#include "host/jobs/take_timecode.h"
#include "host/solve/solve_report_json.h"

#include <optional>

using namespace mien;

namespace {

std::string ReportOf(const SolveJob& job, const Take& take, const SolvedPoints& solved) {
  const SolveRecord record = {.command = {},
                              .files = {},
                              .take = &take,
                              .neutral = &solved.neutral,
                              .options = &job.solve,
                              .report = &solved.report,
                              .output_rate = job.output_rate};
  return SolveReportAsJson(record).Text() + "\n";
}

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
  answer->report = ReportOf(job, take, solved);
  answer->neutral = solved.neutral.how;
  answer->notes.Add(solved.neutral.notes, take.file);
  answer->quality = std::move(solved.report.per_frame);
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
    std::optional<Take> with_timecode;
    if (job.timecode) {
      with_timecode = *from;
      with_timecode->timecode = RequireTimecode(*job.timecode, from->rate);
      from = &*with_timecode;
    }
    return Solve(job, *from, of, with ? &with->character : nullptr, ProgressOf(progress));
  });
}
