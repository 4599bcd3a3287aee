#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

// The arithmetic of the built-in head. With the library's elementary functions beside + - * / and sqrt, every
// build gets the same bits.

namespace mien {

/// A place or a displacement, in centimetres: x to the face's own left, y up, z out of the face.
struct Vec {
  double x = 0, y = 0, z = 0;

  friend Vec operator+(const Vec& a, const Vec& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend Vec operator-(const Vec& a, const Vec& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend Vec operator*(double f, const Vec& v) { return {f * v.x, f * v.y, f * v.z}; }
  Vec& operator+=(const Vec& v) { return *this = *this + v; }
};

inline Vec Mirrored(const Vec& v) { return {-v.x, v.y, v.z}; }

inline Vec Cross(const Vec& a, const Vec& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double Dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

inline double Length(const Vec& v) { return std::sqrt(Dot(v, v)); }

inline double Mix(double a, double b, double share) { return a + share * (b - a); }

/// 0 where `v` is at `zero` or beyond, 1 at `one` or beyond, smooth between; `zero` may be the larger.
inline double Ramp(double v, double zero, double one) {
  const double t = std::clamp((v - zero) / (one - zero), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

/// 1 at the distance 0, 0 from the distance 1 on, smooth between; even.
inline double Bell(double distance) {
  const double left = 1 - distance * distance;
  return left > 0 ? left * left : 0;
}

/// A bell over an ellipse.
inline double Bell(double x, double y) { return Bell(std::sqrt(x * x + y * y)); }

/// The larger of two numbers, smooth within `soft` of each other, where it is up to a quarter of it larger.
inline double SmoothMax(double a, double b, double soft) {
  const double left = std::max(soft - std::fabs(a - b), 0.0) / soft;
  return std::max(a, b) + left * left * soft / 4;
}

/// A smooth curve through its knots; constant beyond them.
class Spline {
public:
  struct Knot {
    double at, value;
  };
  Spline(std::initializer_list<Knot> knots) : knots_(knots) {}
  explicit Spline(std::vector<Knot> knots) : knots_(std::move(knots)) {}

  double operator()(double at) const {
    if (at <= knots_.front().at) return knots_.front().value;
    if (at >= knots_.back().at) return knots_.back().value;
    std::size_t i = 1;
    while (at > knots_[i].at) ++i;
    const Knot &a = knots_[i - 1], &b = knots_[i];
    const double length = b.at - a.at, t = (at - a.at) / length;
    const double h = t * t * (3 - 2 * t);
    return Mix(a.value, b.value, h) +
           length * (t * (1 - t) * (1 - t) * Slope(i - 1) - t * t * (1 - t) * Slope(i));
  }

private:
  double Slope(std::size_t i) const {
    const Knot &before = knots_[i > 0 ? i - 1 : 0], &after = knots_[std::min(i + 1, knots_.size() - 1)];
    return (after.value - before.value) / (after.at - before.at);
  }

  std::vector<Knot> knots_;
};

} // namespace mien
