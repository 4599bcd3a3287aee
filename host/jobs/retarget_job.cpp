#include "host/jobs/retarget_job.h"

#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/retarget_report.h"
#include "host/jobs/retarget_weights.h"
#include "host/weights/weight_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace mien {

namespace {

void CheckPlaces(const RetargetJob& job) {
  const std::string map = job.character.empty() ? "" : job.map;
  RefuseReadingTwice({{"weights", job.weights},
                      {"character", job.character},
                      {"map", map},
                      {"onto", job.onto},
                      {"ranges", job.ranges},
                      {"landmarks", job.landmarks}});
  const std::pair<const std::string&, std::string_view> inputs[] = {{job.weights, "the weights"},
                                                                    {job.character, "the character file"},
                                                                    {map, "the map"},
                                                                    {job.onto, "the head"},
                                                                    {job.ranges, "the ranges"},
                                                                    {job.landmarks, "the landmarks"}};
  for (const auto& [input, what] : inputs) {
    RefuseOverwriting(job.output, input, what);
    RefuseOverwriting(job.report, input, what, "report");
  }
  if (!job.report.empty() && IsSamePlace(job.report, job.output))
    throw UsageError("report", "this is the output itself");
}

AnimationChoice ChoiceOf(const RetargetJob& job) {
  return {.output = job.output,
          .csv_style = job.csv_style,
          .onto = job.onto,
          .head_node = job.head_node,
          .eye_nodes = job.eye_nodes,
          .only_templates = job.only_templates,
          .has_shapes = true};
}

/// The files that go into it; the hash of the weights is still missing.
std::vector<ReportedFile> InputsOf(const RetargetJob& job) {
  std::vector<ReportedFile> files = {{"weights", job.weights, ""}};
  AddFile(files, "landmarks", job.landmarks);
  AddFile(files, "ranges", job.ranges);
  AddFile(files, "character", job.character, BuiltInCharacters());
  if (!job.character.empty()) AddFile(files, "map", job.map, BuiltInWeightMaps());
  AddFile(files, "head", job.onto);
  return files;
}

} // namespace

void CheckSettings(const RetargetJob& job) {
  FormatOf(ChoiceOf(job));
  CheckRetarget(job);
}

RetargetResult Run(const RetargetJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  CheckSettings(job);
  AnimationChoice choice = ChoiceOf(job);
  CheckWritable(job.output);
  if (!job.report.empty()) CheckWritable(job.report);

  const bool has_record = !job.report.empty() || job.hash_files;
  const std::optional<FileState> weights_state = has_record ? StateOf(job.weights) : std::nullopt;
  std::vector<ReportedFile> files;
  if (has_record) files = InputsOf(job);

  std::optional<Character> character;
  if (!job.character.empty()) character = LoadCharacter(job.character);
  const MappedFile file(job.weights, ReadingProgress(progress), job.access);
  if (has_record) RequireUnchanged(job.weights, weights_state);
  RetargetResult result;
  result.take = ReadWeights(file.Bytes(), InputName(job.weights), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  if (result.take.HasTemplates() && !character && FormatOf(choice) == AnimationFormat::Vrma)
    character = LoadCharacter("vrm1");
  const Animation animation = RetargetWeights(job, character ? &*character : nullptr, result, progress);
  choice.has_shapes = character || !animation.layout.shapes.empty();
  AnimationOutput output = OutputOf(choice);
  // The simple head has the shapes of a character.
  if (!character && choice.has_shapes && output.format == AnimationFormat::Glb && !output.onto)
    character = LoadCharacter("arkit52");
  result.written =
      WriteAnimation(animation, character ? &*character : nullptr, std::move(output), progress, job.threads);

  if (has_record) {
    RequireUnchanged(job.weights, weights_state);
    RequireUnchanged(files, "weights");
    files[0].sha256 = Sha256(file);
    AddOutput(files, job.output);
    result.files = std::move(files);
  }
  if (!job.report.empty())
    WriteWhole(job.report,
               [&](std::ostream& out) { out << RetargetReportAsJson(job, result).Text() << '\n'; });
  return result;
}

} // namespace mien
