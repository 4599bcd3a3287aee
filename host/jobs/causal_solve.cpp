#include "host/jobs/causal_solve.h"

#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/jobs/output_place.h"
#include "host/jobs/read_points.h"
#include "host/weights/weight_map.h"

#include <memory>
#include <utility>

namespace mien {

namespace {

/// Throws if the setting was given.
void Refuse(bool named, std::string_view setting, const char* why) {
  if (named) throw UsageError(setting, why);
}

constexpr char kOnlyCausal[] = "this needs --causal";
constexpr char kLooksAhead[] = "this needs later frames, which --causal does not use";
constexpr char kSmoothing[] = "this needs later frames to avoid lag; with --causal, use --one-euro";
constexpr char kReports[] = "this reports on whole takes; leave it out with --causal";

void CheckNeedsCausal(const CausalJob& causal) {
  Refuse(!causal.neutral_take.empty(), "neutral-take", kOnlyCausal);
  Refuse(causal.learn_s.has_value(), "learn", kOnlyCausal);
  Refuse(causal.hold_s.has_value(), "hold", kOnlyCausal);
  Refuse(causal.face_hold_s.has_value(), "face-hold", kOnlyCausal);
  Refuse(causal.face_fade_s.has_value(), "face-fade", kOnlyCausal);
  Refuse(causal.one_euro.has_value(), "one-euro", kOnlyCausal);
}

std::function<void(std::size_t, std::size_t)> Solving(const JobProgress& progress) {
  return [&progress](std::size_t done, std::size_t total) {
    if (progress) progress(JobStage::Solving, done, total);
  };
}

/// A pointer without ownership, for an object that outlives the solve; may be null.
template <class T>
std::shared_ptr<const T> Shared(const T* object) {
  return std::shared_ptr<const T>(std::shared_ptr<const T>(), object);
}

} // namespace

CausalSettings SettingsOf(const CausalJob& job) {
  CausalSettings settings;
  settings.learn_s = job.learn_s.value_or(settings.learn_s);
  settings.hold_s = job.hold_s.value_or(settings.hold_s);
  settings.face_hold_s = job.face_hold_s.value_or(settings.face_hold_s);
  settings.face_fade_s = job.face_fade_s.value_or(settings.face_fade_s);
  settings.smooth = job.one_euro;
  return settings;
}

void CheckCausal(const SolveJob& job) {
  if (!job.causal.on) return CheckNeedsCausal(job.causal);
  const SolveOptions usual;
  const SolveOptions& options = job.solve;
  Refuse(ToText(options.face_fill) != ToText(usual.face_fill), "fill", kLooksAhead);
  Refuse(ToText(options.head_fill) != ToText(usual.head_fill), "fill-head", kLooksAhead);
  Refuse(!options.head_tolerance_mm, "keep-slipped", kLooksAhead);
  Refuse(options.head_tolerance_mm != usual.head_tolerance_mm, "head-tolerance", kLooksAhead);
  Refuse(options.smooth_positions_hz.has_value(), "smooth", kSmoothing);
  Refuse(options.smooth_weights_hz.has_value(), "smooth-weights", kSmoothing);
  Refuse(options.smooth_gaze_hz.has_value(), "smooth-gaze", kSmoothing);
  Refuse(options.level_lids, "level-lids", kLooksAhead);
  Refuse(job.neutral && job.causal.neutral_take.empty(), "neutral",
         "with --causal, this selects frames of the --neutral-take, which is missing");
  Refuse(!job.report.empty(), "report", kReports);
  Refuse(!job.frames_report.empty(), "frames-report", kReports);
  Refuse(!job.view.empty(), "view", kReports);
}

void CheckCausal(const RetargetJob& job) {
  if (!job.causal.on) return CheckNeedsCausal(job.causal);
  Refuse(!job.causal.neutral_take.empty(), "neutral-take", "weights need no neutral face");
  Refuse(job.causal.learn_s.has_value(), "learn", "weights need no neutral face");
  Refuse(job.smooth_weights_hz.has_value(), "smooth-weights", kSmoothing);
  Refuse(job.smooth_gaze_hz.has_value(), "smooth-gaze", kSmoothing);
  Refuse(!job.landmarks.empty(), "landmarks", kLooksAhead);
  Refuse(!job.report.empty(), "report", kReports);
}

JsonValue AsJson(const CausalResult& causal, std::size_t frames, std::size_t written) {
  return JsonObjectOnLines({{"causal", true},
                            {"frames", frames},
                            {"written_frames", written},
                            {"learning_frames", causal.learning_frames},
                            {"lost_frames", causal.lost_frames},
                            {"unknown_heads", causal.unknown_heads}});
}

LiveSetup SetupOf(const SolveJob& job) {
  LiveSetup setup;
  setup.causal = SettingsOf(job.causal);
  setup.causal.brows = job.solve.brows;
  setup.causal.solver = job.solve.solver;
  setup.causal.head_fit = job.solve.head_fit;
  setup.causal.gaze = job.solve.gaze;
  setup.causal.fade_s = job.solve.fade_s;
  setup.causal.output_rate = job.output_rate;
  setup.expressions = job.expressions;
  if (const std::string& path = job.causal.neutral_take; !path.empty()) {
    const MappedFile file(path, {}, job.access);
    setup.neutral_take = std::make_shared<const Take>(ReadPoints(file.Bytes(), InputName(path), job.reading));
    setup.neutral = job.neutral;
  }
  return setup;
}

LiveSetup SetupOf(const RetargetJob& job, bool has_character) {
  LiveSetup setup;
  setup.causal = SettingsOf(job.causal);
  setup.causal.fade_s = job.fade_s;
  setup.causal.output_rate = job.output_rate;
  setup.expressions = job.expressions;
  setup.swap_sides = job.swap_sides;
  if (has_character) setup.map = std::make_shared<const WeightMap>(LoadWeightMap(job.map));
  return setup;
}

CausallySolved SolveCausally(const SolveJob& job, const Take& take, const Performer& performer,
                             const Character* character, const ShapeBasis* basis,
                             const JobProgress& progress) {
  LiveSetup setup = SetupOf(job);
  setup.character = Shared(character);
  setup.performer = Shared(&performer);
  setup.basis = Shared(basis);
  return SolveCausally(take, setup, Solving(progress));
}

CausallySolved SolveCausally(const RetargetJob& job, const WeightTake& take, const std::vector<Range>& ranges,
                             const Character* character, const JobProgress& progress) {
  LiveSetup setup = SetupOf(job, character != nullptr);
  setup.character = Shared(character);
  setup.weight_ranges = ranges;
  return SolveCausally(take, setup, Solving(progress));
}

} // namespace mien
