#pragma once

#include "host/files/mapped_file.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace mien {

/// SHA-256 (FIPS 180-4) of the bytes, in hexadecimal, as sha256sum prints it.
std::string Sha256(std::string_view bytes);

/// The same of a file's bytes, of which only a part is in memory at a time.
std::string Sha256(const MappedFile& file);

/// The same of a file, which is read piece by piece. Throws InputError where it cannot be read.
std::string Sha256OfFile(const std::filesystem::path& path);

} // namespace mien
