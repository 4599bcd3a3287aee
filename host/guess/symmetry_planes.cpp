#include "host/guess/symmetry_planes.h"

#include "host/base/statistics.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace mien {

namespace {

VgeTVector Mirrored(const VgeTVector& p, const SymmetryPlane& plane) {
  const double twice = 2 * (Dot(p, plane.normal) - plane.offset);
  return {p.x - twice * plane.normal.x, p.y - twice * plane.normal.y, p.z - twice * plane.normal.z};
}

struct Nearest {
  std::size_t point = 0;
  double distance = std::numeric_limits<double>::infinity();
};

Nearest NearestTo(const VgeTVector& place, const std::vector<VgeTVector>& points) {
  Nearest nearest;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (const double distance = Distance(place, points[i]); distance < nearest.distance)
      nearest = {i, distance};
  return nearest;
}

/// How many points have a counterpart: 1 for an exact one, a half at four millimetres, little beyond.
double Symmetry(const std::vector<VgeTVector>& points, const SymmetryPlane& plane) {
  constexpr double kHalf_mm = 4;
  double sum = 0;
  for (const VgeTVector& p : points) {
    const double off = NearestTo(Mirrored(p, plane), points).distance / kHalf_mm;
    sum += 1 / (1 + off * off);
  }
  return sum;
}

/// The plane between the points that are each other's counterparts in `plane`.
SymmetryPlane Refined(const std::vector<VgeTVector>& points, SymmetryPlane plane) {
  constexpr int kRounds = 8;
  constexpr double kPair_mm = 9;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::size_t> counterpart;
    std::vector<double> distance;
    for (const VgeTVector& p : points) {
      const Nearest nearest = NearestTo(Mirrored(p, plane), points);
      counterpart.push_back(nearest.point);
      distance.push_back(nearest.distance);
    }
    VgeTVector sum = {0, 0, 0};
    std::vector<std::size_t> paired;
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (counterpart[counterpart[i]] != i || !(distance[i] < kPair_mm)) continue;
      paired.push_back(i);
      const VgeTVector way = Difference(points[i], points[counterpart[i]]);
      const double sign = Dot(way, plane.normal) < 0 ? -1 : 1;
      sum = {sum.x + sign * way.x, sum.y + sign * way.y, sum.z + sign * way.z};
    }
    if (paired.empty() || !(Length(sum) > 0)) break;
    plane.normal = Unit(sum);
    std::vector<double> offsets;
    for (const std::size_t i : paired)
      offsets.push_back((Dot(points[i], plane.normal) + Dot(points[counterpart[i]], plane.normal)) / 2);
    plane.offset = Median(offsets);
  }
  return plane;
}

} // namespace

std::vector<SymmetryPlane> FindSymmetryPlanes(const std::vector<VgeTVector>& points) {
  constexpr double kFewest_mm = 25;        // closer pairs leave the normal to their noise
  constexpr std::size_t kMostTried = 3000; // of 225 markers' 25,000 pairs; any plane has many pairs
  struct Candidate {
    double symmetry;
    SymmetryPlane plane;
  };
  std::vector<SymmetryPlane> planes;
  for (std::size_t i = 0; i < points.size(); ++i)
    for (std::size_t j = 0; j < i; ++j) {
      if (Distance(points[i], points[j]) < kFewest_mm) continue;
      const VgeTVector normal = Unit(Difference(points[i], points[j]));
      planes.push_back({normal, (Dot(points[i], normal) + Dot(points[j], normal)) / 2});
    }
  std::vector<Candidate> candidates;
  const std::size_t tried = std::min(planes.size(), kMostTried);
  for (std::size_t i = 0; i < tried; ++i) {
    const SymmetryPlane& plane = planes[i * planes.size() / tried];
    candidates.push_back({Symmetry(points, plane), plane});
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.symmetry > b.symmetry; });

  constexpr std::size_t kMost = 4;
  constexpr double kLeast = 0.6; // of the best one's symmetry
  constexpr double kSame = 0.97; // cosine of 14 degrees
  std::vector<SymmetryPlane> found;
  for (const Candidate& candidate : candidates) {
    if (found.size() == kMost || candidate.symmetry < kLeast * candidates.front().symmetry) break;
    if (std::none_of(found.begin(), found.end(), [&](const SymmetryPlane& plane) {
          return std::fabs(Dot(plane.normal, candidate.plane.normal)) > kSame;
        }))
      found.push_back(Refined(points, candidate.plane));
  }
  return found;
}

} // namespace mien
