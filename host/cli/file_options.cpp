#include "host/cli/file_options.h"

#include "host/cli/take_options.h"
#include "host/files/standard_streams.h"
#include "host/performer/performer_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>

namespace mien {

Command::Option TakeArgument() {
  return {.names = "TAKE",
          .help = std::string(kTakeHelp) + "; - is standard input",
          .required = true,
          .files = "*"};
}

Command::Option PerformerOption(const std::string& what) {
  return {.names = "-p,--performer",
          .type = "NAME|FILE",
          .help = fmt::format("{}: a built-in performer ({}) or a performer file", what,
                              fmt::join(BuiltInPerformers(), ", ")),
          .required = true,
          .values = BuiltInPerformers(),
          .files = "*.json"};
}

Command::Option JsonOutputOption(const std::string& what) {
  return {.names = "-o,--output",
          .type = "FILE.json",
          .help = what + "; - is standard output",
          .required = true,
          .files = "*.json"};
}

std::string TakeName(const std::string& file) {
  return std::filesystem::path(InputName(file)).stem().string();
}

} // namespace mien
