#pragma once

// A face with markers in known places that speaks, blinks, smiles, raises its brows and turns, and the
// performer that a guess has to find in it.

#include "host/performer/performer.h"
#include "host/takes/take.h"
#include "tests/host/plain_face.h"
#include "tests/random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/// The face at rest, in millimetres: x to its left, y up, z out of it. "L" and "R" are mirror images, but for
/// a millimetre or two. "Cap1" to "Cap5" are on a cap.
inline mien::NeutralPose RestingFace() {
  mien::NeutralPose face = {
      {"NoseRoot", {0.5, 3, 18}},  {"NoseTip", {-0.5, -27, 37}}, {"LipUpMid", {0.3, -60, 24}},
      {"LipLowMid", {1, -79, 19}}, {"ChinMid", {-1, -101, 11}},  {"Cap1", {5, 108, -5}},
      {"Cap2", {62, 85, -45}},     {"Cap3", {-60, 88, -40}},     {"Cap4", {35, 122, -60}},
      {"Cap5", {-40, 95, -85}},
  };
  const std::pair<const char*, mien::Point> left[] = {
      {"BrowIn", {14, 24, 13}},     {"BrowMid", {31, 30, 7}},  {"BrowOut", {52, 22, -10}},
      {"LidUp", {31, 7, 3}},        {"LidLow", {31, -5, 2}},   {"CheekUp", {35, -27, 3}},
      {"CheekLow", {46, -62, -12}}, {"Wing", {16, -41, 16}},   {"LipUp", {10, -59, 21}},
      {"Corner", {26, -68, 7}},     {"LipLow", {11, -77, 17}}, {"Chin", {15, -100, 7}},
  };
  Random random(3);
  for (const auto& [name, p] : left) {
    face[std::string(name) + "L"] = p;
    face[std::string(name) + "R"] = {-p.x + random.Between(-1, 1), p.y + random.Between(-1, 1),
                                     p.z + random.Between(-1, 1)};
  }
  return face;
}

/// Its performer, as a person would write it. On the lips from left to right, on the sides outwards.
inline mien::Performer SpeakingPerformer() {
  mien::Performer performer;
  performer.head = {"Cap1", "Cap2", "Cap3", "Cap4", "Cap5"};
  performer.holders[0] = {{{"CornerL"},
                           {"LipUpL", "LipUpMid", "LipUpR"},
                           {"LipLowL", "LipLowMid", "LipLowR"},
                           {"CornerR"},
                           {"ChinL", "ChinMid", "ChinR"}}};
  for (const std::size_t side : {0U, 1U}) {
    const std::string s = side == 0 ? "L" : "R";
    performer.holders[1 + side] = {{{"BrowMid" + s, "BrowOut" + s}, {"BrowIn" + s}, {}, {}, {}}};
    performer.holders[3 + side] = {{{"LidUp" + s}, {"LidLow" + s}, {}, {}, {}}};
    performer.holders[5 + side] = {{{"CheekUp" + s, "CheekLow" + s}, {}, {}, {}, {}}};
    performer.holders[7 + side] = {{{"Wing" + s}, {}, {}, {}, {}}};
  }
  return performer;
}

/// The face in frame f of its performance, without the head's motion. The mouth is shut in half of the
/// frames.
inline mien::NeutralPose SpeakingFace(std::size_t f) {
  mien::NeutralPose face = RestingFace();
  const auto t = static_cast<double>(f);
  const double open = 18 * std::max(0.0, std::sin(0.4 * t)), smile = std::max(0.0, std::sin(0.11 * t + 2)),
               brows = 6 * std::max(0.0, std::sin(0.07 * t)), blink = f % 30 < 3 ? 9 : 0;
  for (const char* name : {"LipLowL", "LipLowMid", "LipLowR", "ChinL", "ChinMid", "ChinR"})
    face[name].y -= open, face[name].z -= 0.3 * open;
  for (const char* name : {"LipUpL", "LipUpMid", "LipUpR", "WingL", "WingR"}) face[name].y += 2 * smile;
  for (const std::string side : {"L", "R"}) {
    face["Corner" + side].y += 5 * smile - 0.4 * open;
    face["Corner" + side].x += side == "L" ? 4 * smile : -4 * smile;
    for (const char* name : {"CheekUp", "CheekLow"}) face[name + side].y += 4 * smile;
    face["LidUp" + side].y -= blink;
    face["LidLow" + side].y += 0.1 * blink + smile;
    for (const char* name : {"BrowIn", "BrowMid", "BrowOut"}) face[name + side].y += brows;
  }
  face["NoseRoot"].y += 0.4 * brows;
  face["NoseTip"].y += smile;
  return face;
}

/// A head that turns by some 15 degrees, in a room whose axes the face does not have.
inline VgeAMatrix SpeakingHead(std::size_t f) {
  const auto t = static_cast<double>(f);
  return Motion({8 * std::sin(t * 0.05), 15 * std::sin(t * 0.031), 5 * std::sin(t * 0.043)},
                {30 * std::sin(t * 0.02) + 300, 1500, 20 * std::sin(t * 0.033)});
}

/// 150 frames of the markers of `names`, or of all; each coordinate with noise of up to `noise_mm`.
inline mien::Take SpeakingTake(std::vector<std::string> names = {}, double noise_mm = 0.2) {
  if (names.empty())
    for (const auto& [name, p] : RestingFace()) names.push_back(name);
  mien::Take take(names);
  take.file = "take.csv";
  take.name = "take";
  take.rate = {30, 1};
  Random random(11);
  constexpr std::size_t kFrames = 150;
  for (std::size_t f = 0; f < kFrames; ++f) {
    mien::NeutralPose face = SpeakingFace(f);
    for (auto& [name, p] : face)
      for (double* axis : {&p.x, &p.y, &p.z}) *axis += random.Between(-noise_mm, noise_mm);
    Film(take, face, SpeakingHead(f));
  }
  return take;
}

/// All of its markers but these.
inline std::vector<std::string> AllBut(const std::vector<std::string>& left_out) {
  std::vector<std::string> names;
  for (const auto& [name, p] : RestingFace())
    if (std::find(left_out.begin(), left_out.end(), name) == left_out.end()) names.push_back(name);
  return names;
}

/// The same take after `motion`, with its markers in the order of `markers` (indices) and with other names.
inline mien::Take Changed(const mien::Take& take, const VgeAMatrix& motion,
                          const std::vector<std::size_t>& markers, const std::vector<std::string>& names) {
  mien::Take changed(names);
  changed.file = take.file;
  changed.name = take.name;
  changed.rate = take.rate;
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    changed.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t m = 0; m < markers.size(); ++m)
      if (const mien::Point* p = take.At(f, markers[m])) changed.Set(f, m, Carried(motion, *p));
  }
  return changed;
}

/// Its markers and more, each at `place(frame, index)`.
template <class PlaceAt>
mien::Take With(const mien::Take& take, const std::vector<std::string>& more, const PlaceAt& place) {
  std::vector<std::string> names = take.markers;
  names.insert(names.end(), more.begin(), more.end());
  mien::Take larger(names);
  larger.file = take.file;
  larger.name = take.name;
  larger.rate = take.rate;
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    larger.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if (const mien::Point* p = take.At(f, m)) larger.Set(f, m, *p);
    for (std::size_t i = 0; i < more.size(); ++i) larger.Set(f, take.MarkerCount() + i, place(f, i));
  }
  return larger;
}

} // namespace tests
