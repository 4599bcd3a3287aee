#pragma once

#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A set of landmarks that trackers find in video, each at a known place of the face.
enum class LandmarkScheme {
  None,     ///< markers of unknown places
  Points68, ///< "lm0" to "lm67"
  Mesh478   ///< "lm0" to "lm477" of the face mesh
};

/// By the names of the performer's markers.
LandmarkScheme SchemeOf(const Performer& performer);

/// How many landmarks the older scheme has, and which of them are the jaw's contour.
inline constexpr std::size_t kLandmarks68 = 68;
inline constexpr std::size_t kJawContour = 17; ///< the first ones

/// The marker of each of the 68 landmarks. Nothing for those that are not at a fixed place on the skin: the
/// ends of the jaw's contour, which slide along the ear, and of the mesh the whole contour.
std::array<std::optional<std::string>, kLandmarks68> MarkersOfLandmarks(LandmarkScheme scheme);

/// The markers of a take that shapes can be fitted to, each once: the landmarks of the performer's scheme, then
/// all others that drive the face.
std::vector<std::string> FitMarkers(const Take& take, const Performer& performer);

} // namespace mien
