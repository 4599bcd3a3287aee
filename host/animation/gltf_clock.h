#pragma once

#include "host/animation/animation.h"
#include "host/base/error.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>

namespace mien {

/// Of an animation with frames what glTF's seconds cannot express, for the `extras` of its glTF animation: the
/// number of the first frame, the exact rate, the timecode.
nlohmann::ordered_json ClockOf(const Animation& animation);

/// A note on frames that are too close to the previous one for the times of glTF; nothing for none.
std::optional<Note> NoteOnLeftOut(std::size_t frames);

} // namespace mien
