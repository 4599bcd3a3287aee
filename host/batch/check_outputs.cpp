#include "host/batch/check_outputs.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unordered_map>

namespace mien {

namespace {

namespace fs = std::filesystem;

/// One name for each file, however its path is written. A folder is looked up once: there are many files in
/// it.
class Places {
public:
  std::string Of(const std::string& path) {
    const fs::path file = path;
    const std::string folder = file.parent_path().string();
    auto known = folders_.find(folder);
    if (known == folders_.end()) {
      std::error_code error;
      fs::path place = fs::weakly_canonical(fs::absolute(folder.empty() ? "." : folder, error), error);
      if (error) place = folder;
      known = folders_.emplace(folder, place.lexically_normal()).first;
    }
    return (known->second / file.filename()).string();
  }

private:
  std::unordered_map<std::string, fs::path> folders_;
};

} // namespace

void CheckOutputs(const std::vector<LineOutput>& outputs, const std::vector<BatchLine>& lines,
                  const std::string& file) {
  constexpr std::size_t kMost = 20;
  Places places;
  std::vector<Problem> problems;
  const auto add = [&](Code code, const LineOutput& output, std::string what, std::string fix) {
    if (problems.size() < kMost)
      problems.push_back({code, file, output.place, std::move(what), std::move(fix)});
  };
  const auto name_of = [&](std::size_t number) {
    const auto line = std::find_if(lines.begin(), lines.end(), [number](const BatchLine& candidate) {
      return candidate.number == number;
    });
    return file.empty() && line != lines.end() ? Quoted(line->take) : fmt::format("line {}", number);
  };
  const std::string fix = file.empty() ? "write {name}, and {folder} for takes of one name, into --out"
                                       : "give each output a place of its own";
  std::unordered_map<std::string, const LineOutput*> writers;
  std::size_t former = 0, latter = 0; // the lines of the last problem: one is enough for them
  for (const LineOutput& output : outputs) {
    const auto [first, is_new] = writers.emplace(places.Of(output.path), &output);
    if (is_new || (first->second->line == former && output.line == latter)) continue;
    former = first->second->line, latter = output.line;
    add(Code::Duplicate, output,
        file.empty() ? fmt::format("{} is an output of {} and of {}", Quoted(output.path), name_of(former),
                                   name_of(latter))
                     : fmt::format("{} is an output of {} already", Quoted(output.path),
                                   former == latter ? "the same line" : name_of(former)),
        fix);
  }
  for (const BatchLine& line : lines)
    if (const auto writer = writers.find(places.Of(line.take)); writer != writers.end())
      add(Code::Contradiction, *writer->second,
          file.empty() ? fmt::format("{} is a take and an output", Quoted(line.take))
                       : fmt::format("{} is the take of line {}", Quoted(line.take), line.number),
          file.empty() ? "choose another folder or ending for --out" : fix);
  if (!problems.empty()) throw InputError(problems);
}

} // namespace mien
