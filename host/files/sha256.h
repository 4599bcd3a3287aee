#pragma once

#include "host/files/mapped_file.h"

#include <string>
#include <string_view>

namespace mien {

/// SHA-256 (FIPS 180-4) of the bytes, in hexadecimal, as sha256sum prints it.
std::string Sha256(std::string_view bytes);

/// The same of a file, of which only a part is in memory at a time.
std::string Sha256(const MappedFile& file);

} // namespace mien
