#pragma once

#include "host/takes/take.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace mien {

/// Reads a take from a file. The format is told from the content, never from the file's ending. Throws
/// InputError when the file cannot be read, is of no known format, or breaks the rules of its own.
Take ReadTake(const std::filesystem::path& path);

/// The same from memory. `name` is the file's name as messages show it.
Take ReadTake(std::string_view bytes, const std::string& name);

} // namespace mien
