#include "host/fit/own_poses.h"

#include "host/base/statistics.h"
#include "host/cleaning/rigid_fit.h"
#include "host/performer/guided_poses.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>

namespace mien {

namespace {

/// Ways of markers, in the basis's order; nothing for a marker that a pose lacks.
using Ways = std::vector<std::optional<Point>>;

double Length(const Point& p) { return std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z); }
double Dot(const Point& a, const Point& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

const CalibrationRecord::Pose* FindPose(const std::vector<CalibrationRecord::Pose>& poses,
                                        std::string_view name) {
  const auto found =
      std::find_if(poses.begin(), poses.end(), [&](const auto& pose) { return pose.name == name; });
  return found == poses.end() ? nullptr : &*found;
}

/// How far each marker is from rest, once the markers that the pose should not move are where they were.
Ways WaysOf(const LaidBasis& basis, const CalibrationRecord::Pose& pose, const CalibrationRecord::Pose& rest,
            const std::vector<std::size_t>& shapes) {
  constexpr double kStill_mm = 0.5; // what the basis moves by less is a reference for the head
  constexpr std::size_t kFewest = 6;
  RigidBody still;
  RigidBody::Points moved;
  for (std::size_t m = 0; m < basis.markers.size(); ++m) {
    const auto from = rest.points.find(basis.markers[m].name), to = pose.points.find(basis.markers[m].name);
    if (from == rest.points.end() || to == pose.points.end()) continue;
    double expected = 0;
    for (const std::size_t s : shapes) expected += Length(basis.moved[m * basis.shapes.size() + s]);
    if (expected > kStill_mm) continue;
    still.places.emplace_back(from->second);
    still.spread_mm.push_back(1);
    moved.emplace_back(to->second);
  }
  still.noise_mm = 1;
  VgeAMatrix motion;
  if (still.places.size() >= kFewest)
    if (const auto found = RigidFit(still).Solve(moved)) motion = *found;
  const VgeAMatrix back = InverseOfOrthogonalAxes(motion);
  Ways ways;
  for (const LaidBasis::Marker& marker : basis.markers) {
    const auto from = rest.points.find(marker.name), to = pose.points.find(marker.name);
    if (from == rest.points.end() || to == pose.points.end()) {
      ways.emplace_back();
      continue;
    }
    const VgeTVector p = TransformPoint(back, {to->second.x, to->second.y, to->second.z});
    ways.emplace_back(Point{p.x - from->second.x, p.y - from->second.y, p.z - from->second.z});
  }
  return ways;
}

/// 1 on the side of a shape, 0 on the other; 1 for shapes of neither side.
double SideOf(std::string_view shape, double x) {
  constexpr double kRamp_mm = 10;
  if (shape == "mouthLeft" || shape == "mouthRight" || shape == "jawLeft" || shape == "jawRight") return 1;
  const bool left = shape.ends_with("Left"), right = shape.ends_with("Right");
  if (!left && !right) return 1;
  const double t = std::clamp(((left ? x : -x) / kRamp_mm + 1) / 2, 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

std::string_view WithoutSide(std::string_view shape) {
  for (const std::string_view side : {"Left", "Right"})
    if (shape.ends_with(side)) return shape.substr(0, shape.size() - side.size());
  return shape;
}

enum class Region { Eyes, Brows, Rest };

Region RegionOf(std::string_view shape) {
  return shape.starts_with("eye") ? Region::Eyes : shape.starts_with("brow") ? Region::Brows : Region::Rest;
}

/// The least-squares ratio of the poses' ways to those of the basis.
std::optional<double> AmplitudeOf(const LaidBasis& basis, const Ways& ways,
                                  const std::vector<std::size_t>& shapes) {
  double product = 0, square = 0;
  for (std::size_t m = 0; m < ways.size(); ++m) {
    if (!ways[m]) continue;
    Point expected = {0, 0, 0};
    for (const std::size_t s : shapes) {
      const Point& moved = basis.moved[m * basis.shapes.size() + s];
      expected.x += moved.x, expected.y += moved.y, expected.z += moved.z;
    }
    product += Dot(*ways[m], expected);
    square += Dot(expected, expected);
  }
  return square > 0 ? std::optional(product / square) : std::nullopt;
}

} // namespace

std::vector<std::string> UseOwnPoses(LaidBasis& basis, const std::vector<CalibrationRecord::Pose>& poses) {
  const CalibrationRecord::Pose* const rest = FindPose(poses, kRestPose);
  if (!rest) return {};
  const LaidBasis before = basis;
  const std::size_t count = basis.shapes.size();
  std::vector<std::string> replaced;
  std::map<Region, std::vector<double>> amplitudes;
  for (const GuidedPose& guided : GuidedPoses()) {
    const CalibrationRecord::Pose* const pose = FindPose(poses, guided.name);
    if (!pose || guided.shapes.empty()) continue;
    std::vector<std::size_t> shapes;
    for (const std::string_view name : guided.shapes) {
      const auto found = std::find(basis.shapes.begin(), basis.shapes.end(), name);
      if (found != basis.shapes.end())
        shapes.push_back(static_cast<std::size_t>(found - basis.shapes.begin()));
    }
    if (shapes.size() < guided.shapes.size()) continue; // nobody knows the share of the one that is missing
    const Ways ways = WaysOf(before, *pose, *rest, shapes);
    const std::optional<double> amplitude = AmplitudeOf(before, ways, shapes);
    constexpr double kLeast = 0.1; // below, the performer did not make the pose
    if (!amplitude || *amplitude < kLeast) continue;
    amplitudes[RegionOf(guided.shapes[0])].push_back(*amplitude);
    const bool one_kind = std::all_of(shapes.begin(), shapes.end(), [&](std::size_t s) {
      return WithoutSide(basis.shapes[s]) == WithoutSide(basis.shapes[shapes[0]]);
    });
    for (std::size_t m = 0; m < ways.size(); ++m) {
      if (!ways[m]) continue;
      std::vector<double> shares;
      double sum = 0;
      for (const std::size_t s : shapes) {
        const double size = one_kind ? 1 : Length(before.moved[m * count + s]);
        shares.push_back(size * SideOf(basis.shapes[s], before.markers[m].rest.x));
        sum += shares.back();
      }
      for (std::size_t i = 0; i < shapes.size(); ++i) {
        const double share = sum > 0 ? shares[i] / sum : 0;
        basis.moved[m * count + shapes[i]] = {share * ways[m]->x, share * ways[m]->y, share * ways[m]->z};
      }
    }
    for (const std::size_t s : shapes) replaced.push_back(basis.shapes[s]);
  }

  for (std::size_t s = 0; s < count; ++s) {
    const auto region = amplitudes.find(RegionOf(basis.shapes[s]));
    if (region == amplitudes.end() ||
        std::find(replaced.begin(), replaced.end(), basis.shapes[s]) != replaced.end())
      continue;
    std::vector<double> values = region->second;
    const double factor = std::clamp(Median(values), 0.5, 2.0);
    for (std::size_t m = 0; m < basis.markers.size(); ++m) {
      Point& moved = basis.moved[m * count + s];
      moved = {factor * moved.x, factor * moved.y, factor * moved.z};
    }
  }
  return replaced;
}

} // namespace mien
