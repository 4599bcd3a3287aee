#pragma once

#include <filesystem>
#include <string>

namespace mien {

/// The whole content of a file. Throws InputError for a missing file, a directory, and one that cannot be read.
std::string ReadFile(const std::filesystem::path& path);

} // namespace mien
