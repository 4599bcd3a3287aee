#pragma once

#include "host/base/point.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace mien {

/// What a fit of shapes weighs against each other; all in units of a squared millimetre.
struct ShapeFitSettings {
  double damping = 60;     ///< on the square of each weight: a shape needs evidence
  double inertia = 60;     ///< on the square of each weight's change from the frame before
  double rigid = 2;        ///< on the square of a rest of rigid motion that is left in the points
  double shift = 0.5;      ///< on the square of a shift of a region along x or y
  double most = 1.25;      ///< the largest weight; the smallest is 0
  double tolerance = 1e-5; ///< the sweeps end when no weight changes by more
};

/// The points of a face and how they move with its shapes.
struct ShapeFitPoints {
  std::size_t shapes = 0;
  std::vector<Point> rest;  ///< in millimetres
  std::vector<Point> moved; ///< at weight 1, from rest (size: points x shapes)
  std::vector<Point> trust; ///< factors on the distances along x, y and z; 0 or more (size: points)
  std::vector<std::vector<std::size_t>> regions; ///< points that a tracker may shift together along x and y
};

/// Fits the weights of all shapes to all points of a face together, frame by frame: the weights w from 0 to
/// `most` that minimise
///
///     sum over points |trust (x - rest - moved w - rigid - shift)|^2
///       + damping |w|^2 + inertia |w - w of the frame before|^2 + `rigid` |rigid|^2 + `shift` |shift|^2
///
/// The rigid rest is six numbers (three translations in millimetres, three rotations in units that move a
/// point 70 mm away by one), a shift two for each region. Points that are not seen are left out of the sum.
///
/// Convex, so that the minimum does not depend on where the search starts. Rigid motion and shifts are
/// eliminated beforehand; the weights are found by coordinate descent from those of the frame before. All sums
/// have a fixed order: the same frames give the same bits everywhere. A frame depends only on itself and those
/// before it, and allocates nothing.
class ShapeFit {
public:
  ShapeFit(ShapeFitPoints points, const ShapeFitSettings& settings);

  std::size_t PointCount() const { return points_.rest.size(); }

  /// The weights (size: shapes) in a frame in which the points are at these places (size: points; nothing for
  /// a hidden one). Without any point the weights keep those of the frame before. Valid until the next call.
  const std::vector<double>& Solve(std::span<const std::optional<Point>> seen);

  /// Forgets the frame before: the next one is fitted by itself.
  void Restart() { has_previous_ = false; }

  /// How far the points are from those that the weights give back, rigid rest and shifts included: the root
  /// of the mean square over the seen points of the frame solved last, in millimetres.
  double Residual();

  /// The sweeps that the last frame took.
  std::size_t Sweeps() const { return sweeps_; }

  /// How uncertain each weight is with all points seen, if each coordinate has noise of this standard
  /// deviation: the standard deviation of the weight that the points leave of one that is 1 beforehand. Near
  /// 1: the points do not show the shape, or not apart from others.
  std::vector<double> Uncertainty(double noise_mm) const;

  /// What damping leaves of each shape: its weight, all points seen, on a face that makes this shape alone at
  /// 1, were weights not limited. 0 to 1.
  std::vector<double> Response() const;

private:
  std::vector<double> Information() const;
  void Prepare();
  void Descend();

  ShapeFitPoints points_;
  ShapeFitSettings settings_;
  std::size_t shapes_, rows_, nuisances_;

  // Row-major.
  std::vector<double> moved_;    // trust times moved (rows x shapes)
  std::vector<double> nuisance_; // trust times rigid motions and shifts (rows x nuisances)
  std::vector<double> penalty_;  // (nuisances)
  std::vector<double> trust_;    // (rows)

  // For the points that were seen last.
  std::vector<bool> seen_;
  std::vector<double> normal_;    // of the nuisances: its Cholesky factor (nuisances x nuisances)
  std::vector<double> crossed_;   // nuisances against shapes, then solved (nuisances x shapes)
  std::vector<double> projected_; // from distances to the right-hand side (shapes x rows)
  std::vector<double> hessian_;   // (shapes x shapes), damping and inertia included

  std::vector<double> distances_; // (rows)
  std::vector<double> evidence_;  // projected_ times distances_ (shapes)
  std::vector<double> right_;     // evidence_, with the inertia (shapes)
  std::vector<double> gradient_, weights_, previous_;
  std::vector<double> leftover_; // (nuisances)
  bool has_previous_ = false;
  std::size_t sweeps_ = 0;
};

} // namespace mien
