#pragma once

#include <string_view>

namespace mien {

/// A facial action unit as trackers measure it, without a side, and what it is of the 52 shapes.
struct ActionUnit {
  std::string_view column;    ///< of its intensity, from 0 to 5
  std::string_view shapes[2]; ///< the second is empty where the shape has no sides
  double factor;              ///< of the shape at full intensity
};

/// Each is the shape that shows the same muscle, on both sides:
///
/// - AU06 lifts the cheek (cheekSquint), AU07 tightens the lids (eyeSquint).
/// - AU23 tightens the lips; of the shapes mouthPress is the nearest.
/// - AU25 parts the lips, by any muscle and whether the jaw opens or not. It is half of mouthLowerDown: with
///   AU26, which is the jaw, a full mouthLowerDown would bare the lower teeth in every open mouth.
///
/// AU28 (lip suck) has no intensity there. No other of the 52 has an action unit there: among them mouthPucker,
/// mouthFunnel, cheekPuff, the jaw's and the mouth's motion to a side, and the eyeLook shapes.
inline constexpr ActionUnit kActionUnits[] = {
    {"AU01_r", {"browInnerUp", ""}, 1},
    {"AU02_r", {"browOuterUpLeft", "browOuterUpRight"}, 1},
    {"AU04_r", {"browDownLeft", "browDownRight"}, 1},
    {"AU05_r", {"eyeWideLeft", "eyeWideRight"}, 1},
    {"AU06_r", {"cheekSquintLeft", "cheekSquintRight"}, 1},
    {"AU07_r", {"eyeSquintLeft", "eyeSquintRight"}, 1},
    {"AU09_r", {"noseSneerLeft", "noseSneerRight"}, 1},
    {"AU10_r", {"mouthUpperUpLeft", "mouthUpperUpRight"}, 1},
    {"AU12_r", {"mouthSmileLeft", "mouthSmileRight"}, 1},
    {"AU14_r", {"mouthDimpleLeft", "mouthDimpleRight"}, 1},
    {"AU15_r", {"mouthFrownLeft", "mouthFrownRight"}, 1},
    {"AU17_r", {"mouthShrugLower", ""}, 1},
    {"AU20_r", {"mouthStretchLeft", "mouthStretchRight"}, 1},
    {"AU23_r", {"mouthPressLeft", "mouthPressRight"}, 1},
    {"AU25_r", {"mouthLowerDownLeft", "mouthLowerDownRight"}, 0.5},
    {"AU26_r", {"jawOpen", ""}, 1},
    {"AU45_r", {"eyeBlinkLeft", "eyeBlinkRight"}, 1},
};

inline constexpr double kFullIntensity = 5;

} // namespace mien
