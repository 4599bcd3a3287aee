#pragma once

#include <string_view>

namespace mien {

/// The performer for 68-point landmark takes: markers "lm0" to "lm67".
///
/// Rigid: the contour beside the ears, the nose, the inner corners of the eyes and the outer ones, which
/// hardly move with expressions. Where some do, as the wings of the nose in a sneer, the fit shows that they
/// stray.
///
/// Head, which determines the head by itself with --head-fit markers: the bridge of the nose, the inner
/// corners of the eyes and the wings of the nose. They form a wide, rigid kite, tall enough to distinguish a
/// nod from a raised brow, and without a thin triangle however the head turns. On recorded takes, the weights
/// of the lids follow the lids best with this set. (The outer eye corners are almost on a line with the inner
/// ones: a set of these loses and regains triangles as the head turns, and the whole face jumps. The contour
/// of the jaw slides. With the middle of the nose's base instead of its wings, the weights follow the lids
/// less.) The disadvantage: the wings move in a sneer, which tilts the head slightly: the nostrils read two
/// thirds of their motion, and the brows read some "Down".
///
/// Anchors: the corners of each eye, and the root of the nose for the brows.
///
/// Lips: the inner contour, because it shows the opening; the outer one also thickens and thins. The chin is
/// left out: the lowest point of the contour is noisier than the lips. The tails of the brows are left out:
/// trackers place them worst. Cheeks have no landmarks: these parts stay at rest.
inline constexpr std::string_view kLandmarks68 = R"({
  "format": "mien performer 1",
  "name": "landmarks68",
  "head": ["lm28", "lm31", "lm35", "lm39", "lm42"],
  "rigid": ["lm0", "lm1", "lm2", "lm14", "lm15", "lm16", "lm27", "lm28", "lm29", "lm30", "lm31", "lm32", "lm33",
            "lm34", "lm35", "lm36", "lm39", "lm42", "lm45"],
  "anchors": {
    "LeftBrow": ["lm42", "lm45", "lm27"],
    "RightBrow": ["lm36", "lm39", "lm27"],
    "LeftEye": ["lm42", "lm45"],
    "RightEye": ["lm36", "lm39"]
  },
  "parts": {
    "Mouth": {
      "LeftMouthHolder": ["lm54"],
      "UpperMouthHolder": ["lm61", "lm62", "lm63"],
      "LowerMouthHolder": ["lm65", "lm66", "lm67"],
      "RightMouthHolder": ["lm48"]
    },
    "LeftBrow": { "BrowHolder": ["lm23", "lm24", "lm25"], "InBrowHolder": ["lm22"] },
    "RightBrow": { "BrowHolder": ["lm20", "lm19", "lm18"], "InBrowHolder": ["lm21"] },
    "LeftEye": { "UpperEyeHolder": ["lm43", "lm44"], "LowerEyeHolder": ["lm47", "lm46"] },
    "RightEye": { "UpperEyeHolder": ["lm38", "lm37"], "LowerEyeHolder": ["lm40", "lm41"] },
    "LeftNostril": { "NostrilHolder": ["lm35"] },
    "RightNostril": { "NostrilHolder": ["lm31"] }
  }
}
)";

} // namespace mien
