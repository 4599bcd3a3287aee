#include "host/fit/shape_fit.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace mien {

namespace {

constexpr std::size_t kRigid = 6;
constexpr double kArm_mm = 70; // of the rotations: about the size of a face

/// The Cholesky factor L of a symmetric positive definite matrix, L times its transpose, in its lower half.
void Factorise(std::vector<double>& matrix, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i)
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = matrix[i * size + j];
      for (std::size_t k = 0; k < j; ++k) sum -= matrix[i * size + k] * matrix[j * size + k];
      matrix[i * size + j] = i == j ? std::sqrt(sum) : sum / matrix[j * size + j];
    }
}

/// Solves the system of a matrix with this factor, in place.
void SolveFactorised(const std::vector<double>& factor, std::size_t size, double* values,
                     std::size_t stride) {
  for (std::size_t i = 0; i < size; ++i) {
    double sum = values[i * stride];
    for (std::size_t k = 0; k < i; ++k) sum -= factor[i * size + k] * values[k * stride];
    values[i * stride] = sum / factor[i * size + i];
  }
  for (std::size_t i = size; i-- > 0;) {
    double sum = values[i * stride];
    for (std::size_t k = i + 1; k < size; ++k) sum -= factor[k * size + i] * values[k * stride];
    values[i * stride] = sum / factor[i * size + i];
  }
}

Point MiddleOf(const std::vector<Point>& points) {
  Point middle = {0, 0, 0};
  const auto count = static_cast<double>(std::max<std::size_t>(points.size(), 1));
  for (const Point& p : points) middle.x += p.x / count, middle.y += p.y / count, middle.z += p.z / count;
  return middle;
}

} // namespace

ShapeFit::ShapeFit(ShapeFitPoints points, const ShapeFitSettings& settings)
    : points_(std::move(points)), settings_(settings), shapes_(points_.shapes),
      rows_(3 * points_.rest.size()), nuisances_(kRigid + 2 * points_.regions.size()),
      moved_(rows_ * shapes_), nuisance_(rows_ * nuisances_), penalty_(nuisances_, settings.rigid),
      trust_(rows_), seen_(points_.rest.size(), true), normal_(nuisances_ * nuisances_),
      crossed_(nuisances_ * shapes_), projected_(shapes_ * rows_), hessian_(shapes_ * shapes_),
      distances_(rows_), evidence_(shapes_), right_(shapes_), gradient_(shapes_), weights_(shapes_),
      previous_(shapes_), leftover_(nuisances_) {
  std::fill(penalty_.begin() + kRigid, penalty_.end(), settings.shift);
  const Point middle = MiddleOf(points_.rest);
  for (std::size_t p = 0; p < PointCount(); ++p) {
    const double trust[3] = {points_.trust[p].x, points_.trust[p].y, points_.trust[p].z};
    const double arm[3] = {(points_.rest[p].x - middle.x) / kArm_mm, (points_.rest[p].y - middle.y) / kArm_mm,
                           (points_.rest[p].z - middle.z) / kArm_mm};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t row = 3 * p + axis;
      trust_[row] = trust[axis];
      for (std::size_t s = 0; s < shapes_; ++s) {
        const Point& moved = points_.moved[p * shapes_ + s];
        moved_[row * shapes_ + s] = trust[axis] * (axis == 0 ? moved.x : axis == 1 ? moved.y : moved.z);
      }
      double* const nuisance = nuisance_.data() + row * nuisances_;
      nuisance[axis] = trust[axis];
      const std::size_t next = (axis + 1) % 3,
                        after = (axis + 2) % 3; // about `next`: along `axis` by `after`
      nuisance[3 + next] = trust[axis] * arm[after];
      nuisance[3 + after] = -trust[axis] * arm[next];
    }
  }
  for (std::size_t r = 0; r < points_.regions.size(); ++r)
    for (const std::size_t p : points_.regions[r])
      for (const std::size_t axis : {0U, 1U})
        nuisance_[(3 * p + axis) * nuisances_ + kRigid + 2 * r + axis] = trust_[3 * p + axis];
  Prepare();
}

void ShapeFit::Prepare() {
  std::fill(normal_.begin(), normal_.end(), 0.0);
  std::fill(crossed_.begin(), crossed_.end(), 0.0);
  std::fill(hessian_.begin(), hessian_.end(), 0.0);
  for (std::size_t i = 0; i < nuisances_; ++i) normal_[i * nuisances_ + i] = penalty_[i];
  for (std::size_t row = 0; row < rows_; ++row) {
    if (!seen_[row / 3]) continue;
    const double* const nuisance = nuisance_.data() + row * nuisances_;
    const double* const moved = moved_.data() + row * shapes_;
    for (std::size_t i = 0; i < nuisances_; ++i) {
      if (nuisance[i] == 0) continue;
      for (std::size_t j = 0; j <= i; ++j) normal_[i * nuisances_ + j] += nuisance[i] * nuisance[j];
      for (std::size_t s = 0; s < shapes_; ++s) crossed_[i * shapes_ + s] += nuisance[i] * moved[s];
    }
    for (std::size_t s = 0; s < shapes_; ++s) {
      if (moved[s] == 0) continue;
      for (std::size_t t = 0; t <= s; ++t) hessian_[s * shapes_ + t] += moved[s] * moved[t];
    }
  }
  Factorise(normal_, nuisances_);
  // The crossed ones, times the inverse of the normal matrix, times the crossed ones are what rigid motion and
  // shifts explain. Their copy has room in `projected_`, which comes last.
  if (projected_.size() < crossed_.size()) projected_.resize(crossed_.size());
  std::copy(crossed_.begin(), crossed_.end(), projected_.begin());
  for (std::size_t s = 0; s < shapes_; ++s)
    SolveFactorised(normal_, nuisances_, crossed_.data() + s, shapes_);
  for (std::size_t s = 0; s < shapes_; ++s)
    for (std::size_t t = 0; t <= s; ++t) {
      double sum = 0;
      for (std::size_t i = 0; i < nuisances_; ++i)
        sum += projected_[i * shapes_ + s] * crossed_[i * shapes_ + t];
      hessian_[s * shapes_ + t] -= sum;
    }
  for (std::size_t s = 0; s < shapes_; ++s) {
    for (std::size_t t = 0; t < s; ++t) hessian_[t * shapes_ + s] = hessian_[s * shapes_ + t];
    hessian_[s * shapes_ + s] += settings_.damping + settings_.inertia;
  }
  for (std::size_t s = 0; s < shapes_; ++s)
    for (std::size_t row = 0; row < rows_; ++row) {
      double value = 0;
      if (seen_[row / 3]) {
        value = moved_[row * shapes_ + s];
        for (std::size_t i = 0; i < nuisances_; ++i)
          value -= nuisance_[row * nuisances_ + i] * crossed_[i * shapes_ + s];
      }
      projected_[s * rows_ + row] = value;
    }
}

const std::vector<double>& ShapeFit::Solve(std::span<const std::optional<Point>> seen) {
  bool changed = false, any = false;
  for (std::size_t p = 0; p < PointCount(); ++p) {
    any |= seen[p].has_value();
    changed |= seen[p].has_value() != seen_[p];
    seen_[p] = seen[p].has_value();
    const Point d = seen[p] ? Point{seen[p]->x - points_.rest[p].x, seen[p]->y - points_.rest[p].y,
                                    seen[p]->z - points_.rest[p].z}
                            : Point{0, 0, 0};
    distances_[3 * p] = trust_[3 * p] * d.x;
    distances_[3 * p + 1] = trust_[3 * p + 1] * d.y;
    distances_[3 * p + 2] = trust_[3 * p + 2] * d.z;
  }
  sweeps_ = 0;
  if (changed) Prepare();
  if (!any) return weights_;
  for (std::size_t s = 0; s < shapes_; ++s) {
    const double* const projected = projected_.data() + s * rows_;
    double sum = 0;
    for (std::size_t row = 0; row < rows_; ++row) sum += projected[row] * distances_[row];
    evidence_[s] = sum;
  }
  if (has_previous_) {
    Descend();
    return weights_;
  }
  // Without a frame before, the inertia assumes a face that has always made this expression.
  std::fill(weights_.begin(), weights_.end(), 0.0);
  constexpr int kMostRounds = 200;
  for (int round = 0; round < kMostRounds; ++round) {
    previous_ = weights_; // of equal size: allocates nothing
    double most = 0;
    Descend();
    for (std::size_t s = 0; s < shapes_; ++s) most = std::max(most, std::fabs(weights_[s] - previous_[s]));
    if (most <= settings_.tolerance) break;
  }
  has_previous_ = true;
  return weights_;
}

void ShapeFit::Descend() {
  for (std::size_t s = 0; s < shapes_; ++s) right_[s] = evidence_[s] + settings_.inertia * weights_[s];
  for (std::size_t s = 0; s < shapes_; ++s) {
    double sum = -right_[s];
    for (std::size_t t = 0; t < shapes_; ++t) sum += hessian_[s * shapes_ + t] * weights_[t];
    gradient_[s] = sum;
  }
  constexpr std::size_t kMostSweeps = 500;
  for (std::size_t sweep = 0; sweep < kMostSweeps; ++sweep) {
    ++sweeps_;
    double most = 0;
    for (std::size_t s = 0; s < shapes_; ++s) {
      const double* const row = hessian_.data() + s * shapes_;
      const double wanted = std::clamp(weights_[s] - gradient_[s] / row[s], 0.0, settings_.most);
      const double change = wanted - weights_[s];
      if (change == 0) continue;
      weights_[s] = wanted;
      most = std::max(most, std::fabs(change));
      for (std::size_t t = 0; t < shapes_; ++t) gradient_[t] += row[t] * change;
    }
    if (most <= settings_.tolerance) break;
  }
}

double ShapeFit::Residual() {
  // The distances that the weights leave, and of these what rigid motion and shifts explain.
  std::fill(leftover_.begin(), leftover_.end(), 0.0);
  const auto left = [&](std::size_t row) {
    double value = distances_[row];
    for (std::size_t s = 0; s < shapes_; ++s) value -= moved_[row * shapes_ + s] * weights_[s];
    return value;
  };
  for (std::size_t row = 0; row < rows_; ++row) {
    if (!seen_[row / 3]) continue;
    const double value = left(row);
    for (std::size_t i = 0; i < nuisances_; ++i) leftover_[i] += nuisance_[row * nuisances_ + i] * value;
  }
  SolveFactorised(normal_, nuisances_, leftover_.data(), 1);
  double squares = 0, count = 0;
  for (std::size_t row = 0; row < rows_; ++row) {
    if (!seen_[row / 3] || trust_[row] == 0) continue;
    double value = left(row);
    for (std::size_t i = 0; i < nuisances_; ++i) value -= nuisance_[row * nuisances_ + i] * leftover_[i];
    value /= trust_[row];
    squares += value * value;
    count += 1.0 / 3;
  }
  return count > 0 ? std::sqrt(squares / count) : 0;
}

/// The Hessian of the points alone, all of them seen.
std::vector<double> ShapeFit::Information() const {
  ShapeFit all = *this;
  std::fill(all.seen_.begin(), all.seen_.end(), true);
  all.Prepare();
  for (std::size_t s = 0; s < shapes_; ++s)
    all.hessian_[s * shapes_ + s] -= settings_.damping + settings_.inertia;
  return std::move(all.hessian_);
}

std::vector<double> ShapeFit::Uncertainty(double noise_mm) const {
  std::vector<double> information = Information();
  for (double& value : information) value /= noise_mm * noise_mm;
  for (std::size_t s = 0; s < shapes_; ++s) information[s * shapes_ + s] += 1;
  Factorise(information, shapes_);
  std::vector<double> uncertain(shapes_);
  for (std::size_t s = 0; s < shapes_; ++s) {
    std::vector<double> unit(shapes_);
    unit[s] = 1;
    SolveFactorised(information, shapes_, unit.data(), 1);
    uncertain[s] = std::sqrt(unit[s]);
  }
  return uncertain;
}

std::vector<double> ShapeFit::Response() const {
  const std::vector<double> information = Information();
  std::vector<double> damped = information;
  for (std::size_t s = 0; s < shapes_; ++s) damped[s * shapes_ + s] += settings_.damping;
  Factorise(damped, shapes_);
  std::vector<double> response(shapes_);
  for (std::size_t s = 0; s < shapes_; ++s) {
    std::vector<double> alone(shapes_);
    for (std::size_t t = 0; t < shapes_; ++t) alone[t] = information[t * shapes_ + s];
    SolveFactorised(damped, shapes_, alone.data(), 1);
    response[s] = alone[s];
  }
  return response;
}

} // namespace mien
