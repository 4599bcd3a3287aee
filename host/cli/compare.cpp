#include "host/base/text.h"
#include "host/cli/animation_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/cli/print_comparison.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/compare/comparison_json.h"
#include "host/files/standard_streams.h"
#include "host/jobs/compare_job.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

struct CompareOptions {
  CompareJob job;
  bool all = false;
};

void Compare(const CompareOptions& options, Output& output) {
  const CompareJob& job = options.job;
  output.RequireFreeStandardOutput(job.output);
  output.RequireFreeStandardOutput(job.view, "view");
  const CompareResult result = [&] {
    Progress progress(fmt::format("{} and {}", TakeName(job.a), TakeName(job.b)), output.quiet);
    return Run(job, std::ref(progress));
  }();
  const Comparison& comparison = result.comparison;
  output.Remark(comparison.a.notes, comparison.a.file);
  output.Remark(comparison.b.notes, comparison.b.file);
  output.Remark(comparison.notes);
  const bool table_is_output = !job.output.empty() && IsStandardOutput(job.output);
  if (!table_is_output && !output.quiet)
    output.Print(ToText(comparison, options.all ? std::numeric_limits<std::size_t>::max() : kSomeCurves));
  if (!job.output.empty() && !table_is_output) output.Line("wrote", job.output);
  if (!job.view.empty() && !IsStandardOutput(job.view)) output.Line("wrote", job.view);
  output.Result(ComparisonAsJson(comparison));
  if (!result.above_limit.empty()) throw InputError(result.above_limit);
}

std::optional<double> NumberOf(const std::string& text) {
  const char* const end = text.data() + text.size();
  double value = 0;
  const auto [parsed, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && parsed == end && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

void AddAlignment(Command& command, AlignOptions& align) {
  command.AddParsed({.names = "--align",
                     .type = "BY",
                     .help = "What decides which frames belong together: timecode, frames (their numbers) or "
                             "time (from the first frame). Default: timecode if both files have it, else "
                             "frames if the rates are equal, else time",
                     .values = {"timecode", "frames", "time"}},
                    [&align](const std::string& text) -> Command::Fault {
                      for (const AlignBy by : {AlignBy::Timecode, AlignBy::Frames, AlignBy::Time})
                        if (text == ToText(by)) return align.by = by, std::nullopt;
                      return fmt::format("{} is not timecode, frames or time", Quoted(text));
                    });
  command.AddParsed({.names = "--offset",
                     .type = "FRAMES",
                     .help =
                         "B is later by so many frames of A, which may be negative or a fraction: the lag "
                         "that the table shows"},
                    [&align](const std::string& text) -> Command::Fault {
                      const std::optional<double> frames = NumberOf(text);
                      if (!frames)
                        return fmt::format("{} is not a number of frames, such as -2.5", Quoted(text));
                      align.offset_frames = *frames;
                      return std::nullopt;
                    });
}

} // namespace

void AddCompareCommand(Command& mien, std::vector<std::string> arguments) {
  Command command = mien.AddCommand("compare", "Compare two animations, or two takes, curve by curve");
  command.Details(
      "A and B are two animations (what mien solve and mien retarget write as .csv or .json, and what mien "
      "retarget reads) or two takes. The content decides. For each curve or marker, the table "
      "shows:",
      {{"largest", "The largest difference, and the frame with it; of markers the distance"},
       {"rms", "The root mean square of the difference"},
       {"correlation", "1 where the curves have the same shape; - where one is constant"},
       {"lag", "Frames by which B is later, at most half a second; - where it is unclear"}});
  command.Example("mien compare before.csv after.csv");
  command.Example("mien compare phone.csv solved.csv --offset 2.5 --all");
  command.Example("mien compare expected.csv weights.csv --quiet --fail-above 0.02");
  auto options = std::make_shared<CompareOptions>();
  CompareJob& job = options->job;
  job.command = std::move(arguments);
  command.Add(
      {.names = "A", .help = "An animation or a take; - is standard input", .required = true, .files = "*"},
      job.a);
  command.Add({.names = "B", .help = "What to compare with it", .required = true, .files = "*"}, job.b);
  AddAlignment(command, job.align);
  command.AddParsed(
      {.names = "--fail-above",
       .type = "LIMIT",
       .help = "End with exit code 3 where any curve differs by more: weights as they are, angles in "
               "radians, markers in millimetres"},
      [options](const std::string& text) -> Command::Fault {
        const std::optional<double> limit = NumberOf(text);
        if (!limit || *limit < 0)
          return fmt::format("{} is not a number of at least 0, such as 0.02", Quoted(text));
        options->job.fail_above = limit;
        return std::nullopt;
      });
  command.AddFlag(
      {.names = "--all", .help = fmt::format("List all curves; otherwise the first {}", kSomeCurves)},
      options->all);
  command.Add({.names = "-o,--output",
               .type = "FILE.csv",
               .help = "Write the whole table; - is standard output",
               .may_be_empty = false,
               .files = "*.csv"},
              job.output);
  AddView(command, job.view, "both, with how they differ");
  AddTakeOptions(command, job.reading);
  command.AddOutputOptions();
  command.OnRun([options](Output& output) { Compare(*options, output); });
}

} // namespace mien
