#pragma once

/// @file
/// The page of `mien view`, built from viewer/ and embedded into the program.

#include <optional>
#include <string_view>

namespace mien {

/// The page as it was built: HTML with the words MIEN_DATA and MIEN_BYTES once each, in the place of its data
/// (viewer/README.md). Nothing in a program that was built without Node.js.
std::optional<std::string_view> ViewerPage();

} // namespace mien
