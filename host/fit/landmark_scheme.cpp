#include "host/fit/landmark_scheme.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>
#include <system_error>

namespace mien {

namespace {

// The landmarks 17 to 67 on the mesh.
constexpr int kOnMesh[] = {70,  63,  105, 66,  107,                                  // brows: right,
                           336, 296, 334, 293, 300,                                  // left
                           168, 197, 5,   4,   75,  97,  2,   326, 305,              // nose
                           33,  160, 158, 133, 153, 144,                             // eyes: right,
                           362, 385, 387, 263, 373, 380,                             // left
                           61,  39,  37,  0,   267, 269, 291, 405, 314, 17, 84, 181, // lips: outside,
                           78,  82,  13,  312, 308, 317, 14,  87};                   // inside
static_assert(std::size(kOnMesh) == kLandmarks68 - kJawContour);

// The number N of "lmN".
std::optional<int> NumberOf(std::string_view marker) {
  if (!marker.starts_with("lm")) return std::nullopt;
  int number = 0;
  const char* const end = marker.data() + marker.size();
  const auto [stop, error] = std::from_chars(marker.data() + 2, end, number);
  return stop == end && error == std::errc() && number >= 0 ? std::optional(number) : std::nullopt;
}

} // namespace

LandmarkScheme SchemeOf(const Performer& performer) {
  int most = -1;
  for (const std::string& marker : performer.Markers()) {
    const std::optional<int> number = NumberOf(marker);
    if (!number || *number >= 478) return LandmarkScheme::None;
    if (*number > most) most = *number;
  }
  return most < 0 ? LandmarkScheme::None : most < 68 ? LandmarkScheme::Points68 : LandmarkScheme::Mesh478;
}

std::array<std::optional<std::string>, kLandmarks68> MarkersOfLandmarks(LandmarkScheme scheme) {
  std::array<std::optional<std::string>, kLandmarks68> markers;
  constexpr std::size_t kEnds = 3; // of the contour, on either side
  for (std::size_t i = 0; i < kLandmarks68; ++i) {
    if (scheme == LandmarkScheme::Points68 && !(i < kEnds || (i >= kJawContour - kEnds && i < kJawContour)))
      markers[i] = fmt::format("lm{}", i);
    if (scheme == LandmarkScheme::Mesh478 && i >= kJawContour)
      markers[i] = fmt::format("lm{}", kOnMesh[i - kJawContour]);
  }
  return markers;
}

std::vector<std::string> FitMarkers(const Take& take, const Performer& performer) {
  std::vector<std::string> names;
  for (const auto& landmark : MarkersOfLandmarks(SchemeOf(performer)))
    if (landmark && take.FindMarker(*landmark)) names.push_back(*landmark);
  for (const std::string& name : performer.FaceMarkers())
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  return names;
}

} // namespace mien
