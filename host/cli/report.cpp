#include "host/cli/report.h"

#include "host/error.h"

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

std::string Count(std::size_t count, std::string_view what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string Some(const std::vector<std::string>& names) {
  constexpr std::size_t kShown = 10;
  const auto end = names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), kShown));
  std::string text = fmt::format("{}", fmt::join(names.begin(), end, ", "));
  if (names.size() > kShown) text += fmt::format(" and {} more", names.size() - kShown);
  return text;
}

void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       const char* option) {
  std::error_code not_there;
  if (std::filesystem::equivalent(input, output, not_there))
    throw CLI::ValidationError(option, fmt::format("this is {} itself", what));
}

} // namespace mien
