#include "host/character/character_file.h"
#include "host/cli/commands.h"
#include "host/cli/neutral_option.h"
#include "host/cli/progress.h"
#include "host/cli/report.h"
#include "host/error.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/read_file.h"
#include "host/solve/solve_character.h"
#include "host/solve/solve_take.h"
#include "host/takes/read_take.h"
#include "host/write/animation_glb.h"
#include "host/write/animation_json.h"
#include "host/write/livelink_csv.h"
#include "host/write/weight_csv.h"
#include "host/write/whole_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>

namespace mien {

namespace {

enum class Format { TemplateCsv, ShapeCsv, LiveLinkCsv, Json, Glb };

struct Options {
  std::string take, performer, character, output, csv_style, onto, head;
  std::vector<std::string> expressions;
  std::optional<FrameRange> neutral;
  bool templates = false;
  bool quiet = false;
};

[[noreturn]] void Refuse(const char* option, const std::string& why) {
  throw CLI::ValidationError(option, why);
}

/// What is to be written, by the output's ending and the options, which have to fit it.
Format FormatOf(const Options& options) {
  std::string ending = std::filesystem::path(options.output).extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const bool is_csv = options.output == "-" || options.output.starts_with("/dev/") || ending == ".csv";
  if (!is_csv && ending != ".json" && ending != ".glb")
    Refuse("--output", fmt::format("\"{}\" does not end in .csv, .json or .glb, which say what to write",
                                   options.output));
  if (!is_csv && !options.csv_style.empty()) Refuse("--csv-style", "this is for .csv");
  if (!is_csv && options.templates) Refuse("--templates", "this is for .csv");
  if (ending != ".glb" && !options.onto.empty()) Refuse("--onto", "this is for .glb");
  if (options.onto.empty() && !options.head.empty()) Refuse("--head", "this is for --onto");
  if (ending == ".glb") return Format::Glb;
  if (ending == ".json") return Format::Json;
  const bool livelink = options.csv_style == "livelink";
  if (livelink && options.templates) Refuse("--templates", "--csv-style livelink has the 52 shapes only");
  if (livelink) return Format::LiveLinkCsv;
  return options.templates || options.character.empty() ? Format::TemplateCsv : Format::ShapeCsv;
}

ExpressionWeights ParseExpressions(const Options& options) {
  ExpressionWeights weights;
  for (const std::string& text : options.expressions) {
    const std::size_t equals = text.rfind('=');
    const char* const end = text.data() + text.size();
    double weight = 0;
    const auto [parsed, error] =
        std::from_chars(text.data() + std::min(equals + 1, text.size()), end, weight);
    if (equals == std::string::npos || equals == 0 || error != std::errc() || parsed != end ||
        !std::isfinite(weight))
      Refuse("--expression", fmt::format("\"{}\" is not NAME=WEIGHT", text));
    weights.emplace_back(text.substr(0, equals), weight);
  }
  return weights;
}

void ReportOnSolve(const Take& take, const Performer& performer, const Neutral& neutral,
                   const FaceSolver::Report& report) {
  ReportLine("take", fmt::format("{}: {} frames at {:.6g} Hz, {} markers", take.name, take.FrameCount(),
                                 take.rate_hz, take.MarkerCount()));
  for (const std::string& note : take.notes) ReportLine("", note);
  ReportLine("performer", performer.name);
  ReportLine("neutral", neutral.how);
  for (const std::string& note : neutral.notes) ReportLine("", note);
  for (const std::string& marker : report.left_out)
    ReportLine("", fmt::format("the marker {} is not in the neutral pose and was left out", marker));

  if (!report.head_motion_removed)
    ReportLine("head", "fewer than 3 head markers, or all on a line: the head's motion was NOT removed");
  else if (report.frames_without_head == 0)
    ReportLine("head", "found in every frame");
  else
    ReportLine("head", fmt::format("not found in {} of {} frames, where it was held",
                                   report.frames_without_head, report.frames));

  if (report.held.empty()) {
    ReportLine("gaps", "none");
  } else {
    std::size_t frames = 0;
    const FaceSolver::Report::Held* longest = &report.held[0];
    for (const auto& held : report.held) {
      frames += held.frames;
      if (held.frames > longest->frames) longest = &held;
    }
    ReportLine("gaps", fmt::format("{} of {} positions held in {} markers, most in {} ({} frames)", frames,
                                   report.frames * performer.FaceMarkers().size(), report.held.size(),
                                   longest->marker, longest->frames));
  }
  if (!report.resting_parts.empty())
    ReportLine("at rest", fmt::format("{} (no markers)", fmt::join(report.resting_parts, ", ")));
}

std::vector<std::string> Told(const HeadReport& head, const Animation& animation,
                              const std::optional<Character>& character) {
  std::vector<std::string> told = {fmt::format("{} on {}, {}", Count(head.driven_targets, "morph target"),
                                               Count(head.driven_nodes, "node"),
                                               Count(head.driven_clusters, "cluster"))};
  // Of shapes that stay 0, and of those that move clusters, nobody misses the target.
  std::vector<std::string> missing;
  for (const std::string& shape : head.shapes_without_target) {
    const auto s = static_cast<std::size_t>(
        std::find(animation.shapes.begin(), animation.shapes.end(), shape) - animation.shapes.begin());
    bool missed = s == animation.shapes.size(); // a template
    for (std::size_t f = 0; f < animation.frames.size() && !missed; ++f)
      missed = animation.ShapeWeight(f, s) != 0;
    if (character)
      for (const Character::Part& part : character->parts)
        for (const Character::Pose& pose : part.poses) missed &= pose.shape != shape;
    if (missed) missing.push_back(shape);
  }
  if (!missing.empty()) told.push_back("no morph target for " + Some(missing));
  if (!head.targets_without_shape.empty())
    told.push_back("nothing moves the morph targets " + Some(head.targets_without_shape));
  if (!head.clusters_without_node.empty())
    told.push_back("no node of the name of the clusters " + Some(head.clusters_without_node));
  told.insert(told.end(), head.notes.begin(), head.notes.end());
  return told;
}

/// Writes the animation and answers what the user should hear about it: what was written, then notes.
std::vector<std::string> Write(const Options& options, Format format, const Animation& animation,
                               const std::optional<Character>& character, std::optional<Glb> head) {
  const auto to_file = [&](const auto& write) { WriteWhole(options.output, write); };
  std::vector<std::string> report;
  switch (format) {
  case Format::TemplateCsv:
    to_file([&](std::ostream& out) { WriteTemplateCsv(animation, out); });
    return {Count(animation.templates.size(), "template")};
  case Format::ShapeCsv:
    to_file([&](std::ostream& out) { WriteShapeCsv(animation, out); });
    report = {Count(animation.shapes.size(), "shape")};
    if (!animation.clusters.empty())
      report.push_back(fmt::format("without the {}, which .json and .glb have",
                                   Count(animation.clusters.size(), "cluster")));
    return report;
  case Format::LiveLinkCsv: {
    std::vector<std::string> missing;
    to_file([&](std::ostream& out) { missing = WriteLiveLinkCsv(animation, out); });
    report = {"52 shapes and the head's angles"};
    if (!missing.empty()) report.push_back("0 for what the character has not: " + Some(missing));
    return report;
  }
  case Format::Json:
    to_file([&](std::ostream& out) { WriteAnimationJson(animation, out); });
    report = {Count(animation.templates.size(), "template")};
    if (character)
      report[0] += fmt::format(", {}, {}", Count(animation.shapes.size(), "shape"),
                               Count(animation.clusters.size(), "cluster"));
    return report;
  case Format::Glb:
    to_file([&](std::ostream& out) {
      const std::optional<std::string> node =
          options.head.empty() ? std::nullopt : std::optional(options.head);
      report = Told(head ? WriteAnimationOntoHead(animation, std::move(*head), node, out)
                         : WriteFaceAnimation(animation, character ? &*character : nullptr, out),
                    animation, character);
    });
    return report;
  }
  return report;
}

void Solve(const Options& options) {
  RefuseOverwriting(options.output, options.take, "the take");
  RefuseOverwriting(options.output, options.performer, "the performer file");
  RefuseOverwriting(options.output, options.character, "the character file");
  RefuseOverwriting(options.output, options.onto, "the head");
  const Format format = FormatOf(options);
  const ExpressionWeights expressions = ParseExpressions(options);
  if (!expressions.empty() && options.character.empty()) Refuse("--expression", "this is for --character");

  if (!expressions.empty() && format == Format::TemplateCsv)
    Refuse("--expression", "--templates leaves out what expressions act on: the shapes");

  CheckWritable(options.output);
  const Performer performer = FindPerformer(options.performer);
  std::optional<Character> character;
  if (!options.character.empty())
    character = FindCharacter(options.character);
  else if (format == Format::LiveLinkCsv)
    character = FindCharacter("arkit52");
  if (character && format == Format::ShapeCsv)
    for (const std::string& shape : character->Shapes())
      if (shape == "frame" || shape == "time")
        throw InputError(character->file, "/parts",
                         fmt::format("the shape {} has the name of a .csv column", Quoted(shape)),
                         "rename it, or write .json");
  std::optional<Glb> head;
  if (!options.onto.empty()) head = ReadGlb(ReadFile(options.onto), options.onto);
  const Take take = ReadTake(options.take);
  CheckMarkers(performer, take);
  const Neutral neutral = FindNeutral(take, performer, options.neutral);
  SolvedTake solved;
  {
    Progress progress("solving " + take.name);
    solved = SolveTake(take, performer, neutral.pose, std::ref(progress));
  }
  if (character) SolveCharacter(solved.animation, *character, expressions);
  solved.animation.CheckFinite(options.take);
  const std::vector<std::string> written =
      Write(options, format, solved.animation, character, std::move(head));

  if (options.quiet) return;
  ReportOnSolve(take, performer, neutral, solved.report);
  if (character) ReportLine("character", character->name);
  if (options.output != "-")
    ReportLine("wrote", fmt::format("{}: {}, {}", options.output,
                                    Count(solved.animation.frames.size(), "frame"), written.front()));
  for (std::size_t i = 1; i < written.size(); ++i) ReportLine("", written[i]);
}

} // namespace

void AddSolveCommand(CLI::App& app) {
  // An empty argument is a variable that somebody forgot to set.
  const CLI::Validator not_empty([](std::string& text) { return text.empty() ? "the name is empty" : ""; },
                                 "");
  CLI::App* const command =
      app.add_subcommand("solve", "Solve a take into template weights, and into a character's animation");
  command->footer(
      "Example: mien solve take.csv --performer landmarks68 -o weights.csv\n"
      "Example: mien solve take.csv --performer landmarks68 --character arkit52 -o shapes.csv\n"
      "Example: mien solve take.csv --performer landmarks68 --character arkit52 --onto head.glb -o "
      "animated.glb\n"
      "The ending of OUT says what is written:\n"
      "  .csv   a row per frame: frame, time, and a column per shape of the character, or else per\n"
      "         template of the face (\"Mouth.Open\")\n"
      "  .json  everything: templates, shapes, clusters, the head\n"
      "  .glb   an animated head for Blender, game engines and viewers");
  auto options = std::make_shared<Options>();
  command->add_option("TAKE", options->take, "The take's file: landmark CSV or marker CSV")->required();
  command
      ->add_option(
          "-p,--performer", options->performer,
          fmt::format("A performer file, or a built-in performer: {}", fmt::join(BuiltInPerformers(), ", ")))
      ->type_name("NAME|FILE")
      ->required();
  command
      ->add_option(
          "-c,--character", options->character,
          fmt::format("A character file, or a built-in character: {}", fmt::join(BuiltInCharacters(), ", ")))
      ->check(not_empty)
      ->type_name("NAME|FILE");
  command->add_option("-o,--output", options->output, "Where to write; - is standard output, as .csv")
      ->type_name("OUT")
      ->required();
  AddNeutralOption(*command, options->neutral);
  command
      ->add_option("--expression", options->expressions,
                   "Add an expression of the character to every frame; more than once if wanted")
      ->type_name("NAME=WEIGHT")
      ->allow_extra_args(false);
  command->add_flag("--templates", options->templates, ".csv: template weights, also with a character");
  command
      ->add_option(
          "--csv-style", options->csv_style,
          ".csv: plain, or livelink: as phone face-capture apps write it (character: arkit52 unless named)")
      ->check(CLI::IsMember({"plain", "livelink"}))
      ->type_name("STYLE");
  command->add_option("--onto", options->onto, ".glb: animate this head instead of a simple one")
      ->check(not_empty)
      ->type_name("HEAD.glb");
  command
      ->add_option("--head", options->head,
                   ".glb: the node of that head which turns with the performer's head")
      ->check(not_empty)
      ->type_name("NODE");
  command->add_flag("-q,--quiet", options->quiet, "Report nothing but errors");
  command->callback([options] { Solve(*options); });
}

} // namespace mien
