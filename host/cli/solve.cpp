#include "host/animation/animation_glb.h"
#include "host/animation/animation_json.h"
#include "host/animation/livelink_csv.h"
#include "host/animation/weight_csv.h"
#include "host/base/error.h"
#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/cli/commands.h"
#include "host/cli/neutral_option.h"
#include "host/cli/progress.h"
#include "host/cli/report.h"
#include "host/cli/solve_report.h"
#include "host/cli/take_options.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/whole_file.h"
#include "host/formats/read_take.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/solve/solve_character.h"
#include "host/solve/solve_report_json.h"
#include "host/solve/solve_take.h"

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
  std::string take, performer, character, output, csv_style, onto, head, report;
  std::vector<std::string> expressions;
  ReadOptions read;
  std::optional<FrameRange> neutral;
  std::optional<std::string> timecode;
  SolveOptions solve;
  std::vector<std::string> command; // as it was typed
  bool templates = false;
  bool quiet = false;
};

[[noreturn]] void Refuse(const char* option, const std::string& why) {
  throw CLI::ValidationError(option, why);
}

/// What is to be written, by the output's ending and the options, which have to fit it.
Format FormatOf(const Options& options) {
  const std::string ending = ToLower(std::filesystem::path(options.output).extension().string());
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

std::vector<std::string> Told(const HeadCoverage& head, const Animation& animation,
                              const std::optional<Character>& character) {
  std::vector<std::string> told = {fmt::format("{} on {}, {}", Count(head.driven_targets, "morph target"),
                                               Count(head.driven_nodes, "node"),
                                               Count(head.driven_clusters, "cluster"))};
  // Of shapes that stay 0, and of those that move clusters, nobody misses the target.
  std::vector<std::string> missing;
  for (const std::string& shape : head.shapes_without_target) {
    const std::vector<std::string>& shapes = animation.layout.shapes;
    const auto s = static_cast<std::size_t>(std::find(shapes.begin(), shapes.end(), shape) - shapes.begin());
    bool missed = s == shapes.size(); // a template
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
  for (const Note& note : head.notes) told.push_back(Message(note));
  return told;
}

/// Writes the animation and answers what the user should hear about it: what was written, then notes.
std::vector<std::string> Write(const Options& options, Format format, const Animation& animation,
                               const std::optional<Character>& character, std::optional<Glb> head) {
  const AnimationLayout& layout = animation.layout;
  const auto to_file = [&](const auto& write) { WriteWhole(options.output, write); };
  const auto weights_to_file = [&](WeightKind kind) {
    to_file([&](std::ostream& out) {
      WeightCsvWriter writer(layout, kind, out);
      Write(animation, writer);
    });
  };
  std::vector<std::string> report;
  switch (format) {
  case Format::TemplateCsv:
    weights_to_file(WeightKind::Templates);
    return {Count(layout.templates.size(), "template")};
  case Format::ShapeCsv:
    weights_to_file(WeightKind::Shapes);
    report = {Count(layout.shapes.size(), "shape")};
    if (!layout.clusters.empty())
      report.push_back(
          fmt::format("without the {}, which .json and .glb have", Count(layout.clusters.size(), "cluster")));
    return report;
  case Format::LiveLinkCsv: {
    std::vector<std::string> missing;
    to_file([&](std::ostream& out) {
      LiveLinkCsvWriter writer(layout, out);
      missing = writer.Missing();
      Write(animation, writer);
    });
    report = {"52 shapes and the head's angles"};
    if (!missing.empty()) report.push_back("0 for what the character has not: " + Some(missing));
    return report;
  }
  case Format::Json:
    to_file([&](std::ostream& out) { WriteAnimationJson(animation, out); });
    report = {Count(layout.templates.size(), "template")};
    if (character)
      report[0] += fmt::format(", {}, {}", Count(layout.shapes.size(), "shape"),
                               Count(layout.clusters.size(), "cluster"));
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

/// Nothing of a cleaning that cannot be done at the take's rate is begun.
void CheckFilters(const Options& options, const Take& take) {
  for (const auto& [option, cutoff] : {std::pair("--smooth", options.solve.smooth_positions_hz),
                                       std::pair("--smooth-weights", options.solve.smooth_weights_hz)})
    if (cutoff && *cutoff >= take.rate.Hz() / 2)
      Refuse(option,
             fmt::format("{} Hz is not below half the take's rate of {} Hz", *cutoff, ToText(take.rate)));
}

bool IsBuiltIn(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Whether what is written to both would end up in one file, which need not be there yet.
bool IsSamePlace(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code no_place;
  const auto place = [&](const std::string& name) {
    return name == "-" ? fs::path("/dev/stdout") : fs::absolute(name, no_place);
  };
  return fs::equivalent(place(a), place(b), no_place) ||
         fs::weakly_canonical(place(a), no_place) == fs::weakly_canonical(place(b), no_place);
}

/// The files that went into the solve and the one that came out of it.
std::vector<ReportedFile> FilesOf(const Options& options, const MappedFile& take_file,
                                  const std::optional<Character>& character) {
  std::vector<ReportedFile> files = {{"take", options.take, Sha256(take_file.Bytes())}};
  const auto add = [&](const char* role, const std::string& name, bool built_in) {
    std::error_code no_file; // a pipe gives its bytes but once
    files.push_back({role, name,
                     built_in                                          ? ""
                     : std::filesystem::is_regular_file(name, no_file) ? Sha256(MappedFile(name).Bytes())
                                                                       : "read from a pipe"});
  };
  add("performer", options.performer, IsBuiltIn(BuiltInPerformers(), options.performer));
  const std::string character_name =
      options.character.empty() && character ? character->name : options.character;
  if (character) add("character", character_name, IsBuiltIn(BuiltInCharacters(), character_name));
  if (!options.onto.empty()) add("head", options.onto, false);
  if (std::error_code no_file; std::filesystem::is_regular_file(options.output, no_file))
    add("output", options.output, false);
  return files;
}

void Solve(const Options& options) {
  RefuseOverwriting(options.output, options.take, "the take");
  RefuseOverwriting(options.output, options.performer, "the performer file");
  RefuseOverwriting(options.output, options.character, "the character file");
  RefuseOverwriting(options.output, options.onto, "the head");
  RefuseOverwriting(options.report, options.take, "the take", "--report");
  RefuseOverwriting(options.report, options.performer, "the performer file", "--report");
  RefuseOverwriting(options.report, options.character, "the character file", "--report");
  RefuseOverwriting(options.report, options.onto, "the head", "--report");
  if (!options.report.empty() && IsSamePlace(options.report, options.output))
    Refuse("--report", "this is the output itself");
  const Format format = FormatOf(options);
  const ExpressionWeights expressions = ParseExpressions(options);
  if (!expressions.empty() && options.character.empty()) Refuse("--expression", "this is for --character");

  if (!expressions.empty() && format == Format::TemplateCsv)
    Refuse("--expression", "--templates leaves out what expressions act on: the shapes");

  CheckWritable(options.output);
  if (!options.report.empty()) CheckWritable(options.report);
  const Performer performer = LoadPerformer(options.performer);
  std::optional<Character> character;
  if (!options.character.empty())
    character = LoadCharacter(options.character);
  else if (format == Format::LiveLinkCsv)
    character = LoadCharacter("arkit52");
  if (character && format == Format::ShapeCsv)
    for (const std::string& shape : character->Shapes())
      if (shape == "frame" || shape == "time" || shape == "timecode")
        throw InputError(Code::Duplicate, character->file, "/parts",
                         fmt::format("the shape {} has the name of a .csv column", Quoted(shape)),
                         "rename it, or write .json");
  std::optional<Glb> head;
  if (!options.onto.empty()) head = ReadGlb(ReadFile(options.onto), options.onto);
  const MappedFile take_file(options.take);
  Take take = ReadTake(take_file.Bytes(), options.take, options.read);
  if (options.timecode) SetTimecode(take, *options.timecode);
  CheckFilters(options, take);
  CheckMarkers(performer, take);
  const Neutral neutral = FindNeutral(take, performer, options.neutral);
  SolvedTake solved;
  {
    Progress progress("solving " + take.name);
    solved = SolveTake(take, performer, neutral.pose, options.solve, std::ref(progress));
  }
  if (character) SolveCharacter(solved.animation, *character, expressions);
  solved.animation.CheckFinite(options.take);
  const std::vector<std::string> written =
      Write(options, format, solved.animation, character, std::move(head));

  if (!options.report.empty()) {
    SolveRecord record = {.command = options.command,
                          .files = FilesOf(options, take_file, character),
                          .take = &take,
                          .neutral = &neutral,
                          .options = &options.solve,
                          .solved = &solved};
    WriteWhole(options.report, [&](std::ostream& out) { WriteSolveReport(record, out); });
  }
  if (options.quiet) return;
  ReportOnSolve(take, performer, neutral, options.solve, solved.report);
  if (character) ReportLine("character", character->name);
  if (options.output != "-")
    ReportLine("wrote", fmt::format("{}: {}, {}", options.output,
                                    Count(solved.animation.frames.size(), "frame"), written.front()));
  for (std::size_t i = 1; i < written.size(); ++i) ReportLine("", written[i]);
  if (!options.report.empty() && options.report != "-") ReportLine("wrote", options.report);
}

void AddCleaningOptions(CLI::App& command, Options& options) {
  const auto fill = [&command](const char* name, const char* help, FillPlan& to) {
    command
        .add_option_function<std::string>(
            name,
            [name, &to](const std::string& text) {
              const auto parsed = ParseFillPlan(text);
              if (!parsed)
                Refuse(name,
                       fmt::format(
                           "\"{}\" is not none, hold, linear, cubic or pattern, or several of them, such as "
                           "cubic:0.2,pattern:1",
                           text));
              to = *parsed;
            },
            fmt::format("{}; default {}", help, ToText(to)))
        ->type_name("METHOD[:SECONDS],...")
        ->group("Cleaning");
  };
  fill("--fill", "How gaps of face markers are filled, and the longest that is", options.solve.face_fill);
  fill("--fill-head", "How gaps of head markers are filled, and the longest that is",
       options.solve.head_fill);

  const auto number = [&command](const char* name, const char* unit, const char* example,
                                 const std::string& help, const auto& set) {
    return command
        .add_option_function<std::string>(
            name,
            [name, unit, example, set](const std::string& text) {
              const char* const end = text.data() + text.size();
              double value = 0;
              const auto [parsed, error] = std::from_chars(text.data(), end, value);
              if (error != std::errc() || parsed != end || !(value > 0) || !std::isfinite(value))
                Refuse(name,
                       fmt::format("\"{}\" is not a number of {} above 0, such as {}", text, unit, example));
              set(value);
            },
            help)
        ->type_name(unit)
        ->group("Cleaning");
  };
  CLI::Option* const tolerance =
      number("--head-tolerance", "MM", "6",
             fmt::format("How far a head marker may leave its place before it is left out; default {}",
                         *options.solve.head_tolerance_mm),
             [&options](double mm) { options.solve.head_tolerance_mm = mm; });
  command
      .add_flag_callback(
          "--keep-slipped", [&options] { options.solve.head_tolerance_mm.reset(); },
          "Leave no head marker out, however far from its place")
      ->excludes(tolerance)
      ->group("Cleaning");
  number("--fade", "S", "0.25",
         fmt::format("How long a part takes to come to rest where its markers are missing; default {}",
                     options.solve.fade_s),
         [&options](double seconds) { options.solve.fade_s = seconds; });
  number("--smooth", "HZ", "10", "Smooth the markers: take out what is faster than this, without delay",
         [&options](double hz) { options.solve.smooth_positions_hz = hz; });
  number("--smooth-weights", "HZ", "10", "The same for the template weights",
         [&options](double hz) { options.solve.smooth_weights_hz = hz; });
}

} // namespace

void AddSolveCommand(CLI::App& app, std::vector<std::string> arguments) {
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
  command->add_option("TAKE", options->take, kTakeHelp)->required();
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
  AddCleaningOptions(*command, *options);
  AddTakeOptions(*command, options->read);
  command
      ->add_option(
          "--timecode", options->timecode,
          "The timecode of the first frame, in place of the take's own; counts at RATE a second, or else at "
          "the take's rate")
      ->type_name("HH:MM:SS:FF[@RATE]");
  command
      ->add_option("--report", options->report,
                   "Write what was done to the take, settings and hashes, beside the output")
      ->check(not_empty)
      ->type_name("FILE.json");
  command->add_flag("-q,--quiet", options->quiet, "Report nothing but errors");
  options->command = std::move(arguments);
  command->callback([options] { Solve(*options); });
}

} // namespace mien
