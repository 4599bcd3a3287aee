#include "host/files/built_in.h"

#include "host/base/error.h"
#include "host/files/read_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <system_error>

namespace mien {

std::vector<std::string> NamesOf(std::span<const BuiltIn> files) {
  std::vector<std::string> names;
  for (const BuiltIn& file : files) names.emplace_back(file.name);
  return names;
}

std::string ReadBuiltInOrFile(std::span<const BuiltIn> files, const std::string& name_or_path,
                              std::string_view what) {
  for (const BuiltIn& file : files)
    if (file.name == name_or_path) return std::string(file.text);
  std::error_code cannot_look_up;
  if (name_or_path != "-" && !std::filesystem::exists(name_or_path, cannot_look_up) && !cannot_look_up)
    throw InputError(Code::NotFound, name_or_path, "",
                     fmt::format("there is no {} of this name and no such file", what),
                     fmt::format("name a {} file, or one of the built-in ones: {}", what,
                                 fmt::join(NamesOf(files), ", ")));
  return ReadFile(name_or_path);
}

} // namespace mien
