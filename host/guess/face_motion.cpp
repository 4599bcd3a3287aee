#include "host/guess/face_motion.h"

#include "host/base/statistics.h"
#include "host/cleaning/rigid_fit.h"
#include "host/cleaning/rigid_fits.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>

namespace mien {

FaceMotion::FaceMotion(const Take& take, const std::vector<std::size_t>& face) : take_(take) {
  constexpr std::size_t kMostFrames = 500;
  const std::size_t count = std::min(take.FrameCount(), kMostFrames);
  std::vector<std::optional<VgeAMatrix>> to_face(count);
  RigidFits fits(LearnRigidBody(take, face), [&](std::size_t i, const std::optional<VgeAMatrix>& motion) {
    if (motion) to_face[i] = InverseOfOrthogonalAxes(*motion);
  });
  RigidBody::Points seen(face.size());
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t frame = i * take.FrameCount() / count;
    for (std::size_t m = 0; m < face.size(); ++m) {
      const Point* const p = take.At(frame, face[m]);
      seen[m] = p ? std::optional(*p) : std::nullopt;
    }
    fits.Add(i, seen);
  }
  fits.Finish();
  for (std::size_t i = 0; i < count; ++i) {
    if (!to_face[i]) continue;
    frames_.push_back(i * take.FrameCount() / count);
    to_face_.push_back(*to_face[i]);
  }
}

std::optional<VgeTVector> FaceMotion::At(std::size_t i, std::size_t marker) const {
  const Point* const p = take_.At(frames_[i], marker);
  if (!p) return std::nullopt;
  return TransformPoint(to_face_[i], {p->x, p->y, p->z});
}

std::optional<FaceMotion::Rest> FaceMotion::Of(std::size_t marker) const {
  std::vector<VgeTVector> places;
  std::vector<double> x, y, z, squares;
  for (std::size_t i = 0; i < frames_.size(); ++i)
    if (const auto p = At(i, marker)) {
      places.push_back(*p);
      x.push_back(p->x), y.push_back(p->y), z.push_back(p->z);
    }
  if (places.empty()) return std::nullopt;
  const VgeTVector middle = {Median(x), Median(y), Median(z)};
  for (const VgeTVector& p : places) {
    const VgeTVector off = Difference(p, middle);
    squares.push_back(Dot(off, off));
  }
  constexpr double kNineTenths = 6.251; // of a sum of three squares of unit deviation
  return Rest{middle, std::sqrt(Quantile(squares, 0.9) / kNineTenths)};
}

std::optional<VgeTVector> FaceMotion::MedianPlace(std::size_t marker, const std::vector<bool>& use,
                                                  const VgeAMatrix& to) const {
  std::vector<double> x, y, z;
  for (std::size_t i = 0; i < frames_.size(); ++i)
    if (const auto p = use[i] ? At(i, marker) : std::nullopt) {
      const VgeTVector q = TransformPoint(to, *p);
      x.push_back(q.x), y.push_back(q.y), z.push_back(q.z);
    }
  if (x.empty()) return std::nullopt;
  return VgeTVector{Median(x), Median(y), Median(z)};
}

std::vector<VgeTVector> FaceMotion::PlacesAtTop(const std::vector<std::size_t>& markers,
                                                const std::vector<std::size_t>& low,
                                                const VgeAMatrix& to) const {
  const std::vector<bool> all(frames_.size(), true);
  std::vector<double> sums(frames_.size(), 0), counts(frames_.size(), 0);
  for (const std::size_t marker : low) {
    const auto middle = MedianPlace(marker, all, to);
    for (std::size_t i = 0; middle && i < frames_.size(); ++i)
      if (const auto p = At(i, marker)) sums[i] += TransformPoint(to, *p).y - middle->y, ++counts[i];
  }
  std::vector<double> heights;
  for (std::size_t i = 0; i < frames_.size(); ++i)
    if (counts[i] > 0) heights.push_back(sums[i] / counts[i]);
  constexpr double kTop = 2.0 / 3;
  std::vector<bool> at_top(frames_.size(), heights.empty());
  if (!heights.empty()) {
    const double least = Quantile(heights, kTop);
    for (std::size_t i = 0; i < frames_.size(); ++i)
      at_top[i] = counts[i] > 0 && sums[i] / counts[i] >= least;
  }
  std::vector<VgeTVector> places;
  for (const std::size_t marker : markers) {
    auto place = MedianPlace(marker, at_top, to);
    if (!place) place = MedianPlace(marker, all, to);
    places.push_back(place.value_or(VgeTVector{0, 0, 0}));
  }
  return places;
}

std::optional<double> FaceMotion::Correlation(std::size_t a, std::size_t b, const VgeTVector& way) const {
  std::vector<double> of_a, of_b;
  for (std::size_t i = 0; i < frames_.size(); ++i) {
    const auto p = At(i, a), q = At(i, b);
    if (p && q) of_a.push_back(Dot(*p, way)), of_b.push_back(Dot(*q, way));
  }
  constexpr std::size_t kFewest = 30;
  if (of_a.size() < kFewest) return std::nullopt;
  const double mean_a = Mean(of_a), mean_b = Mean(of_b);
  double aa = 0, ab = 0, bb = 0;
  for (std::size_t i = 0; i < of_a.size(); ++i) {
    const double da = of_a[i] - mean_a, db = of_b[i] - mean_b;
    aa += da * da, ab += da * db, bb += db * db;
  }
  constexpr double kStill_mm = 0.5;
  const double least = kStill_mm * kStill_mm * static_cast<double>(of_a.size());
  if (aa < least || bb < least) return std::nullopt;
  return ab / std::sqrt(aa * bb);
}

} // namespace mien
