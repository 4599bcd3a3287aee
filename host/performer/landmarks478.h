#pragma once

#include <string_view>

namespace mien {

/// The performer for takes of the widespread 468- and 478-point face mesh of web cameras: markers "lm0" to
/// "lm477". Left is the subject's left. The indices are those of the mesh's published model; each was chosen
/// by where it is on the model's own face, and those of the right side are the mirror images of the left.
///
/// Rigid: the ridge of the nose down to its tip, the corners of the eyes, the temples, and the hairline down
/// to the middle of the forehead. The oval below the ears follows the jaw, the forehead's lower half the
/// brows. The core's head markers are the root of the nose, the temples and two points of the hairline: wide,
/// high and deep.
///
/// Irises: the centre and four points on the rim. Meshes of 468 points lack them.
///
/// Lips: the inner contour, which is what opens. The chin is left out: the mesh places it by the whole lower
/// face, and smiles move it. Brows: the middle half of both rows; the mesh drags their ends along. Lids: the
/// middle three of each. Cheeks: two points below the lid's edge, for what rises, and four in the middle of
/// the cheek, for what is blown up. Nostrils: the wing and its lower edge.
inline constexpr std::string_view kLandmarks478 = R"({
  "format": "mien performer 1",
  "name": "landmarks478",
  "head": ["lm168", "lm127", "lm356", "lm54", "lm284"],
  "rigid": ["lm168", "lm6", "lm197", "lm195", "lm5", "lm4", "lm10",
            "lm33", "lm133", "lm127", "lm234", "lm162", "lm21", "lm54", "lm103", "lm67", "lm109",
            "lm263", "lm362", "lm356", "lm454", "lm389", "lm251", "lm284", "lm332", "lm297", "lm338"],
  "anchors": {
    "LeftBrow": ["lm263", "lm362", "lm168"],
    "RightBrow": ["lm33", "lm133", "lm168"],
    "LeftEye": ["lm263", "lm362"],
    "RightEye": ["lm33", "lm133"]
  },
  "irises": {
    "LeftEye": ["lm473", "lm474", "lm475", "lm476", "lm477"],
    "RightEye": ["lm468", "lm469", "lm470", "lm471", "lm472"]
  },
  "parts": {
    "Mouth": {
      "LeftMouthHolder": ["lm291"],
      "UpperMouthHolder": ["lm81", "lm82", "lm13", "lm311", "lm312"],
      "LowerMouthHolder": ["lm178", "lm87", "lm14", "lm402", "lm317"],
      "RightMouthHolder": ["lm61"]
    },
    "LeftBrow": { "BrowHolder": ["lm296", "lm334", "lm295", "lm282"] },
    "RightBrow": { "BrowHolder": ["lm66", "lm105", "lm65", "lm52"] },
    "LeftEye": { "UpperEyeHolder": ["lm386", "lm385", "lm387"], "LowerEyeHolder": ["lm374", "lm380", "lm373"] },
    "RightEye": { "UpperEyeHolder": ["lm159", "lm158", "lm160"], "LowerEyeHolder": ["lm145", "lm153", "lm144"] },
    "LeftCheek": { "CheekHolder": ["lm346", "lm347", "lm280", "lm411", "lm427", "lm376"] },
    "RightCheek": { "CheekHolder": ["lm117", "lm118", "lm50", "lm187", "lm207", "lm147"] },
    "LeftNostril": { "NostrilHolder": ["lm358", "lm294"] },
    "RightNostril": { "NostrilHolder": ["lm129", "lm64"] }
  }
}
)";

} // namespace mien
