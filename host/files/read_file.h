#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace mien {

/// How far reading is: bytes read, and of how many; 0 where a pipe does not say. May throw to stop it.
using ReadProgress = std::function<void(std::size_t done, std::size_t total)>;

/// The whole content of a file; "-" is standard input, which can be read once. Throws InputError for a
/// missing file, a folder, a device, and a file that cannot be read.
std::string ReadFile(const std::filesystem::path& path, const ReadProgress& progress = nullptr);

/// The same content piece by piece, for what needs it once and not as a whole.
void ReadPieces(const std::filesystem::path& path, const std::function<void(std::string_view)>& take);

} // namespace mien
