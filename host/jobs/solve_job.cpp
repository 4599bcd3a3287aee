#include "host/jobs/solve_job.h"

#include "host/animation/resample.h"
#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/files/foreign_file.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/fit/check_basis.h"
#include "host/fit/head_basis.h"
#include "host/fit/head_landmarks.h"
#include "host/fit/shape_basis.h"
#include "host/jobs/output_place.h"
#include "host/jobs/read_points.h"
#include "host/jobs/reported_files.h"
#include "host/jobs/take_timecode.h"
#include "host/jobs/write_view.h"
#include "host/performer/match_markers.h"
#include "host/performer/performer_file.h"
#include "host/solve/frames_csv.h"
#include "host/solve/solve_character.h"
#include "host/solve/solve_gaze.h"
#include "host/solve/solve_report_json.h"
#include "host/solve/solve_shapes.h"
#include "host/solve/solve_take.h"
#include "host/view/animation_side.h"
#include "host/view/solve_side.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
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

/// Where the landmarks of the basis are, if it is a head: a table has them itself.
std::string BasisLandmarks(const SolveJob& job) {
  const std::filesystem::path basis = job.basis;
  if (!job.basis_landmarks.empty() || job.basis.empty() || IsStandardInput(basis) ||
      ToLower(basis.extension().string()) == ".csv")
    return job.basis_landmarks;
  return std::filesystem::path(basis).replace_extension(".landmarks.csv").string();
}

void CheckPlaces(const SolveJob& job) {
  const std::string landmarks = BasisLandmarks(job);
  RefuseReadingTwice({{"take", job.take},
                      {"performer", job.performer},
                      {"character", job.character},
                      {"onto", job.onto},
                      {"basis", job.basis},
                      {"basis-landmarks", landmarks}});
  const std::pair<const std::string&, std::string_view> inputs[] = {
      {job.take, "the take"},
      {job.performer, "the performer file"},
      {job.character, "the character file"},
      {job.onto, "the head"},
      {job.basis, "the basis"},
      {landmarks, "the table of the basis's landmarks"}};
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

void CheckExpressions(const SolveJob& job, AnimationFormat format) {
  if (job.expressions.empty()) return;
  if (job.character.empty()) throw UsageError("expression", "this is for --character");
  if (format == AnimationFormat::TemplateCsv)
    throw UsageError("expression", "--templates leaves out what expressions act on: the shapes");
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
  if (format == AnimationFormat::ShapeCsv)
    for (const std::string& shape : character.Shapes())
      if (shape == "frame" || shape == "time" || shape == "timecode")
        throw InputError(Code::Duplicate, character.file, "/parts",
                         fmt::format("the shape {} has the name of a .csv column", Quoted(shape)),
                         "rename it, or write .json");
  return character;
}

void CheckSolver(const SolveJob& job, AnimationFormat format) {
  const bool fits = job.solve.solver == ShapeSolver::Fit;
  if (fits && (format == AnimationFormat::TemplateCsv ||
               (job.character.empty() && format != AnimationFormat::LiveLinkCsv)))
    throw UsageError("solver", "fit computes the shapes of a --character");
  if (!fits && !job.basis.empty()) throw UsageError("basis", "this is for --solver fit");
  if (job.basis.empty() && !job.basis_landmarks.empty())
    throw UsageError("basis-landmarks", "this is for --basis");
}

std::optional<ShapeBasis> BasisOf(const SolveJob& job) {
  if (job.basis.empty()) return std::nullopt;
  const std::string bytes = ReadFile(job.basis), file = InputName(job.basis);
  const std::string ending = ToLower(std::filesystem::path(job.basis).extension().string());
  if (!bytes.starts_with("glTF") && ending != ".glb" && ending != ".gltf") {
    if (!job.basis_landmarks.empty())
      throw UsageError("basis-landmarks", "this is for a head; a table of shapes has the landmarks itself");
    RefuseForeignFile(bytes, file, "a head or a table of shapes",
                      "export the head as .glb (glTF 2.0 binary)");
    ShapeBasis basis = ReadShapeBasis(bytes, file);
    CheckBasis(basis);
    return basis;
  }
  const std::string landmarks = BasisLandmarks(job);
  if (landmarks.empty()) throw UsageError("basis-landmarks", "name the table of the head's landmarks");
  const Glb head = ReadGlb(bytes, file);
  if (std::error_code no_file; job.basis_landmarks.empty() && !std::filesystem::exists(landmarks, no_file))
    throw InputError(Code::NotFound, landmarks, "",
                     "this table says where the landmarks are on the head, and is missing",
                     "write it, with the columns landmark,x,y,z, or name another with --basis-landmarks");
  return BasisOfHead(head, ReadHeadLandmarks(ReadFile(landmarks), InputName(landmarks)));
}

/// Nothing of a cleaning that cannot be done at the take's rate is begun.
void CheckFilters(const SolveOptions& options, const Take& take) {
  for (const auto& [setting, cutoff] : {std::pair("smooth", options.smooth_positions_hz),
                                        std::pair("smooth-weights", options.smooth_weights_hz),
                                        std::pair("smooth-gaze", options.smooth_gaze_hz)})
    if (cutoff && *cutoff >= take.rate.Hz() / 2)
      throw UsageError(setting, fmt::format("{} Hz is not below half the take's rate of {} Hz", *cutoff,
                                            ToText(take.rate)));
}

/// The two measures of a brow differ, and so would its range.
void CheckSettings(const Performer& performer, const SolveOptions& options) {
  const std::string_view brows = performer.calibration.Setting("brows");
  if (!brows.empty() && brows != ToText(options.brows))
    throw UsageError("brows", fmt::format("the ranges of {} were measured with --brows {}; solve with it, or "
                                          "with --no-ranges",
                                          Quoted(performer.name), brows));
}

/// The files that go into the solve; the take's hash is still missing.
std::vector<ReportedFile> InputsOf(const SolveJob& job, AnimationFormat format) {
  std::vector<ReportedFile> files = {{"take", job.take, ""}};
  AddFile(files, "performer", job.performer, BuiltInPerformers());
  AddFile(files, "character", CharacterNameOf(job, format), BuiltInCharacters());
  AddFile(files, "head", job.onto);
  AddFile(files, "basis", job.basis);
  if (const std::string landmarks = BasisLandmarks(job);
      !job.basis_landmarks.empty() || std::filesystem::exists(landmarks))
    AddFile(files, "basis_landmarks", landmarks);
  return files;
}

/// The page of a solve, with the head that the output has, or would have as .glb.
void WriteSolveView(const SolveJob& job, const SolveResult& result, const Performer& performer,
                    const Take& face, const Animation& animation, const Character* character,
                    const std::optional<Glb>& onto, const HeadNodes& nodes) {
  const SolveRecord record = RecordOf(job, result);
  ViewSide side =
      SideOfSolve({.performer = performer, .face = face, .animation = animation, .record = record});
  side.command = ShellCommand(job.command);
  if (onto) {
    side.head = HeadOf(AnimateHead(animation, *onto, nodes), onto->file);
  } else {
    side.head = HeadOf(AnimateFace(animation, character), "the built-in head");
    side.head->place = PlaceOfFace(performer, result.neutral.pose, animation.layout.neutral_head);
  }
  WriteView(job.view, PageOf(animation, std::move(side)));
}

/// A take solved into templates, where the eyes look and, if asked for, shapes.
struct Solution {
  SolvedTake take;
  std::optional<FittedShapes> fitted;
};

/// Finds the neutral face and solves. Fills the result's neutral and report.
Solution SolveParts(const SolveJob& job, const Performer& performer, const ShapeBasis* basis, bool has_shapes,
                    const JobProgress& progress, SolveResult& result) {
  const std::optional<RigidHead> rigid =
      job.solve.head_fit == HeadFit::Take ? LearnRigidHead(result.take, performer) : std::nullopt;
  result.neutral =
      FindNeutral(result.take, performer, job.neutral, rigid ? &*rigid : nullptr, job.solve.threads);
  if (job.neutral && !performer.ranges.empty())
    result.neutral.notes.push_back(
        {Code::Doubtful, "",
         "the performer's ranges were measured from another neutral face; leave out "
         "--neutral, or the ranges with --no-ranges"});
  const auto solving = [&](std::size_t frame, std::size_t frames) {
    if (progress) progress(JobStage::Solving, frame, frames);
  };
  SolveOptions options = job.solve;
  options.keep_frames = options.keep_frames || !job.frames_report.empty() || !job.view.empty();
  Solution solution = {.take = SolveTake(result.take, performer, result.neutral.pose, options,
                                         rigid ? &*rigid : nullptr, solving),
                       .fitted = {}};
  SolveGaze(solution.take, result.take, performer, result.neutral, job.solve);
  result.report = std::move(solution.take.report);
  result.report.neutral_doubts = NeutralDoubts(performer, result.neutral, job.solve.brows);
  if (has_shapes && job.solve.solver == ShapeSolver::Fit) {
    solution.fitted =
        SolveShapes(solution.take, result.take, performer, result.neutral, job.solve, basis, solving);
    result.report.fit = solution.fitted->report;
  }
  return solution;
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

SolveResult Run(const SolveJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  const AnimationChoice choice = ChoiceOf(job);
  const AnimationFormat format = FormatOf(choice);
  CheckExpressions(job, format);
  CheckSolver(job, format);
  CheckWritable(job.output);
  for (const std::string& report : {job.report, job.frames_report, job.view})
    if (!report.empty()) CheckWritable(report);

  const bool has_record = !job.report.empty() || !job.view.empty() || job.hash_files;
  const std::optional<FileState> take_state = has_record ? StateOf(job.take) : std::nullopt;
  std::vector<ReportedFile> files;
  if (has_record) files = InputsOf(job, format);

  Performer performer = LoadPerformer(job.performer);
  if (job.ranges) CheckSettings(performer, job.solve);
  const std::optional<Character> character = CharacterOf(job, format);
  AnimationOutput output = OutputOf(choice);
  const std::optional<ShapeBasis> basis = BasisOf(job);
  const MappedFile take_file(job.take, ReadingProgress(progress), job.access);
  if (has_record) RequireUnchanged(job.take, take_state); // half a take is not worth solving
  SolveResult result;
  result.take = ReadPoints(take_file.Bytes(), InputName(job.take), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  if (job.timecode) result.take.timecode = RequireTimecode(*job.timecode, result.take.rate);
  CheckFilters(job.solve, result.take);
  CheckMarkers(performer, result.take);
  LeaveOutMissingIrises(performer, result.take);

  result.performer = performer.name;
  result.ranges = performer.ranges;
  if (!job.ranges) performer.ranges.clear();
  Solution solution =
      SolveParts(job, performer, basis ? &*basis : nullptr, character.has_value(), progress, result);
  std::optional<FittedShapes>& fitted = solution.fitted;
  const auto add_shapes = [&](Animation& animation) {
    if (character)
      SolveCharacter(animation, *character, job.expressions, fitted ? &*fitted : nullptr, job.solve.threads);
  };
  if (character) result.character = character->name;

  result.animation = std::move(solution.take.animation);
  std::optional<Animation> own_frames; // which the page shows, whatever the output's rate
  if (job.output_rate && !job.view.empty()) add_shapes(own_frames.emplace(result.animation));
  if (job.output_rate)
    Resample(result.animation, *job.output_rate, InputName(job.take), fitted ? &fitted->weights : nullptr);
  add_shapes(result.animation);
  result.animation.CheckFinite(InputName(job.take), job.solve.threads);
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
  if (!job.view.empty())
    WriteSolveView(job, result, performer, solution.take.face, own_frames ? *own_frames : result.animation,
                   character ? &*character : nullptr, onto, nodes);
  return result;
}

} // namespace mien
