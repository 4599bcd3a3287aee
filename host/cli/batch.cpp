#include "host/base/parallel.h"
#include "host/base/text.h"
#include "host/batch/batch_line.h"
#include "host/batch/cost.h"
#include "host/batch/line_state.h"
#include "host/batch/manifest.h"
#include "host/batch/run_batch.h"
#include "host/batch/summary.h"
#include "host/cli/batch_lines.h"
#include "host/cli/batch_progress.h"
#include "host/cli/commands.h"
#include "host/cli/output.h"
#include "host/cli/signals.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/jobs/output_place.h"

#include <fmt/format.h>

#include <atomic>
#include <charconv>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace mien {

namespace {

struct Shard {
  std::size_t index = 1, count = 1;
};

struct BatchOptions {
  std::string manifest, pattern;
  BatchDefaults defaults;
  std::optional<std::int64_t> threads;
  Shard shard;
  bool dry_run = false, summary = false;
  Grade fail_on = Grade::None;
};

constexpr std::int64_t kMostThreads = 1024;

/// "I/N".
std::optional<Shard> ParseShard(std::string_view text) {
  const auto number = [](std::string_view digits) -> std::size_t {
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() && end == digits.data() + digits.size() ? value : 0;
  };
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const Shard shard = {number(text.substr(0, slash)), number(text.substr(slash + 1))};
  constexpr std::size_t kMost = 1'000'000;
  if (shard.index < 1 || shard.index > shard.count || shard.count > kMost) return std::nullopt;
  return shard;
}

/// A line's value for people: its output, and what there is to know of it.
std::string TextOf(const BatchLine& line, const LineEnd& end) {
  std::string text = line.output;
  if (end.kind == LineEnd::Kind::Done) text += fmt::format(": {}", Count(end.frames, "frame"));
  if (end.grade != Grade::None)
    text += fmt::format("{} {}", end.kind == LineEnd::Kind::Done ? "," : ":", ToText(end.grade));
  return text;
}

std::string TextOf(const BatchLine& line, const LineState& state) {
  std::string text = line.output;
  if (state.grade != Grade::None) text += fmt::format(": {}", ToText(state.grade));
  if (!state.why.empty()) text += ": " + state.why;
  for (const Problem& problem : state.problems) text += ": " + Message(problem);
  return text;
}

/// Throws what makes the exit code: lines that are not as they should be, or a grade.
void ThrowFaults(const BatchSummary& summary, std::size_t faults, std::string_view what,
                 const BatchOptions& options) {
  if (faults > 0)
    throw InputError(Code::Unsolvable, options.manifest, "",
                     fmt::format("{} of {} {}", faults, Count(summary.lines, "line"), what),
                     "see their messages, and run the batch again");
  if (options.fail_on == Grade::None) return;
  if (const std::size_t bad = summary.GradedFrom(options.fail_on); bad > 0)
    throw InputError(Code::Limit, options.manifest, "",
                     fmt::format("{} of {} {} graded {}{}", bad, Count(summary.lines, "take"),
                                 bad == 1 ? "is" : "are", ToText(options.fail_on),
                                 options.fail_on == Grade::Poor ? "" : " or worse"),
                     "look at the flags in their reports");
}

/// Runs the lines, and reports each when it ends.
void RunLines(Batch batch, const BatchOptions& options, Output& output) {
  MakeOutputFolders(batch.lines);
  SortByCost(batch.lines);
  BatchSummary summary;
  summary.lines = batch.lines.size();
  std::atomic<bool> stop = false;
  std::vector<Problem> unprintable;
  {
    const OrderlyStop orderly;
    BatchProgress progress(batch.lines, batch.threads, output.quiet || output.json);
    BatchEvents events;
    events.stopped = [&] { return stop || OrderlyStop::Wanted(); };
    events.progress = [&](std::size_t thread, const BatchLine& line, JobStage stage, std::size_t done,
                          std::size_t total) { progress.Report(thread, line, stage, done, total); };
    events.ended = [&](const BatchLine& line, const LineEnd& end) {
      summary.Add(end);
      progress.End(line, end);
      try {
        progress.Above([&] {
          output.Line(ToText(end.kind), TextOf(line, end));
          output.Errors(end.problems);
          output.Event(EventAsJson(line, end));
        });
      } catch (const InputError& error) { // nobody reads the messages anymore
        unprintable = error.Problems();
        stop = true;
      }
    };
    RunBatch(batch, events);
    output.signal = OrderlyStop::Signal();
  }
  if (!unprintable.empty()) throw InputError(unprintable);
  output.Line("batch", RunText(summary));
  output.Result(RunAsJson(summary));
  if (output.signal == 0) ThrowFaults(summary, summary.failed, "failed", options);
}

/// Looks at the lines without doing any.
void LookAtLines(const Batch& batch, const BatchOptions& options, Output& output) {
  const LineCheck check = options.dry_run ? LineCheck::Hashes : LineCheck::Report;
  std::vector<LineState> states(batch.lines.size());
  OnThreads(batch.threads, states.size(),
            [&](std::size_t, std::size_t i) { states[i] = CheckLine(batch.lines[i], batch.folder, check); });
  BatchSummary summary;
  summary.lines = states.size();
  std::string text;
  for (std::size_t i = 0; i < states.size(); ++i) {
    const bool is_done = states[i].kind == LineState::Kind::Done;
    summary.Add(states[i]);
    output.Event(EventAsJson(batch.lines[i], states[i]));
    if (options.dry_run || !is_done)
      text += fmt::format("{:<10} {}\n", ToText(states[i].kind), TextOf(batch.lines[i], states[i]));
  }
  output.Print(text + fmt::format("{:<10} {}\n", "batch", StateText(summary)));
  output.Result(StateAsJson(summary));
  if (options.summary) ThrowFaults(summary, summary.lines - summary.done, "not done yet", options);
}

Manifest ManifestOf(const BatchOptions& options) {
  if (options.manifest.empty() == options.pattern.empty())
    throw UsageError("", options.manifest.empty() ? "name a manifest, or the takes with --glob"
                                                  : "name a manifest or --glob, not both");
  if (options.manifest.empty()) return FindTakes(options.pattern);
  return ReadManifest(ReadFile(options.manifest), InputName(options.manifest));
}

void RunBatchCommand(const BatchOptions& options, Output& output) {
  if (options.dry_run && options.summary) throw UsageError("summary", "this is not for --dry-run");
  const Manifest manifest = ManifestOf(options);
  BatchLines reader(manifest);
  Batch batch = {.lines = reader.Read(options.defaults),
                 .folder = manifest.folder,
                 .job_of = [&reader](const BatchLine& line) { return reader.JobOf(line); }};
  if (options.threads && (*options.threads < 1 || *options.threads > kMostThreads))
    throw UsageError("jobs", fmt::format("{} is not from 1 to {}", *options.threads, kMostThreads));
  batch.threads = options.threads ? static_cast<std::size_t>(*options.threads) : AvailableThreads();
  SetCosts(batch.lines);
  if (options.shard.count > 1)
    batch.lines = ShardOf(std::move(batch.lines), options.shard.index, options.shard.count);
  if (options.dry_run || options.summary)
    LookAtLines(batch, options, output);
  else
    RunLines(std::move(batch), options, output);
}

void AddLineOptions(Command& command, BatchOptions& options) {
  command.Add({.names = "MANIFEST",
               .help = "The list of takes: a CSV table, or JSON lines; - is standard input",
               .files = "*"},
              options.manifest);
  command.Add({.names = "--glob",
               .type = "PATTERN",
               .help = "Instead of a manifest: all files with such names, in quotes: 'takes/*.c3d'",
               .may_be_empty = false},
              options.pattern);
  command.Add({.names = "--out",
               .type = "PATTERN",
               .help =
                   "The output of lines that name none. {name} is the take's file name without its ending, "
                   "{folder} the name of its folder: 'out/{name}.glb'",
               .may_be_empty = false},
              options.defaults.output);
  command.AddParsed(
      {.names = "--set",
       .type = "NAME=VALUE",
       .help = "Give a value to all lines that have none of their own, such as "
               "performer=landmarks68; may be given more than once",
       .repeatable = true},
      [&options](const std::string& text) -> Command::Fault {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos || equals == 0)
          return fmt::format("{} is not NAME=VALUE", Quoted(text));
        options.defaults.values.push_back({text.substr(0, equals), {text.substr(equals + 1)}, ""});
        return std::nullopt;
      });
}

void AddRunOptions(Command& command, BatchOptions& options) {
  command.Add({.names = "-j,--jobs",
               .type = "N",
               .help = "How many takes are solved at once. Default: as many as there are "
                       "processors that may be used"},
              options.threads);
  command.AddParsed(
      {.names = "--shard",
       .type = "I/N",
       .help = "Do the Ith of N parts, which cost about the same and are the same on every machine"},
      [&options](const std::string& text) -> Command::Fault {
        const std::optional<Shard> shard = ParseShard(text);
        if (!shard) return fmt::format("{} is not I/N, such as 1/8", Quoted(text));
        options.shard = *shard;
        return std::nullopt;
      });
  command.AddFlag({.names = "--dry-run", .help = "Only list which lines are done and which are not, and why"},
                  options.dry_run);
  command.AddFlag(
      {.names = "--summary",
       .help = "Only read the reports of all lines: what is done, failed, stale and missing. The exit "
               "code is 0 if all are done"},
      options.summary);
  command.AddParsed({.names = "--fail-on",
                     .type = "GRADE",
                     .help =
                         "End with exit code 3 if the report of any take has this grade or a worse one: fair "
                         "or poor",
                     .values = {"fair", "poor"}},
                    [&options](const std::string& text) -> Command::Fault {
                      if (text != "fair" && text != "poor")
                        return fmt::format("{} is neither fair nor poor", Quoted(text));
                      options.fail_on = text == "fair" ? Grade::Fair : Grade::Poor;
                      return std::nullopt;
                    });
}

} // namespace

void AddBatchCommand(Command& mien) {
  Command command =
      mien.AddCommand("batch", "Solve or retarget many takes, and resume after an interruption");
  command.Details(
      "A manifest has a line for each take. Its columns, or the names in its JSON objects, are:",
      {{"take", "The file to solve, or of weights to retarget. Paths start from the manifest's folder"},
       {"output", "The file to write"},
       {"command", "solve, the default, or retarget"},
       {"performer, character, ...",
        "Any option of that command, by its name without dashes. A flag is true or false; in JSON, "
        "an option that may be given more than once has a list"}});
  command.Details("A bad take does not stop the others. Each line has a report, OUTPUT.report.json, which is "
                  "written last. A line "
                  "is skipped if its report has the hashes of the take, of all other inputs and of the "
                  "output, the same settings and the version of mien. Why a line failed is in "
                  "OUTPUT.error.json until it is done.");
  command.Details("--json prints a line of JSON for each take when it ends, then one for the batch.");
  command.Example("mien batch takes.csv -j 8");
  command.Example("mien batch --glob 'takes/*.csv' --out 'out/{name}.glb' --set performer=landmarks68");
  command.Example("mien batch takes.csv --shard 3/100");
  command.Example("mien batch takes.csv --summary --fail-on poor");
  auto options = std::make_shared<BatchOptions>();
  AddLineOptions(command, *options);
  AddRunOptions(command, *options);
  command.AddOutputOptions();
  command.OnRun([options](Output& output) { RunBatchCommand(*options, output); });
}

} // namespace mien
