#include "host/c_interface/performer.h"

#include "host/c_interface/call.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/struct_size.h"
#include "host/c_interface/take.h"
#include "host/c_interface/text.h"
#include "host/jobs/calibrate_points.h"
#include "host/jobs/guess_job.h"
#include "host/jobs/performer_job.h"
#include "host/performer/performer_file.h"

#include <sstream>
#include <string_view>

using namespace mien;

mien_performer* mien_performer_load(const char* name_or_path, mien_messages** errors) {
  return CallNew(errors, [&] {
    return std::make_unique<mien_performer>(LoadPerformer(RequirePath(name_or_path, "name_or_path")));
  });
}

mien_performer* mien_performer_from_json(const char* json, size_t size, const char* name,
                                         mien_messages** errors) {
  return CallNew(errors, [&] {
    if (!json) throw UsageError("json", "this is NULL");
    return std::make_unique<mien_performer>(
        ReadPerformer(std::string_view(json, size), RequireText(name, "name")));
  });
}

mien_performer* mien_performer_with_neutral(const mien_performer* performer, const mien_take* take,
                                            const mien_settings* settings, const mien_progress* progress,
                                            mien_messages** errors) {
  return CallNew(errors, [&] {
    Performer made = Require(performer, "performer").performer;
    const Take& from = Require(take, "take").take;
    const CalibrateJob& asked = SettingsOf(settings, MIEN_STEP_CALIBRATE).calibrate;
    if (const JobProgress report = ProgressOf(progress)) report(JobStage::Preparing, 0, 0);
    PerformerJob job;
    job.name = asked.name;
    job.neutral = asked.neutral;
    job.head_fit = asked.solve.head_fit;
    const Neutral neutral = TakeNeutral(job, from, made);
    auto answer = std::make_unique<mien_performer>(std::move(made));
    answer->notes.Add(neutral.notes, from.file);
    return answer;
  });
}

mien_performer* mien_performer_guess(const mien_take* take, const mien_settings* settings,
                                     const mien_progress* progress, mien_messages** errors) {
  return CallNew(errors, [&] {
    const Take& from = Require(take, "take").take;
    const CalibrateJob& asked = SettingsOf(settings, MIEN_STEP_CALIBRATE).calibrate;
    if (const JobProgress report = ProgressOf(progress)) report(JobStage::Preparing, 0, 0);
    GuessJob job;
    job.name = asked.name;
    job.neutral = asked.neutral;
    PerformerGuess guess = GuessFor(job, from);
    auto answer = std::make_unique<mien_performer>(std::move(guess.performer));
    answer->notes.Add(guess.doubts, from.file);
    return answer;
  });
}

mien_performer* mien_performer_calibrate(const mien_performer* performer, const mien_take* const* takes,
                                         size_t take_count, const mien_settings* settings,
                                         const mien_progress* progress, mien_messages** errors) {
  return CallNew(errors, [&] {
    const Performer& before = Require(performer, "performer").performer;
    if (!takes || take_count == 0) throw UsageError("takes", "there are no takes");
    for (std::size_t i = 0; i < take_count; ++i) Require(takes[i], "takes");
    const CalibrateJob& asked = SettingsOf(settings, MIEN_STEP_CALIBRATE).calibrate;
    const JobProgress report = ProgressOf(progress);
    PerformerCalibration calibration(asked, before);
    for (std::size_t i = 0; i < take_count; ++i) {
      if (report) report(JobStage::Preparing, 0, 0);
      calibration.Add(takes[i]->take, report);
      calibration.Record({takes[i]->take.name, ""});
    }
    const CalibrateResult result = calibration.Measure();
    auto answer = std::make_unique<mien_performer>(calibration.Calibrated());
    answer->notes.Add(result.neutral.notes, takes[0]->take.file);
    answer->notes.Add(result.notes, asked.poses);
    return answer;
  });
}

const char* mien_performer_name(const mien_performer* performer) {
  return Known(performer) ? performer->performer.name.c_str() : nullptr;
}

size_t mien_performer_marker_count(const mien_performer* performer) {
  return Known(performer) ? performer->markers.size() : 0;
}

const char* mien_performer_marker(const mien_performer* performer, size_t index) {
  return Known(performer) && index < performer->markers.size() ? performer->markers[index].c_str() : nullptr;
}

mien_text* mien_performer_to_json(const mien_performer* performer, mien_messages** errors) {
  return CallNew(errors, [&] {
    std::ostringstream json;
    WritePerformer(Require(performer, "performer").performer, json);
    return std::make_unique<mien_text>(std::move(json).str());
  });
}

const mien_messages* mien_performer_notes(const mien_performer* performer) {
  return Known(performer) ? &performer->notes : nullptr;
}

size_t mien_performer_range_count(const mien_performer* performer) {
  return Known(performer) ? performer->performer.ranges.size() : 0;
}

mien_status mien_performer_range(const mien_performer* performer, size_t index, mien_range* range) {
  if (!Known(performer) || index >= performer->performer.ranges.size()) return MIEN_USAGE;
  const Range& own = performer->performer.ranges[index];
  return FillStruct(range, mien_range{.struct_size = sizeof(mien_range),
                                      .name = own.name.c_str(),
                                      .low = own.low,
                                      .high = own.high,
                                      .seen = own.seen,
                                      .trusted = own.trusted ? 1 : 0,
                                      .why = own.why.c_str()});
}

mien_status mien_performer_free(mien_performer* performer) { return Free(performer); }
