#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A file that comes with the command, under a name.
struct BuiltIn {
  std::string_view name;
  std::string_view text;
};

std::vector<std::string> NamesOf(std::span<const BuiltIn> files);

/// The text of the built-in file of this name or, where there is none, of the file of that path; "-" is
/// standard input. Throws InputError as ReadFile does. `what` it is, for messages: "performer".
std::string ReadBuiltInOrFile(std::span<const BuiltIn> files, const std::string& name_or_path,
                              std::string_view what);

} // namespace mien
