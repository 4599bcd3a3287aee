#pragma once

#include <string_view>

namespace mien {

/// The side that a marker's name seems to state, by a word "L", "left", "R" or "right" in it: +1 for left,
/// -1 for right, 0 for neither or both. Words end at signs, digits, and where a capital follows a small
/// letter.
int SideInName(std::string_view name);

} // namespace mien
