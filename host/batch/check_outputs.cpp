#include "host/batch/check_outputs.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

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
  std::unordered_map<std::string, const LineOutput*> writers;
  std::size_t former = 0, latter = 0; // the lines of the last problem: one is enough for them
  for (const LineOutput& output : outputs) {
    const auto [first, is_new] = writers.emplace(places.Of(output.path), &output);
    if (is_new || (first->second->line == former && output.line == latter)) continue;
    former = first->second->line, latter = output.line;
    add(Code::Duplicate, output,
        fmt::format("{} is an output of {} already", Quoted(output.path),
                    former == latter ? "the same line" : fmt::format("line {}", former)),
        "give each output a place of its own");
  }
  for (const BatchLine& line : lines)
    if (const auto writer = writers.find(places.Of(line.take)); writer != writers.end())
      add(Code::Contradiction, *writer->second,
          fmt::format("{} is the take of line {}", Quoted(line.take), line.number),
          "give each output a place of its own");
  if (!problems.empty()) throw InputError(problems);
}

} // namespace mien
