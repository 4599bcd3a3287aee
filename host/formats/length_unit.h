#pragma once

#include <optional>
#include <string_view>

namespace mien {

/// Millimetres of a unit of length as people write it, letter case aside: "mm", "metres", "in". Nothing for one that is not
/// known.
std::optional<double> MillimetresOf(std::string_view unit);

} // namespace mien
