#pragma once

#include "host/animation/eye_angles.h"
#include "mien/base/geometry.h"

#include <array>
#include <cstddef>
#include <vector>

namespace mien {

/// A frame of a stream, solved but for the character.
struct LiveMoment {
  double time_s = 0;
  std::vector<double> templates; ///< may be empty
  std::vector<double> values;    ///< of fitted shapes, or of a source's own (may be empty)
  VgeAMatrix head;
  Eyes eyes;
  bool has_eyes = false;

  // As in LiveOutput.
  bool learning = false, face_seen = false, head_known = false, eyes_known = false;
  std::size_t unseen = 0;
  double presence = 0;
  std::array<double, 9> residual_mm{};
};

} // namespace mien
