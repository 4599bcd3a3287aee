#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The one of `names` that `name` was probably meant to be: the one with the fewest letters to change, add or
/// remove, where a change of letter case counts a tenth. Of several equally near ones, the first. Nothing if
/// all of them are further away than half the letters of `name`: these are different names.
///
/// Letters are bytes, so one beyond ASCII counts as two or more. The time is proportional to the length of
/// `name` times the length of all `names`.
std::optional<std::string> NearestName(std::string_view name, const std::vector<std::string>& names);

} // namespace mien
