#include "host/face/shapes.h"

#include "host/character/arkit_names.h"
#include "host/face/head_form.h"
#include "host/face/skin.h"
#include "mien/base/elementary.h"

#include <array>
#include <string>
#include <string_view>

// Each shape is a field over the resting face. Fields that lips share depend on the distance from the line
// between them, whatever its side, so that lips that meet stay together; those that part them ask for the
// lip.

namespace mien {

namespace {

/// A vertex of either half.
struct Spot {
  Vec at;
  const Vertex* vertex;
};

bool IsUpper(const Spot& s) { return s.vertex->lip == Vertex::Lip::Upper; }
bool IsTeethOrTongue(const Spot& s) { return s.vertex->tissue != Tissue::Skin; }

/// How far above the line between the lips; for what is behind the lips no further than they are.
double AboveMouth(const Spot& s) {
  const double above = s.vertex->above_mouth;
  return s.vertex->rolled > 0 ? IsUpper(s) ? std::max(above, 0.0) : std::min(above, 0.0) : above;
}

/// x in widths of half a mouth.
double AcrossMouth(const Spot& s) { return s.at.x / kMouthCorner; }

// --- The jaw

/// How much of a vertex at this place follows the jaw: on the line between the lips, nothing of the upper
/// one and all of the lower one in the middle, half of both at the corners.
double JawShare(const Spot& s) {
  if (s.vertex->tissue == Tissue::UpperTeeth) return 0;
  if (IsTeethOrTongue(s)) return 1;
  const double x = std::fabs(s.at.x), a = std::min(x / kMouthCorner, 1.0);
  const double above = AboveMouth(s) - 2.6 * Ramp(x, kMouthCorner, 7); // beyond the corners towards the ear
  const bool upper = x < kMouthCorner ? IsUpper(s) : above > 0;
  const double decay = Ramp(std::fabs(above), Mix(1.9, 3.4, Ramp(x, 1.5, 6)), 0);
  const double shared = 0.5 * a * a * a * decay;
  const double share = upper ? shared : 1 - shared;
  if (s.vertex->rolled == 1 && s.at.z < 16) return Mix(0.35, share, Ramp(s.at.z, 14, 16)); // the throat
  return share * Ramp(s.at.z, 6.0, 12.5);
}

constexpr Vec kHinge = {0, 7, 9};

/// Where the open jaw takes a place.
Vec JawDrop(const Vec& at) {
  static const SineAndCosine turn = SineAndCosineOfDegrees(21);
  const double y = at.y - kHinge.y, z = at.z - kHinge.z;
  return {0, turn.cosine * y - turn.sine * z - y, turn.sine * y + turn.cosine * z - z};
}

// --- Fields around the mouth

/// Of the face and the lips' inside, how much it moves with the lips; nothing of the neck and of what they
/// hide.
double WithLips(const Spot& s) { return IsTeethOrTongue(s) ? 0 : s.vertex->with_lips * Ramp(s.at.z, 10, 13); }

/// Around the left corner: how much of the corner's pull arrives.
double CornerShare(const Spot& s) {
  const double along =
      Ramp(s.at.x, -0.7, kMouthCorner) * Ramp(s.at.x, kMouthCorner + 3.0, kMouthCorner + 0.1);
  return along * Bell(AboveMouth(s) / (s.at.x > kMouthCorner ? 3.0 : 2.7)) * WithLips(s);
}

/// Around the whole mouth.
double MouthShare(const Spot& s, double wide, double high) {
  const double distance =
      std::sqrt(s.at.x * s.at.x / (wide * wide) + AboveMouth(s) * AboveMouth(s) / (high * high));
  return Ramp(distance, 1, 0.25) * WithLips(s);
}

/// One lip: 1 on its edge, 0 as far above or below it as `high`; all along the mouth but for its corners.
double LipShare(const Spot& s, bool upper, double high) {
  if (IsUpper(s) != upper) return 0;
  const double a = std::fabs(AcrossMouth(s));
  if (a >= 1) return 0;
  return Ramp(std::fabs(AboveMouth(s)), high, 0.2) * (1 - a * a) * (1 + 0.4 * a * a) * WithLips(s);
}

/// The left half of what both halves of the mouth do.
double LeftOfMouth(const Spot& s) { return Ramp(s.at.x, -0.9, 0.9); }

Vec CloseMouth(const Spot& s) {
  const double a = std::min(std::fabs(AcrossMouth(s)), 1.0);
  const Vec gap = (1 - a * a * a) * JawDrop(s.at); // between the lips' edges, with the jaw open
  const double above = AboveMouth(s);
  const double share = IsUpper(s) ? 0.28 * Ramp(above, 2.0, 0.15) : -0.72 * Ramp(-above, 3.2, 0.75);
  return share * WithLips(s) * gap;
}

/// Narrows the mouth to this share, its skin beyond the corners following.
double Narrowed(const Spot& s, double to, double high) {
  if (IsTeethOrTongue(s)) return 0;
  const double x = std::fabs(s.at.x), side = s.at.x < 0 ? -1 : 1;
  const double moved = std::min(x, kMouthCorner) * Ramp(x, kMouthCorner + 3.2, kMouthCorner);
  const double follow =
      Mix(0.75, 1, s.vertex->with_lips); // of the lips' inside, which must not come out of the cheeks
  return side * (to - 1) * moved * Bell(AboveMouth(s) / high) * follow * Ramp(s.at.z, 10, 13);
}

Vec Smile(const Spot& s) {
  const auto& [x, y, z] = s.at;
  Vec move =
      CornerShare(s) * Vec{0.95, 0.85, -0.6} + LeftOfMouth(s) * MouthShare(s, 3.2, 1.7) * Vec{0, 0.25, -0.1};
  const double cheek = Bell((x - 4.0) / 2.5, (y - 6.1) / 2.3) * Ramp(z, 10, 13);
  move += cheek * Vec{0.15, 0.5, 0.38};
  const double fold =
      Bell((x - 3.0 + 0.45 * (y - 3.6)) / 0.7, (y - 4.0) / 1.7) * Ramp(z, 10, 13); // from nose to corner
  move.z -= 0.12 * fold;
  return move;
}

Vec Roll(const Spot& s, bool upper) {
  const double lip = LipShare(s, upper, 1.5);
  const double in = lip * (0.25 + 0.75 * s.vertex->rolled);
  const double up = upper ? 1 : -1;
  return {0, -up * (0.34 * lip - 0.16 * in), -0.42 * in - 0.12 * lip};
}

// --- The eyes

/// Slides a lid on the eyeball; nothing off the lids.
Vec SlideLid(const Spot& s, double x, double y) {
  const double side = s.at.x < 0 ? -1 : 1;
  const double ax = side * s.at.x;
  const double before = OverEye(ax, s.at.y, s.vertex->under),
               after = OverEye(ax + side * x, s.at.y + y, s.vertex->under);
  return {x, y, after - before};
}

/// The lids of the left eye, as shares of the way to its being shut; `x` as a share of the same way.
Vec Lids(const Spot& s, double upper, double lower, double x = 0) {
  const double shut = s.vertex->shut;
  if (s.at.x < 0 || shut == 0) return {};
  return SlideLid(s, x * std::fabs(shut) * (shut < 0 ? 1 : 6), (shut < 0 ? upper : lower) * shut);
}

// --- Brows, cheeks, nose

/// Along the brows, by how the forehead above and the skin below follow.
double BrowShare(const Spot& s, double centre, double reach) {
  if (s.at.z < 9 || IsTeethOrTongue(s)) return 0;
  return Bell((s.at.x - centre) / reach) * Ramp(s.at.y, 10.25, 11.4) * Ramp(s.at.y, 16.5, 12.0);
}

Vec Cheek(const Spot& s, double x, double y, double wide, double high, const Vec& move) {
  if (IsTeethOrTongue(s) || s.vertex->with_lips < 1 || s.vertex->shut != 0) return {};
  return Bell((s.at.x - x) / wide, (s.at.y - y) / high) * Ramp(s.at.z, 9, 12) * move;
}

using Field = Vec (*)(const Spot&);
struct Shape {
  std::string_view name; // without its side
  Field field;           // of the left one, or of both
};

constexpr Shape kShapes[] = {
    {"eyeBlink", [](const Spot& s) { return Lids(s, 1, 1); }},
    {"eyeLookDown", [](const Spot& s) { return Lids(s, 0.42, -1.2); }},
    {"eyeLookIn", [](const Spot& s) { return Lids(s, 0, 0, -0.12); }},
    {"eyeLookOut", [](const Spot& s) { return Lids(s, 0, 0, 0.12); }},
    {"eyeLookUp", [](const Spot& s) { return Lids(s, -0.18, 1.3); }},
    {"eyeSquint",
     [](const Spot& s) {
       return Lids(s, 0.12, 2.4) + Cheek(s, 3.6, 7.7, 2.2, 1.3, {0, 0.25, 0.12});
     }},
    {"eyeWide", [](const Spot& s) { return Lids(s, -0.34, -0.6); }},

    {"jawForward",
     [](const Spot& s) {
       return JawShare(s) * Vec{0, -0.1, 0.95};
     }},
    {"jaw",
     [](const Spot& s) {
       return JawShare(s) * Vec{0.95, 0, 0.1};
     }},
    {"jawOpen",
     [](const Spot& s) {
       Vec move = JawShare(s) * JawDrop(s.at);
       move.x += Narrowed(s, 0.88, 3.0);
       return move;
     }},
    {"mouthClose", CloseMouth},
    {"mouthFunnel",
     [](const Spot& s) {
       const double around = MouthShare(s, 4.2, 2.6);
       return Vec{Narrowed(s, 0.72, 2.6), 0, 0.55 * around} + LipShare(s, true, 1.5) * Vec{0, 0.5, 0.25} +
              LipShare(s, false, 1.7) * Vec{0, -0.75, 0.25};
     }},
    {"mouthPucker",
     [](const Spot& s) {
       const double around = MouthShare(s, 3.6, 2.3), above = AboveMouth(s);
       return Vec{Narrowed(s, 0.56, 2.7), 0.22 * above * Bell(above / 1.6) * around, 0.95 * around};
     }},
    {"mouth", // mouthLeft
     [](const Spot& s) {
       const double around = MouthShare(s, 5.2, 3.6);
       return around * Vec{1.15, 0.1, -0.16 * (s.at.x + 0.5)};
     }},
    {"mouthSmile", Smile},
    {"mouthFrown",
     [](const Spot& s) {
       return CornerShare(s) * Vec{0.2, -0.85, -0.15} +
              Cheek(s, 0, -0.2, 2.2, 1.6, {0, 0.18 * LeftOfMouth(s), 0.1 * LeftOfMouth(s)});
     }},
    {"mouthDimple",
     [](const Spot& s) {
       const double dent = Bell((s.at.x - 2.8) / 1.1, AboveMouth(s) / 1.2) * WithLips(s);
       return CornerShare(s) * Vec{0.5, 0.28, -0.5} + dent * Vec{0, 0, -0.28};
     }},
    {"mouthStretch",
     [](const Spot& s) {
       return CornerShare(s) * Vec{0.85, -0.4, -0.55};
     }},
    {"mouthRollLower", [](const Spot& s) { return Roll(s, false); }},
    {"mouthRollUpper", [](const Spot& s) { return Roll(s, true); }},
    {"mouthShrugLower",
     [](const Spot& s) {
       const double chin = Bell(s.at.x / 2.6, (s.at.y + 0.2) / 2.4) * (IsUpper(s) ? 0 : WithLips(s));
       return chin * Vec{0, 0.45, 0.2} + LipShare(s, false, 2.6) * Vec{0, 0.42, 0.42} +
              LipShare(s, true, 1.2) * Vec{0, 0.36, 0.1};
     }},
    {"mouthShrugUpper",
     [](const Spot& s) {
       return LipShare(s, true, 2.0) * Vec{0, 0.45, 0.3} + LipShare(s, false, 1.2) * Vec{0, 0.45, 0.15};
     }},
    {"mouthPress",
     [](const Spot& s) {
       const double lips = MouthShare(s, 3.2, 1.5) * LeftOfMouth(s), above = AboveMouth(s);
       return CornerShare(s) * Vec{0.2, 0.15, -0.1} + lips * Vec{0, -0.4 * above * Bell(above / 1.4), -0.22};
     }},
    {"mouthLowerDown",
     [](const Spot& s) {
       return LeftOfMouth(s) * LipShare(s, false, 2.2) * Vec{0.12, -0.85, 0.05};
     }},
    {"mouthUpperUp",
     [](const Spot& s) {
       return LeftOfMouth(s) * LipShare(s, true, 1.9) * Vec{0.1, 0.72, 0.05} +
              Cheek(s, 2.2, 4.9, 1.5, 1.5, {0.05, 0.3, 0.12});
     }},
    {"browDown",
     [](const Spot& s) {
       return BrowShare(s, 1.6, 2.6) * Vec{-0.22, -0.5, 0.12} +
              BrowShare(s, 4.0, 2.8) * Vec{-0.08, -0.28, 0.08};
     }},
    {"browInnerUp",
     [](const Spot& s) {
       return BrowShare(s, 1.1, 3.0) * Vec{0, 0.72, 0.02} + BrowShare(s, -1.1, 3.0) * Vec{0, 0.72, 0.02};
     }},
    {"browOuterUp",
     [](const Spot& s) {
       return BrowShare(s, 4.4, 3.2) * Vec{0.05, 0.8, 0.02};
     }},
    {"cheekPuff",
     [](const Spot& s) {
       return Cheek(s, 4.1, 3.3, 3.2, 3.6, {0.6, 0.05, 0.8}) +
              Cheek(s, -4.1, 3.3, 3.2, 3.6, {-0.6, 0.05, 0.8}) + MouthShare(s, 3.4, 2.4) * Vec{0, 0, 0.3};
     }},
    {"cheekSquint",
     [](const Spot& s) {
       return Lids(s, 0, 1.1) + Cheek(s, 4.0, 7.0, 2.4, 1.9, {0.08, 0.5, 0.3});
     }},
    {"noseSneer",
     [](const Spot& s) {
       return Cheek(s, 1.35, 5.9, 1.5, 1.7, {0.12, 0.5, 0.05}) +
              BrowShare(s, 1.3, 1.9) * Vec{-0.12, -0.25, 0.06} +
              LeftOfMouth(s) * LipShare(s, true, 1.8) * Vec{0, 0.2, 0};
     }},
    {"tongueOut",
     [](const Spot& s) {
       if (s.vertex->tissue == Tissue::Tongue) {
         const double along = Ramp(s.at.z, 12.5, 17.3);
         return along * Vec{-0.12 * s.at.x, 0.6 - 0.8 * Ramp(s.at.z, 16.3, 17.3), 3.5};
       }
       return LipShare(s, true, 1.5) * Vec{0, 0.12, 0.1} + LipShare(s, false, 1.7) * Vec{0, -0.6, 0.1};
     }},
};

/// Which of the above each of the 52 is, and whether mirrored.
struct Meaning {
  Field field;
  bool mirrored;
};

Meaning MeaningOf(std::string_view name) {
  const auto find = [](std::string_view wanted) -> Field {
    for (const Shape& shape : kShapes)
      if (shape.name == wanted) return shape.field;
    return nullptr;
  };
  if (const Field whole = find(name)) return {whole, false};
  const bool right = name.ends_with("Right");
  return {find(name.substr(0, name.size() - (right ? 5 : 4))), right};
}

const std::array<Meaning, kArkitNames.size()>& Meanings() {
  static const auto meanings = [] {
    std::array<Meaning, kArkitNames.size()> all{};
    for (std::size_t s = 0; s < all.size(); ++s) all[s] = MeaningOf(kArkitNames[s]);
    return all;
  }();
  return meanings;
}

} // namespace

Vec ShapeMotion(std::size_t shape, const Vertex& vertex, bool right) {
  const auto [field, mirrored] = Meanings()[shape];
  const bool flip = right != mirrored; // the left shape on the right is the right one on the left, mirrored
  const Vec move = field({flip ? Mirrored(vertex.at) : vertex.at, &vertex});
  return mirrored ? Mirrored(move) : move;
}

double LeftShare(double x) { return Ramp(x, -1.2, 1.2); }

} // namespace mien
