#include "host/formats/gaze_columns.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string_view>

namespace mien {

namespace {

constexpr std::string_view kCameraAngles[] = {"gaze_angle_x", "gaze_angle_y"};
constexpr std::string_view kEyeAngles[] = {"LeftEyeYaw", "LeftEyePitch", "RightEyeYaw", "RightEyePitch"};

Point Unit(const Point& p) {
  const double length = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
  return {p.x / length, p.y / length, p.z / length};
}

} // namespace

GazeColumns::GazeColumns(const CsvReader& csv) {
  const auto find = [&](const auto& names, GazeAxes axes) {
    std::size_t found = 0;
    for (const std::string_view name : names)
      if (const auto column = csv.Column(name)) columns_[found++] = *column;
    if (found != std::size(names)) return false;
    axes_ = axes;
    count_ = found;
    return true;
  };
  find(kEyeAngles, GazeAxes::Head) || find(kCameraAngles, GazeAxes::Take);
}

bool GazeColumns::Has(std::size_t column) const {
  const auto end = columns_.begin() + static_cast<std::ptrdiff_t>(count_);
  return std::find(columns_.begin(), end, column) != end;
}

Gaze GazeColumns::Read(CsvReader& csv) const {
  constexpr double kMost = 80 * std::numbers::pi / 180;
  std::array<double, 4> angles{};
  for (std::size_t i = 0; i < count_; ++i)
    angles[i] = csv.NumberIfAny(columns_[i], "write radians, such as 0.1").value_or(HUGE_VAL);
  const auto are_angles = [&](std::size_t first) {
    return std::abs(angles[first]) <= kMost && std::abs(angles[first + 1]) <= kMost;
  };
  Gaze gaze;
  if (axes_ == GazeAxes::Take && are_angles(0))
    gaze.left = gaze.right = Unit({std::tan(angles[0]), -std::tan(angles[1]), 1});
  if (axes_ == GazeAxes::Head)
    for (const std::size_t first : {0U, 2U}) {
      if (!are_angles(first)) continue;
      const double yaw = -angles[first], pitch = angles[first + 1];
      (first == 0 ? gaze.left : gaze.right) =
          Point{std::cos(pitch) * std::sin(yaw), -std::sin(pitch), std::cos(pitch) * std::cos(yaw)};
    }
  return gaze;
}

void AppendGazeHeader(const Take& take, fmt::appender to) {
  if (take.gaze_axes == GazeAxes::Head)
    for (const std::string_view name : kEyeAngles) fmt::format_to(to, ",{}", name);
  if (take.gaze_axes == GazeAxes::Take)
    for (const std::string_view name : kCameraAngles) fmt::format_to(to, ",{}", name);
}

void AppendGaze(const Take& take, std::size_t frame, fmt::appender to) {
  if (!take.gaze_axes) return;
  const auto& [left, right] = take.gaze[frame];
  if (take.gaze_axes == GazeAxes::Take) {
    if (left)
      fmt::format_to(to, ",{},{}", std::atan2(left->x, left->z), std::atan2(-left->y, left->z));
    else
      fmt::format_to(to, ",,");
    return;
  }
  for (const auto& eye : {left, right})
    if (eye)
      fmt::format_to(to, ",{},{}", -std::atan2(eye->x, eye->z),
                     std::atan2(-eye->y, std::hypot(eye->x, eye->z)));
    else
      fmt::format_to(to, ",,");
}

} // namespace mien
