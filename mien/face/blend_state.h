#pragma once

/// The weights of the three sources of a blend. All 1 by default, which adds the sources up; an average needs
/// weights that sum to 1. Exactly 0 leaves a source out.
struct VFaceBlendState {
  double mWeights[3] = {1.0, 1.0, 1.0};
};
