#include "host/c_interface/animation.h"
#include "host/c_interface/array_clock.h"
#include "host/c_interface/call.h"
#include "host/c_interface/character.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/struct_size.h"
#include "host/files/mapped_file.h"
#include "host/jobs/retarget_report.h"
#include "host/jobs/retarget_weights.h"
#include "host/weights/read_weights.h"
#include "host/weights/weight_names.h"

#include <cmath>
#include <functional>

using namespace mien;

namespace {

/// Retargets what `read` returns.
std::unique_ptr<mien_animation> Retarget(const mien_character* character, const mien_settings* settings,
                                         const JobProgress& progress,
                                         const std::function<WeightTake(const RetargetJob&)>& read) {
  const mien_character* const with = RequireOrNull(character, "character");
  RetargetJob job = SettingsOf(settings, MIEN_STEP_RETARGET).retarget;
  job.character = with ? "character" : "";
  job.access = FileAccess::Copy;
  CheckRetarget(job);
  RetargetResult result;
  result.take = read(job);
  if (progress) progress(JobStage::Preparing, 0, 0);
  const Character* const onto = with ? &with->character : nullptr;
  Animation animation = RetargetWeights(job, onto, result, progress);
  result.written.frames = animation.frames.size();
  auto answer = std::make_unique<mien_animation>(std::move(animation), onto, result.take.file);
  answer->make_report = [text = RetargetReportAsJson(job, result).Text() + "\n"] { return text; };
  answer->notes.Add(result.take.notes, result.take.file);
  if (result.landmarks) answer->notes.Add(result.landmarks->notes, result.landmarks->file);
  return answer;
}

/// Shapes in their usual spelling, as readers have them.
std::vector<std::string> UsualNames(const std::vector<std::string>& written) {
  std::vector<std::string> names;
  for (const std::string& name : written) names.push_back(UsualName(name));
  std::vector<const char*> texts;
  for (const std::string& name : names) texts.push_back(name.c_str());
  return NamesOf(texts.data(), texts.size(), "names"); // two may mean the same
}

WeightTake WeightsOf(const mien_weight_arrays& arrays) {
  if (!arrays.weights) throw UsageError("weights", "this is NULL");
  RequireSize(arrays.frame_count, arrays.name_count, "name_count");
  Take clock = TakeWithClock({.name = arrays.name,
                              .frames = arrays.frame_count,
                              .rate_numerator = arrays.rate_numerator,
                              .rate_denominator = arrays.rate_denominator,
                              .frame_numbers = arrays.frame_numbers,
                              .times = arrays.times,
                              .timecode = arrays.timecode},
                             {}, "weights");
  WeightTake take;
  take.names = UsualNames(NamesOf(arrays.names, arrays.name_count, "names"));
  take.file = clock.file;
  take.name = clock.name;
  take.format = clock.format;
  take.timecode = clock.timecode;
  take.SetClock(std::move(clock));
  const auto name_stride =
                 arrays.name_stride != 0 ? arrays.name_stride : static_cast<std::ptrdiff_t>(sizeof(double)),
             frame_stride = arrays.frame_stride != 0
                                ? arrays.frame_stride
                                : static_cast<std::ptrdiff_t>(sizeof(double) * arrays.name_count);
  for (std::size_t f = 0; f < arrays.frame_count; ++f)
    for (std::size_t n = 0; n < arrays.name_count; ++n) {
      const double weight = DoubleAt(arrays.weights, static_cast<std::ptrdiff_t>(f) * frame_stride +
                                                         static_cast<std::ptrdiff_t>(n) * name_stride);
      if (std::isinf(weight))
        throw InputError(Code::InvalidValue, take.file, fmt::format("frame index {}", f),
                         fmt::format("the weight of {} is infinite", take.names[n]),
                         "give NaN for a missing weight");
      take.weights.push_back(weight);
    }
  return take;
}

} // namespace

mien_animation* mien_retarget(const char* path, const mien_character* character,
                              const mien_settings* settings, const mien_progress* progress,
                              mien_messages** errors) {
  return CallNew(errors, [&] {
    const std::string file = RequirePath(path, "path");
    const JobProgress report = ProgressOf(progress);
    return Retarget(character, settings, report, [&](const RetargetJob& job) {
      return ReadWeights(MappedFile(file, ReadingProgress(report), FileAccess::Copy).Bytes(), file,
                         job.reading);
    });
  });
}

mien_animation* mien_retarget_memory(const void* bytes, size_t size, const char* name,
                                     const mien_character* character, const mien_settings* settings,
                                     const mien_progress* progress, mien_messages** errors) {
  return CallNew(errors, [&] {
    if (!bytes && size > 0) throw UsageError("bytes", "this is NULL");
    const std::string file = RequireText(name, "name");
    return Retarget(character, settings, ProgressOf(progress), [&](const RetargetJob& job) {
      return ReadWeights({static_cast<const char*>(bytes), size}, file, job.reading);
    });
  });
}

mien_animation* mien_retarget_arrays(const mien_weight_arrays* arrays, const mien_character* character,
                                     const mien_settings* settings, const mien_progress* progress,
                                     mien_messages** errors) {
  return CallNew(errors, [&] {
    const mien_weight_arrays known = ReadStruct(arrays, "arrays");
    return Retarget(character, settings, ProgressOf(progress),
                    [&](const RetargetJob&) { return WeightsOf(known); });
  });
}
