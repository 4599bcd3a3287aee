#include "host/fit/head_basis.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/fit/check_basis.h"
#include "host/gltf/head_surface.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

VgeTVector VectorOf(const Point& p) { return {p.x, p.y, p.z, 0}; }

double SquaredDistance(const Point& a, const Point& b) {
  const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return x * x + y * y + z * z;
}

/// From the scene to the face: its axes, millimetres, and the origin between the eyes.
class FaceFrame {
public:
  explicit FaceFrame(const HeadLandmarks& head) {
    const auto at = [&](std::size_t i) { return VectorOf(head.landmarks[i]->place); };
    const VgeTVector right = at(36), left = at(45), across = Difference(left, right);
    middle_ = {(left.x + right.x) / 2, (left.y + right.y) / 2, (left.z + right.z) / 2};
    const VgeTVector x = Unit(across), z = Unit(Cross(x, Difference(at(27), at(8))));
    axes_ = {x, Cross(z, x), z};
    constexpr double kEyeCorners_mm = 89;
    scale_ = kEyeCorners_mm / Length(across);
    const double nose = Dot(Difference(at(30), middle_), z) * scale_;
    if (!std::isfinite(scale_) || !(nose > 0))
      throw InputError(
          Code::Contradiction, head.file, fmt::format("line {}", head.landmarks[30]->line),
          "the tip of the nose, lm30, is not in front of the eyes, lm36 and lm45, above the chin, "
          "lm8",
          "lm36 is the outer corner of the face's own right eye; write x, y and z as glTF has them");
  }

  Point Place(const Point& p) const { return Way(Difference(VectorOf(p), middle_)); }
  Point Way(const Point& p) const { return Way(VectorOf(p)); }

private:
  Point Way(const VgeTVector& v) const {
    return {scale_ * Dot(axes_[0], v), scale_ * Dot(axes_[1], v), scale_ * Dot(axes_[2], v)};
  }

  VgeTVector middle_;
  std::array<VgeTVector, 3> axes_;
  double scale_ = 1;
};

/// The vertex of each landmark. `rest` is in the frame of the face.
std::array<std::optional<std::size_t>, kLandmarks68>
VerticesOf(const HeadLandmarks& head, const FaceFrame& frame, const std::vector<Point>& rest) {
  constexpr double kFurthest_mm = 10; // a coarse head has 20 mm between its vertices
  std::array<std::optional<std::size_t>, kLandmarks68> vertices;
  std::vector<Problem> problems;
  for (std::size_t i = 0; i < kLandmarks68; ++i) {
    if (!head.landmarks[i]) continue;
    const Point place = frame.Place(head.landmarks[i]->place);
    std::pair<double, std::size_t> nearest = {HUGE_VAL, 0};
    for (std::size_t v = 0; v < rest.size(); ++v)
      nearest = std::min(nearest, {SquaredDistance(place, rest[v]), v});
    const double distance = std::sqrt(nearest.first);
    if (!(distance <= kFurthest_mm))
      problems.push_back(
          {Code::Contradiction, head.file, fmt::format("line {}", head.landmarks[i]->line),
           fmt::format("lm{} is not on the head: the nearest vertex is {:.3g} mm away, if the eyes' outer "
                       "corners are 89 mm apart",
                       i, distance),
           "write places in the units and axes of the .glb: y up, usually metres"});
    vertices[i] = nearest.second;
  }
  if (!problems.empty()) throw InputError(std::move(problems));
  return vertices;
}

/// Which vertices no other one stands out before: by more than a millimetre and twice their distance across.
class Front {
public:
  explicit Front(const std::vector<Point>& rest) : foremost_(kSize * kSize, -HUGE_VAL) {
    for (const Point& p : rest)
      if (Covers(p)) {
        double& z = foremost_[Cell(p.y) * kSize + Cell(p.x)];
        z = std::max(z, p.z);
      }
  }

  bool Has(const Point& p) const {
    if (!Covers(p)) return false;
    const std::size_t x = Cell(p.x), y = Cell(p.y);
    for (std::size_t row = Begin(y); row < End(y); ++row)
      for (std::size_t column = Begin(x); column < End(x); ++column) {
        const double across = kCell_mm * std::hypot(Gap(row, y), Gap(column, x));
        if (foremost_[row * kSize + column] - p.z > kStands_mm + kSlope * across) return false;
      }
    return true;
  }

private:
  static constexpr double kReach_mm = 160; // around the eyes; behind it there is no face
  static constexpr double kCell_mm = 1, kStands_mm = 1, kSlope = 2;
  static constexpr std::size_t kSize = 320, kNear = 5; // cells

  static bool Covers(const Point& p) { return std::fabs(p.x) < kReach_mm && std::fabs(p.y) < kReach_mm; }
  static std::size_t Cell(double at) { return static_cast<std::size_t>((at + kReach_mm) / kCell_mm); }
  static std::size_t Begin(std::size_t cell) { return cell < kNear ? 0 : cell - kNear; }
  static std::size_t End(std::size_t cell) { return std::min(cell + kNear + 1, kSize); }
  /// The largest distance between places in two cells, along one axis.
  static double Gap(std::size_t a, std::size_t b) { return static_cast<double>(a < b ? b - a : a - b) + 1; }

  std::vector<double> foremost_; // z, by rows and columns of cells
};

/// How far the shape that moves it furthest moves each vertex, squared.
std::vector<double> FurthestMoved(const std::vector<std::vector<Point>>& moved, std::size_t vertices) {
  std::vector<double> furthest(vertices, 0.0);
  for (const std::vector<Point>& shape : moved)
    for (std::size_t v = 0; v < vertices; ++v)
      furthest[v] = std::max(furthest[v], SquaredDistance(shape[v], {}));
  return furthest;
}

/// Adds those of the candidates that are the farthest from all chosen vertices, one after the other.
void AddFarthest(std::vector<std::size_t>& chosen, const std::vector<std::size_t>& candidates,
                 const std::vector<Point>& rest) {
  constexpr std::size_t kPoints = 600; // as the built-in tables
  constexpr double kApart_mm = 0.1;
  std::vector<double> nearest(candidates.size(), HUGE_VAL); // squared distances from what is chosen
  const auto choose = [&](std::size_t vertex) {
    for (std::size_t c = 0; c < candidates.size(); ++c)
      nearest[c] = std::min(nearest[c], SquaredDistance(rest[candidates[c]], rest[vertex]));
  };
  for (const std::size_t vertex : chosen) choose(vertex);
  while (chosen.size() < kPoints && !candidates.empty()) {
    const auto farthest = std::max_element(nearest.begin(), nearest.end()); // the first of equal ones
    if (*farthest < kApart_mm * kApart_mm) break;
    chosen.push_back(candidates[static_cast<std::size_t>(farthest - nearest.begin())]);
    choose(chosen.back());
  }
}

} // namespace

ShapeBasis BasisOfHead(const Glb& head, const HeadLandmarks& landmarks) {
  HeadSurface surface = ReadHeadSurface(head);
  const FaceFrame frame(landmarks);
  for (Point& p : surface.rest) p = frame.Place(p);
  for (std::vector<Point>& shape : surface.moved)
    for (Point& p : shape) p = frame.Way(p);

  ShapeBasis basis;
  basis.name = head.file;
  basis.notes = landmarks.notes;
  basis.shapes = surface.shapes;
  std::vector<std::size_t> chosen;
  const auto vertices = VerticesOf(landmarks, frame, surface.rest);
  for (std::size_t i = 0; i < vertices.size(); ++i)
    if (vertices[i]) {
      chosen.push_back(*vertices[i]);
      basis.points.push_back(fmt::format("lm{}", i));
    }
  const Front front(surface.rest);
  const std::vector<double> furthest = FurthestMoved(surface.moved, surface.rest.size());
  std::vector<std::size_t> candidates;
  constexpr double kMoved_mm = 0.1;
  for (std::size_t v = 0; v < surface.rest.size(); ++v)
    if (furthest[v] >= kMoved_mm * kMoved_mm && front.Has(surface.rest[v])) candidates.push_back(v);
  AddFarthest(chosen, candidates, surface.rest);
  for (std::size_t i = basis.points.size(); i < chosen.size(); ++i)
    basis.points.push_back(fmt::format("vertex{}", chosen[i]));
  for (const std::size_t v : chosen) {
    basis.rest.push_back(surface.rest[v]);
    for (const std::vector<Point>& shape : surface.moved) basis.moved.push_back(shape[v]);
  }
  CheckBasis(basis);
  return basis;
}

} // namespace mien
