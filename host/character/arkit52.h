#pragma once

#include <string_view>

namespace mien {

/// The character with the 52 shapes that phone face capture made common. docs/arkit52.md has the reason for
/// each weight, and for each shape that is not driven.
///
/// A brow's two templates are measured by closeness, so both leave 0 whichever way the brow moves; the sign
/// of their difference is the direction. Each brow shape therefore adds one and subtracts the other, and the
/// range cuts off the opposite direction: "Up" at its pose reads 1.00 - 0.16, hence the 1.2; "Down" at its
/// pose reads 1.55 - 0.51.
inline constexpr std::string_view kArkit52 = R"({
  "format": "mien character 1",
  "name": "arkit52",
  "range": [0, 1],
  "parts": {
    "face": {
      "shapes": [
        "eyeBlinkLeft", "eyeLookDownLeft", "eyeLookInLeft", "eyeLookOutLeft", "eyeLookUpLeft",
        "eyeSquintLeft", "eyeWideLeft",
        "eyeBlinkRight", "eyeLookDownRight", "eyeLookInRight", "eyeLookOutRight", "eyeLookUpRight",
        "eyeSquintRight", "eyeWideRight",
        "jawForward", "jawLeft", "jawRight", "jawOpen",
        "mouthClose", "mouthFunnel", "mouthPucker", "mouthLeft", "mouthRight", "mouthSmileLeft",
        "mouthSmileRight",
        "mouthFrownLeft", "mouthFrownRight", "mouthDimpleLeft", "mouthDimpleRight", "mouthStretchLeft",
        "mouthStretchRight",
        "mouthRollLower", "mouthRollUpper", "mouthShrugLower", "mouthShrugUpper", "mouthPressLeft",
        "mouthPressRight",
        "mouthLowerDownLeft", "mouthLowerDownRight", "mouthUpperUpLeft", "mouthUpperUpRight",
        "browDownLeft", "browDownRight", "browInnerUp", "browOuterUpLeft", "browOuterUpRight",
        "cheekPuff", "cheekSquintLeft", "cheekSquintRight", "noseSneerLeft", "noseSneerRight", "tongueOut"
      ]
    }
  },
  "templates": {
    "Mouth": {
      "Open": { "jawOpen": 1 },
      "Whistle": { "mouthPucker": 0.8, "mouthFunnel": 0.4 },
      "CornersUpR": { "mouthSmileRight": 1 },
      "CornersUpL": { "mouthSmileLeft": 1 },
      "CornersDownR": { "mouthFrownRight": 1 },
      "CornersDownL": { "mouthFrownLeft": 1 },
      "Square": {
        "mouthUpperUpLeft": 1, "mouthUpperUpRight": 1, "mouthLowerDownLeft": 1, "mouthLowerDownRight": 1
      }
    },
    "LeftBrow": {
      "Up": { "browOuterUpLeft": 1.2, "browInnerUp": 0.6, "browDownLeft": -1 },
      "Down": { "browOuterUpLeft": -1.2, "browInnerUp": -0.6, "browDownLeft": 1 }
    },
    "RightBrow": {
      "Up": { "browOuterUpRight": 1.2, "browInnerUp": 0.6, "browDownRight": -1 },
      "Down": { "browOuterUpRight": -1.2, "browInnerUp": -0.6, "browDownRight": 1 }
    },
    "LeftEye": {
      "Close": { "eyeBlinkLeft": 1 },
      "Squint": { "eyeSquintLeft": 1 },
      "WideOpen": { "eyeWideLeft": 1 }
    },
    "RightEye": {
      "Close": { "eyeBlinkRight": 1 },
      "Squint": { "eyeSquintRight": 1 },
      "WideOpen": { "eyeWideRight": 1 }
    },
    "LeftCheek": {
      "Up": { "cheekSquintLeft": 1 },
      "Out": { "cheekPuff": 0.5 }
    },
    "RightCheek": {
      "Up": { "cheekSquintRight": 1 },
      "Out": { "cheekPuff": 0.5 }
    },
    "LeftNostril": { "Up": { "noseSneerLeft": 1 } },
    "RightNostril": { "Up": { "noseSneerRight": 1 } }
  }
}
)";

} // namespace mien
