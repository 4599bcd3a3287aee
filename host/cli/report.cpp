#include "host/cli/report.h"

#include "host/error.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace mien {

void Report(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

void ReportLine(std::string_view title, std::string_view text) {
  Report(fmt::format("{:<10} {}\n", title, Printable(text)));
}

void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what) {
  std::error_code not_there;
  if (std::filesystem::equivalent(input, output, not_there))
    throw CLI::ValidationError("--output", fmt::format("this is {} itself", what));
}

} // namespace mien
