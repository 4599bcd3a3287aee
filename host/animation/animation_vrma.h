#pragma once

#include "host/animation/animation.h"
#include "host/base/error.h"

#include <cstddef>
#include <ostream>
#include <vector>

namespace mien {

/// What a .vrma has of an animation.
struct VrmaCoverage {
  std::size_t presets = 0, customs = 0; ///< expressions
  bool has_head = false;                ///< the head turns
  bool has_look = false;                ///< the eyes look
  std::vector<Note> notes;
};

/// Writes an animation for any VRM avatar: a GLB with the extension VRMC_vrm_animation 1.0, of which a program
/// plays on an avatar what that avatar has.
///
/// Each shape becomes an expression: a preset where it has the name of one of VRM's, otherwise one of the
/// avatar's own. lookUp and the like are left out, since the format does not allow them: the direction in which
/// the eyes look, the mean of both, stands for them. The humanoid is in its T-pose but for the head, which turns
/// as the performer's. The animation must have shapes.
VrmaCoverage WriteVrma(const Animation& animation, std::ostream& out);

} // namespace mien
