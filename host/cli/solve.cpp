#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/cli/cleaning_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/cli/print_solve_report.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/files/standard_streams.h"
#include "host/jobs/solve_job.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace mien {

namespace {

/// "NAME=WEIGHT", where the name may have equals signs of its own.
std::optional<std::pair<std::string, double>> ParseExpression(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  if (equals == std::string::npos || equals == 0) return std::nullopt;
  const char* const end = text.data() + text.size();
  double weight = 0;
  const auto [parsed, error] = std::from_chars(text.data() + equals + 1, end, weight);
  if (error != std::errc() || parsed != end || !std::isfinite(weight)) return std::nullopt;
  return std::pair(text.substr(0, equals), weight);
}

/// What was written, in a few words.
std::string Summary(const WrittenAnimation& written) {
  switch (written.format) {
  case AnimationFormat::TemplateCsv:
    return Count(written.templates, "template");
  case AnimationFormat::ShapeCsv:
    return Count(written.shapes, "shape");
  case AnimationFormat::LiveLinkCsv:
    return "52 shapes and the head's angles";
  case AnimationFormat::Json:
    return Count(written.templates, "template") +
           (written.shapes + written.clusters > 0
                ? fmt::format(", {}, {}", Count(written.shapes, "shape"), Count(written.clusters, "cluster"))
                : "");
  case AnimationFormat::Glb:
    break;
  }
  const std::vector<std::string>& eyes = written.head->eye_nodes;
  return fmt::format("{} on {}, {}{}", Count(written.head->driven_targets, "morph target"),
                     Count(written.head->driven_nodes, "node"),
                     Count(written.head->driven_clusters, "cluster"),
                     eyes.empty() ? "" : ", the eyes " + SomeQuoted(eyes));
}

/// What the output lacks of the animation, or the animation of the output.
std::vector<Note> NotesOn(const WrittenAnimation& written) {
  std::vector<Note> notes;
  const auto add = [&](Code code, std::string what) { notes.push_back({code, "", std::move(what)}); };
  if (written.format == AnimationFormat::ShapeCsv && written.clusters > 0)
    add(Code::Lossy,
        fmt::format("without the {}, which .json and .glb have", Count(written.clusters, "cluster")));
  if (!written.missing_shapes.empty())
    add(Code::Unmatched, (written.head ? "no morph target for " : "0 for shapes that the character lacks: ") +
                             Some(written.missing_shapes));
  if (!written.head) return notes;
  if (!written.head->targets_without_shape.empty())
    add(Code::Unmatched, "nothing moves the morph targets " + Some(written.head->targets_without_shape));
  if (!written.head->clusters_without_node.empty())
    add(Code::Unmatched, "no node has the name of the clusters " + Some(written.head->clusters_without_node));
  notes.insert(notes.end(), written.head->notes.begin(), written.head->notes.end());
  return notes;
}

void Solve(SolveJob job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  output.RequireFreeStandardOutput(job.report, "report");
  job.hash_files = output.json;
  const SolveResult result = [&] {
    Progress progress(TakeName(job.take), output.quiet);
    return Run(job, std::ref(progress));
  }();

  PrintSolveReport(job, result, output);
  if ((job.eye_nodes || job.solve.smooth_gaze_hz) && result.report.gaze.source == GazeSource::None)
    output.Remark({Code::Missing, "", "the take does not show where the eyes look"}, job.take);
  if (!result.character.empty()) output.Line("character", result.character);
  if (!IsStandardOutput(job.output))
    output.Line("wrote", fmt::format("{}: {}, {}", job.output, Count(result.written.frames, "frame"),
                                     Summary(result.written)));
  output.Remark(NotesOn(result.written), job.output);
  if (!job.report.empty() && !IsStandardOutput(job.report)) output.Line("wrote", job.report);
  if (output.json) output.Result(SolveReportAsJson(RecordOf(job, result)));
}

} // namespace

// As long as the list of its options, in the order in which help shows them.
void AddSolveCommand(Command& mien, std::vector<std::string> arguments) {
  Command command =
      mien.AddCommand("solve", "Solve a take into template weights, and into a character's animation");
  command.Details(
      "The ending of OUT chooses the format:",
      {{".csv", "A row per frame: frame, time, and a column per shape of the character; without a "
                "character, a column per template of the face (\"Mouth.Open\")"},
       {".json", "Everything: templates, shapes, clusters, the head"},
       {".glb", "An animated head for Blender, game engines and viewers"}});
  command.Details("What is done to the take is reported on standard error.");
  command.Example("mien solve take.csv --performer landmarks68 -o weights.csv");
  command.Example("mien solve take.csv --performer landmarks68 --character arkit52 -o shapes.csv");
  command.Example(
      "mien solve take.csv --performer landmarks68 --character arkit52 --onto head.glb -o animated.glb");
  auto job = std::make_shared<SolveJob>();
  job->command = std::move(arguments);
  command.Add(TakeArgument(), job->take);
  command.Add(PerformerOption("The markers and, if it has one, the neutral face"), job->performer);
  command.Add({.names = "-c,--character",
               .type = "NAME|FILE",
               .help = fmt::format("The character to animate: a built-in character ({}) or a character file",
                                   fmt::join(BuiltInCharacters(), ", ")),
               .may_be_empty = false,
               .values = BuiltInCharacters(),
               .files = "*.json"},
              job->character);
  command.Add({.names = "-o,--output",
               .type = "OUT",
               .help = "The file to write; - is standard output, as .csv",
               .required = true,
               .files = "*"},
              job->output);
  AddNeutralOption(command, job->neutral);
  command.AddParsed({.names = "--expression",
                     .type = "NAME=WEIGHT",
                     .help = "Add an expression of the character to every frame; may be given more than once",
                     .repeatable = true},
                    [job](const std::string& text) -> Command::Fault {
                      const auto expression = ParseExpression(text);
                      if (!expression) return fmt::format("{} is not NAME=WEIGHT", Quoted(text));
                      job->expressions.push_back(*expression);
                      return std::nullopt;
                    });
  command.AddFlag(
      {.names = "--templates", .help = "For .csv: write template weights although there is a character"},
      job->only_templates);
  command.AddParsed(
      {.names = "--csv-style",
       .type = "STYLE",
       .help =
           "For .csv: plain (the default), or livelink, the form of phone face-capture apps, for which the "
           "default character is arkit52",
       .values = {"plain", "livelink"}},
      [job](const std::string& text) -> Command::Fault {
        if (text != "plain" && text != "livelink")
          return fmt::format("{} is neither plain nor livelink", Quoted(text));
        job->csv_style = text == "livelink" ? CsvStyle::LiveLink : CsvStyle::Plain;
        return std::nullopt;
      });
  command.Add({.names = "--onto",
               .type = "HEAD.glb",
               .help = "For .glb: animate this head instead of a simple one",
               .may_be_empty = false,
               .files = "*.glb"},
              job->onto);
  command.Add({.names = "--head",
               .type = "NODE",
               .help = "For --onto: the node of that head which turns with the performer's head",
               .may_be_empty = false},
              job->head_node);
  command.AddParsed(
      {.names = "--eyes",
       .type = "LEFT,RIGHT",
       .help =
           "For --onto: the nodes of that head which turn with the eyes; by default those with usual names, "
           "if no morph targets follow the eyes"},
      [job](const std::string& text) -> Command::Fault {
        const std::size_t comma = text.find(',');
        if (comma == std::string::npos || comma == 0 || comma + 1 == text.size())
          return fmt::format("{} is not the names of two nodes, LEFT,RIGHT", Quoted(text));
        job->eye_nodes = {text.substr(0, comma), text.substr(comma + 1)};
        return std::nullopt;
      });
  AddSolver(command, job->solve.solver);
  command.Add({.names = "--basis",
               .type = "HEAD.glb|TABLE.csv",
               .help = "For --solver fit: how faces move with their shapes, from a head with the 52 as morph "
                       "targets or from a table, instead of from the built-in faces",
               .may_be_empty = false,
               .files = "*"},
              job->basis);
  command.Add({.names = "--basis-landmarks",
               .type = "FILE.csv",
               .help = "For --basis HEAD.glb: where the 68 landmarks are on the head, as landmark,x,y,z; "
                       "default: HEAD.landmarks.csv beside it",
               .may_be_empty = false,
               .files = "*.csv"},
              job->basis_landmarks);
  command.AddParsedFlag(
      {.names = "--no-ranges",
       .help = "Leave out the ranges of a calibrated performer: weights as they are measured"},
      [job]() -> Command::Fault {
        job->ranges = false;
        return std::nullopt;
      });
  command.AddFlag(
      {.names = "--level-lids",
       .help = "Take the slow part out of Eye.Close, which lowered eyes cause; a lid that is held half "
               "shut opens slowly. For calibrated performers"},
      job->solve.level_lids);
  AddHeadFit(command, job->solve.head_fit);
  AddCleaningOptions(command, job->solve);
  AddTakeOptions(command, job->reading);
  command.Add({.names = "--timecode",
               .type = "HH:MM:SS:FF[@RATE]",
               .help =
                   "The timecode of the first frame, which replaces the take's own. RATE is its counts per "
                   "second; default: the take's rate"},
              job->timecode);
  command.Add({.names = "--report",
               .type = "FILE.json",
               .help = "Write a report as well: what was done to the take, settings, hashes of the files",
               .may_be_empty = false,
               .files = "*.json"},
              job->report);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Solve(*job, output); });
}

} // namespace mien
