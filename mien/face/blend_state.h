#pragma once

/// The weights of the three sources of a blend.
struct VFaceBlendState {
  /// By source. All 1 adds the sources up; an average needs weights that sum to 1. A weight of exactly 0
  /// leaves its source out.
  double mWeights[3] = {1.0, 1.0, 1.0};
};
