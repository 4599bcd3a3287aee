// Writes the sample files:
//
//   mien_make_samples FOLDER

#include "host/base/error.h"
#include "host/files/whole_file.h"
#include "samples/synthetic_performance.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>

int main(int argc, char** argv) {
  if (argc != 2) {
    fmt::print(stderr, "usage: mien_make_samples FOLDER\n");
    return 2;
  }
  try {
    for (const auto& [name, bytes] : mien::samples::SampleFiles()) {
      const std::filesystem::path path = std::filesystem::path(argv[1]) / name;
      mien::WriteWhole(path, [&text = bytes](std::ostream& out) { out << text; });
      fmt::print("{}: {} bytes\n", path.string(), bytes.size());
    }
  } catch (const mien::InputError& error) {
    fmt::print(stderr, "{}\n", error.what());
    return 1;
  }
}
