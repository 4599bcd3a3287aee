#include "host/jobs/output_place.h"

#include "host/base/utf8.h"
#include "host/files/standard_streams.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

namespace mien {

InputError UsageError(std::string_view setting, std::string_view what) {
  return {Code::Usage, "", setting, what, ""};
}

bool IsStream(const std::string& output) {
  if (IsStandardOutput(output)) return true;
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(output, error);
  return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
         !std::filesystem::is_directory(status);
}

void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       std::string_view setting) {
  // Standard input may be a file as well.
  const std::filesystem::path file = IsStandardInput(input) ? "/dev/stdin" : input;
  std::error_code not_there;
  if (std::filesystem::is_regular_file(file, not_there) &&
      std::filesystem::equivalent(file, output, not_there))
    throw UsageError(setting, fmt::format("this is {} itself", what));
}

bool IsSamePlace(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code no_place;
  const auto place = [&](const std::string& name) {
    return name == "-" ? fs::path("/dev/stdout") : fs::absolute(name, no_place);
  };
  if (fs::equivalent(place(a), place(b), no_place)) return true;
  // Empty for a name that cannot be a place, such as one that is too long: that is not the place of another.
  const fs::path canonical = fs::weakly_canonical(place(a), no_place);
  return !canonical.empty() && canonical == fs::weakly_canonical(place(b), no_place);
}

void RefuseReadingTwice(const std::vector<NamedInput>& inputs) {
  const NamedInput* first = nullptr;
  for (const NamedInput& input : inputs) {
    if (input.file.empty() || !IsStandardInput(input.file)) continue;
    if (first)
      throw UsageError(input.setting,
                       fmt::format("standard input can be read once, and is the {} already", first->setting));
    first = &input;
  }
}

void RequireUtf8(const std::string& name, std::string_view setting) {
  if (!IsUtf8(name)) throw UsageError(setting, "this is not UTF-8 text");
}

} // namespace mien
