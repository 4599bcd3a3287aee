#include "host/gltf/face_mesh.h"

#include "host/animation/animation.h"

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
using Vector = FaceMesh::Vector;
using Piece = FaceMesh::Piece;
using Weights = std::map<std::string, double>;

namespace {

const FaceMesh& Mesh() {
  static const FaceMesh mesh = mien::MakeFaceMesh();
  return mesh;
}

const Piece& Named(const std::string& name) {
  for (const Piece& piece : Mesh().pieces)
    if (piece.name == name) return piece;
  throw std::runtime_error("the face has no piece \"" + name + '"');
}

std::size_t Slot(const std::string& name) {
  const auto columns = mien::TemplateColumns();
  for (std::size_t t = 0; t < columns.size(); ++t)
    if (columns[t].name == name) return t;
  throw std::runtime_error("the face has no template \"" + name + '"');
}

double Length(const Vector& v) {
  return std::hypot(static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2]));
}

Vector Mirrored(const Vector& v) { return {-v[0], v[1], v[2]}; }

using Point = std::array<double, 3>;

/// A piece's vertices under these template weights.
std::vector<Point> Posed(const Piece& piece, const Weights& weights) {
  std::vector<Point> posed;
  for (const auto& [x, y, z] : piece.positions)
    posed.push_back({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)});
  for (const auto& [name, weight] : weights)
    for (std::size_t i = 0; i < posed.size(); ++i)
      for (std::size_t axis = 0; axis < 3; ++axis)
        posed[i][axis] += weight * static_cast<double>(piece.displacements[Slot(name)][i][axis]);
  return posed;
}

/// A view of the face from a distance, on a grid of half a millimetre: at each place the piece in front, and how many places
/// show the back of a triangle.
struct View {
  std::map<std::string, int> places;
  int backs = 0;

  int Places(const std::vector<std::string>& pieces) const {
    int sum = 0;
    for (const std::string& piece : pieces)
      if (const auto found = places.find(piece); found != places.end()) sum += found->second;
    return sum;
  }
  int Eyes() const { return Places({"eyes", "irises"}); }
  int Mouth() const { return Places({"mouth", "teeth"}); }
};

/// From the direction that `degrees` about y takes +z to.
View Look(const Weights& weights, double degrees = 0) {
  constexpr double kStep = 0.0005, kLeft = -0.1501,
                   kBottom = -0.1202; // no place falls on a coordinate of the mesh
  constexpr int kSize = 700;
  struct Seen {
    double depth = -std::numeric_limits<double>::infinity();
    const Piece* piece = nullptr;
    bool back = false;
  };
  std::vector<Seen> seen(std::size_t{kSize} * kSize);
  const double c = std::cos(degrees * 3.14159265358979 / 180), s = std::sin(degrees * 3.14159265358979 / 180);
  for (const Piece& piece : Mesh().pieces) {
    std::vector<Point> points = Posed(piece, weights);
    for (Point& p : points)
      p = {(c * p[0] - s * p[2] - kLeft) / kStep, (p[1] - kBottom) / kStep, s * p[0] + c * p[2]};
    for (std::size_t t = 0; t < piece.triangles.size(); t += 3) {
      const Point &p = points[piece.triangles[t]], &q = points[piece.triangles[t + 1]],
                  &r = points[piece.triangles[t + 2]];
      const double area = (q[0] - p[0]) * (r[1] - p[1]) - (r[0] - p[0]) * (q[1] - p[1]);
      if (std::fabs(area) < 1e-6) continue; // seen edge on
      const auto first = [](double a, double b, double d) {
        return static_cast<int>(std::ceil(std::min({a, b, d})));
      };
      const auto last = [](double a, double b, double d) {
        return static_cast<int>(std::floor(std::max({a, b, d})));
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
  }
  View view;
  for (const Seen& place : seen) {
    if (place.piece == nullptr) continue;
    ++view.places[place.piece->name];
    if (place.back) ++view.backs;
  }
  return view;
}

} // namespace

TEST(FaceMesh, CountsAgree) {
  const std::size_t templates = mien::TemplateColumns().size();
  std::size_t triangles = 0;
  std::set<std::string> names;
  for (const Piece& piece : Mesh().pieces) {
    EXPECT_TRUE(names.insert(piece.name).second) << piece.name;
    ASSERT_FALSE(piece.triangles.empty()) << piece.name;
    EXPECT_EQ(piece.triangles.size() % 3, 0u) << piece.name;
    triangles += piece.triangles.size() / 3;
    ASSERT_EQ(piece.displacements.size(), templates) << piece.name;
    for (const auto& moved : piece.displacements)
      EXPECT_EQ(moved.size(), piece.positions.size()) << piece.name;
  }
  EXPECT_GE(triangles, 300u);
  EXPECT_LE(triangles, 900u) << "it is to stay small and low-polygon";
}

TEST(FaceMesh, TrianglesUseEveryVertexAndNoOther) {
  for (const Piece& piece : Mesh().pieces) {
    std::set<std::size_t> used(piece.triangles.begin(), piece.triangles.end());
    EXPECT_EQ(used.size(), piece.positions.size()) << piece.name;
    EXPECT_EQ(*used.rbegin(), piece.positions.size() - 1) << piece.name;
  }
}

TEST(FaceMesh, EveryNumberIsFiniteAndOfAHeadsSize) {
  for (const Piece& piece : Mesh().pieces) {
    for (const Vector& v : piece.positions)
      EXPECT_LT(Length(v), 0.25) << piece.name; // false for a NaN as well
    for (const auto& moved : piece.displacements)
      for (const Vector& v : moved) EXPECT_LT(Length(v), 0.05) << piece.name;
    for (const float channel : piece.colour) EXPECT_TRUE(channel >= 0 && channel <= 1) << piece.name;
  }
}

TEST(FaceMesh, NoTriangleIsDegenerateAtRest) {
  for (const Piece& piece : Mesh().pieces)
    for (std::size_t t = 0; t < piece.triangles.size(); t += 3) {
      const std::vector<Point> at = Posed(piece, {});
      const Point &p = at[piece.triangles[t]], &q = at[piece.triangles[t + 1]],
                  &r = at[piece.triangles[t + 2]];
      double square = 0;
      for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        const double n = (q[j] - p[j]) * (r[k] - p[k]) - (q[k] - p[k]) * (r[j] - p[j]);
        square += n * n;
      }
      // A fifth of a square millimetre: far above what rounding makes of a triangle without area.
      EXPECT_GT(std::sqrt(square) / 2, 0.2e-6) << piece.name << " triangle " << t / 3;
    }
}

TEST(FaceMesh, NeighbouringTrianglesHaveOneOrientation) {
  for (const Piece& piece : Mesh().pieces) {
    std::set<std::pair<int, int>> edges;
    for (std::size_t t = 0; t < piece.triangles.size(); t += 3)
      for (std::size_t i = 0; i < 3; ++i) {
        const std::pair<int, int> edge = {piece.triangles[t + i], piece.triangles[t + (i + 1) % 3]};
        EXPECT_TRUE(edges.insert(edge).second) << piece.name << ' ' << edge.first << ' ' << edge.second;
      }
  }
}

// At the outline a few places look past an edge at the inner side of a lash, a brow or a lid: 11 at most.
constexpr int kBacksAtEdges = 20;

TEST(FaceMesh, ShowsItsOutsideFromAllAround) {
  for (int degrees = 0; degrees < 360; degrees += 30) {
    const View view = Look({}, degrees);
    EXPECT_GT(view.Places({"skin", "hair"}), 80000) << "two hundred square centimetres, at " << degrees;
    EXPECT_LE(view.backs, kBacksAtEdges) << degrees;
  }
}

TEST(FaceMesh, ShowsItsOutsideWhateverMoves) {
  for (const auto& column : mien::TemplateColumns())
    for (const double degrees : {-35.0, 0.0, 35.0})
      EXPECT_LE(Look({{column.name, 1}}, degrees).backs, kBacksAtEdges) << column.name << ' ' << degrees;
}

TEST(FaceMesh, EveryTemplateMovesItFarEnoughToBeSeen) {
  const auto columns = mien::TemplateColumns();
  for (std::size_t t = 0; t < columns.size(); ++t) {
    double most = 0;
    for (const Piece& piece : Mesh().pieces)
      for (const Vector& v : piece.displacements[t]) most = std::max(most, Length(v));
    EXPECT_GT(most, 0.004) << columns[t].name;
  }
}

TEST(FaceMesh, OneSidesPartLeavesTheOtherSideAlone) {
  const auto columns = mien::TemplateColumns();
  int checked = 0;
  for (std::size_t t = 0; t < columns.size(); ++t) {
    const std::string& name = columns[t].name;
    const float left = name.rfind("Left", 0) == 0 || name.back() == 'L' ? 1.0F : -1.0F;
    const bool mouth = name.rfind("Mouth.Corners", 0) == 0;
    if (!mouth && name.rfind("Left", 0) != 0 && name.rfind("Right", 0) != 0) continue;
    // The lips' points reach across the middle, for the skin is one; nothing else does.
    const float from = mouth ? 0.01F : 0.0F;
    for (const Piece& piece : Mesh().pieces)
      for (std::size_t i = 0; i < piece.positions.size(); ++i)
        if (piece.positions[i][0] * left < -from) {
          EXPECT_EQ(Length(piece.displacements[t][i]), 0) << name << ' ' << piece.name << ' ' << i;
          ++checked;
        }
  }
  EXPECT_GT(checked, 1000);
}

TEST(FaceMesh, NothingMovesTheBackOfTheHead) {
  for (const Piece& piece : Mesh().pieces)
    for (const auto& moved : piece.displacements)
      for (std::size_t i = 0; i < moved.size(); ++i)
        EXPECT_TRUE(piece.positions[i][2] > 0.09F || Length(moved[i]) == 0) << piece.name << ' ' << i;
}

TEST(FaceMesh, RestIsItsOwnMirrorImage) {
  for (const Piece& piece : Mesh().pieces) {
    std::multiset<std::set<Vector>> triangles, mirrored;
    for (std::size_t t = 0; t < piece.triangles.size(); t += 3) {
      std::set<Vector> here, there;
      for (std::size_t i = t; i < t + 3; ++i) {
        const Vector& v = piece.positions[piece.triangles[i]];
        here.insert(v);
        there.insert(Mirrored(v));
      }
      triangles.insert(here);
      mirrored.insert(there);
    }
    EXPECT_EQ(triangles, mirrored) << piece.name;
    EXPECT_TRUE(std::any_of(piece.positions.begin(), piece.positions.end(), [](const Vector& v) {
      return v[0] < 0;
    })) << piece.name;
  }
}

TEST(FaceMesh, SidesMoveAlikeButForTheRightCheeksRise) {
  const auto columns = mien::TemplateColumns();
  for (std::size_t t = 0; t < columns.size(); ++t) {
    std::string other = columns[t].name;
    if (other.rfind("Right", 0) == 0) continue;
    if (other.rfind("Left", 0) == 0)
      other.replace(0, 4, "Right");
    else if (other.back() == 'L')
      other.back() = 'R';
    else if (other.back() == 'R')
      other.back() = 'L';
    double worst = 0;
    for (const Piece& piece : Mesh().pieces) {
      // Vertices of a piece in one place move differently, so motions are sets of their own.
      std::multimap<Vector, Vector> by_place;
      for (std::size_t i = 0; i < piece.positions.size(); ++i)
        by_place.emplace(piece.positions[i], piece.displacements[Slot(other)][i]);
      for (std::size_t i = 0; i < piece.positions.size(); ++i) {
        double nearest = std::numeric_limits<double>::infinity();
        const auto [first, last] = by_place.equal_range(Mirrored(piece.positions[i]));
        for (auto found = first; found != last; ++found) {
          const Vector &a = piece.displacements[t][i], b = Mirrored(found->second);
          nearest = std::min(nearest, Length({a[0] - b[0], a[1] - b[1], a[2] - b[2]}));
        }
        worst = std::max(worst, nearest);
      }
    }
    // A float's rounding at 5 cm is 4e-9 m.
    if (columns[t].name == "LeftCheek.Up")
      EXPECT_GT(worst, 0.001);
    else
      EXPECT_LT(worst, 1e-8) << columns[t].name;
  }
}

TEST(FaceMesh, LowerLipAndChinGoDownWithOpenAsOnTheReferenceFace) {
  // RightLowerMouth and LeftLowerMouth go from (0.25, -0.1, 0) to (0.3, -0.8, -1.45) times (3.438, 5, 1) cm, the chin
  // by (0, -0.6, -1.5) times that. The nearest vertices are on the points but for their depth, the mouth's width being
  // 1.4 times the reference face's; rounding to float is below 1e-8 m.
  const auto at = [](const Piece& piece, const std::string& name, double x, double y) {
    std::size_t nearest = 0;
    double least = 1;
    for (std::size_t i = 0; i < piece.positions.size(); ++i) {
      const Vector& v = piece.positions[i];
      const double d = std::hypot(static_cast<double>(v[0]) - x, static_cast<double>(v[1]) - y);
      if (d < least) least = d, nearest = i;
    }
    EXPECT_LT(least, 1e-8);
    return piece.displacements[Slot(name)][nearest];
  };
  for (const double side : {1.0, -1.0}) {
    const Vector lip = at(Named("lips"), "Mouth.Open", side * 1.4 * 0.25 * 0.03438, 0.02642 - 0.1 * 0.05);
    EXPECT_NEAR(lip[0], side * 1.4 * 0.05 * 0.03438, 1e-8);
    EXPECT_NEAR(lip[1], -0.035, 1e-8);
    EXPECT_NEAR(lip[2], -0.0145, 1e-8);
  }
  const Vector chin = at(Named("skin"), "Mouth.Open", 0, -0.017);
  EXPECT_NEAR(chin[1], -0.03, 1e-8);
  EXPECT_NEAR(chin[2], -0.015, 1e-8);
}

TEST(FaceMesh, MouthIsShutAtRestAndOpens) {
  const int rest = Look({}).Mouth(), open = Look({{"Mouth.Open", 1}}).Mouth();
  EXPECT_LT(rest, 150) << "a line between the lips: under half a square centimetre";
  EXPECT_GT(open, 3600) << "over nine square centimetres";
  const View square = Look({{"Mouth.Square", 1}});
  EXPECT_GT(square.Mouth(), 1200);
  EXPECT_GT(square.Places({"teeth"}), 1400) << "three and a half square centimetres: both rows";
  for (const char* shut :
       {"Mouth.CornersUpL", "Mouth.CornersUpR", "Mouth.CornersDownL", "Mouth.CornersDownR"})
    EXPECT_LT(Look({{shut, 1}}).Mouth(), 200) << shut;
}

TEST(FaceMesh, LipsNeverPassThroughEachOther) {
  const Piece& lips = Named("lips");
  const auto columns = mien::TemplateColumns();
  int pairs = 0;
  for (std::size_t a = 0; a < lips.positions.size(); ++a)
    for (std::size_t b = 0; b < lips.positions.size(); ++b) {
      const Vector &upper = lips.positions[a], &lower = lips.positions[b];
      const double gap = static_cast<double>(upper[1]) - static_cast<double>(lower[1]);
      // The seam: one above the other, less than a millimetre apart, where a lip is at least three thick.
      if (upper[0] != lower[0] || upper[2] != lower[2] || gap <= 0 || gap > 0.001) continue;
      ++pairs;
      for (std::size_t t = 0; t < columns.size(); ++t)
        EXPECT_GE(lips.displacements[t][a][1], lips.displacements[t][b][1]) << columns[t].name;
    }
  EXPECT_EQ(pairs, 5);
}

TEST(FaceMesh, WhistleNarrowsTheLipsAndBringsThemForward) {
  const auto extent = [](const Weights& weights) {
    Point most = {0, 0, 0};
    for (const Point& p : Posed(Named("lips"), weights))
      for (std::size_t axis = 0; axis < 3; ++axis) most[axis] = std::max(most[axis], p[axis]);
    return most;
  };
  const Point rest = extent({}), whistle = extent({{"Mouth.Whistle", 1}});
  EXPECT_NEAR(whistle[0] / rest[0], 0.6, 0.001); // four fifths of the way to half the width
  EXPECT_NEAR(whistle[2] - rest[2], 0.0056, 1e-6);
}

TEST(FaceMesh, MouthCornersRiseAndFallEachOnItsSide) {
  const Piece& lips = Named("lips");
  for (const bool left : {true, false}) {
    const auto before = [left](const Vector& a, const Vector& b) { return left ? a[0] < b[0] : a[0] > b[0]; };
    const auto corner = static_cast<std::size_t>(
        std::max_element(lips.positions.begin(), lips.positions.end(), before) - lips.positions.begin());
    const std::string side = left ? "L" : "R", other = left ? "R" : "L";
    EXPECT_NEAR(lips.displacements[Slot("Mouth.CornersUp" + side)][corner][1], 0.0075, 1e-8);
    EXPECT_NEAR(lips.displacements[Slot("Mouth.CornersDown" + side)][corner][1], -0.0085, 1e-8);
    EXPECT_EQ(lips.displacements[Slot("Mouth.CornersUp" + other)][corner][1], 0);
    EXPECT_EQ(lips.displacements[Slot("Mouth.CornersDown" + other)][corner][1], 0);
  }
}

TEST(FaceMesh, LidsMeetAtClose) {
  const Piece& skin = Named("skin");
  const auto& closed = skin.displacements[Slot("LeftEye.Close")];
  int edges = 0;
  for (std::size_t a = 0; a < skin.positions.size(); ++a) {
    if (closed[a][1] > -0.005F) continue; // the lid's edge alone goes down so far
    ++edges;
    const double down = static_cast<double>(skin.positions[a][1]) + static_cast<double>(closed[a][1]);
    double least = 1;
    for (std::size_t b = 0; b < skin.positions.size(); ++b)
      if (skin.positions[b][0] == skin.positions[a][0] && Length(closed[b]) == 0)
        least = std::min(least, std::fabs(static_cast<double>(skin.positions[b][1]) - down));
    EXPECT_LT(least, 1e-8) << "a float's rounding at 10 cm";
  }
  EXPECT_EQ(edges, 8) << "four along the edge, before and behind";
}

TEST(FaceMesh, LidsStayInFrontOfTheEyeballsWhileTheyClose) {
  for (const double degrees : {-35.0, 0.0, 35.0}) {
    int before = Look({}, degrees).Eyes();
    EXPECT_GT(before, 600) << "over three quarters of a square centimetre each, where both are seen";
    for (int tenth = 1; tenth <= 10; ++tenth) {
      const double weight = tenth / 10.0;
      const int now = Look({{"LeftEye.Close", weight}, {"RightEye.Close", weight}}, degrees).Eyes();
      EXPECT_LT(now, before) << weight << ' ' << degrees;
      before = now;
    }
    EXPECT_EQ(before, 0) << degrees;
    const View squinted =
        Look({{"LeftEye.Close", 1}, {"RightEye.Close", 1}, {"LeftEye.Squint", 1}, {"RightEye.Squint", 1}},
             degrees);
    EXPECT_EQ(squinted.Eyes(), 0) << "where the lids cross, at " << degrees;
  }
}

TEST(FaceMesh, LashesDrawTheLineOfShutLidsWhateverElseTheEyesDo) {
  const auto lashes = [](Weights more) {
    for (const char* side : {"Left", "Right"}) more[side + std::string("Eye.Close")] = 1;
    return Look(more).Places({"dark"});
  };
  const int shut = lashes({});
  EXPECT_GT(shut, 250) << "over half a square centimetre";
  EXPECT_GT(lashes({{"LeftEye.Squint", 1}, {"RightEye.Squint", 1}}), 0.75 * shut);
  EXPECT_GT(lashes({{"LeftCheek.Up", 1}, {"RightCheek.Up", 1}}), 0.75 * shut);
}

TEST(FaceMesh, SquintNarrowsTheEyesAndWideOpenWidensThem) {
  const int rest = Look({}).Eyes();
  EXPECT_LT(Look({{"LeftEye.Squint", 1}, {"RightEye.Squint", 1}}).Eyes(), 0.7 * rest);
  EXPECT_GT(Look({{"LeftEye.WideOpen", 1}, {"RightEye.WideOpen", 1}}).Eyes(), 1.1 * rest);
}

TEST(FaceMesh, BrowsGoUpAndDown) {
  const auto height = [](const Weights& weights) {
    double sum = 0;
    int count = 0;
    const Piece& hair = Named("hair");
    const std::vector<Point> posed = Posed(hair, weights);
    for (std::size_t i = 0; i < posed.size(); ++i)
      if (hair.positions[i][0] > 0 && hair.positions[i][0] < 0.048F && hair.positions[i][1] < 0.125F &&
          hair.positions[i][2] > 0.16F)
        sum += posed[i][1], ++count;
    EXPECT_EQ(count, 15) << "the left brow's vertices";
    return sum / count;
  };
  EXPECT_GT(height({{"LeftBrow.Up", 1}}), height({}) + 0.004);
  EXPECT_LT(height({{"LeftBrow.Down", 1}}), height({}) - 0.003);
}

TEST(FaceMesh, CheeksRiseAndPuffAndNostrilsRise) {
  const auto most = [](const char* piece, const char* name, std::size_t axis) {
    float value = 0;
    for (const Vector& v : Named(piece).displacements[Slot(name)]) value = std::max(value, v[axis]);
    return value;
  };
  EXPECT_GT(most("cheeks", "LeftCheek.Up", 1), 0.009F);
  EXPECT_GT(most("skin", "LeftCheek.Out", 2), 0.012F);
  EXPECT_GT(most("skin", "LeftNostril.Up", 1), 0.006F);
}
