#include "host/gltf/face_mesh.h"

#include "host/base/face_parts.h"
#include "mien/face/face.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

// Only the left half is built, in the reference face's centimetres. Every vertex says which points of the
// default face it follows and how far; its mirror image follows their counterparts.

namespace mien {
namespace {

struct Position {
  double x, y, z;
};

/// How far a vertex follows one point of one part.
struct Pull {
  int part, point;
  double weight;
};
using Pulls = std::vector<Pull>;

struct Vertex {
  Position rest;
  Pulls pulls;
  /// Of the vertex that it rests on, where lip meets lip; `side` is 1 for the upper one of the two, -1 for
  /// the lower.
  Pulls opposite = {};
  int side = 0;
};

using Id = std::size_t;
using Loop = std::vector<Id>;

// Points of the default face: left ones of its mouth, and those of its left eye.
enum MouthPoint { kCorner = 0, kUpperLip = 1, kLowerLip = 5, kChin = 6 };
enum EyePoint { kInEye = 0, kUpperEye = 1, kOutEye = 2, kLowerEye = 3 };
constexpr int kClose = 0; // the eye's first template
enum Material { kSkin, kHair, kLips, kInside, kTeeth, kDark, kWhite, kBlush, kIris, kMaterials };

// clang-format off
struct Paint { const char* name; std::array<float, 4> colour; };
constexpr Paint kPaints[kMaterials] = {
    {"skin",  {0.72F, 0.42F, 0.28F, 1}}, {"hair",   {0.08F, 0.04F, 0.03F, 1}}, {"lips", {0.46F, 0.15F, 0.12F, 1}},
    {"mouth", {0.05F, 0.01F, 0.01F, 1}}, {"teeth",  {0.85F, 0.82F, 0.74F, 1}}, {"dark", {0.03F, 0.02F, 0.02F, 1}},
    {"eyes",  {0.88F, 0.88F, 0.86F, 1}}, {"cheeks", {0.74F, 0.37F, 0.26F, 1}}, {"irises", {0.05F, 0.22F, 0.30F, 1}}};

// The head is a grid: rows from the crown to the neck, columns from the middle of the face to the back of the
// head. The rows around an eye and around the mouth leave a hole for its loops.
constexpr int kOrbitTop = 5, kMouthTop = 11, kRows = 18, kFrontColumns = 5, kColumns = 9;
constexpr Position kFront[kRows][kFrontColumns] = {
    {{0, 20.0, 12.5}, {1.5, 20.0, 12.3}, {2.8, 19.9, 11.7}, {3.7, 19.8, 10.9}, {4.4, 19.7, 10.0}},
    {{0, 17.6, 16.2}, {1.5, 17.6, 16.0}, {3.0, 17.5, 15.4}, {4.4, 17.4, 14.3}, {5.6, 17.3, 12.9}},
    {{0, 15.0, 17.8}, {1.5, 15.0, 17.6}, {3.0, 14.9, 17.0}, {4.5, 14.8, 16.0}, {5.8, 14.6, 14.6}},
    {{0, 13.0, 18.3}, {1.4, 13.1, 18.2}, {2.7, 13.1, 17.8}, {4.1, 12.9, 17.0}, {5.6, 12.6, 15.4}},
    {{0, 11.5, 18.5}, {1.3, 11.7, 18.4}, {2.4, 11.8, 18.2}, {3.9, 11.7, 17.5}, {5.4, 11.3, 15.9}},
    {{0, 10.5, 18.3}, {1.1, 10.7, 17.7}, {2.2, 11.1, 17.6}, {3.8, 11.1, 17.1}, {5.1, 10.5, 15.7}},
    {{0,  9.4, 18.5}, {0.9,  9.5, 17.7}, {},                {},                {5.2,  9.5, 15.6}},
    {{0,  8.2, 19.2}, {1.1,  8.2, 17.9}, {2.2,  7.9, 17.5}, {3.8,  7.9, 17.0}, {5.3,  8.3, 15.7}},
    {{0,  6.9, 20.0}, {1.2,  6.7, 18.4}, {2.4,  6.6, 17.9}, {3.9,  6.6, 17.3}, {5.5,  6.8, 15.6}},
    {{0,  5.5, 20.8}, {1.7,  5.1, 18.9}, {2.6,  5.3, 18.0}, {3.9,  5.3, 17.3}, {5.4,  5.3, 15.4}},
    {{0,  4.5, 19.4}, {1.3,  4.4, 18.8}, {2.4,  4.3, 18.3}, {3.7,  4.3, 17.3}, {5.1,  4.2, 15.3}},
    {{0,  3.8, 19.0}, {1.2,  3.9, 18.8}, {2.2,  3.6, 18.3}, {3.2,  3.2, 17.4}, {4.8,  3.1, 15.2}},
    {{},              {},                {},                {3.2,  2.5, 17.3}, {4.6,  2.0, 15.0}},
    {{0,  1.2, 18.5}, {1.1,  1.2, 18.3}, {2.1,  1.5, 17.9}, {3.0,  1.8, 17.2}, {4.3,  0.9, 14.9}},
    {{0,  0.0, 18.7}, {1.0,  0.0, 18.5}, {2.0,  0.2, 17.8}, {3.0,  0.5, 16.7}, {4.0, -0.1, 14.6}},
    {{0, -1.7, 18.0}, {1.0, -1.6, 17.8}, {1.9, -1.4, 17.1}, {2.8, -1.1, 16.0}, {3.8, -0.9, 14.0}},
    {{0, -2.4, 14.0}, {0.9, -2.4, 13.9}, {1.7, -2.4, 13.5}, {2.4, -2.4, 12.9}, {3.0, -2.4, 12.0}},
    {{0, -7.0, 12.4}, {0.9, -7.0, 12.3}, {1.7, -7.0, 12.0}, {2.5, -7.0, 11.5}, {3.2, -7.0, 10.7}}};

// The back has fewer rows: each belongs to the front's rows from the one before it down to `last`.
struct BackRow { int last; Position columns[kColumns - kFrontColumns]; };
constexpr BackRow kBack[] = {
    { 0, {{4.8, 19.6,  8.9}, {4.9, 19.5, 7.5}, {3.6, 19.6, 4.8}, {0, 19.8,  3.8}}},
    { 1, {{6.7, 17.1, 10.9}, {7.3, 16.9, 8.0}, {5.6, 16.9, 2.6}, {0, 17.3,  0.3}}},
    { 2, {{7.3, 14.3, 11.7}, {8.0, 14.0, 8.0}, {6.2, 13.8, 1.4}, {0, 14.0, -1.2}}},
    { 4, {{7.4, 11.4, 12.1}, {8.1, 11.3, 8.0}, {6.4, 11.0, 1.3}, {0, 11.0, -1.3}}},
    { 7, {{7.2,  8.3, 12.3}, {7.8,  8.0, 8.3}, {6.0,  7.5, 2.0}, {0,  8.0, -0.4}}},
    { 9, {{6.8,  5.2, 12.2}, {7.2,  4.8, 8.5}, {5.4,  4.8, 2.9}, {0,  5.0,  0.9}}},
    {12, {{6.2,  2.0, 12.0}, {6.3,  1.5, 8.8}, {4.6,  1.5, 3.6}, {0,  1.5,  2.0}}},
    {15, {{4.9, -0.9, 11.4}, {4.9, -1.0, 8.8}, {4.1, -1.3, 4.2}, {0, -1.5,  2.6}}},
    {16, {{3.8, -2.6, 10.2}, {4.2, -3.0, 8.0}, {3.9, -3.0, 4.4}, {0, -3.0,  2.6}}},
    {17, {{3.9, -7.0,  9.4}, {4.2, -7.0, 7.3}, {3.7, -7.0, 4.2}, {0, -7.0,  2.5}}}};
constexpr Position kCrown = {0, 20.8, 8.4}, kThroat = {0, -7.0, 7.5};

// Where on this head a point pulls the skin: `most` in the centre, nothing beyond the reach.
struct Area { int part, point; double x, y, reach_x, reach_y, most; };
constexpr Area kAreas[] = {
    {kMouth, kCorner, 3.1, 2.8, 2.4, 2.1, 1}, {kMouth, kUpperLip, 1.2, 3.6, 2.0, 1.0, 0.8}, {kMouth, kLowerLip, 1.2, 1.5, 2.0, 1.3, 1},
    {kLeftBrow, 0, 1.9, 11.9, 1.7, 1.8, 0.9}, {kLeftBrow, 1, 3.2, 12.0, 1.7, 1.8, 0.9}, {kLeftBrow, 2, 4.6, 11.6, 1.7, 1.8, 0.9},
    {kLeftEye, kUpperEye, 3.0, 11.0, 1.9, 0.7, 0.3}, {kLeftEye, kLowerEye, 3.0, 8.3, 2.0, 1.2, 0.6}, {kLeftEye, kOutEye, 5.0, 9.6, 1.5, 1.5, 0.6},
    {kLeftCheek, 0, 3.9, 6.4, 2.6, 2.0, 0.8}, {kLeftCheek, 1, 4.2, 4.6, 2.6, 3.2, 0.6}, {kLeftNostril, 0, 1.6, 5.0, 1.2, 1.2, 1}};
// clang-format on

/// 0 where `v` is at `zero` or beyond, 1 at `one` or beyond, smooth between.
double Ramp(double v, double zero, double one) {
  const double t = std::clamp((v - zero) / (one - zero), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

Pull Mirrored(Pull pull) {
  constexpr int kMirror[] = {3, 2, 1, 0, 5, 4, 6};
  if (pull.part == kMouth)
    pull.point = kMirror[pull.point];
  else
    pull.part += pull.part % 2 == 1 ? 1 : -1;
  return pull;
}

/// This head's mouth is wider than the reference face's: it shows better from a distance.
constexpr double kMouthWidth = 1.4;

/// A vector of a part's template space, in the reference face's units.
Position Reference(const VFacePart& part, const VgeTVector& v) {
  const double width = &part == &GetGlobalFace()->mParts[kMouth] ? kMouthWidth : 1;
  return {width * part.mScale.x * v.x, part.mScale.y * v.y, part.mScale.z * v.z};
}

Position RestPoint(int p, int point) {
  const VFacePart& part = GetGlobalFace()->mParts[p];
  const Position v = Reference(part, part.mDefaultPoints[point]);
  return {part.mCenter.x + v.x, part.mCenter.y + v.y, part.mCenter.z + v.z};
}

/// Where a template's weight of 1 takes what follows these points.
Position Displacement(const Pulls& pulls, int p, int slot) {
  const VFacePart& part = GetGlobalFace()->mParts[p];
  Position sum = {0, 0, 0};
  for (const Pull& pull : pulls) {
    if (pull.part != p) continue;
    const VgeTVector& to = part.mTemplates[slot]->mPoints[pull.point];
    const VgeTVector& from = part.mDefaultPoints[pull.point];
    const Position move = Reference(part, {to.x - from.x, to.y - from.y, to.z - from.z});
    sum.x += pull.weight * move.x;
    sum.y += pull.weight * move.y;
    sum.z += pull.weight * move.z;
  }
  return sum;
}

/// The skin follows the points near it. Where points of one part overlap, they share: together they never
/// pull further than they go themselves.
Pulls SkinPulls(const Position& v) {
  const double front = Ramp(v.z, 9, 14); // nothing pulls the back of the head
  const double jaw = front * Ramp(v.y, 3.3, 1.0) * Ramp(v.y, -7, -2);
  Pulls pulls = {{kMouth, kChin, jaw}};
  for (const Area& area : kAreas)
    for (const double side : {1.0, -1.0}) {
      const double x = (v.x - side * area.x) / area.reach_x, y = (v.y - area.y) / area.reach_y;
      const Pull pull{area.part, area.point, area.most * front * Ramp(1 - x * x - y * y, 0, 1)};
      pulls.push_back(side > 0 ? pull : Mirrored(pull));
    }
  double sums[9] = {};
  for (const Pull& pull : pulls) sums[pull.part] += pull.weight;
  for (Pull& pull : pulls) pull.weight /= std::max(1.0, sums[pull.part]);
  return pulls;
}

/// The left half of the head, its vertices and per material its triangles.
class Half {
public:
  Half() {
    BuildHead();
    BuildEar();
    BuildEye();
    BuildBrow();
    BuildMouth();
  }

  FaceMesh::Piece MirroredPiece(int material, const std::vector<TemplateColumn>& templates) const;

private:
  Id Add(const Vertex& vertex) {
    vertices_.push_back(vertex);
    return vertices_.size() - 1;
  }
  Id AddSkin(const Position& rest) { return Add({rest, SkinPulls(rest)}); }

  void Triangle(Material material, Id a, Id b, Id c) {
    if (a != b && b != c && c != a) triangles_[material].push_back({a, b, c}); // loops may meet in a vertex
  }
  void Quad(Material material, Id upper, Id lower, Id next_lower, Id next_upper) {
    Triangle(material, upper, lower, next_lower);
    Triangle(material, upper, next_lower, next_upper);
  }
  /// Between two lines of vertices that run to the left; `inner` is the lower one, or the inner one of two
  /// loops that run clockwise as one looks at the face.
  void Band(Material material, const Loop& outer, const Loop& inner) {
    for (std::size_t i = 1; i < outer.size(); ++i)
      Quad(material, outer[i - 1], inner[i - 1], inner[i], outer[i]);
  }

  void BuildHead();
  void BuildEar();
  void BuildEye();
  void BuildBrow();
  void BuildMouth();

  std::vector<Vertex> vertices_;
  std::vector<std::array<Id, 3>> triangles_[kMaterials];
  Id grid_[kRows][kColumns] = {};
};

void Half::BuildHead() {
  for (int r = 0, b = 0; r < kRows; ++r) {
    for (int c = 0; c < kFrontColumns; ++c) grid_[r][c] = AddSkin(kFront[r][c]);
    const bool next = r > kBack[b].last;
    if (next) ++b;
    for (int c = kFrontColumns; c < kColumns; ++c)
      grid_[r][c] = r > 0 && !next ? grid_[r - 1][c] : AddSkin(kBack[b].columns[c - kFrontColumns]);
  }
  const Id crown = AddSkin(kCrown), throat = AddSkin(kThroat);
  for (int c = 0; c + 1 < kColumns; ++c) {
    Triangle(kHair, crown, grid_[0][c], grid_[0][c + 1]);
    Triangle(kSkin, throat, grid_[kRows - 1][c + 1], grid_[kRows - 1][c]);
    for (int r = 0; r + 1 < kRows; ++r) {
      const bool eye = c >= 1 && c < 4 && r >= kOrbitTop && r < kOrbitTop + 2;
      const bool mouth = c < 3 && r >= kMouthTop && r < kMouthTop + 2;
      const bool hair = r < 2 || (c >= 5 && r < 7) || (c >= 6 && r < 12);
      const bool blush = (c == 2 || c == 3) && r == 8; // a cheek without it would not show that it rises
      const Material material = hair ? kHair : blush ? kBlush : kSkin;
      if (!eye && !mouth) Quad(material, grid_[r][c], grid_[r + 1][c], grid_[r + 1][c + 1], grid_[r][c + 1]);
    }
  }
}

void Half::BuildEar() {
  constexpr Position kFrontEdge[] = {{7.4, 9.6, 9.3}, {7.3, 8.3, 9.7}, {7.0, 6.9, 9.5}, {6.7, 5.9, 9.3}};
  constexpr Position kRim[] = {{8.3, 10.1, 7.5}, {8.9, 9.1, 6.9}, {8.4, 7.4, 7.3}, {7.4, 5.8, 8.3}};
  constexpr Position kBackEdge[] = {{7.6, 9.8, 7.5}, {7.6, 8.8, 7.1}, {7.2, 7.5, 7.4}, {6.7, 6.0, 8.2}};
  Loop front, rim, back;
  for (int i = 0; i < 4; ++i) {
    front.push_back(Add({kFrontEdge[i], {}}));
    rim.push_back(Add({kRim[i], {}}));
    back.push_back(Add({kBackEdge[i], {}}));
  }
  Band(kSkin, rim, front);
  Band(kSkin, back, rim);
  Triangle(kSkin, front.front(), rim.front(), back.front());
  Triangle(kSkin, front.back(), back.back(), rim.back());
}

void Half::BuildEye() {
  // The reference face's upper lid stops short of the lower one: its point is on the lid, above the edge. The
  // edges here are as far apart as the point travels to "Close", so that they meet there along the whole eye.
  // This head's eyes, and their motion, are larger, which shows better from a distance.
  constexpr double kGain = 1.65, kHalfWidth = 1.55;
  const double centre_x = RestPoint(kLeftEye, kUpperEye).x, corner_y = RestPoint(kLeftEye, kInEye).y;
  const double lower = kGain * (RestPoint(kLeftEye, kLowerEye).y - corner_y);
  const double upper = lower - kGain * Displacement({{kLeftEye, kUpperEye, 1}}, kLeftEye, kClose).y;
  // Lids are straight from top to bottom, so that on their way they stay before the eyeball.
  const auto surface = [&](double x) {
    const double t = (x - centre_x) / kHalfWidth;
    return 16.95 - 0.55 * t + 0.6 * (1 - t * t);
  };
  // A vertex of a lid, `t` from -1 in the inner corner to 1 in the outer one.
  const auto lid = [&](double t, bool is_upper, double forward, double up = 0) {
    const double open = 1 - t * t, x = centre_x + kHalfWidth * t;
    return Add({{x, corner_y + (is_upper ? upper : lower) * open + up, surface(x) + forward},
                {{kLeftEye, is_upper ? kUpperEye : kLowerEye, kGain * open},
                 {kLeftEye, t < 0 ? kInEye : kOutEye, kGain * t * t},
                 {kLeftCheek, 0, is_upper ? 0 : 0.25 * open}}});
  };
  Loop orbit, edge, inside, lash, lash_top;
  constexpr double kAcross[] = {-1, -0.7, -0.25, 0.25, 0.7, 1};
  for (int i = 0; i < 10; ++i) { // over the top to the outer corner, and back below
    const bool top = i <= 5;
    const int across = top ? i : 10 - i;
    const int row = across == 0 || across == 5 ? 1 : top ? 0 : 2;
    orbit.push_back(grid_[kOrbitTop + row][std::clamp(across, 1, 4)]);
    edge.push_back(lid(kAcross[across], top, top ? 0 : -0.08)); // where they cross, the upper lid is seen
    inside.push_back(lid(kAcross[across], top, -0.45));
    if (top) lash_top.push_back(lid(kAcross[across], top, 0.06, 0.16));
    if (top) lash.push_back(lid(kAcross[across], top, 0.06));
  }
  for (Loop* loop : {&orbit, &edge, &inside}) loop->push_back(loop->front());
  Band(kSkin, orbit, edge);
  Band(kSkin, edge, inside);
  Band(kDark, lash_top, lash);

  const double h = std::sqrt(0.5);
  const double circle[][2] = {{-1, 0}, {-h, h}, {0, 1}, {h, h}, {1, 0}, {h, -h}, {0, -1}, {-h, -h}};
  struct Ring {
    Material material;
    double width, height;
  };
  const double middle = corner_y + (upper + lower) / 2 + 0.05;
  Loop inner(9, Add({{centre_x, middle, surface(centre_x) - 0.22}, {}}));
  for (const Ring& ring : {Ring{kDark, 0.42, 0.42}, Ring{kIris, 0.92, 0.92}, Ring{kWhite, 1.7, 1.6}}) {
    Loop outer;
    for (const auto& [across, up] : circle) {
      const double x = centre_x + ring.width * across, y = ring.height * up;
      outer.push_back(Add({{x, middle + y, surface(x) - 0.22 - 0.1 * y * y}, {}}));
    }
    outer.push_back(outer.front());
    Band(ring.material, outer, inner);
    inner = outer;
  }
}

void Half::BuildBrow() {
  struct Section {
    int point; // and how far on from it towards the next
    double on, half_height, z;
  };
  constexpr Section kSections[] = {
      {0, 0, 0.34, 18.4}, {0, 0.5, 0.42, 18.3}, {1, 0, 0.40, 18.0}, {1, 0.5, 0.30, 17.5}, {1, 1, 0.1, 16.9}};
  Loop top, ridge, bottom;
  for (const auto& [point, on, half_height, z] : kSections) {
    const Position a = RestPoint(kLeftBrow, point), b = RestPoint(kLeftBrow, point + 1);
    const double x = a.x + on * (b.x - a.x), y = a.y + on * (b.y - a.y);
    const Pulls pulls = {{kLeftBrow, point, 1 - on}, {kLeftBrow, point + 1, on}};
    top.push_back(Add({{x, y + half_height, z - 0.1}, pulls}));
    ridge.push_back(Add({{x, y, z + 0.35}, pulls}));
    bottom.push_back(Add({{x, y - half_height, z - 0.1}, pulls}));
  }
  Band(kHair, top, ridge);
  Band(kHair, ridge, bottom);
  Triangle(kHair, top.front(), bottom.front(), ridge.front());
  Triangle(kHair, top.back(), ridge.back(), bottom.back());
}

void Half::BuildMouth() {
  // Loops run from the middle over the upper lip to the corner, and back below. Three columns of a lip and
  // the corner, which a loop holds three times: the skin around has an edge of its own there.
  constexpr std::size_t kLength = 9;
  const Position corner = RestPoint(kMouth, kCorner);
  const Id corner_id = Add({{corner.x, corner.y, 18.0}, {{kMouth, kCorner, 1}}});
  Loop muzzle, rim(kLength, corner_id), ridge(kLength, corner_id), seam(kLength, corner_id), throat(kLength);
  for (int c = 0; c <= 3; ++c) muzzle.push_back(grid_[kMouthTop][c]);
  muzzle.push_back(grid_[kMouthTop + 1][3]);
  for (int c = 3; c >= 0; --c) muzzle.push_back(grid_[kMouthTop + 2][c]);

  throat[3] = throat[4] = throat[5] = Add({{2.2, corner.y, 15.5}, {{kMouth, kChin, 0.35}}});
  for (const bool upper : {true, false}) {
    const int point = upper ? kUpperLip : kLowerLip;
    const Position at = RestPoint(kMouth, point);
    const double up = upper ? 1 : -1;
    // The second column is on the reference face's point; the depths, where that face is flat, are this
    // head's.
    const double x[] = {0, at.x, at.x + 0.5 * (corner.x - at.x)};
    constexpr double kThickness[] = {0.9, 1, 0.5}, kDepth[] = {19.15, 19.0, 18.7}, kThroatX[] = {0, 1.1, 1.8};
    constexpr double kGap[] = {0.03, 0.03, 0.005}; // draws the line between lips that are shut
    const Pull half = {kMouth, point, 0.5};
    const Pulls pulls[] = {
        {half, Mirrored(half)}, {{kMouth, point, 1}}, {{kMouth, point, 0.6}, {kMouth, kCorner, 0.4}}};
    for (std::size_t c = 0; c < 3; ++c) {
      const std::size_t i = upper ? c : kLength - 1 - c;
      const double y = kThickness[c] * (at.y - corner.y);
      Pulls opposite = pulls[c];
      for (Pull& pull : opposite)
        if (pull.point != kCorner) pull.point = kUpperLip + kLowerLip - pull.point;
      rim[i] = Add({{x[c], corner.y + 1.5 * y, kDepth[c] - 0.2}, pulls[c]});
      ridge[i] = Add({{x[c], corner.y + y, kDepth[c]}, pulls[c]});
      seam[i] = Add({{x[c], corner.y + up * kGap[c], kDepth[c] - 0.3}, pulls[c], opposite, upper ? 1 : -1});
      throat[i] = Add({{kThroatX[c], corner.y + up * 1.4, 15.0}, {{kMouth, kChin, upper ? 0 : 0.7}}});
    }

    constexpr double kTeethX[] = {0, 0.75, 1.4, 1.9}, kTeethZ[] = {18.0, 17.9, 17.4, 16.8};
    Loop gum, edge;
    for (int c = 0; c < 4; ++c) {
      const Pulls jaw = {{kMouth, kChin, upper ? 0.0 : 1.0}};
      gum.push_back(Add({{kTeethX[c], corner.y + up, kTeethZ[c]}, jaw}));
      edge.push_back(Add({{kTeethX[c], corner.y + up * 0.2, kTeethZ[c]}, jaw}));
    }
    upper ? Band(kTeeth, gum, edge) : Band(kTeeth, edge, gum);
  }
  Band(kSkin, muzzle, rim);
  Band(kLips, rim, ridge);
  Band(kLips, ridge, seam);
  Band(kInside, seam, throat);
  for (std::size_t i = 1; i < 4; ++i)
    Quad(kInside, throat[i - 1], throat[kLength - i], throat[kLength - 1 - i], throat[i]);
}

FaceMesh::Vector Metres(const Position& cm) {
  return {static_cast<float>(cm.x / 100), static_cast<float>(cm.y / 100), static_cast<float>(cm.z / 100)};
}

FaceMesh::Piece Half::MirroredPiece(int material, const std::vector<TemplateColumn>& templates) const {
  FaceMesh::Piece piece{kPaints[material].name, kPaints[material].colour, {}, {}, {}};
  piece.displacements.resize(templates.size());
  std::map<std::pair<Id, bool>, std::uint16_t> indices;
  const auto index = [&](Id id, bool right) {
    const Vertex& vertex = vertices_[id];
    right = right && vertex.rest.x != 0; // the halves share what lies in the middle
    const auto [found, added] = indices.try_emplace({id, right}, static_cast<std::uint16_t>(indices.size()));
    if (!added) return found->second;
    Position rest = vertex.rest;
    Pulls own = vertex.pulls, opposite = vertex.opposite;
    if (right) {
      rest.x = -rest.x;
      for (Pulls* pulls : {&own, &opposite})
        std::transform(pulls->begin(), pulls->end(), pulls->begin(), Mirrored);
    }
    piece.positions.push_back(Metres(rest));
    for (std::size_t t = 0; t < templates.size(); ++t) {
      Position move = Displacement(own, templates[t].part, templates[t].slot);
      const Position other = Displacement(opposite, templates[t].part, templates[t].slot);
      // Lips that press against each other stay shut, and give way together.
      if (vertex.side * (move.y - other.y) < 0)
        move = {(move.x + other.x) / 2, (move.y + other.y) / 2, (move.z + other.z) / 2};
      piece.displacements[t].push_back(Metres(move));
    }
    return found->second;
  };
  for (const bool right : {false, true})
    for (const auto& [a, b, c] : triangles_[material])
      for (const Id id : {a, right ? c : b, right ? b : c}) piece.triangles.push_back(index(id, right));
  return piece;
}

} // namespace

FaceMesh MakeFaceMesh() {
  const Half half;
  const auto templates = TemplateColumns();
  FaceMesh mesh;
  for (int material = 0; material < kMaterials; ++material)
    mesh.pieces.push_back(half.MirroredPiece(material, templates));
  return mesh;
}

} // namespace mien
