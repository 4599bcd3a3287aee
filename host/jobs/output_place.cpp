#include "host/jobs/output_place.h"

#include "host/base/utf8.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

namespace mien {

InputError UsageError(std::string_view setting, std::string_view what) {
  return {Code::Usage, "", setting, what, ""};
}

void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       std::string_view setting) {
  std::error_code not_there;
  if (std::filesystem::equivalent(input, output, not_there))
    throw UsageError(setting, fmt::format("this is {} itself", what));
}

bool IsSamePlace(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code no_place;
  const auto place = [&](const std::string& name) {
    return name == "-" ? fs::path("/dev/stdout") : fs::absolute(name, no_place);
  };
  return fs::equivalent(place(a), place(b), no_place) ||
         fs::weakly_canonical(place(a), no_place) == fs::weakly_canonical(place(b), no_place);
}

void RequireUtf8(const std::string& name, std::string_view setting) {
  if (!IsUtf8(name)) throw UsageError(setting, "this is not UTF-8 text");
}

} // namespace mien
