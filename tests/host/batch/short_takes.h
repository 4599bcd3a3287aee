#pragma once

// Lines of a batch whose takes are short pieces of the sample.

#include "host/batch/batch_line.h"
#include "host/files/read_file.h"
#include "tests/host/temporary_folder.h"

#include <string>
#include <utility>

class ShortTakes : public TemporaryFolder {
protected:
  /// So many frames of the sample, as a file of this name.
  std::string WriteTake(const std::string& name, std::size_t frames) const {
    static const std::string sample = mien::ReadFile(MIEN_SAMPLES_FOLDER "/landmarks.csv");
    std::size_t end = 0;
    for (std::size_t line = 0; line <= frames; ++line) end = sample.find('\n', end) + 1;
    return Write(name, sample.substr(0, end));
  }

  /// Solves TAKE into OUT, both in the test's folder.
  mien::BatchLine Line(std::size_t number, const std::string& take, const std::string& output) const {
    return {.number = number,
            .take = folder_ / take,
            .output = folder_ / output,
            .command = {"mien", "solve", take, "--performer=landmarks68", "--output=" + output},
            .cost = 1};
  }

  static mien::BatchJob JobOf(const mien::BatchLine& line) {
    mien::SolveJob job;
    job.take = line.take;
    job.performer = "landmarks68";
    job.output = line.output;
    return job;
  }

  std::string Saved(const std::string& name) const { return mien::ReadFile(folder_ / name); }
  bool Has(const std::string& name) const { return std::filesystem::exists(folder_ / name); }

  /// Names of all files in the folder.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
      names.push_back(entry.path().filename());
    return names;
  }
};
