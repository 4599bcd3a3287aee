#pragma once

#include "host/weights/weight_take.h"

#include <string>
#include <string_view>

namespace mien {

/// The JSON that `mien solve` writes (host/animation/animation_json.h): the shapes, or without a character the
/// templates, and the angles of head and eyes.
bool IsAnimationFile(std::string_view bytes);

/// Throws InputError with all mistakes.
WeightTake ReadAnimationFile(std::string_view bytes, const std::string& file);

} // namespace mien
