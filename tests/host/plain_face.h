#pragma once

// A face with markers in known positions, without noise, for tests to animate and move.

#include "host/performer/performer.h"
#include "host/takes/take.h"
#include "mien/base/affine.h"
#include "mien/base/geometry.h"
#include "tests/random.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/// The markers' positions, in millimetres: the face looks along +z, x to its left, y up. Its left side
/// mirrors its right one. "H1" to "H5" are on the head; any three of them form a triangle without an angle
/// below 20 degrees.
inline mien::NeutralPose PlainFace() {
  mien::NeutralPose face = {
      {"H1", {0, 150, 80}},    {"H2", {70, 120, 20}},  {"H3", {-70, 120, 20}}, {"H4", {40, 170, -50}},
      {"H5", {-40, 100, -70}}, {"LipUp", {0, 18, 99}}, {"LipLow", {0, 9, 98}}, {"Chin", {0, -12, 95}},
  };
  const std::pair<const char*, mien::Point> left[] = {
      {"Corner", {25, 13, 92}},  {"Brow", {20, 59, 92}},  {"BrowOut", {31, 56, 86}},
      {"BrowIn", {8, 54, 95}},   {"LidUp", {16, 52, 91}}, {"LidLow", {16, 44, 91}},
      {"CheekUp", {26, 36, 89}}, {"Cheek", {30, 26, 86}}, {"Nose", {9, 25, 97}},
  };
  for (const auto& [name, p] : left) {
    face[std::string(name) + "L"] = p;
    face[std::string(name) + "R"] = {-p.x, p.y, p.z};
  }
  return face;
}

inline mien::Performer PlainPerformer() {
  mien::Performer performer;
  performer.name = "plain";
  performer.file = "plain.json";
  performer.head = {"H1", "H2", "H3", "H4", "H5"};
  performer.holders[0] = {{{"CornerL"}, {"LipUp"}, {"LipLow"}, {"CornerR"}, {"Chin"}}};
  performer.holders[1] = {{{"BrowL", "BrowOutL"}, {"BrowInL"}, {}, {}, {}}};
  performer.holders[2] = {{{"BrowR", "BrowOutR"}, {"BrowInR"}, {}, {}, {}}};
  performer.holders[3] = {{{"LidUpL"}, {"LidLowL"}, {}, {}, {}}};
  performer.holders[4] = {{{"LidUpR"}, {"LidLowR"}, {}, {}, {}}};
  performer.holders[5] = {{{"CheekUpL", "CheekL"}, {}, {}, {}, {}}};
  performer.holders[6] = {{{"CheekUpR", "CheekR"}, {}, {}, {}, {}}};
  performer.holders[7] = {{{"NoseL"}, {}, {}, {}, {}}};
  performer.holders[8] = {{{"NoseR"}, {}, {}, {}, {}}};
  return performer;
}

inline mien::Point Carried(const VgeAMatrix& motion, const mien::Point& p) {
  const VgeTVector q = mien::TransformPoint(motion, {p.x, p.y, p.z});
  return {q.x, q.y, q.z};
}

inline mien::NeutralPose Carried(const VgeAMatrix& motion, mien::NeutralPose pose) {
  for (auto& [name, p] : pose) p = Carried(motion, p);
  return pose;
}

/// The rigid motion that rotates by these angles about x, y and z, in that order, and then translates.
inline VgeAMatrix Motion(const VgeRVector& degrees, const mien::Point& shift) {
  VgeRMatrix rotation;
  VTxRotationOrder().V2M(rotation, degrees);
  VgeAMatrix motion;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) motion.m[column][row] = rotation.m[column][row];
  mien::SetColumn(motion, 3, {shift.x, shift.y, shift.z});
  return motion;
}

/// A random rotation, and a translation within a room of four metres.
inline VgeAMatrix AnyMotion(Random& random) {
  const auto angle = [&random](double most) { return random.Between(-most, most); };
  const auto metres = [&random] { return random.Between(-2000, 2000); };
  const VgeRVector degrees(angle(180), angle(90), angle(180));
  return Motion(degrees, {metres(), metres(), metres()});
}

/// The largest difference of two transforms, element by element.
inline double Difference(const VgeAMatrix& a, const VgeAMatrix& b) {
  double most = 0;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row) {
      const double difference = std::fabs(a.m[column][row] - b.m[column][row]);
      if (!(difference <= most)) most = difference; // a NaN is kept
    }
  return most;
}

/// A take of the face's markers and `more`, without frames.
inline mien::Take EmptyTake(const std::vector<std::string>& more = {}) {
  std::vector<std::string> names = more;
  for (const auto& [name, p] : PlainFace()) names.push_back(name);
  mien::Take take(names);
  take.name = "plain take";
  take.rate = {30, 1};
  return take;
}

/// Appends a frame, numbered from 1, with the face moved by `motion`. Returns its index.
inline std::size_t Film(mien::Take& take, const mien::NeutralPose& face, const VgeAMatrix& motion = {}) {
  const auto number = static_cast<std::int64_t>(take.FrameCount()) + 1;
  const std::size_t f = take.AddFrame(number, static_cast<double>(number - 1) / 30);
  for (const auto& [name, p] : face)
    if (const auto m = take.FindMarker(name)) take.Set(f, *m, Carried(motion, p));
  return f;
}

inline void Hide(mien::Take& take, std::size_t frame, const std::vector<std::string>& markers) {
  for (const std::string& name : markers) take.Clear(frame, take.FindMarker(name).value());
}

} // namespace tests
