#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The one of `names` that `name` was probably meant to be: the one with the fewest letters to change, add or drop, where
/// another case of a letter counts a tenth. Of equally near ones the first. Nothing where all are further away than half
/// of the letters of `name`: these are other names.
///
/// Letters are bytes, so that one beyond ASCII counts as two or more. Takes as long as all the names' lengths together
/// times that of `name`.
std::optional<std::string> NearestName(std::string_view name, const std::vector<std::string>& names);

} // namespace mien
