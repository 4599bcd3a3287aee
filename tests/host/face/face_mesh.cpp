#include "host/face/face_mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using mien::FaceMesh;
using mien::kArkitNames;
using mien::MakeMorph;
using mien::Morph;
using mien::ShapeShare;
using Half = mien::ArkitMatch::Half;
using Vector = FaceMesh::Vector;
using Piece = FaceMesh::Piece;
using Weights = std::map<std::string, double>;

namespace {

const FaceMesh& Mesh() {
  static const FaceMesh mesh = mien::MakeFaceMesh();
  return mesh;
}

const Piece& Named(const std::string& material) {
  for (const Piece& piece : Mesh().head)
    if (piece.material == material) return piece;
  throw std::runtime_error("the head has no \"" + material + '"');
}

std::vector<const Piece*> AllPieces() {
  std::vector<const Piece*> all = {&Mesh().neck, &Mesh().eye};
  for (const Piece& piece : Mesh().head) all.push_back(&piece);
  return all;
}

std::size_t Shape(const std::string& name) {
  const auto found = std::find(kArkitNames.begin(), kArkitNames.end(), name);
  if (found == kArkitNames.end()) throw std::runtime_error(name + " is not one of the 52");
  return static_cast<std::size_t>(found - kArkitNames.begin());
}

double Length(const Vector& v) {
  return std::hypot(static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2]));
}

Vector Minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Vector Mirrored(const Vector& v) { return {-v[0], v[1], v[2]}; }

std::string OtherSide(std::string name) {
  if (name.ends_with("Left")) return name.replace(name.size() - 4, 4, "Right");
  if (name.ends_with("Right")) return name.replace(name.size() - 5, 5, "Left");
  return name;
}

using Point = std::array<double, 3>;

Point Wide(const Vector& v) {
  return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

/// A piece's vertices under these weights.
std::vector<Point> Posed(const Piece& piece, const Weights& weights) {
  std::vector<Point> posed;
  for (const Vector& v : piece.positions) posed.push_back(Wide(v));
  if (!piece.displacements.empty())
    for (const auto& [name, weight] : weights)
      for (std::size_t i = 0; i < posed.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
          posed[i][axis] += weight * static_cast<double>(piece.displacements[Shape(name)][i][axis]);
  return posed;
}

/// A view of the head from a distance, on a grid of half a millimetre: how many places show each material
/// in front, and how many show the back of a triangle.
struct View {
  std::map<std::string, int> places;
  int backs = 0;

  int Of(const std::string& material) const {
    const auto found = places.find(material);
    return found != places.end() ? found->second : 0;
  }
};

/// From the direction that `degrees` about y takes +z to.
View Look(const Weights& weights, double degrees = 0) {
  constexpr double kStep = 0.0005, kLeft = -0.1501,
                   kBottom = -0.1302; // no place falls on a coordinate of the mesh
  constexpr int kSize = 700;
  struct Seen {
    double depth = -std::numeric_limits<double>::infinity();
    const Piece* piece = nullptr;
    bool back = false;
  };
  std::vector<Seen> seen(std::size_t{kSize} * kSize);
  const double c = std::cos(degrees * 3.14159265358979 / 180), s = std::sin(degrees * 3.14159265358979 / 180);
  const auto draw = [&](const Piece& piece, const Vector& at) {
    std::vector<Point> points = Posed(piece, weights);
    for (Point& p : points) {
      for (std::size_t axis = 0; axis < 3; ++axis) p[axis] += static_cast<double>(at[axis]);
      p = {(c * p[0] - s * p[2] - kLeft) / kStep, (p[1] - kBottom) / kStep, s * p[0] + c * p[2]};
    }
    for (std::size_t t = 0; t < piece.triangles.size(); t += 3) {
      const Point &p = points[piece.triangles[t]], &q = points[piece.triangles[t + 1]],
                  &r = points[piece.triangles[t + 2]];
      const double area = (q[0] - p[0]) * (r[1] - p[1]) - (r[0] - p[0]) * (q[1] - p[1]);
      if (std::fabs(area) < 1e-6) continue; // seen edge on
      const auto first = [](double a, double b, double d) {
        return std::max(0, static_cast<int>(std::ceil(std::min({a, b, d}))));
      };
      const auto last = [](double a, double b, double d) {
        return std::min(kSize - 1, static_cast<int>(std::floor(std::max({a, b, d}))));
      };
      for (int y = first(p[1], q[1], r[1]); y <= last(p[1], q[1], r[1]); ++y)
        for (int x = first(p[0], q[0], r[0]); x <= last(p[0], q[0], r[0]); ++x) {
          const double u = ((x - p[0]) * (r[1] - p[1]) - (r[0] - p[0]) * (y - p[1])) / area;
          const double v = ((q[0] - p[0]) * (y - p[1]) - (x - p[0]) * (q[1] - p[1])) / area;
          if (u < 0 || v < 0 || u + v > 1) continue;
          const double depth = p[2] + u * (q[2] - p[2]) + v * (r[2] - p[2]);
          Seen& place = seen.at(static_cast<std::size_t>(y) * kSize + static_cast<std::size_t>(x));
          if (depth > place.depth) place = {depth, &piece, area < 0};
        }
    }
  };
  for (const Piece& piece : Mesh().head) draw(piece, {0, 0, 0});
  draw(Mesh().neck, {0, 0, 0});
  for (const Vector& eye : Mesh().eyes) draw(Mesh().eye, eye);
  View view;
  for (const Seen& place : seen) {
    if (place.piece == nullptr) continue;
    ++view.places[place.piece->material];
    if (place.back && place.piece->material != "hair") ++view.backs; // lashes are a sheet
  }
  return view;
}

/// The vertices of the skin where the lips meet at rest: above and below the line, in one place.
std::vector<std::pair<std::size_t, std::size_t>> MeetingLips() {
  const Piece& skin = Named("skin");
  std::map<Vector, std::vector<std::size_t>> at;
  for (std::size_t i = 0; i < skin.positions.size(); ++i) at[skin.positions[i]].push_back(i);
  std::vector<std::pair<std::size_t, std::size_t>> pairs;
  for (const auto& [place, vertices] : at)
    if (vertices.size() == 2) pairs.emplace_back(vertices[0], vertices[1]);
  return pairs;
}

/// The largest distance, in metres, between lips that meet at rest.
double LipsApart(const Weights& weights) {
  const std::vector<Point> posed = Posed(Named("skin"), weights);
  double most = 0;
  for (const auto& [a, b] : MeetingLips())
    most = std::max(
        most, std::hypot(posed[a][0] - posed[b][0], posed[a][1] - posed[b][1], posed[a][2] - posed[b][2]));
  return most;
}

} // namespace

// --- At rest

TEST(FaceMesh, CountsAgree) {
  std::size_t vertices = 0;
  std::set<std::string> materials;
  for (const Piece& piece : Mesh().head)
    EXPECT_TRUE(materials.insert(piece.material).second) << piece.material;
  for (const Piece* piece : AllPieces()) {
    vertices += piece->positions.size();
    ASSERT_FALSE(piece->triangles.empty()) << piece->material;
    EXPECT_EQ(piece->triangles.size() % 3, 0u) << piece->material;
    EXPECT_EQ(piece->normals.size(), piece->positions.size()) << piece->material;
    EXPECT_EQ(piece->colours.size(), piece->positions.size()) << piece->material;
    for (const auto& moved : piece->displacements) EXPECT_EQ(moved.size(), piece->positions.size());
  }
  for (const Piece& piece : Mesh().head) EXPECT_EQ(piece.displacements.size(), 52u) << piece.material;
  EXPECT_TRUE(Mesh().neck.displacements.empty()) << "it stays";
  EXPECT_GT(vertices, 4000u);
  EXPECT_LT(vertices, 12000u);
}

TEST(FaceMesh, TrianglesUseEveryVertexAndNoOther) {
  for (const Piece* piece : AllPieces()) {
    std::set<std::size_t> used(piece->triangles.begin(), piece->triangles.end());
    EXPECT_EQ(used.size(), piece->positions.size()) << piece->material;
    EXPECT_EQ(*used.rbegin(), piece->positions.size() - 1) << piece->material;
  }
}

TEST(FaceMesh, EveryNumberIsFiniteAndOfAHeadsSize) {
  for (const Piece* piece : AllPieces()) {
    for (const Vector& v : piece->positions)
      EXPECT_LT(Length(v), 0.25) << piece->material; // false for a NaN as well
    for (const auto& moved : piece->displacements)
      for (const Vector& v : moved) EXPECT_LT(Length(v), 0.05) << piece->material;
  }
}

TEST(FaceMesh, NormalsHaveLengthOneAndPointOutwards) {
  for (const Piece* piece : AllPieces())
    for (std::size_t i = 0; i < piece->normals.size(); ++i)
      EXPECT_NEAR(Length(piece->normals[i]), 1, 1e-6) << piece->material << ' ' << i; // a float's rounding
  for (std::size_t i = 0; i < Mesh().eye.normals.size(); ++i) {
    const Vector &n = Mesh().eye.normals[i], &p = Mesh().eye.positions[i];
    EXPECT_GT(n[0] * p[0] + n[1] * p[1] + n[2] * p[2], 0.999F * static_cast<float>(Length(p))) << i;
  }
}

TEST(FaceMesh, NoTriangleIsDegenerateAtRest) {
  for (const Piece* piece : AllPieces()) {
    const std::vector<Point> at = Posed(*piece, {});
    for (std::size_t t = 0; t < piece->triangles.size(); t += 3) {
      const Point &p = at[piece->triangles[t]], &q = at[piece->triangles[t + 1]],
                  &r = at[piece->triangles[t + 2]];
      double square = 0;
      for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        const double n = (q[j] - p[j]) * (r[k] - p[k]) - (q[k] - p[k]) * (r[j] - p[j]);
        square += n * n;
      }
      // A thousandth of a square millimetre: far above what rounding makes of a triangle without area.
      EXPECT_GT(std::sqrt(square) / 2, 1e-9) << piece->material << " triangle " << t / 3;
    }
  }
}

TEST(FaceMesh, NeighbouringTrianglesHaveOneOrientation) {
  for (const Piece* piece : AllPieces()) {
    std::set<std::pair<int, int>> edges;
    for (std::size_t t = 0; t < piece->triangles.size(); t += 3)
      for (std::size_t i = 0; i < 3; ++i) {
        const std::pair<int, int> edge = {piece->triangles[t + i], piece->triangles[t + (i + 1) % 3]};
        EXPECT_TRUE(edges.insert(edge).second) << piece->material << ' ' << edge.first << ' ' << edge.second;
      }
  }
}

TEST(FaceMesh, TheSkinIsOpenOnlyInTheEyeballsAndWhereTheEarsAreInTheHead) {
  const Piece& skin = Named("skin");
  std::set<std::pair<int, int>> edges;
  for (std::size_t t = 0; t < skin.triangles.size(); t += 3)
    for (std::size_t i = 0; i < 3; ++i)
      edges.insert({skin.triangles[t + i], skin.triangles[t + (i + 1) % 3]});
  const double radius = Length(Mesh().eye.positions[0]);
  int at_eyes = 0, at_ears = 0;
  for (const auto& [a, b] : edges) {
    if (edges.contains({b, a})) continue;
    const Vector& v = skin.positions[static_cast<std::size_t>(a)];
    const double to_eye = std::min(Length(Minus(v, Mesh().eyes[0])), Length(Minus(v, Mesh().eyes[1])));
    if (to_eye < radius)
      ++at_eyes;
    else if (v[2] < 0.11F && std::fabs(v[0]) < 0.068F && std::fabs(v[0]) > 0.05F && v[1] > 0.04F &&
             v[1] < 0.11F)
      ++at_ears;
    else
      ADD_FAILURE() << "open at " << v[0] << ' ' << v[1] << ' ' << v[2];
  }
  EXPECT_EQ(at_eyes, 2 * 2 * 16) << "sixteen columns between the corners, above and below";
  EXPECT_EQ(at_ears, 2 * 28);
}

TEST(FaceMesh, RestIsItsOwnMirrorImage) {
  for (const Piece& piece : Mesh().head) {
    using Look = std::pair<Vector, Vector>; // position, normal
    std::multiset<Look> here, there;
    for (std::size_t i = 0; i < piece.positions.size(); ++i) {
      const auto plus_zero = [](Vector v) {
        for (float& c : v) c += 0.0F; // -0 becomes 0
        return v;
      };
      here.insert({plus_zero(piece.positions[i]), plus_zero(piece.normals[i])});
      there.insert({plus_zero(Mirrored(piece.positions[i])), plus_zero(Mirrored(piece.normals[i]))});
    }
    EXPECT_EQ(here, there) << piece.material;
  }
}

// Edges of the outline, of brows and of ears look past each other at a few inner sides: 60 places at most.
constexpr int kBacksAtEdges = 100;

TEST(FaceMesh, ShowsItsOutsideFromAllAround) {
  for (int degrees = 0; degrees < 360; degrees += 30) {
    const View view = Look({}, degrees);
    EXPECT_GT(view.Of("skin") + view.Of("hair"), 120000)
        << "three hundred square centimetres, at " << degrees;
    EXPECT_LE(view.backs, kBacksAtEdges) << degrees;
  }
}

TEST(FaceMesh, EyesAreOpenAndTheMouthIsShutAtRest) {
  const View view = Look({});
  EXPECT_GT(view.Of("eyes"), 1200) << "both together three square centimetres";
  EXPECT_EQ(view.Of("teeth") + view.Of("tongue"), 0);
  EXPECT_EQ(MeetingLips().size(), 31u) << "sixteen columns from the middle to a corner, which is one vertex";
}

// --- The shapes

TEST(FaceMesh, EveryShapeMovesItFarEnoughToBeSeen) {
  for (std::size_t s = 0; s < kArkitNames.size(); ++s) {
    double most = 0;
    for (const Piece& piece : Mesh().head)
      for (const Vector& v : piece.displacements[s]) most = std::max(most, Length(v));
    EXPECT_GT(most, 0.001) << kArkitNames[s];
  }
}

TEST(FaceMesh, ShapesOfASideMoveMostlyThatSide) {
  int checked = 0;
  for (std::size_t s = 0; s < kArkitNames.size(); ++s) {
    const std::string name(kArkitNames[s]);
    if (OtherSide(name) == name || name == "jawLeft" || name == "jawRight" || name == "mouthLeft" ||
        name == "mouthRight")
      continue;
    const float side = name.ends_with("Left") ? 1.0F : -1.0F;
    double own = 0, other = 0;
    for (const Piece& piece : Mesh().head)
      for (std::size_t i = 0; i < piece.positions.size(); ++i) {
        const double moved = Length(piece.displacements[s][i]);
        (side * piece.positions[i][0] >= 0 ? own : other) += moved;
        if (side * piece.positions[i][0] < -0.02F) {
          EXPECT_EQ(moved, 0) << name << ": two centimetres beyond the middle";
        }
      }
    EXPECT_LT(other, 0.1 * own) << name;
    ++checked;
  }
  EXPECT_EQ(checked, 36);
}

TEST(FaceMesh, ShapesOfOneSideAreTheMirrorImagesOfTheOthers) {
  for (const Piece& piece : Mesh().head) {
    std::map<Vector, std::vector<std::size_t>> at;
    for (std::size_t i = 0; i < piece.positions.size(); ++i) at[piece.positions[i]].push_back(i);
    for (std::size_t s = 0; s < kArkitNames.size(); ++s) {
      const std::size_t other = Shape(OtherSide(std::string(kArkitNames[s])));
      for (std::size_t i = 0; i < piece.positions.size(); ++i) {
        // Vertices in one place move differently: lips that meet.
        const std::vector<std::size_t>& mirrored = at.at(Mirrored(piece.positions[i]));
        EXPECT_TRUE(std::any_of(mirrored.begin(), mirrored.end(),
                                [&](std::size_t m) {
                                  return piece.displacements[other][m] == Mirrored(piece.displacements[s][i]);
                                }))
            << piece.material << ' ' << kArkitNames[s] << ' ' << i;
      }
    }
  }
}

TEST(FaceMesh, NothingMovesTheBackOfTheHead) {
  for (const Piece& piece : Mesh().head)
    for (std::size_t s = 0; s < kArkitNames.size(); ++s)
      for (std::size_t i = 0; i < piece.positions.size(); ++i)
        EXPECT_TRUE(piece.positions[i][2] > 0.06F || Length(piece.displacements[s][i]) == 0)
            << piece.material << ' ' << kArkitNames[s] << ' ' << i;
}

TEST(FaceMesh, ShowsItsOutsideWhateverMoves) {
  for (const std::string_view name : kArkitNames) {
    if (name.ends_with("Right")) continue; // a mirror image
    for (const double degrees : {-35.0, 0.0, 35.0})
      EXPECT_LE(Look({{std::string(name), 1}}, degrees).backs, kBacksAtEdges) << name << ' ' << degrees;
  }
}

TEST(FaceMesh, ShutLidsLeaveNoGapWhereverTheEyesLook) {
  const Weights blink = {{"eyeBlinkLeft", 1}, {"eyeBlinkRight", 1}};
  const std::vector<Weights> looks = {{},
                                      {{"eyeLookDownLeft", 1}, {"eyeLookDownRight", 1}},
                                      {{"eyeLookUpLeft", 1}, {"eyeLookUpRight", 1}},
                                      {{"eyeLookInLeft", 1}, {"eyeLookOutRight", 1}},
                                      {{"eyeSquintLeft", 1}, {"eyeSquintRight", 1}},
                                      {{"browDownLeft", 1}, {"browDownRight", 1}}};
  for (const Weights& look : looks)
    for (const double degrees : {-40.0, 0.0, 40.0}) {
      Weights weights = blink;
      weights.insert(look.begin(), look.end());
      EXPECT_EQ(Look(weights, degrees).Of("eyes"), 0)
          << (look.empty() ? "" : look.begin()->first) << ' ' << degrees;
    }
}

TEST(FaceMesh, LidsOnTheirWayStayOffTheEyeball) {
  // Rest has them half open when half shut: they slide on a sphere, whose chord does not reach the ball.
  const int open = Look({}).Of("eyes"),
            half = Look({{"eyeBlinkLeft", 0.5}, {"eyeBlinkRight", 0.5}}).Of("eyes");
  EXPECT_GT(half, 0.3 * open);
  EXPECT_LT(half, 0.6 * open);
  const Piece& skin = Named("skin");
  const double radius = Length(Mesh().eye.positions[0]);
  const auto to_eye = [](const Point& p) {
    const Point eye = Wide(Mesh().eyes[0]);
    return std::hypot(p[0] - eye[0], p[1] - eye[1], p[2] - eye[2]);
  };
  const std::vector<Point> rest = Posed(skin, {});
  for (const double weight : {0.25, 0.5, 0.75, 1.0}) {
    const std::vector<Point> posed = Posed(skin, {{"eyeBlinkLeft", weight}});
    for (std::size_t i = 0; i < posed.size(); ++i)
      if (to_eye(rest[i]) > radius) { EXPECT_GT(to_eye(posed[i]), radius) << weight << ' ' << i; }
  }
}

TEST(FaceMesh, LipsThatNothingPartsStayTogether) {
  for (const std::string shape :
       {"mouthSmileLeft", "mouthFrownLeft", "mouthDimpleLeft", "mouthStretchLeft", "mouthPressLeft",
        "mouthPucker", "mouthLeft", "cheekPuff", "cheekSquintLeft", "browInnerUp", "eyeBlinkLeft"})
    EXPECT_LT(LipsApart({{shape, 1}}), 1e-5) << shape;
  for (const std::string shape : {"mouthFunnel", "mouthUpperUpLeft", "mouthLowerDownLeft"})
    EXPECT_GT(LipsApart({{shape, 1}}), 0.005) << shape;
}

TEST(FaceMesh, TheJawDropsTheChinAndMouthCloseShutsTheLipsOverIt) {
  EXPECT_GT(LipsApart({{"jawOpen", 1}}), 0.03);
  EXPECT_LT(LipsApart({{"jawOpen", 1}, {"mouthClose", 1}}), 1e-4) << "a tenth of a millimetre";
  EXPECT_LT(LipsApart({{"jawOpen", 0.5}, {"mouthClose", 0.5}}), 1e-4);
  const Piece& skin = Named("skin");
  std::size_t chin = 0; // the foremost point below the lower lip
  for (std::size_t i = 0; i < skin.positions.size(); ++i)
    if (skin.positions[i][1] < 0 &&
        (skin.positions[chin][1] >= 0 || skin.positions[i][2] > skin.positions[chin][2]))
      chin = i;
  const Vector& drop = skin.displacements[Shape("jawOpen")][chin];
  EXPECT_EQ(drop[0], 0);
  EXPECT_NEAR(drop[1], -0.028, 0.002);
  EXPECT_NEAR(drop[2], -0.032, 0.002);
}

TEST(FaceMesh, TheLowerTeethGoWithTheJawAndTheUpperOnesStay) {
  const Piece& teeth = Named("teeth");
  const auto& moved = teeth.displacements[Shape("jawOpen")];
  int upper = 0, lower = 0;
  for (std::size_t i = 0; i < moved.size(); ++i) (Length(moved[i]) == 0 ? upper : lower) += 1;
  EXPECT_EQ(upper, lower);
  EXPECT_GT(Look({{"jawOpen", 0.5}, {"mouthSmileLeft", 0.5}, {"mouthSmileRight", 0.5}}).Of("teeth"), 400)
      << "a square centimetre";
}

TEST(FaceMesh, TheTongueComesOutOfTheOpenMouth) {
  const auto front = [](const Weights& weights) {
    double most = 0;
    for (const Point& p : Posed(Named("tongue"), weights)) most = std::max(most, p[2]);
    return most;
  };
  EXPECT_GT(front({{"tongueOut", 1}}) - front({}), 0.025);
  EXPECT_GT(Look({{"jawOpen", 0.6}, {"tongueOut", 1}}).Of("tongue"), 800) << "two square centimetres";
}

// --- Morphs

TEST(FaceMesh, NormalsOfMorphsHaveLengthOne) {
  for (std::size_t s = 0; s < kArkitNames.size(); ++s) {
    const ShapeShare share{s, 1};
    for (const Piece& piece : Mesh().head) {
      const Morph morph = MakeMorph(piece, {&share, 1});
      ASSERT_EQ(morph.normals.size(), piece.normals.size());
      for (std::size_t i = 0; i < morph.normals.size(); ++i) {
        const Vector& n = piece.normals[i];
        const Vector& d = morph.normals[i];
        EXPECT_NEAR(Length({n[0] + d[0], n[1] + d[1], n[2] + d[2]}), 1, 1e-6) << kArkitNames[s];
      }
    }
  }
}

TEST(FaceMesh, WhatAMorphDoesNotMoveKeepsItsNormal) {
  const ShapeShare share{Shape("eyeBlinkLeft"), 1};
  const Piece& teeth = Named("teeth");
  for (const Vector& delta : MakeMorph(teeth, {&share, 1}).normals) EXPECT_LT(Length(delta), 1e-6);
}

TEST(FaceMesh, HalvesOfAShapeSumUpToIt) {
  const std::size_t puff = Shape("cheekPuff");
  const Piece& skin = Named("skin");
  const ShapeShare shares[] = {{puff, 0.5, Half::Left}, {puff, 0.5, Half::Right}};
  const Morph both = MakeMorph(skin, shares), left = MakeMorph(skin, {shares, 1});
  for (std::size_t i = 0; i < skin.positions.size(); ++i) {
    const Vector& whole = skin.displacements[puff][i];
    EXPECT_LT(Length(Minus(both.positions[i], {whole[0] / 2, whole[1] / 2, whole[2] / 2})), 1e-8);
    if (skin.positions[i][0] < -0.012F) { EXPECT_EQ(Length(left.positions[i]), 0); }
  }
}
