#pragma once

#include <string_view>

namespace mien {

/// The character with the 18 expressions that every VRM avatar may have (kVrmPresets in host/gltf/vrm.h).
/// docs/vrm.md has the reason for each weight, and for each expression that is not driven.
///
/// Brows are measured by closeness, as in arkit52: "Down" minus "Up" lowers, "Up" minus "Down" raises, and the
/// range cuts off the opposite direction.
inline constexpr std::string_view kVrm1 = R"({
  "format": "mien character 1",
  "name": "vrm1",
  "range": [0, 1],
  "parts": {
    "face": {
      "shapes": [
        "happy", "angry", "sad", "relaxed", "surprised",
        "aa", "ih", "ou", "ee", "oh",
        "blinkLeft", "blinkRight", "blink",
        "lookUp", "lookDown", "lookLeft", "lookRight",
        "neutral"
      ]
    }
  },
  "templates": {
    "Mouth": {
      "Open": { "aa": 1 },
      "Whistle": { "ou": 1 },
      "Square": { "ih": 1 },
      "CornersUpR": { "happy": 0.5 },
      "CornersUpL": { "happy": 0.5 },
      "CornersDownR": { "sad": 0.5 },
      "CornersDownL": { "sad": 0.5 }
    },
    "LeftBrow": {
      "Up": { "angry": -0.5, "surprised": 0.25 },
      "Down": { "angry": 0.5, "surprised": -0.25 }
    },
    "RightBrow": {
      "Up": { "angry": -0.5, "surprised": 0.25 },
      "Down": { "angry": 0.5, "surprised": -0.25 }
    },
    "LeftEye": { "Close": { "blinkLeft": 1 }, "WideOpen": { "surprised": 0.25 } },
    "RightEye": { "Close": { "blinkRight": 1 }, "WideOpen": { "surprised": 0.25 } }
  }
}
)";

} // namespace mien
