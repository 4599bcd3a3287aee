#pragma once

#include <string>
#include <string_view>

namespace mien {

/// SHA-256 (FIPS 180-4) of the bytes, in hexadecimal, as sha256sum prints it.
std::string Sha256(std::string_view bytes);

} // namespace mien
