#pragma once

#include "host/weights/weight_take.h"

#include <optional>
#include <string_view>

namespace mien {

/// What ReadAnimationFile reads, of a file that is as `mien solve` writes it: its lists go straight into the take,
/// so that the memory does not grow with the file. Nothing where anything is wrong with the file;
/// ReadAnimationFile then says what.
std::optional<WeightTake> ReadRegularAnimationFile(std::string_view bytes);

} // namespace mien
