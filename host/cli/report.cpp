#include "host/cli/report.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace mien {

void Report(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

void ReportLine(std::string_view title, std::string_view text) {
  Report(fmt::format("{:<10} {}\n", title, Printable(text)));
}

void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       const char* option) {
  std::error_code not_there;
  if (std::filesystem::equivalent(input, output, not_there))
    throw CLI::ValidationError(option, fmt::format("this is {} itself", what));
}

} // namespace mien
