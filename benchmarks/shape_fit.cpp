// Compares the fit of all shapes, frame after frame, with a well-kept solver of the same problem: dlib's
// box-constrained quadratic programs, on a matrix that Eigen computes from the same points. Both start each
// frame from the weights of the one before. Nothing is timed unless they agree.
//
//   mien_fit

#include "host/fit/shape_fit.h"

#include "host/fit/lay_basis.h"
#include "host/fit/shape_basis.h"
#include "host/performer/performer_file.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <dlib/optimization/optimization_solve_qp_using_smo.h>
#include <optional>
#include <random>
#include <vector>

namespace {

using mien::Point;
using Matrix = Eigen::MatrixXd;
using Column = dlib::matrix<double, 0, 1>;
using Seen = std::vector<std::optional<Point>>;

constexpr int kFrames = 600; // 20 s
constexpr int kRuns = 9;
constexpr double kNoise_mm = 0.3;

double Seconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// The 68 landmarks of the built-in face without the ends of the jaw's contour, and all shapes but gaze.
mien::ShapeFitPoints Landmarks() {
  const mien::ShapeBasis basis = mien::LoadBasis(mien::BuiltInBasis::TwoHeads);
  mien::NeutralPose rest;
  for (std::size_t i = 0; i < 68; ++i) rest[basis.points[i]] = basis.rest[i];
  const mien::LaidBasis laid = mien::LayBasis(basis, mien::LoadPerformer("landmarks68"), rest);
  mien::ShapeFitPoints points;
  points.regions.resize(3);
  for (std::size_t m = 0; m < laid.markers.size(); ++m) {
    points.rest.push_back(laid.markers[m].rest);
    points.trust.push_back({1, 1, 0.5});
    points.shapes = 0;
    for (std::size_t s = 0; s < laid.shapes.size(); ++s) {
      if (laid.shapes[s].starts_with("eyeLook")) continue;
      ++points.shapes;
      points.moved.push_back(laid.moved[m * laid.shapes.size() + s]);
    }
    if (laid.markers[m].region != mien::FitRegion::None)
      points.regions[static_cast<std::size_t>(laid.markers[m].region) - 1].push_back(m);
  }
  return points;
}

/// A face that makes a few shapes at a time, each slowly, with noise.
std::vector<Seen> Talk(const mien::ShapeFitPoints& points) {
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, kNoise_mm);
  std::vector<Seen> frames;
  for (int f = 0; f < kFrames; ++f) {
    std::vector<double> weights;
    for (std::size_t s = 0; s < points.shapes; ++s)
      weights.push_back(std::max(
          0.0, std::sin(0.05 * f * (1 + 0.1 * static_cast<double>(s)) + static_cast<double>(s)) - 0.5));
    Seen& seen = frames.emplace_back();
    for (std::size_t p = 0; p < points.rest.size(); ++p) {
      Point place = points.rest[p];
      for (std::size_t s = 0; s < points.shapes; ++s) {
        const Point& moved = points.moved[p * points.shapes + s];
        place.x += weights[s] * moved.x, place.y += weights[s] * moved.y, place.z += weights[s] * moved.z;
      }
      seen.emplace_back(Point{place.x + noise(random), place.y + noise(random), place.z + noise(random)});
    }
  }
  return frames;
}

/// The same problem with rigid motion and shifts eliminated: H w - T d - inertia w of before = 0 in the open box.
class Peer {
public:
  Peer(const mien::ShapeFitPoints& points, const mien::ShapeFitSettings& settings)
      : settings_(settings), rows_(static_cast<Eigen::Index>(3 * points.rest.size())),
        shapes_(static_cast<Eigen::Index>(points.shapes)), rest_(rows_), trust_(rows_) {
    const auto others = static_cast<Eigen::Index>(6 + 2 * points.regions.size());
    Matrix moved(rows_, shapes_), nuisance = Matrix::Zero(rows_, others);
    Eigen::Vector3d middle = Eigen::Vector3d::Zero();
    for (const Point& p : points.rest) middle += Eigen::Vector3d(p.x, p.y, p.z) / double(points.rest.size());
    for (Eigen::Index p = 0; p < rows_ / 3; ++p) {
      const Point &r = points.rest[std::size_t(p)], &t = points.trust[std::size_t(p)];
      rest_.segment<3>(3 * p) << r.x, r.y, r.z;
      trust_.segment<3>(3 * p) << t.x, t.y, t.z;
      const Eigen::Vector3d arm = (Eigen::Vector3d(r.x, r.y, r.z) - middle) / 70;
      nuisance.block<3, 3>(3 * p, 0).setIdentity();
      nuisance.block<3, 3>(3 * p, 3) << 0, arm.z(), -arm.y(), -arm.z(), 0, arm.x(), arm.y(), -arm.x(), 0;
      for (Eigen::Index s = 0; s < shapes_; ++s) {
        const Point& m = points.moved[std::size_t(p * shapes_ + s)];
        moved.block<3, 1>(3 * p, s) << m.x, m.y, m.z;
      }
    }
    for (std::size_t region = 0; region < points.regions.size(); ++region)
      for (const std::size_t p : points.regions[region])
        for (const Eigen::Index axis : {0, 1})
          nuisance(3 * Eigen::Index(p) + axis, 6 + 2 * Eigen::Index(region) + axis) = 1;
    moved = trust_.asDiagonal() * moved;
    nuisance = trust_.asDiagonal() * nuisance;
    Eigen::VectorXd penalty = Eigen::VectorXd::Constant(others, settings.shift);
    penalty.head(6).setConstant(settings.rigid);
    const Matrix normal = nuisance.transpose() * nuisance + Matrix(penalty.asDiagonal());
    right_ = moved.transpose() - moved.transpose() * nuisance * normal.ldlt().solve(nuisance.transpose());
    Matrix hessian = right_ * moved;
    hessian.diagonal().array() += settings.damping + settings.inertia;
    hessian_.set_size(shapes_, shapes_);
    for (Eigen::Index i = 0; i < shapes_; ++i)
      for (Eigen::Index j = 0; j < shapes_; ++j) hessian_(i, j) = hessian(i, j);
    lower_ = dlib::zeros_matrix<double>(shapes_, 1);
    upper_ = dlib::uniform_matrix<double>(shapes_, 1, settings.most);
    weights_ = lower_;
    distances_.resize(rows_);
  }

  /// `has_before` is false for the first frame, which inertia does not hold back.
  const Column& Solve(const Seen& seen, bool has_before) {
    for (Eigen::Index p = 0; p < rows_ / 3; ++p) {
      const Point& place = *seen[std::size_t(p)];
      distances_.segment<3>(3 * p) << place.x, place.y, place.z;
    }
    distances_ = trust_.cwiseProduct(distances_ - rest_);
    evidence_.noalias() = right_ * distances_;
    for (int round = 0; round < (has_before ? 1 : 200); ++round) {
      Column linear(shapes_);
      for (Eigen::Index s = 0; s < shapes_; ++s) linear(s) = -evidence_(s) - settings_.inertia * weights_(s);
      dlib::solve_qp_box_constrained(hessian_, linear, weights_, lower_, upper_, 1e-6, 10000UL);
    }
    return weights_;
  }

private:
  mien::ShapeFitSettings settings_;
  Eigen::Index rows_, shapes_;
  Eigen::VectorXd rest_, trust_, distances_, evidence_;
  Matrix right_;
  dlib::matrix<double> hessian_;
  Column lower_, upper_, weights_;
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

} // namespace

int main() {
  const mien::ShapeFitPoints points = Landmarks();
  const std::vector<Seen> frames = Talk(points);
  const mien::ShapeFitSettings settings;

  mien::ShapeFit fit(points, settings);
  Peer peer(points, settings);
  double most = 0, sweeps = 0;
  for (int f = 0; f < kFrames; ++f) {
    const std::vector<double>& ours = fit.Solve(frames[std::size_t(f)]);
    sweeps += double(fit.Sweeps()) / kFrames;
    const Column& theirs = peer.Solve(frames[std::size_t(f)], f > 0);
    for (std::size_t s = 0; s < points.shapes; ++s)
      most = std::max(most, std::fabs(ours[s] - theirs(long(s))));
  }
  constexpr double kAgreement = 1e-3; // both end their searches before the last digit
  if (!(most < kAgreement)) {
    std::fprintf(stderr, "the weights differ by %g; nothing was timed\n", most);
    return 1;
  }

  std::vector<double> ours, theirs;
  double sum = 0;
  for (int run = 0; run < kRuns; ++run) {
    fit.Restart();
    double start = Seconds();
    for (const Seen& frame : frames) sum += fit.Solve(frame)[0];
    ours.push_back((Seconds() - start) / kFrames * 1e6);
    Peer again(points, settings);
    start = Seconds();
    for (int f = 0; f < kFrames; ++f) sum += again.Solve(frames[std::size_t(f)], f > 0)(0);
    theirs.push_back((Seconds() - start) / kFrames * 1e6);
  }
  std::printf("| %zu points, %zu shapes, %d frames |  us a frame | ratio |\n|---|---:|---:|\n",
              points.rest.size(), points.shapes, kFrames);
  std::printf("| mien, %.1f sweeps a frame | %.1f | |\n", sweeps, Median(ours));
  std::printf("| Eigen and dlib's solver | %.1f | %.2f |\n", Median(theirs), Median(ours) / Median(theirs));
  std::fprintf(stderr, "the weights differ by at most %g (sum %g)\n", most, sum);
  return 0;
}
