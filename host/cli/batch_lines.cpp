#include "host/cli/batch_lines.h"

#include "host/base/error.h"
#include "host/base/nearest_name.h"
#include "host/base/text.h"
#include "host/batch/check_outputs.h"
#include "host/batch/line_state.h"
#include "host/cli/job_options.h"
#include "host/jobs/output_place.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace mien {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kTake = "take", kCommand = "command", kOutput = "output";
constexpr std::size_t kMostProblems = 20;

/// "output" for "-o,--output". Of the argument that names the take, "take".
std::string NameOf(const OptionDescription& option) {
  if (option.IsArgument()) return std::string(kTake);
  const std::string name = option.Names().back();
  return name.substr(name.find_first_not_of('-'));
}

const OptionDescription* OptionOf(const CommandDescription& command, std::string_view name) {
  for (const OptionDescription& option : command.options)
    if (NameOf(option) == name) return &option;
  return nullptr;
}

/// Whether a value of the option is a file's name, and not that of something built in.
bool IsPath(const OptionDescription& option, const std::string& text) {
  return !option.files.empty() && !text.empty() &&
         std::find(option.values.begin(), option.values.end(), text) == option.values.end();
}

/// The way from the manifest's folder to the current one; empty where they are the same.
fs::path WayToHere(const fs::path& folder) {
  if (folder.empty()) return {};
  std::error_code error;
  const fs::path way = fs::relative(fs::current_path(error), folder, error);
  return error ? fs::current_path() : way == "." ? fs::path() : way;
}

/// A pattern with its words in braces replaced by what they are of this take.
std::string OutputOf(const std::string& pattern, const fs::path& take) {
  std::string output = pattern;
  const auto replace = [&output](std::string_view word, const std::string& text) {
    for (std::size_t at = 0; (at = output.find(word, at)) != std::string::npos; at += text.size())
      output.replace(at, word.size(), text);
  };
  const std::string folder = take.parent_path().filename().string();
  replace("{folder}", folder.empty() ? "." : folder);
  replace("{name}", take.stem().string());
  return output;
}

/// Throws a UsageError for a word in braces that stands for nothing.
void CheckPattern(const std::string& pattern) {
  for (std::size_t at = 0; (at = pattern.find('{', at)) != std::string::npos; ++at)
    if (const std::string_view word = std::string_view(pattern).substr(at);
        !word.starts_with("{name}") && !word.starts_with("{folder}"))
      throw UsageError("out",
                       fmt::format("{} has other braces than {{name}} and {{folder}}", Quoted(pattern)));
}

std::string_view PartBefore(std::string_view text, char c) { return text.substr(0, text.find(c)); }

} // namespace

/// Reads the lines of one batch and collects what is wrong with them.
class BatchLines::Reader {
public:
  Reader(BatchLines& lines, BatchDefaults defaults)
      : lines_(lines), manifest_(lines.manifest_), defaults_(std::move(defaults)),
        way_to_here_(WayToHere(manifest_.folder)) {}

  std::vector<BatchLine> Read() {
    for (const ManifestColumn& column : manifest_.columns) CheckName(column.name, column.place);
    for (const ManifestValue& value : defaults_.values) CheckName(value.name, value.place);
    CheckDefaultsOfPattern();
    CheckPattern(defaults_.output);
    if (!problems_.empty()) throw InputError(problems_);
    std::vector<BatchLine> read;
    std::vector<LineOutput> outputs;
    for (const ManifestLine& line : manifest_.lines) {
      ReadLine(line, read, outputs);
      if (problems_.size() >= kMostProblems) break;
    }
    if (!problems_.empty()) throw InputError(problems_);
    CheckOutputs(outputs, read, manifest_.file);
    return read;
  }

private:
  /// Of the line that is read: what it and the command line give, with the description of its command.
  struct Line {
    const ManifestLine& own;
    const CommandDescription* command;
    std::vector<const ManifestValue*> values;
  };

  void ReadLine(const ManifestLine& own, std::vector<BatchLine>& read, std::vector<LineOutput>& outputs) {
    has_fault_ = false;
    Line line = {own, nullptr, {}};
    for (const ManifestValue& value : own.values) CheckName(value.name, value.place);
    if (has_fault_) return; // a mistyped name explains what else is missing
    line.command = CommandOf(own);
    if (!line.command) return;
    CollectValues(line);
    std::vector<std::string> command = {"mien", line.command->LastName()};
    for (const OptionDescription& option : line.command->options) Append(line, option, command);
    if (has_fault_) return;
    try {
      const BatchJob job = lines_.Parse(command);
      std::visit([](const auto& chosen) { CheckSettings(chosen); }, job);
      BatchLine& added = read.emplace_back();
      added.number = own.number;
      std::visit([&](const auto& chosen) { Fill(line, chosen, added, outputs); }, job);
      added.command = std::move(command);
    } catch (const InputError& error) { AddFaultOf(line, error.Problems().front()); }
  }

  const CommandDescription* CommandOf(const ManifestLine& own) {
    const ManifestValue* const value =
        ValueOf(own.values, kCommand) ? ValueOf(own.values, kCommand) : ValueOf(defaults_.values, kCommand);
    if (!value || value->texts[0] == "solve") return &lines_.solve_.Description();
    if (value->texts[0] == "retarget") return &lines_.retarget_.Description();
    Add(Code::InvalidValue, value, own,
        fmt::format("{} is neither solve nor retarget", Quoted(value->texts[0])), "write one of them");
    return nullptr;
  }

  /// The line's own values, and the defaults that it does not replace and its command knows.
  void CollectValues(Line& line) {
    for (const ManifestValue& value : line.own.values)
      if (value.name != kCommand) {
        line.values.push_back(&value);
        if (!OptionOf(*line.command, value.name))
          Add(Code::NotFound, &value, line.own,
              fmt::format("{} has no option {}", line.command->name, Quoted(value.name)), "leave it empty");
      }
    for (const ManifestValue& value : defaults_.values)
      if (!ValueOf(line.own.values, value.name) && OptionOf(*line.command, value.name))
        line.values.push_back(&value);
  }

  /// Appends what the line gives for an option to the command.
  void Append(const Line& line, const OptionDescription& option, std::vector<std::string>& command) {
    const std::string name = NameOf(option);
    std::size_t given = 0;
    for (const ManifestValue* value : line.values) {
      if (value->name != name) continue;
      for (const std::string& text : value->texts) {
        AppendValue(line, option, *value, text, command);
        ++given;
      }
      if (given > 1 && !option.repeatable)
        return Add(Code::Duplicate, value, line.own, fmt::format("{} has several values", Quoted(name)),
                   "give it one");
    }
    if (given > 0) return;
    const ManifestValue* const take = FindValue(line, kTake);
    if (name == kOutput && !defaults_.output.empty() && take)
      command.push_back("--output=" + Here(OutputOf(defaults_.output, take->texts[0])));
    else if (option.required && manifest_.file.empty())
      AddUsage("", fmt::format("there is no {}", name),
               name == kOutput ? "say where each take goes with --out 'out/{name}.csv'"
                               : fmt::format("name it with --set {}=...", name));
    else if (option.required)
      Add(Code::Missing, nullptr, line.own, fmt::format("the line gives no {}", name),
          name == kTake     ? "name the file to read"
          : name == kOutput ? "name it in the line, or give --out a pattern for all"
                            : fmt::format("name it in the line, or for all lines with --set {}=...", name));
  }

  /// A pattern names the takes, and --out where each goes: a value for all would be that of no take.
  void CheckDefaultsOfPattern() {
    if (!manifest_.file.empty()) return;
    if (ValueOf(defaults_.values, kTake)) AddUsage("set", "--glob names the takes", "leave take out");
    if (ValueOf(defaults_.values, kOutput))
      AddUsage("set", "all takes would have one output", "name a pattern with --out: 'out/{name}.csv'");
  }

  void AppendValue(const Line& line, const OptionDescription& option, const ManifestValue& value,
                   const std::string& text, std::vector<std::string>& command) {
    const std::string name = NameOf(option);
    if (IsPath(option, text) && text == "-")
      return Add(Code::InvalidValue, &value, line.own, "a batch reads and writes files", "name a file");
    if (name == kTake) { // not to be taken for an option
      command.push_back(text.starts_with('-') ? "./" + text : text);
    } else if (option.type.empty()) {
      if (EqualIgnoringCase(text, "true"))
        command.push_back("--" + name);
      else if (!EqualIgnoringCase(text, "false"))
        Add(Code::InvalidValue, &value, line.own,
            fmt::format("{} is true or false, and not {}", Quoted(name), Quoted(text)), "write one of them");
    } else {
      const bool is_of_command_line = value.place.empty() && IsPath(option, text);
      command.push_back(fmt::format("--{}={}", name, is_of_command_line ? Here(text) : text));
    }
  }

  /// A path of the command line as the manifest would have it.
  std::string Here(const std::string& path) const { return (way_to_here_ / path).string(); }

  static const ManifestValue* ValueOf(const std::vector<ManifestValue>& values, std::string_view name) {
    const auto found =
        std::find_if(values.begin(), values.end(), [&](const ManifestValue& v) { return v.name == name; });
    return found == values.end() ? nullptr : &*found;
  }

  static const ManifestValue* FindValue(const Line& line, std::string_view name) {
    const auto found = std::find_if(line.values.begin(), line.values.end(),
                                    [&](const ManifestValue* value) { return value->name == name; });
    return found == line.values.end() ? nullptr : *found;
  }

  /// The files of a line.
  template <class Job>
  void Fill(const Line& line, const Job& job, BatchLine& added, std::vector<LineOutput>& outputs) {
    added.output = job.output;
    const auto add = [&](const std::string& path, std::string_view option) {
      const ManifestValue* const value = FindValue(line, option);
      if (!path.empty()) outputs.push_back({path, line.own.number, value ? value->place : PlaceOf(line.own)});
    };
    add(job.output, kOutput);
    add(ReportOf(added), kOutput);
    add(ErrorFileOf(added), kOutput);
    add(job.report, "report");
    if constexpr (std::is_same_v<Job, SolveJob>) {
      added.take = job.take;
      add(job.frames_report, "frames-report");
      add(job.view, "view");
    } else {
      added.take = job.weights;
    }
  }

  /// Whether a line can give something under this name.
  bool IsKnown(const std::string& name) const {
    return name == kCommand || OptionOf(lines_.solve_.Description(), name) ||
           OptionOf(lines_.retarget_.Description(), name);
  }

  /// Adds a problem where neither command has an option of this name.
  void CheckName(const std::string& name, const std::string& place) {
    if (IsKnown(name)) return;
    std::vector<std::string> names = {std::string(kCommand)};
    for (const CommandDescription* command : {&lines_.solve_.Description(), &lines_.retarget_.Description()})
      for (const OptionDescription& option : command->options) names.push_back(NameOf(option));
    const std::string what = fmt::format("no option is named {}", Quoted(name));
    const std::string fix = FixOfName(name, NearestName(name, names));
    has_fault_ = true;
    if (problems_.size() >= kMostProblems) return;
    if (place.empty())
      AddUsage("set", what, fix);
    else
      problems_.push_back({Code::NotFound, manifest_.file, place, what, fix});
  }

  /// What to write for a name that no line can give.
  std::string FixOfName(const std::string& name, const std::optional<std::string>& nearest) const {
    constexpr std::string_view kOfTheBatch[] = {"threads", "quiet", "json"};
    if (std::find(std::begin(kOfTheBatch), std::end(kOfTheBatch), name) != std::end(kOfTheBatch))
      return name == "threads" ? "use mien batch -j" : fmt::format("use mien batch --{}", name);
    for (const OptionDescription& option : lines_.solve_.Description().options)
      if (option.Names().front() == '-' + name) return fmt::format("did you mean {}?", NameOf(option));
    return nearest ? fmt::format("did you mean {}?", *nearest) : "see mien solve --help for their names";
  }

  /// A problem of the command line, once.
  void AddUsage(std::string_view option, std::string what, std::string fix) {
    has_fault_ = true;
    Problem problem = {Code::Usage, "", std::string(option), std::move(what), std::move(fix)};
    if (std::find(problems_.begin(), problems_.end(), problem) == problems_.end())
      problems_.push_back(std::move(problem));
  }

  std::string PlaceOf(const ManifestLine& own) const {
    return manifest_.file.empty() ? "" : fmt::format("{}", own.number);
  }

  /// A problem of a value, or without one of the line.
  void Add(Code code, const ManifestValue* value, const ManifestLine& own, std::string what,
           std::string fix) {
    const bool is_of_command_line = value ? value->place.empty() : manifest_.file.empty();
    if (is_of_command_line) return AddUsage(value ? "set" : "", std::move(what), std::move(fix));
    has_fault_ = true;
    problems_.push_back(
        {code, manifest_.file, value ? value->place : PlaceOf(own), std::move(what), std::move(fix)});
  }

  /// What the option parser found, "--neutral: ...", or a job, whose place is the setting.
  void AddFaultOf(const Line& line, const Problem& fault) {
    if (!fault.place.empty()) return AddFaultOfSetting(line, fault);
    std::string_view option = PartBefore(fault.what, ':');
    const bool names_option = option.size() < fault.what.size() && option.starts_with("--");
    if (names_option) option.remove_prefix(2);
    Add(Code::InvalidValue, names_option ? FindValue(line, option) : nullptr, line.own,
        names_option ? fault.what.substr(2) : fault.what, fault.fix);
  }

  void AddFaultOfSetting(const Line& line, const Problem& fault) {
    const ManifestValue* const value = FindValue(line, fault.place);
    const bool is_of_pattern = !value && fault.place == kOutput; // all its outputs have the same fault
    const auto of_pattern = [](const Problem& problem) { return problem.place == "out"; };
    if (!is_of_pattern)
      Add(Code::InvalidValue, value, line.own, fmt::format("{}: {}", fault.place, fault.what), fault.fix);
    else if (std::none_of(problems_.begin(), problems_.end(), of_pattern))
      AddUsage("out", fault.what, fault.fix);
  }

  BatchLines& lines_;
  const Manifest& manifest_;
  BatchDefaults defaults_;
  fs::path way_to_here_;
  std::vector<Problem> problems_;
  bool has_fault_ = false; ///< the line that is read
};

BatchLines::BatchLines(const Manifest& manifest)
    : manifest_(manifest),
      solve_("mien solve", [this](Command& command) { AddSolveOptions(command, solve_job_); }),
      retarget_("mien retarget", [this](Command& command) { AddRetargetOptions(command, retarget_job_); }) {}

std::vector<BatchLine> BatchLines::Read(const BatchDefaults& defaults) {
  return Reader(*this, defaults).Read();
}

BatchJob BatchLines::JobOf(const BatchLine& line) { return Parse(line.command); }

BatchJob BatchLines::Parse(const std::vector<std::string>& command) {
  const std::lock_guard lock(mutex_);
  const bool solves = command[1] == "solve";
  OptionParser& parser = solves ? solve_ : retarget_;
  std::vector<std::string> arguments;
  std::string take;
  for (std::size_t i = 2; i < command.size(); ++i) {
    const std::string& argument = command[i];
    if (!argument.starts_with("--")) {
      take = PathIn(manifest_.folder, argument);
      continue;
    }
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos) { // a flag
      arguments.push_back(argument);
      continue;
    }
    const std::string name = argument.substr(0, equals), text = argument.substr(equals + 1);
    const OptionDescription* const option = OptionOf(parser.Description(), name.substr(2));
    if (text.empty()) // the parser would take what follows for the value
      arguments.insert(arguments.end(), {name, text});
    else
      arguments.push_back(fmt::format(
          "{}={}", name, option && IsPath(*option, text) ? PathIn(manifest_.folder, text) : text));
  }
  arguments.insert(arguments.end(), {"--", take});
  solve_job_ = {};
  retarget_job_ = {};
  parser.Parse(arguments);
  return solves ? BatchJob(solve_job_) : BatchJob(retarget_job_);
}

} // namespace mien
