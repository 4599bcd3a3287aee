#pragma once

// The plain face with more markers that move with the skull alone: beside the eyes, at the root of the nose,
// at the temples.

#include "host/performer/performer.h"
#include "host/takes/take.h"
#include "tests/host/plain_face.h"

#include <string>
#include <utility>
#include <vector>

namespace tests {

/// Those that the plain face lacks. The eyes' corners are 7 to 11 mm from the middle of their eye's lids, the
/// root of the nose 17 mm from either; the lids of both eyes are 32 mm apart.
inline mien::NeutralPose RigidPlaces() {
  mien::NeutralPose places = {{"Root", {0, 49, 95}}};
  const std::pair<const char*, mien::Point> left[] = {
      {"EyeIn", {9, 47, 91}}, {"EyeOut", {26, 47, 86}}, {"Temple", {70, 50, 10}}};
  for (const auto& [name, p] : left) {
    places[std::string(name) + "L"] = p;
    places[std::string(name) + "R"] = {-p.x, p.y, p.z};
  }
  return places;
}

inline mien::NeutralPose RigidFace() {
  mien::NeutralPose face = PlainFace();
  face.merge(RigidPlaces());
  return face;
}

inline std::vector<std::string> RigidNames() {
  std::vector<std::string> names;
  for (const auto& [name, p] : RigidPlaces()) names.push_back(name);
  return names;
}

/// A take of the face's markers and of those, that has no frame yet.
inline mien::Take EmptyRigidTake() { return EmptyTake(RigidNames()); }

/// The plain performer, whose rigid markers are its head markers and those.
inline mien::Performer RigidPerformer() {
  mien::Performer performer = PlainPerformer();
  performer.rigid = performer.head;
  for (const std::string& name : RigidNames()) performer.rigid.push_back(name);
  return performer;
}

} // namespace tests
