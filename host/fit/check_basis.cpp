#include "host/fit/check_basis.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "host/fit/head_landmarks.h"
#include "host/fit/landmark_scheme.h"

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

Point From(const Point& a, const Point& b) { return {b.x - a.x, b.y - a.y, b.z - a.z}; }

void CheckLandmarks(const ShapeBasis& basis) {
  std::array<std::optional<Point>, kLandmarks68> landmarks;
  std::vector<std::string> missing;
  for (std::size_t i = 0; i < kLandmarks68; ++i) {
    const std::string name = fmt::format("lm{}", i);
    const auto point = std::find(basis.points.begin(), basis.points.end(), name);
    if (point != basis.points.end())
      landmarks[i] = basis.rest[static_cast<std::size_t>(point - basis.points.begin())];
    else if (IsNeededLandmark(i))
      missing.push_back(name);
  }
  if (!missing.empty())
    throw InputError(Code::Missing, basis.name, "",
                     "landmarks are missing among the points: " + Some(missing),
                     "add a row for lm8 and each of lm17 to lm67");
  const Point &right = *landmarks[36], &left = *landmarks[45], &nose = *landmarks[30];
  const Point across = From(right, left), up = From(*landmarks[8], *landmarks[27]);
  if (!(across.x > std::fabs(across.y) && across.x > std::fabs(across.z) && up.y > std::fabs(up.x) &&
        up.y > std::fabs(up.z) && nose.z > left.z && nose.z > right.z))
    throw InputError(
        Code::Contradiction, basis.name, "",
        "the landmarks are not those of a face whose left is at +x, whose top is at +y, and which "
        "looks along +z",
        "turn the axes; lm36 is the outer corner of the face's own right eye");
  constexpr double kLeast_mm = 40, kMost_mm = 200; // of any face, drawn or real
  const double distance = std::hypot(across.x, across.y, across.z);
  if (!(distance >= kLeast_mm && distance <= kMost_mm))
    throw InputError(
        Code::InvalidValue, basis.name, "",
        fmt::format("the outer corners of the eyes, lm36 and lm45, are {:.4g} mm apart", distance),
        "write millimetres");
}

double Product(const ShapeBasis& basis, std::size_t a, std::size_t b) {
  double sum = 0;
  for (std::size_t p = 0; p < basis.points.size(); ++p) {
    const Point &u = basis.Moved(p, a), &v = basis.Moved(p, b);
    sum += u.x * v.x + u.y * v.y + u.z * v.z;
  }
  return sum;
}

bool MovesNothing(const ShapeBasis& basis, std::size_t shape) {
  constexpr double kNothing_mm = 0.01;
  for (std::size_t p = 0; p < basis.points.size(); ++p) {
    const Point& moved = basis.Moved(p, shape);
    if (std::hypot(moved.x, moved.y, moved.z) > kNothing_mm) return false;
  }
  return true;
}

/// Shapes that move the face in the same way, if perhaps not as far. Gaze is not fitted, and need not differ.
std::vector<std::vector<std::size_t>> EqualShapes(const ShapeBasis& basis,
                                                  const std::vector<std::size_t>& shapes) {
  constexpr double kEqual = 0.9999; // the cosine between their displacements
  std::vector<std::vector<std::size_t>> groups;
  std::vector<double> lengths;
  for (const std::size_t s : shapes) {
    if (basis.shapes[s].starts_with("eyeLook")) continue;
    const auto same = std::find_if(groups.begin(), groups.end(), [&](const auto& group) {
      return Product(basis, s, group[0]) >
             kEqual * std::sqrt(Product(basis, s, s)) * std::sqrt(Product(basis, group[0], group[0]));
    });
    if (same != groups.end())
      same->push_back(s);
    else
      groups.push_back({s});
  }
  std::erase_if(groups, [](const auto& group) { return group.size() == 1; });
  return groups;
}

std::vector<std::string> NamesOf(const ShapeBasis& basis, const std::vector<std::size_t>& shapes) {
  std::vector<std::string> names;
  for (const std::size_t s : shapes) names.push_back(basis.shapes[s]);
  return names;
}

void Keep(ShapeBasis& basis, const std::vector<std::size_t>& shapes) {
  std::vector<Point> moved;
  for (std::size_t p = 0; p < basis.points.size(); ++p)
    for (const std::size_t s : shapes) moved.push_back(basis.Moved(p, s));
  basis.shapes = NamesOf(basis, shapes);
  basis.moved = std::move(moved);
}

} // namespace

void CheckBasis(ShapeBasis& basis) {
  CheckLandmarks(basis);
  std::vector<std::size_t> kept, still, unknown;
  for (std::size_t s = 0; s < basis.shapes.size(); ++s) {
    const bool is_known =
        std::find(kArkitNames.begin(), kArkitNames.end(), basis.shapes[s]) != kArkitNames.end();
    (!is_known ? unknown : MovesNothing(basis, s) ? still : kept).push_back(s);
  }
  if (!unknown.empty())
    basis.notes.push_back(
        {Code::Unmatched, "",
         "left out, since their names are none of the 52: " + SomeQuoted(NamesOf(basis, unknown))});
  if (!still.empty())
    basis.notes.push_back(
        {Code::Ignored, "", "left out, since they do not move the face: " + Some(NamesOf(basis, still))});
  for (const auto& group : EqualShapes(basis, kept)) {
    basis.notes.push_back(
        {Code::Ignored, "",
         "left out, since they move the face in the same way: " + Some(NamesOf(basis, group))});
    std::erase_if(kept,
                  [&](std::size_t s) { return std::find(group.begin(), group.end(), s) != group.end(); });
  }
  if (kept.empty())
    throw InputError(Code::Empty, basis.name, "",
                     fmt::format("no shape is left that moves the face in a way of its own{}{}",
                                 basis.notes.empty() ? "" : "; ", fmt::join(Messages(basis.notes), "; ")),
                     "use a head whose shapes of the 52 differ");
  Keep(basis, kept);
}

} // namespace mien
