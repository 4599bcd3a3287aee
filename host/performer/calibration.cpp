#include "host/performer/calibration.h"

#include <algorithm>

namespace mien {

std::string_view CalibrationRecord::Setting(std::string_view name) const {
  const auto found = std::find_if(settings.begin(), settings.end(),
                                  [&](const auto& setting) { return setting.first == name; });
  return found == settings.end() ? std::string_view() : found->second;
}

std::size_t LandmarkCount(const std::vector<std::string>& markers) {
  const auto has = [&](std::string_view name) {
    return std::find(markers.begin(), markers.end(), name) != markers.end();
  };
  if (!has("lm0") || !has("lm67")) return 0;
  if (has("lm467")) return 478;
  return has("lm68") ? 0 : 68;
}

} // namespace mien
