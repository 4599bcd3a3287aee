#include "host/batch/line_state.h"

#include "host/base/errors_json.h"
#include "host/base/json_text.h"
#include "host/base/parse_json.h"
#include "host/base/text.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/whole_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <system_error>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

/// A JSON object in a file; nothing where there is none.
std::optional<Json> ReadObject(const std::string& path) {
  std::error_code not_there;
  if (!fs::is_regular_file(path, not_there)) return std::nullopt;
  auto [json, fault] = ParseJson(ReadFile(path), [](const std::string&) {});
  if (fault || !json.is_object()) return std::nullopt;
  return std::move(json);
}

/// The text at a pointer; empty where there is none.
std::string TextAt(const Json& json, const char* pointer) {
  const Json::json_pointer place(pointer);
  return json.contains(place) && json[place].is_string() ? json[place].get<std::string>() : "";
}

std::vector<std::string> CommandOf(const Json& report) {
  std::vector<std::string> command;
  if (report.contains("command") && report["command"].is_array())
    for (const Json& argument : report["command"])
      command.push_back(argument.is_string() ? argument.get<std::string>() : "");
  return command;
}

/// The first argument that one command has and the other lacks.
std::string DifferenceOf(const std::vector<std::string>& now, const std::vector<std::string>& before) {
  const auto lacks = [](const std::vector<std::string>& command, const std::string& argument) {
    return std::find(command.begin(), command.end(), argument) == command.end();
  };
  for (const std::string& argument : now)
    if (lacks(before, argument)) return fmt::format("{} is new", Quoted(argument));
  for (const std::string& argument : before)
    if (lacks(now, argument)) return fmt::format("{} is gone", Quoted(argument));
  return "the order of the settings is another";
}

Grade GradeOf(const Json& report) {
  const std::string text = TextAt(report, "/quality/grade");
  for (const Grade grade : {Grade::Good, Grade::Fair, Grade::Poor})
    if (text == ToText(grade)) return grade;
  return Grade::None;
}

/// Whether a file of the report still is what it was; why not.
std::optional<std::string> ChangeOf(const std::string& role, const std::string& name,
                                    const std::string& sha256, const fs::path& folder, LineCheck check) {
  constexpr std::size_t kHashLength = 64;
  if (sha256.size() != kHashLength) return std::nullopt; // built in
  const std::string path = PathIn(folder, name);
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return fmt::format("{} is not there", Quoted(name));
  if (check == LineCheck::Report) return std::nullopt;
  try {
    if (Sha256OfFile(path) == sha256) return std::nullopt;
  } catch (const InputError&) { return fmt::format("{} cannot be read", Quoted(name)); }
  const bool is_output = role == "output" || role == "report" || role == "frames_report" || role == "view";
  return fmt::format("{} {}", Quoted(name), is_output ? "differs from what was written" : "has changed");
}

LineState StateByReport(const BatchLine& line, const Json& report, const fs::path& folder, LineCheck check) {
  const auto stale = [](std::string why) {
    return LineState{.kind = LineState::Kind::Stale, .why = std::move(why)};
  };
  const std::string tool = TextAt(report, "/tool");
  if (tool != "mien " MIEN_VERSION) return stale(fmt::format("made by {}", Quoted(tool)));
  if (const std::vector<std::string> command = CommandOf(report); command != line.command)
    return stale(DifferenceOf(line.command, command));
  if (!report.contains("files") || !report["files"].is_object() || !report["files"].contains("output"))
    return stale("the report names no output");
  for (const auto& [role, file] : report["files"].items())
    if (const auto change = ChangeOf(role, TextAt(file, "/name"), TextAt(file, "/sha256"), folder, check))
      return stale(*change);
  return {.kind = LineState::Kind::Done, .grade = GradeOf(report)};
}

/// The problems in an error file.
std::vector<Problem> ProblemsOf(const Json& file) {
  std::vector<Problem> problems;
  if (!file.contains("errors") || !file["errors"].is_array()) return problems;
  for (const Json& error : file["errors"]) {
    Problem& problem = problems.emplace_back();
    const std::string code = TextAt(error, "/code");
    for (int c = 0; c <= static_cast<int>(Code::Memory); ++c)
      if (ToText(static_cast<Code>(c)) == code) problem.code = static_cast<Code>(c);
    problem.file = TextAt(error, "/file"), problem.place = TextAt(error, "/place");
    problem.what = TextAt(error, "/what"), problem.fix = TextAt(error, "/fix");
  }
  return problems;
}

} // namespace

std::string_view ToText(LineState::Kind kind) {
  switch (kind) {
  case LineState::Kind::Done:
    return "done";
  case LineState::Kind::Failed:
    return "failed";
  case LineState::Kind::Stale:
    return "stale";
  case LineState::Kind::Missing:
    break;
  }
  return "missing";
}

std::string PathIn(const fs::path& folder, const std::string& name) {
  return folder.empty() ? name : (folder / name).string();
}

LineState CheckLine(const BatchLine& line, const fs::path& folder, LineCheck check) {
  if (check == LineCheck::Report)
    if (const std::optional<Json> error = ReadObject(ErrorFileOf(line)))
      return {.kind = LineState::Kind::Failed, .problems = ProblemsOf(*error)};
  std::optional<Json> report;
  try {
    report = ReadObject(ReportOf(line));
  } catch (const InputError& error) { return {.why = error.Problems().front().what}; }
  if (!report) return {.why = "there is no report"};
  return StateByReport(line, *report, folder, check);
}

std::string NameIn(const fs::path& folder, const BatchLine& line, const std::string& path) {
  const bool is_own_name =
      std::any_of(line.command.begin(), line.command.end(), [&](std::string_view argument) {
        return argument == path || argument.ends_with('=' + path);
      });
  const std::string prefix = PathIn(folder, "");
  return !is_own_name && path.starts_with(prefix) ? path.substr(prefix.size()) : path;
}

void WriteErrorFile(const BatchLine& line, const fs::path& folder, std::vector<Problem> problems) {
  try {
    for (Problem& problem : problems) problem.file = NameIn(folder, line, problem.file);
    const JsonValue file = JsonObjectOnLines({{"format", "mien batch error 1"},
                                              {"tool", "mien " MIEN_VERSION},
                                              {"command", line.command},
                                              {"errors", ErrorsAsJson(problems)}});
    WriteWhole(ErrorFileOf(line), [&](std::ostream& out) { out << file.Text() << '\n'; });
  } catch (const std::exception&) { // the place, or the memory, which the line's end reports already
    return;
  }
}

} // namespace mien
