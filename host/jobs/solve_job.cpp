#include "host/jobs/solve_job.h"

#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/files/mapped_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/read_points.h"
#include "host/jobs/reported_files.h"
#include "host/jobs/solve_basis.h"
#include "host/jobs/solve_points.h"
#include "host/jobs/take_timecode.h"
#include "host/jobs/write_view.h"
#include "host/performer/performer_file.h"
#include "host/solve/frames_csv.h"
#include "host/solve/solve_report_json.h"
#include "host/view/animation_side.h"
#include "host/view/solve_side.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace mien {

namespace {

/// What is to be written.
AnimationChoice ChoiceOf(const SolveJob& job) {
  return {.output = job.output,
          .csv_style = job.csv_style,
          .onto = job.onto,
          .head_node = job.head_node,
          .eye_nodes = job.eye_nodes,
          .only_templates = job.only_templates,
          .has_shapes = !job.character.empty(),
          .has_view = !job.view.empty()};
}

void CheckPlaces(const SolveJob& job) {
  const std::string landmarks = BasisLandmarks(job);
  RefuseReadingTwice({{"take", job.take},
                      {"performer", job.performer},
                      {"character", job.character},
                      {"onto", job.onto},
                      {"basis", job.basis},
                      {"basis-landmarks", landmarks},
                      {"neutral-take", job.causal.neutral_take}});
  const std::pair<const std::string&, std::string_view> inputs[] = {
      {job.take, "the take"},
      {job.performer, "the performer file"},
      {job.character, "the character file"},
      {job.onto, "the head"},
      {job.basis, "the basis"},
      {landmarks, "the table of the basis's landmarks"},
      {job.causal.neutral_take, "the neutral take"}};
  for (const auto& [input, what] : inputs) {
    RefuseOverwriting(job.output, input, what);
    RefuseOverwriting(job.report, input, what, "report");
    RefuseOverwriting(job.frames_report, input, what, "frames-report");
    RefuseOverwriting(job.view, input, what, "view");
  }
  // Each of the outputs has a place of its own.
  const std::pair<const std::string&, std::string_view> outputs[] = {{job.output, "output"},
                                                                     {job.report, "report"},
                                                                     {job.frames_report, "frames-report"},
                                                                     {job.view, "view"}};
  for (std::size_t i = 1; i < std::size(outputs); ++i)
    for (std::size_t before = 0; before < i; ++before)
      if (const auto& [place, setting] = outputs[i];
          !place.empty() && IsSamePlace(place, outputs[before].first))
        throw UsageError(setting, before == 0
                                      ? "this is the output itself"
                                      : fmt::format("this is the place of --{}", outputs[before].second));
  if (!job.view.empty()) CheckViewer("view");
}

/// The character's file or name: of formats that need one, a built-in one unless another is named.
std::string CharacterNameOf(const SolveJob& job, AnimationFormat format) {
  if (job.character.empty() && format == AnimationFormat::LiveLinkCsv) return "arkit52";
  if (job.character.empty() && format == AnimationFormat::Vrma) return "vrm1";
  return job.character;
}

std::optional<Character> CharacterOf(const SolveJob& job, AnimationFormat format) {
  const std::string name = CharacterNameOf(job, format);
  if (name.empty()) return std::nullopt;
  Character character = LoadCharacter(name);
  CheckColumns(character, format);
  return character;
}

/// The files that go into the solve; the take's hash is still missing.
std::vector<ReportedFile> InputsOf(const SolveJob& job, AnimationFormat format) {
  std::vector<ReportedFile> files = {{"take", job.take, ""}};
  AddFile(files, "performer", job.performer, BuiltInPerformers());
  AddFile(files, "neutral_take", job.causal.neutral_take);
  AddFile(files, "character", CharacterNameOf(job, format), BuiltInCharacters());
  AddFile(files, "head", job.onto);
  AddFile(files, "basis", job.basis);
  std::error_code no_file;
  if (const std::string landmarks = BasisLandmarks(job);
      !job.basis_landmarks.empty() || std::filesystem::exists(landmarks, no_file))
    AddFile(files, "basis_landmarks", landmarks);
  return files;
}

/// The page of a solve, with the head that the output has, or would have as .glb.
void WriteSolveView(const SolveJob& job, const SolveResult& result, const SolvedPoints& solved,
                    const Character* character, const std::optional<Glb>& onto, const HeadNodes& nodes) {
  const SolveRecord record = RecordOf(job, result);
  const Performer& performer = solved.performer;
  const Animation& animation = solved.own_frames ? *solved.own_frames : result.animation;
  ViewSide side =
      SideOfSolve({.performer = performer, .face = solved.face, .animation = animation, .record = record});
  side.command = ShellCommand(job.command);
  if (onto) {
    side.head = HeadOf(AnimateHead(animation, *onto, nodes), onto->file);
  } else {
    side.head = HeadOf(AnimateFace(animation, character), "the built-in head");
    side.head->place = PlaceOfFace(performer, result.neutral.pose, animation.layout.neutral_head);
  }
  WriteView(job.view, PageOf(animation, std::move(side)));
}

} // namespace

SolveRecord RecordOf(const SolveJob& job, const SolveResult& result) {
  return {.command = job.command,
          .files = result.files,
          .take = &result.take,
          .neutral = &result.neutral,
          .options = &job.solve,
          .report = &result.report,
          .output_rate = job.output_rate};
}

void CheckSettings(const SolveJob& job) { CheckSolve(job, FormatOf(ChoiceOf(job))); }

SolveResult Run(const SolveJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  CheckSettings(job);
  const AnimationChoice choice = ChoiceOf(job);
  const AnimationFormat format = FormatOf(choice);
  CheckWritable(job.output);
  for (const std::string& report : {job.report, job.frames_report, job.view})
    if (!report.empty()) CheckWritable(report);

  const bool has_record = !job.report.empty() || !job.view.empty() || job.hash_files;
  const std::optional<FileState> take_state = has_record ? StateOf(job.take) : std::nullopt;
  std::vector<ReportedFile> files;
  if (has_record) files = InputsOf(job, format);

  Performer performer = LoadPerformer(job.performer);
  CheckSolve(job, performer);
  const std::optional<Character> character = CharacterOf(job, format);
  AnimationOutput output = OutputOf(choice);
  const std::optional<ShapeBasis> basis = BasisOf(job);
  const MappedFile take_file(job.take, ReadingProgress(progress), job.access);
  if (has_record) RequireUnchanged(job.take, take_state); // half a take is not worth solving
  SolveResult result;
  result.take = ReadPoints(take_file.Bytes(), InputName(job.take), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  if (job.timecode) result.take.timecode = RequireTimecode(*job.timecode, result.take.rate);
  result.performer = performer.name;
  if (character) result.character = character->name;

  SolvedPoints solved = SolvePoints({.settings = job,
                                     .take = result.take,
                                     .performer = std::move(performer),
                                     .character = character ? &*character : nullptr,
                                     .basis = basis ? &*basis : nullptr,
                                     .keep_frames = !job.frames_report.empty() || !job.view.empty(),
                                     .keep_own_frames = !job.view.empty()},
                                    progress);
  result.neutral = std::move(solved.neutral);
  result.ranges = std::move(solved.ranges);
  result.report = std::move(solved.report);
  result.causal = solved.causal;
  result.animation = std::move(solved.animation);
  const std::optional<Glb> onto = job.view.empty() ? std::nullopt : output.onto;
  const HeadNodes nodes = output.nodes;
  result.written = WriteAnimation(result.animation, character ? &*character : nullptr, std::move(output),
                                  progress, job.solve.threads);

  if (!job.frames_report.empty())
    WriteWhole(job.frames_report,
               [&](std::ostream& out) { WriteFramesCsv(result.take, result.report, out); });
  if (has_record) {
    RequireUnchanged(job.take, take_state);
    RequireUnchanged(files, "take");
    files[0].sha256 = Sha256(take_file);
    AddOutput(files, job.output);
    result.files = std::move(files);
  }
  if (!job.report.empty())
    WriteWhole(job.report, [&](std::ostream& out) { WriteSolveReport(RecordOf(job, result), out); });
  if (!job.view.empty()) WriteSolveView(job, result, solved, character ? &*character : nullptr, onto, nodes);
  return result;
}

} // namespace mien
