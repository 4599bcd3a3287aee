#pragma once

#include <string_view>

namespace mien {

/// The map from the 52 shapes of phone face capture to the templates of the nine parts: the inverse of the
/// character arkit52 (host/character/arkit52.h). What it makes of that character's shapes are the templates
/// that they came from, where no shape was cut off at 0 or 1.
///
/// - Whistle is 0.8 mouthPucker and 0.4 mouthFunnel there; the best fit to both shapes is 1 and 0.5 here:
///   (0.8 p + 0.4 f) / (0.8^2 + 0.4^2).
/// - Square is 1 of each of four shapes: their mean.
/// - A raised brow is 1.2 browOuterUp of its side and 0.6 browInnerUp, which the two brows share. The best fit
///   of both brows to the three shapes is the pseudo-inverse of {{1.2, 0}, {0, 1.2}, {0.6, 0.6}}: 25/36 of its
///   own outer shape, -5/36 of the other one, 10/36 of the inner one.
/// - Out of a cheek is 0.5 cheekPuff on each side: cheekPuff puffs both.
/// - mouthClose closes lips that jawOpen has parted, so it takes away from Open.
///
/// No template shows what jawForward, jawLeft, jawRight, mouthLeft, mouthRight, mouthDimple, mouthStretch,
/// mouthRoll, mouthShrug, mouthPress and tongueOut do. eyeLook shapes turn the eyes, which are not templates.
/// A template's weight is at least 0.
inline constexpr std::string_view kArkit52Map = R"({
  "format": "mien weight map 1",
  "name": "arkit52",
  "templates": {
    "Mouth.Open": { "jawOpen": 1, "mouthClose": -1 },
    "Mouth.Whistle": { "mouthPucker": 1, "mouthFunnel": 0.5 },
    "Mouth.CornersUpR": { "mouthSmileRight": 1 },
    "Mouth.CornersUpL": { "mouthSmileLeft": 1 },
    "Mouth.CornersDownR": { "mouthFrownRight": 1 },
    "Mouth.CornersDownL": { "mouthFrownLeft": 1 },
    "Mouth.Square": {
      "mouthUpperUpLeft": 0.25, "mouthUpperUpRight": 0.25, "mouthLowerDownLeft": 0.25, "mouthLowerDownRight": 0.25
    },
    "LeftBrow.Up": {
      "browOuterUpLeft": 0.6944444444444444, "browOuterUpRight": -0.1388888888888889,
      "browInnerUp": 0.2777777777777778
    },
    "LeftBrow.Down": { "browDownLeft": 1 },
    "RightBrow.Up": {
      "browOuterUpRight": 0.6944444444444444, "browOuterUpLeft": -0.1388888888888889,
      "browInnerUp": 0.2777777777777778
    },
    "RightBrow.Down": { "browDownRight": 1 },
    "LeftEye.Close": { "eyeBlinkLeft": 1 },
    "LeftEye.Squint": { "eyeSquintLeft": 1 },
    "LeftEye.WideOpen": { "eyeWideLeft": 1 },
    "RightEye.Close": { "eyeBlinkRight": 1 },
    "RightEye.Squint": { "eyeSquintRight": 1 },
    "RightEye.WideOpen": { "eyeWideRight": 1 },
    "LeftCheek.Up": { "cheekSquintLeft": 1 },
    "LeftCheek.Out": { "cheekPuff": 1 },
    "RightCheek.Up": { "cheekSquintRight": 1 },
    "RightCheek.Out": { "cheekPuff": 1 },
    "LeftNostril.Up": { "noseSneerLeft": 1 },
    "RightNostril.Up": { "noseSneerRight": 1 }
  }
}
)";

} // namespace mien
