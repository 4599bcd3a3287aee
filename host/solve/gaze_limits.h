#pragma once

#include <numbers>

namespace mien {

// What is known of where eyes look, for takes and for streams.

inline constexpr double kIrisRadius_mm = 10.5; ///< from the eye's centre: sqrt(12^2 - 5.85^2)
inline constexpr double kClosedEye = 0.7;      ///< of Close: a lid that follows lowered eyes reads up to 0.6
inline constexpr double kBlinkGap_s = 0.5;     ///< longer than blinks
inline constexpr double kMostEyeAngle = 50 * std::numbers::pi / 180; ///< an eye turns by 45 to 50 degrees

} // namespace mien
