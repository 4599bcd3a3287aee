#include "host/batch/summary.h"

#include "host/base/errors_json.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace mien {

namespace {

constexpr Grade kGrades[] = {Grade::Good, Grade::Fair, Grade::Poor, Grade::None};

std::string_view NameOf(Grade grade) { return grade == Grade::None ? "not graded" : ToText(grade); }

void Append(std::string& text, std::string_view separator, std::size_t count, std::string_view what) {
  if (count > 0) text += fmt::format("{}{} {}", text.empty() ? "" : separator, count, what);
}

std::string GradesText(const BatchSummary& summary) {
  std::string text;
  for (const Grade grade : kGrades)
    Append(text, ", ", summary.grades[static_cast<std::size_t>(grade)], NameOf(grade));
  return text.empty() ? "" : "; " + text;
}

JsonValue GradesAsJson(const BatchSummary& summary) {
  std::vector<JsonMember> members;
  for (const Grade grade : kGrades)
    members.push_back({grade == Grade::None ? "none" : std::string(ToText(grade)),
                       summary.grades[static_cast<std::size_t>(grade)]});
  return JsonObject(members);
}

JsonValue Event(const BatchLine& line, std::string_view state, std::vector<JsonMember> more) {
  std::vector<JsonMember> members = {
      {"line", line.number}, {"take", line.take}, {"output", line.output}, {"state", state}};
  members.insert(members.end(), more.begin(), more.end());
  return JsonObject(members);
}

/// As an event has it, on its own line.
JsonValue ErrorsOnALine(const std::vector<Problem>& problems) {
  std::vector<JsonValue> errors;
  for (const Problem& problem : problems) errors.push_back(ErrorAsJson(problem));
  return JsonList(errors);
}

} // namespace

void BatchSummary::Add(const LineEnd& end) {
  switch (end.kind) {
  case LineEnd::Kind::Done:
    ++done;
    break;
  case LineEnd::Kind::Skipped:
    ++skipped;
    break;
  case LineEnd::Kind::Failed:
    ++failed;
    return;
  case LineEnd::Kind::Stopped:
    return;
  }
  ++grades[static_cast<std::size_t>(end.grade)];
}

void BatchSummary::Add(const LineState& state) {
  switch (state.kind) {
  case LineState::Kind::Done:
    ++done;
    ++grades[static_cast<std::size_t>(state.grade)];
    break;
  case LineState::Kind::Failed:
    ++failed;
    break;
  case LineState::Kind::Stale:
    ++stale;
    break;
  case LineState::Kind::Missing:
    ++missing;
    break;
  }
}

std::size_t BatchSummary::GradedFrom(Grade grade) const {
  std::size_t count = 0;
  for (auto g = static_cast<std::size_t>(grade); g < grades.size(); ++g) count += grades[g];
  return count;
}

std::string RunText(const BatchSummary& summary) {
  std::string text;
  Append(text, ", ", summary.done, "done");
  Append(text, ", ", summary.failed, "failed");
  Append(text, ", ", summary.skipped, "skipped");
  Append(text, ", ", summary.Left(), "left");
  return (text.empty() ? "no lines" : text) + GradesText(summary);
}

std::string StateText(const BatchSummary& summary) {
  std::string text;
  Append(text, ", ", summary.done, "done");
  Append(text, ", ", summary.failed, "failed");
  Append(text, ", ", summary.stale, "stale");
  Append(text, ", ", summary.missing, "missing");
  return (text.empty() ? "no lines" : text) + GradesText(summary);
}

JsonValue RunAsJson(const BatchSummary& summary) {
  return JsonObject({{"lines", summary.lines},
                     {"done", summary.done},
                     {"failed", summary.failed},
                     {"skipped", summary.skipped},
                     {"left", summary.Left()},
                     {"grades", GradesAsJson(summary)}});
}

JsonValue StateAsJson(const BatchSummary& summary) {
  return JsonObject({{"lines", summary.lines},
                     {"done", summary.done},
                     {"failed", summary.failed},
                     {"stale", summary.stale},
                     {"missing", summary.missing},
                     {"grades", GradesAsJson(summary)}});
}

JsonValue EventAsJson(const BatchLine& line, const LineEnd& end) {
  std::vector<JsonMember> more;
  if (end.kind == LineEnd::Kind::Done) more.push_back({"frames", end.frames});
  if (end.grade != Grade::None) more.push_back({"grade", ToText(end.grade)});
  if (!end.why.empty()) more.push_back({"why", end.why});
  if (!end.problems.empty()) more.push_back({"errors", ErrorsOnALine(end.problems)});
  return Event(line, ToText(end.kind), std::move(more));
}

JsonValue EventAsJson(const BatchLine& line, const LineState& state) {
  std::vector<JsonMember> more;
  if (state.grade != Grade::None) more.push_back({"grade", ToText(state.grade)});
  if (!state.why.empty()) more.push_back({"why", state.why});
  if (!state.problems.empty()) more.push_back({"errors", ErrorsOnALine(state.problems)});
  return Event(line, ToText(state.kind), std::move(more));
}

} // namespace mien
