#include "host/guess/face_pose.h"

#include "host/base/statistics.h"
#include "host/guess/counterparts.h"
#include "host/guess/face_atlas.h"
#include "host/guess/symmetry_planes.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace mien {

namespace {

constexpr double kElsewhere = 0.01; // the likelihood of a marker that is on no region of the atlas

constexpr int kToTheEnd = 8; // rounds

struct Fitted {
  VgeAMatrix to_face;
  double scale = 1;
  double sum = 0; // of the logarithms of the likelihoods
};

void Rate(Fitted& pose, const std::vector<VgeTVector>& points) {
  pose.sum = 0;
  for (const VgeTVector& p : points) {
    double likelihood = kElsewhere;
    for (const double region : RegionLikelihoods(TransformPoint(pose.to_face, p))) likelihood += region;
    pose.sum += std::log(likelihood);
  }
}

/// The rows of a rotation.
struct Axes {
  VgeTVector x, y, z;
};

/// Shift and scale of these axes that carry `centre` to `place`.
VgeAMatrix Placed(const Axes& axes, double scale, const VgeTVector& centre, const VgeTVector& place) {
  VgeAMatrix to_face;
  SetColumn(to_face, 0, {scale * axes.x.x, scale * axes.y.x, scale * axes.z.x});
  SetColumn(to_face, 1, {scale * axes.x.y, scale * axes.y.y, scale * axes.z.y});
  SetColumn(to_face, 2, {scale * axes.x.z, scale * axes.y.z, scale * axes.z.z});
  SetColumn(to_face, 3, Difference(place, TransformDirection(to_face, centre)));
  return to_face;
}

/// All directions of up and out in a plane of symmetry, beginning with that of the point in it that is
/// furthest from the middle: so a turned cloud gets the same, turned.
std::vector<Axes> AxesIn(const SymmetryPlane& plane, const std::vector<VgeTVector>& points) {
  constexpr int kTurns = 36; // 10 degrees apart; the fit turns a pose by more
  const VgeTVector& n = plane.normal;
  VgeTVector middle = {0, 0, 0};
  const double share = 1 / static_cast<double>(points.size());
  for (const VgeTVector& p : points)
    middle = {middle.x + share * p.x, middle.y + share * p.y, middle.z + share * p.z};
  VgeTVector furthest = {0, 0, 0};
  for (const VgeTVector& p : points) {
    const VgeTVector off = Difference(p, middle);
    const double along = Dot(off, n);
    const VgeTVector in_plane = {off.x - along * n.x, off.y - along * n.y, off.z - along * n.z, 0};
    if (Length(in_plane) > Length(furthest)) furthest = in_plane;
  }
  if (!(Length(furthest) > 0)) return {}; // all points are on one line
  const VgeTVector u = Unit(furthest), v = Cross(n, u);
  std::vector<Axes> all;
  for (int turn = 0; turn < kTurns; ++turn) {
    const double angle = 2 * std::numbers::pi * turn / kTurns;
    const double c = std::cos(angle), s = std::sin(angle);
    const VgeTVector y = {c * u.x + s * v.x, c * u.y + s * v.y, c * u.z + s * v.z, 0};
    for (const double side : {1.0, -1.0}) {
      const VgeTVector x = {side * n.x, side * n.y, side * n.z, 0};
      all.push_back({x, y, Cross(x, y)});
    }
  }
  return all;
}

/// Coarse poses of all axes, scales and shifts; the best ones first.
std::vector<Fitted> CoarsePoses(const std::vector<VgeTVector>& points) {
  constexpr double kScales[] = {0.85, 1, 1.15};
  constexpr double kMiddles_mm[] = {-53, -38, -23, -8, 7}; // heights of the cloud's middle on the face
  constexpr double kDepths_mm[] = {-8, 2, 12};             // of its median depth
  std::vector<Fitted> poses;
  for (const SymmetryPlane& plane : FindSymmetryPlanes(points))
    for (const Axes& axes : AxesIn(plane, points)) {
      std::vector<double> y, z;
      for (const VgeTVector& p : points) y.push_back(Dot(axes.y, p)), z.push_back(Dot(axes.z, p));
      const auto [low, high] = std::minmax_element(y.begin(), y.end());
      const double middle = (*low + *high) / 2, depth = Median(z);
      const double x = plane.offset * Dot(axes.x, plane.normal);
      const VgeTVector centre = {x * axes.x.x + middle * axes.y.x + depth * axes.z.x,
                                 x * axes.x.y + middle * axes.y.y + depth * axes.z.y,
                                 x * axes.x.z + middle * axes.y.z + depth * axes.z.z};
      for (const double scale : kScales)
        for (const double height : kMiddles_mm)
          for (const double forward : kDepths_mm) {
            const VgeAMatrix to_face = Placed(axes, scale, centre, {0, height, forward});
            poses.push_back({to_face, scale});
            Rate(poses.back(), points);
          }
    }
  std::stable_sort(poses.begin(), poses.end(),
                   [](const Fitted& a, const Fitted& b) { return a.sum > b.sum; });
  return poses;
}

/// One step of expectation and maximisation: each marker belongs to each region by its likelihood; the
/// markers are then turned about x and shifted in the mid-line plane so that they come nearest to their
/// regions, in weighted least squares, and scaled to the same extent. (The scale of least squares is always a
/// little too small, as part of the distances is chance; step by step, the cloud would shrink into one
/// region.)
void Step(Fitted& pose, const std::vector<VgeTVector>& points) {
  double weights = 0, y = 0, z = 0, place_y = 0, place_z = 0, x_to = 0, x_from = 0;
  struct Pull {
    double weight, y, z, place_y, place_z;
  };
  std::vector<Pull> pulls;
  for (const VgeTVector& point : points) {
    const VgeTVector p = TransformPoint(pose.to_face, point);
    const auto likelihoods = RegionLikelihoods(p);
    double sum = kElsewhere;
    for (const double likelihood : likelihoods) sum += likelihood;
    for (std::size_t r = 0; r < kRegionCount; ++r) {
      if (!(likelihoods[r] > 0)) continue;
      const auto& [place, deviation] = FaceAtlas()[r];
      const double share = likelihoods[r] / sum;
      const double of_x = share / (deviation[0] * deviation[0]),
                   weight = share / (deviation[1] * deviation[2]);
      x_to += of_x * place[0] * place[0], x_from += of_x * p.x * p.x;
      weights += weight, y += weight * p.y, z += weight * p.z;
      place_y += weight * place[1], place_z += weight * place[2];
      pulls.push_back({weight, p.y, p.z, place[1], place[2]});
    }
  }
  if (!(weights > 0) || !(x_from > 0)) return;
  y /= weights, z /= weights, place_y /= weights, place_z /= weights;
  double along = 0, across = 0, squares = 0, to_squares = 0;
  for (const Pull& pull : pulls) {
    const double from_y = pull.y - y, from_z = pull.z - z, to_y = pull.place_y - place_y,
                 to_z = pull.place_z - place_z;
    along += pull.weight * (from_y * to_y + from_z * to_z);
    across += pull.weight * (from_y * to_z - from_z * to_y);
    squares += pull.weight * (from_y * from_y + from_z * from_z);
    to_squares += pull.weight * (to_y * to_y + to_z * to_z);
  }
  const double length = std::hypot(along, across);
  if (!(length > 0)) return;
  constexpr double kMostPerStep = 1.1; // regions change hands slowly
  const double scale =
      std::clamp(std::sqrt((to_squares + x_to) / (squares + x_from)), 1 / kMostPerStep, kMostPerStep);
  const double c = scale * along / length, s = scale * across / length;
  VgeAMatrix step;
  SetColumn(step, 0, {scale, 0, 0});
  SetColumn(step, 1, {0, c, s});
  SetColumn(step, 2, {0, -s, c});
  SetColumn(step, 3, {0, place_y - (c * y - s * z), place_z - (s * y + c * z)});
  pose.to_face = Product(step, pose.to_face);
  pose.scale *= scale;
}

/// Makes the mid-line plane that of the counterparts: their mean direction becomes x, the mean of their
/// middles x = 0.
void Straighten(Fitted& pose, const std::vector<VgeTVector>& points) {
  std::vector<VgeTVector> places;
  for (const VgeTVector& p : points) places.push_back(TransformPoint(pose.to_face, p));
  const auto counterparts = FindCounterparts(places);
  VgeTVector across = {0, 0, 0};
  for (std::size_t i = 0; i < places.size(); ++i)
    if (const auto other = counterparts[i]; other && places[i].x > places[*other].x) {
      const VgeTVector way = Difference(places[i], places[*other]);
      across = {across.x + way.x, across.y + way.y, across.z + way.z};
    }
  const VgeTVector x = Unit(across);
  constexpr double kMostTurn = 0.9; // cosine of 26 degrees: more is not a correction
  if (x.x < kMostTurn) return;
  const VgeTVector z = Unit(Cross(x, {0, 1, 0, 0})), y = Cross(z, x);
  double middle = 0, count = 0;
  for (std::size_t i = 0; i < places.size(); ++i)
    if (counterparts[i]) middle += Dot(places[i], x), ++count;
  VgeAMatrix step;
  SetColumn(step, 0, {x.x, y.x, z.x});
  SetColumn(step, 1, {x.y, y.y, z.y});
  SetColumn(step, 2, {x.z, y.z, z.z});
  SetColumn(step, 3, {-middle / count, 0, 0});
  pose.to_face = Product(step, pose.to_face);
}

void Improve(Fitted& pose, const std::vector<VgeTVector>& points, int rounds) {
  constexpr int kSteps = 20;
  for (int round = 0; round < rounds; ++round) {
    for (int step = 0; step < kSteps; ++step) Step(pose, points);
    Straighten(pose, points);
  }
  Rate(pose, points);
}

/// Rows 1 and 2 of the rotation: the face's up and out in the cloud's axes.
VgeTVector Row(const Fitted& pose, int row) {
  const auto& m = pose.to_face.m;
  return {m[0][row] / pose.scale, m[1][row] / pose.scale, m[2][row] / pose.scale, 0};
}

bool LookAnotherWay(const Fitted& a, const Fitted& b) {
  constexpr double kSame = 0.707; // cosine of 45 degrees
  return Dot(Row(a, 1), Row(b, 1)) < kSame || Dot(Row(a, 2), Row(b, 2)) < kSame;
}

} // namespace

std::optional<FacePose> FindFacePose(const std::vector<VgeTVector>& points) {
  std::vector<Fitted> coarse = CoarsePoses(points);
  if (coarse.empty()) return std::nullopt;

  // The best ones are mostly neighbours of each other: others, too, are given their chance.
  constexpr std::size_t kMostAlike = 12, kMost = 60;
  std::vector<Fitted> poses;
  for (const Fitted& pose : coarse) {
    if (poses.size() == kMost) break;
    const auto alike = std::count_if(poses.begin(), poses.end(),
                                     [&](const Fitted& other) { return !LookAnotherWay(pose, other); });
    if (alike < static_cast<std::ptrdiff_t>(kMostAlike)) poses.push_back(pose);
  }
  const auto sort = [&] {
    std::stable_sort(poses.begin(), poses.end(),
                     [](const Fitted& a, const Fitted& b) { return a.sum > b.sum; });
  };
  for (Fitted& pose : poses) Improve(pose, points, 2);
  sort();
  // To the end for the best ones, so that it makes no difference where the search began.
  constexpr std::size_t kBest = 8;
  for (std::size_t i = 0; i < std::min(kBest, poses.size()); ++i) Improve(poses[i], points, kToTheEnd);
  sort();

  const auto count = static_cast<double>(points.size());
  const Fitted& best = poses.front();
  const auto rival = std::find_if(poses.begin(), poses.end(),
                                  [&](const Fitted& pose) { return LookAnotherWay(pose, best); });
  return FacePose{best.to_face, best.scale, best.sum / count,
                  rival == poses.end() ? std::log(kElsewhere) : rival->sum / count};
}

FacePose ImproveFacePose(const std::vector<VgeTVector>& points, const FacePose& pose) {
  Fitted fitted = {pose.to_face, pose.scale};
  Improve(fitted, points, kToTheEnd);
  return {fitted.to_face, fitted.scale, fitted.sum / static_cast<double>(points.size()), pose.rival_fit};
}

} // namespace mien
