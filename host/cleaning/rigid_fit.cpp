#include "host/cleaning/rigid_fit.h"

#include "host/base/statistics.h"
#include "host/cleaning/rigid_fits.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace mien {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

VgeTVector Vector(const Point& p) { return {p.x, p.y, p.z}; }

/// How much of each point's error the fit takes up, 0 to 1: the mean over the axes of the diagonal of the
/// least squares' hat matrix, linearised in the rotation, with all points seen.
std::vector<double> Leverages(const RigidBody& body) {
  double sum = 0;
  VgeTVector middle = {0, 0, 0};
  std::vector<double> weights(body.places.size());
  for (std::size_t i = 0; i < body.places.size(); ++i) {
    if (!body.places[i]) continue;
    const Point& p = *body.places[i];
    const double weight = weights[i] = 1 / (body.spread_mm[i] * body.spread_mm[i]);
    sum += weight;
    middle = {middle.x + weight * p.x, middle.y + weight * p.y, middle.z + weight * p.z};
  }
  middle = {middle.x / sum, middle.y / sum, middle.z / sum};
  double a[3][3] = {}; // the inertia: the sum of weight * (|q|^2 - q q')
  for (std::size_t i = 0; i < body.places.size(); ++i) {
    if (!body.places[i]) continue;
    const VgeTVector q = Difference(Vector(*body.places[i]), middle);
    const double c[3] = {q.x, q.y, q.z};
    for (int r = 0; r < 3; ++r)
      for (int s = 0; s < 3; ++s) a[r][s] += weights[i] * ((r == s ? Dot(q, q) : 0) - c[r] * c[s]);
  }
  const auto cofactor = [&](int r, int s) {
    const int r1 = (r + 1) % 3, r2 = (r + 2) % 3, s1 = (s + 1) % 3, s2 = (s + 2) % 3;
    return a[r1][s1] * a[r2][s2] - a[r1][s2] * a[r2][s1];
  };
  const double determinant = a[0][0] * cofactor(0, 0) + a[0][1] * cofactor(0, 1) + a[0][2] * cofactor(0, 2);
  std::vector<double> leverages(body.places.size(), 0);
  for (std::size_t i = 0; i < body.places.size(); ++i) {
    if (!body.places[i]) continue;
    const VgeTVector q = Difference(Vector(*body.places[i]), middle);
    const double c[3] = {q.x, q.y, q.z};
    double trace = 0; // of [q] inertia^-1 [q]', which is |q|^2 tr(inertia^-1) - q' inertia^-1 q
    for (int r = 0; r < 3; ++r)
      for (int s = 0; s < 3; ++s)
        trace += cofactor(r, s) / determinant * ((r == s ? Dot(q, q) : 0) - c[r] * c[s]);
    leverages[i] = determinant > 0 ? weights[i] * (1 / sum + trace / 3) : 1;
  }
  return leverages;
}

class Learning {
public:
  Learning(const Take& take, const std::vector<std::size_t>& markers) : markers_(markers.size()) {
    const std::size_t count = std::min(take.FrameCount(), kMostLearnedFrames);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t frame = i * take.FrameCount() / count;
      RigidBody::Points points(markers.size());
      for (std::size_t m = 0; m < markers.size(); ++m)
        if (const Point* p = take.At(frame, markers[m])) points[m] = *p;
      frames_.push_back(std::move(points));
    }
    motions_.resize(frames_.size());
  }

  RigidBody Learn() {
    RigidBody body;
    body.spread_mm.assign(markers_, 1);
    body.noise_mm = kInfinity; // at first every point counts in full: which are good is not known yet
    body.places.resize(markers_);
    const auto seen = [](const RigidBody::Points& points) {
      return std::count_if(points.begin(), points.end(), [](const auto& p) { return p.has_value(); });
    };
    for (const RigidBody::Points& points : frames_)
      if (seen(points) > seen(body.places)) body.places = points;

    constexpr int kRounds = 6; // the spreads change by less than a hundredth after five
    for (int round = 0; round < kRounds; ++round) {
      RigidFits fits(body, [&](std::size_t f, const std::optional<VgeAMatrix>& motion) {
        motions_[f] = motion ? std::optional(InverseOfOrthogonalAxes(*motion)) : std::nullopt;
      });
      for (std::size_t f = 0; f < frames_.size(); ++f) fits.Add(f, frames_[f]);
      fits.Finish();
      FindPlaces(body);
      FindSpreads(body);
    }
    return body;
  }

private:
  std::optional<VgeTVector> OnBody(std::size_t frame, std::size_t marker) const {
    const auto& p = frames_[frame][marker];
    if (!p || !motions_[frame]) return std::nullopt;
    return TransformPoint(*motions_[frame], Vector(*p));
  }

  void FindPlaces(RigidBody& body) const {
    std::vector<double> x, y, z;
    for (std::size_t m = 0; m < markers_; ++m) {
      x.clear(), y.clear(), z.clear();
      for (std::size_t f = 0; f < frames_.size(); ++f)
        if (const auto p = OnBody(f, m)) x.push_back(p->x), y.push_back(p->y), z.push_back(p->z);
      if (!x.empty())
        body.places[m] = Point{Median(x), Median(y), Median(z)};
      else
        body.places[m].reset();
    }
  }

  // A fit bends to its own points, the more so the fewer they are: what is left of a point's error is its
  // share that the fit did not take up.
  void FindSpreads(RigidBody& body) const {
    constexpr double kMedian = 2.366, kNineTenths = 6.251; // of a sum of three squares of unit deviation
    constexpr double kMostTakenUp = 0.9;
    constexpr double kLeast_mm2 = 1e-6; // so that no point of an exact take counts infinitely
    const std::vector<double> leverages = Leverages(body);
    std::vector<double> variances(markers_, kLeast_mm2), usual, squares;
    for (std::size_t m = 0; m < markers_; ++m) {
      if (!body.places[m]) continue;
      squares.clear();
      for (std::size_t f = 0; f < frames_.size(); ++f)
        if (const auto p = OnBody(f, m)) {
          const VgeTVector off = Difference(*p, Vector(*body.places[m]));
          squares.push_back(Dot(off, off) / (1 - std::min(leverages[m], kMostTakenUp)));
        }
      variances[m] = std::max(Quantile(squares, 0.9) / kNineTenths, kLeast_mm2);
      usual.push_back(std::max(Quantile(squares, 0.5) / kMedian, kLeast_mm2));
    }
    if (usual.empty()) return;
    body.noise_mm = std::sqrt(Median(usual));

    // Six of the 3n errors vanish in the fit. The fewer points there are, the less certain it is which of
    // them stray: a point that seems to hold still may be one that the fit follows. So each gets a part of
    // the middle one's variance, by that share.
    std::vector<double> sorted;
    for (std::size_t m = 0; m < markers_; ++m)
      if (body.places[m]) sorted.push_back(variances[m]);
    const double middle = Median(sorted);
    const double shared = 12 / static_cast<double>(sorted.size()) * middle;
    for (std::size_t m = 0; m < markers_; ++m) body.spread_mm[m] = std::sqrt(variances[m] + shared);
  }

  std::size_t markers_;
  std::vector<RigidBody::Points> frames_;
  std::vector<std::optional<VgeAMatrix>> motions_; // from the frame onto the body
};

} // namespace

std::optional<VgeAMatrix> RigidFit::Solve(const RigidBody::Points& seen) {
  Show(constants_, seen, frame_, 0);
  FitInOneLane(constants_, frame_, kFitRounds);
  return MotionIn(frame_, 0);
}

RigidBody LearnRigidBody(const Take& take, const std::vector<std::size_t>& markers) {
  return Learning(take, markers).Learn();
}

} // namespace mien
