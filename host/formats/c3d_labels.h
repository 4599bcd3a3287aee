#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_parameters.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien::c3d {

/// A name for each of so many points, all different, in UTF-8: its label or, without one, "point 34". Surplus
/// labels are ignored. `notes` get labels that are missing, blank, repeated or not UTF-8.
std::vector<std::string> MarkerNames(const Parameters& parameters, std::size_t points,
                                     std::vector<Note>& notes);

} // namespace mien::c3d
