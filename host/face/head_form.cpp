#include "host/face/head_form.h"

#include <array>

namespace mien {

namespace {

/// An outline of the head: where it crosses the middle of the face, where it is widest, where it crosses the
/// middle of the back. `square`: how flat the face is across; below 0 it is pointed.
struct Outline {
  double down;
  double front_y, front_z;
  double width, side_y, side_z;
  double back_y, back_z;
  double square;
};

constexpr Outline kOutlines[] = {{0.0, 20.8, 8.0, 0.0, 20.8, 8.0, 20.8, 8.0, 0},
                                 {2.0, 20.7, 10.0, 2.1, 20.65, 8.0, 20.65, 6.0, 0},
                                 {4.0, 20.2, 12.0, 4.1, 20.1, 8.0, 20.1, 4.0, 0},
                                 {6.0, 19.3, 13.8, 5.6, 19.0, 8.0, 19.1, 2.2, 0.05},
                                 {8.0, 18.0, 15.3, 6.7, 17.5, 8.0, 17.6, 0.7, 0.1},
                                 {11.0, 15.5, 17.0, 7.55, 14.9, 7.9, 14.5, -0.7, 0.2},
                                 {13.6, 13.0, 17.85, 7.7, 12.4, 7.9, 11.9, -1.0, 0.25},
                                 {15.0, 11.6, 18.0, 7.5, 10.8, 8.1, 10.2, -0.8, 0.25},
                                 {17.0, 9.6, 17.7, 7.2, 9.0, 8.5, 8.5, -0.1, 0.3},
                                 {19.4, 7.2, 17.7, 6.85, 7.2, 8.9, 6.9, 0.8, 0.3},
                                 {21.6, 5.0, 18.0, 6.4, 5.6, 9.0, 5.5, 1.7, 0.25},
                                 {24.0, 2.64, 18.05, 5.85, 4.0, 9.0, 4.3, 2.5, 0.15},
                                 {26.0, 0.7, 17.7, 5.4, 2.7, 9.0, 3.5, 3.1, 0.0},
                                 {27.4, -0.7, 17.4, 5.0, 1.8, 9.0, 3.0, 3.6, -0.1},
                                 {28.6, -1.6, 16.6, 4.6, 1.2, 8.9, 2.6, 4.1, -0.15},
                                 {30.0, -1.75, 15.2, 4.0, 0.8, 8.8, 2.4, 4.6, -0.1},
                                 {33.0, -0.8, 12.0, 2.4, 0.9, 8.3, 2.0, 6.0, 0},
                                 {36.0, 0.6, 8.0, 0.0, 0.6, 8.0, 0.6, 8.0, 0}};

Spline Along(double Outline::*value) {
  std::vector<Spline::Knot> knots;
  for (const Outline& outline : kOutlines) knots.push_back({outline.down, outline.*value});
  return Spline(knots);
}

/// The outlines between the listed ones.
Outline At(double down) {
  static const std::array<Spline, 8> curves = {
      Along(&Outline::front_y), Along(&Outline::front_z), Along(&Outline::width),  Along(&Outline::side_y),
      Along(&Outline::side_z),  Along(&Outline::back_y),  Along(&Outline::back_z), Along(&Outline::square)};
  return {down,
          curves[0](down),
          curves[1](down),
          curves[2](down),
          curves[3](down),
          curves[4](down),
          curves[5](down),
          curves[6](down),
          curves[7](down)};
}

/// Of a quarter of an outline: from 1 in the middle to 0 at the side.
double Forward(double across, double square) {
  const double round = std::sqrt(std::max(0.0, 1 - across * across));
  const double squarer = std::sqrt(std::sqrt(std::max(0.0, 1 - across * across * across * across)));
  return Mix(round, squarer, square);
}

/// The nose: how far it stands out along its ridge, and half its width, by the height.
Vec Nose(const Vec& p) {
  static const Spline ridge = {{4.75, 0},   {5.05, 0.28}, {5.35, 1.05}, {5.7, 1.9},
                               {6.1, 2.3},  {6.55, 2.25}, {7.2, 1.8},   {8.2, 1.28},
                               {9.2, 0.78}, {10.0, 0.42}, {10.8, 0.2},  {11.8, 0.0}};
  static const Spline width = {{4.9, 0.95}, {5.6, 1.1}, {6.2, 1.12}, {7.0, 1.0},
                               {8.5, 0.95}, {10, 1.1},  {11.5, 1.6}};
  const double u = p.x / width(p.y);
  const double out = ridge(p.y) * (0.45 * Ramp(u * u, 0.75, 0) + 0.55 * Bell(u / 1.55));
  Vec nose = {0, -0.12 * out * Ramp(p.y, 7.5, 5.6), out};
  const double wing = Bell((p.x - 1.2) / 0.8, (p.y - 5.75) / 0.85);
  nose += {0.22 * wing, -0.1 * wing, 0.75 * wing};
  const double nostril = Bell((p.x - 0.72) / 0.5, (p.y - 5.2) / 0.33);
  nose += {0, 0.28 * nostril, -0.25 * nostril};
  return nose;
}

/// Brow ridge, sockets, cheeks, muzzle and chin: by how much they are before the outlines, or behind.
double Relief(double x, double y) {
  double z = 0;
  z += 0.35 * Bell((x - 2.9) / 3.2, (y - 11.7 + 0.05 * x * x) / 1.5); // brow ridge
  z -= 0.85 * Bell((x - 3.1) / 2.3, (y - 9.7) / 1.9);                 // socket
  z -= 0.2 * Bell((x - 1.5) / 1.0, (y - 9.7) / 1.5);                  // beside the nose
  z += 0.5 * Bell((x - 4.5) / 2.8, (y - 7.2) / 2.3);                  // cheekbone
  z -= 0.25 * Bell((x - 4.4) / 2.2, (y - 3.6) / 2.6);                 // below it
  z += 0.85 * Bell(x / 3.4, (y - 2.9) / 3.1);                         // muzzle
  z -= 0.45 * Bell(x / 2.4, (y - 0.95) / 1.0);                        // between lip and chin
  z += 0.55 * Bell(x / 2.2, (y + 0.55) / 1.5);                        // chin
  z -= 0.09 * Bell(x / 0.7, (y - 4.0) / 0.9);                         // philtrum
  z -= 0.25 * Bell((x - 6.3) / 1.8, (y - 10.8) / 2.6);                // temple
  return z;
}

} // namespace

double HalfWidth(double down) { return At(down).width; }

double OnLids(double x, double y) {
  const double dx = x - kEye.x, dy = y - kEye.y;
  return kEye.z + std::sqrt(std::max(0.0, kLidRadius * kLidRadius - dx * dx - dy * dy));
}

double OverEye(double x, double y, double under) {
  const double dx = x - kEye.x, dy = y - kEye.y;
  if (dx * dx + dy * dy >= kLidRadius * kLidRadius) return under;
  return SmoothMax(under, OnLids(x, y), 0.3);
}

FormPoint OnFront(double down, double across) {
  const Outline o = At(down);
  const double forward = Forward(across, o.square);
  Vec p = {o.width * across, Mix(o.side_y, o.front_y, forward), Mix(o.side_z, o.front_z, forward)};
  const double x = p.x, y = p.y;
  if (p.z > 11) {
    const double front = Ramp(p.z, 11, 14);
    p.z += front * Relief(x, y);
    p += front * Nose({x, y, 0});
  }
  const double under = p.z;
  p.z = OverEye(p.x, p.y, p.z);
  return {p, under};
}

Vec OnBack(double down, double across) {
  const Outline o = At(down);
  const double back = Forward(across, 0);
  return {o.width * across, Mix(o.side_y, o.back_y, back), Mix(o.side_z, o.back_z, back)};
}

} // namespace mien
