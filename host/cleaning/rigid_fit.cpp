#include "host/cleaning/rigid_fit.h"

#include "host/base/rotation.h"
#include "host/base/statistics.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace mien {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

VgeTVector Vector(const Point& p) { return {p.x, p.y, p.z}; }

/// The eigenvector of the largest eigenvalue of a symmetric 4 x 4 matrix, and the distance to the next
/// eigenvalue. By Jacobi's rotations, which are as exact as the matrix allows, and the same on every machine.
struct LargestEigenvector {
  double vector[4];
  double gap;
};

LargestEigenvector LargestEigenvectorOf(double (&a)[4][4]) {
  double v[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
  constexpr int kMostSweeps = 20; // four to six are usual: convergence is quadratic
  for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
    double off_diagonal = 0, diagonal = 0;
    for (int i = 0; i < 4; ++i) {
      diagonal += a[i][i] * a[i][i];
      for (int j = i + 1; j < 4; ++j) off_diagonal += a[i][j] * a[i][j];
    }
    if (!(off_diagonal > 1e-30 * diagonal)) break; // below the rounding of the eigenvalues
    for (int p = 0; p < 3; ++p)
      for (int q = p + 1; q < 4; ++q) {
        if (a[p][q] == 0) continue;
        const double theta = (a[q][q] - a[p][p]) / (2 * a[p][q]);
        const double t = (theta < 0 ? -1.0 : 1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
        const double c = 1 / std::sqrt(t * t + 1), s = t * c;
        for (auto& row : a) {
          const double row_p = row[p], row_q = row[q];
          row[p] = c * row_p - s * row_q, row[q] = s * row_p + c * row_q;
        }
        for (int k = 0; k < 4; ++k) {
          const double pk = a[p][k], qk = a[q][k];
          a[p][k] = c * pk - s * qk, a[q][k] = s * pk + c * qk;
        }
        for (auto& row : v) {
          const double row_p = row[p], row_q = row[q];
          row[p] = c * row_p - s * row_q, row[q] = s * row_p + c * row_q;
        }
      }
  }
  int largest = 0;
  for (int i = 1; i < 4; ++i)
    if (a[i][i] > a[largest][largest]) largest = i;
  LargestEigenvector found = {{v[0][largest], v[1][largest], v[2][largest], v[3][largest]}, kInfinity};
  for (int i = 0; i < 4; ++i)
    if (i != largest) found.gap = std::min(found.gap, a[largest][largest] - a[i][i]);
  return found;
}

/// Points of two places each, gathered for the rigid transform that carries the first places onto the second
/// ones with the least sum of weighted squares.
class Pairs {
public:
  void Add(const VgeTVector& from, const VgeTVector& to, double weight) {
    weight_ += weight;
    const double f[3] = {from.x, from.y, from.z}, t[3] = {to.x, to.y, to.z};
    for (int i = 0; i < 3; ++i) {
      from_[i] += weight * f[i];
      to_[i] += weight * t[i];
    }
  }

  /// After all of Add: where both sets have their middle.
  void Centre() {
    for (int i = 0; i < 3; ++i) from_[i] /= weight_, to_[i] /= weight_;
  }

  /// After Centre, each pair once more.
  void AddCentred(const VgeTVector& from, const VgeTVector& to, double weight) {
    const double f[3] = {from.x - from_[0], from.y - from_[1], from.z - from_[2]},
                 t[3] = {to.x - to_[0], to.y - to_[1], to.z - to_[2]};
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) s_[i][j] += weight * f[i] * t[j];
  }

  /// Nothing where the points stand nearly on one line. B. K. P. Horn, "Closed-form solution of absolute
  /// orientation using unit quaternions", J. Opt. Soc. Am. A 4 (1987): the rotation is the eigenvector of the
  /// largest eigenvalue of a matrix of the sums.
  std::optional<VgeAMatrix> Solve() const {
    const auto& s = s_;
    double n[4][4] = {{s[0][0] + s[1][1] + s[2][2], s[1][2] - s[2][1], s[2][0] - s[0][2], s[0][1] - s[1][0]},
                      {s[1][2] - s[2][1], s[0][0] - s[1][1] - s[2][2], s[0][1] + s[1][0], s[2][0] + s[0][2]},
                      {s[2][0] - s[0][2], s[0][1] + s[1][0], s[1][1] - s[0][0] - s[2][2], s[1][2] + s[2][1]},
                      {s[0][1] - s[1][0], s[2][0] + s[0][2], s[1][2] + s[2][1], s[2][2] - s[0][0] - s[1][1]}};
    double squares = 0;
    for (const auto& row : s)
      for (const double value : row) squares += value * value;
    const LargestEigenvector found = LargestEigenvectorOf(n);
    // The gap is twice the sum of the squares of the body's smaller extents, and `squares` that of the
    // greatest extent's square: a body less than a twentieth as wide as it is long does not determine the
    // rotation about its length.
    constexpr double kThin = 1.0 / 20;
    if (!(found.gap > 2 * kThin * kThin * std::sqrt(squares))) return std::nullopt;

    const VgeRMatrix rotation =
        RotationOf(VgeQuaternion(found.vector[1], found.vector[2], found.vector[3], found.vector[0]));
    VgeAMatrix rigid;
    for (int column = 0; column < 3; ++column)
      SetColumn(rigid, column, {rotation.m[column][0], rotation.m[column][1], rotation.m[column][2]});
    const VgeTVector turned = TransformDirection(rigid, {from_[0], from_[1], from_[2]});
    SetColumn(rigid, 3, {to_[0] - turned.x, to_[1] - turned.y, to_[2] - turned.z});
    return rigid;
  }

private:
  double weight_ = 0, from_[3] = {}, to_[3] = {}, s_[3][3] = {};
};

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
    constexpr std::size_t kMostFrames = 1000;
    const std::size_t count = std::min(take.FrameCount(), kMostFrames);
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
      RigidFit fit(body);
      for (std::size_t f = 0; f < frames_.size(); ++f) {
        const auto motion = fit.Solve(frames_[f]);
        motions_[f] = motion ? std::optional(InverseOfOrthogonalAxes(*motion)) : std::nullopt;
      }
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

    // Six of the 3n errors vanish in the fit. The fewer points there are, the less it can be told which of
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

RigidFit::RigidFit(RigidBody body)
    : body_(std::move(body)), full_weights_(body_.places.size()), weights_(body_.places.size()),
      squares_(body_.places.size()) {
  counted_.reserve(body_.places.size());
  for (std::size_t i = 0; i < body_.places.size(); ++i)
    if (body_.places[i]) full_weights_[i] = 1 / (body_.spread_mm[i] * body_.spread_mm[i]);
}

std::optional<VgeAMatrix> RigidFit::Weighted(const RigidBody::Points& seen) const {
  Pairs pairs;
  std::size_t count = 0;
  for (std::size_t i = 0; i < seen.size(); ++i)
    if (weights_[i] > 0) pairs.Add(Vector(*body_.places[i]), Vector(*seen[i]), weights_[i]), ++count;
  if (count < 3) return std::nullopt;
  pairs.Centre();
  for (std::size_t i = 0; i < seen.size(); ++i)
    if (weights_[i] > 0) pairs.AddCentred(Vector(*body_.places[i]), Vector(*seen[i]), weights_[i]);
  return pairs.Solve();
}

std::optional<VgeAMatrix> RigidFit::Solve(const RigidBody::Points& seen) {
  constexpr int kRounds = 6; // of reweighting; more change the turn by less than a hundredth of a degree
  constexpr double kFullWithin = 3; // times the noise: 97 of 100 points that only tremble are nearer
  const double noise = kFullWithin * body_.noise_mm;
  for (std::size_t i = 0; i < weights_.size(); ++i) weights_[i] = seen[i] ? full_weights_[i] : 0;
  std::optional<VgeAMatrix> motion = Weighted(seen);
  for (int round = 0; round < kRounds && motion && std::isfinite(noise); ++round) {
    for (std::size_t i = 0; i < weights_.size(); ++i) {
      if (!(weights_[i] > 0)) continue;
      const VgeTVector off = Difference(TransformPoint(*motion, Vector(*body_.places[i])), Vector(*seen[i]));
      squares_[i] = Dot(off, off);
    }
    // A point that is far off drags the first rounds along. Until more than half of the points are back
    // within the noise, the nearer half counts in full; else the few that happen to be near would settle for
    // a wrong place among themselves.
    counted_.clear();
    for (std::size_t i = 0; i < weights_.size(); ++i)
      if (weights_[i] > 0) counted_.push_back(squares_[i]);
    const double full = std::max(noise * noise, Quantile(counted_, 0.5));
    bool changed = false;
    for (std::size_t i = 0; i < weights_.size(); ++i) {
      if (!(weights_[i] > 0)) continue;
      const double share = std::min(1.0, full / squares_[i]); // 1 where the distance is 0
      const double weight = share * share / (body_.spread_mm[i] * body_.spread_mm[i]);
      changed |= weight != weights_[i];
      weights_[i] = weight;
    }
    if (!changed) break; // the same weights give the same motion
    const auto next = Weighted(seen);
    if (!next) break; // too few are left that count: the motion of the round before has to do
    motion = next;
  }
  return motion;
}

RigidBody LearnRigidBody(const Take& take, const std::vector<std::size_t>& markers) {
  return Learning(take, markers).Learn();
}

} // namespace mien
