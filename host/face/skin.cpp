#include "host/face/skin.h"

#include "host/face/head_form.h"

#include <optional>

namespace mien {

namespace {

// Columns: the corners of the eye and of the mouth are on columns of their own.
constexpr std::size_t kInner = 8, kCorner = 16, kOuter = 24, kSide = 30, kColumns = 38;

// Rows as distances from the slits, which have two rows each: an upper and a lower edge.
constexpr double kAboveEye[] = {17,   15.8, 14.3, 12.5, 10.8, 9.1, 7.5,  6.1,  5.0,  4.1,  3.4,  2.85, 2.4,
                                2.02, 1.66, 1.36, 1.1,  0.88, 0.7, 0.55, 0.41, 0.29, 0.17, 0.07, 0};
constexpr double kBelowEye[] = {0,    0.08, 0.2, 0.36, 0.56, 0.82, 1.15,
                                1.52, 1.95, 2.4, 2.85, 3.25, 3.58, 3.83};
constexpr double kAboveMouth[] = {2.95, 2.76, 2.57, 2.37, 2.15, 1.9,  1.62, 1.34, 1.08,
                                  0.86, 0.7,  0.56, 0.41, 0.27, 0.14, 0.05, 0};
constexpr double kBelowMouth[] = {0,    0.05, 0.15, 0.3, 0.46, 0.62, 0.77, 0.94, 1.15, 1.42, 1.75,
                                  2.15, 2.6,  3.05, 3.5, 3.95, 4.45, 5.1,  6.0,  7.3,  9.2,  12};

constexpr Colour kLipTone = {0.50, 0.145, 0.12}, kBlush = {0.68, 0.27, 0.19}, kMargin = {0.45, 0.16, 0.12},
                 kInside = {0.30, 0.06, 0.055}, kThroat = {0.05, 0.01, 0.01}, kNostril = {0.10, 0.03, 0.02},
                 kLashLine = {0.10, 0.05, 0.035};

Colour Blend(const Colour& a, const Colour& b, double share) {
  return {Mix(a[0], b[0], share), Mix(a[1], b[1], share), Mix(a[2], b[2], share)};
}

/// Where a column crosses a row of the front: x. Columns that belong to features stay with them.
double FrontX(std::size_t column, double down) {
  static const Spline inner = {{0, 0},
                               {2, 0.45},
                               {4, 0.88},
                               {8, 1.45},
                               {11, 1.7},
                               {13.6, kInnerEyeCorner},
                               {19.2, kInnerEyeCorner},
                               {21.2, 1.75},
                               {22.5, 1.45},
                               {24, 1.22},
                               {26, 1.15},
                               {28, 1.0},
                               {30, 0.8},
                               {33, 0.5},
                               {36, 0}};
  static const Spline corner = {{0, 0},
                                {2, 0.9},
                                {4, 1.75},
                                {8, 2.8},
                                {11, 3.1},
                                {13.6, 3.14},
                                {19.2, 3.14},
                                {21.5, 2.85},
                                {23.2, kMouthCorner},
                                {25.0, kMouthCorner},
                                {28, 2.0},
                                {30, 1.6},
                                {33, 1.0},
                                {36, 0}};
  static const Spline outer = {{0, 0},
                               {2, 1.35},
                               {4, 2.65},
                               {8, 4.15},
                               {11, 4.45},
                               {13.6, kOuterEyeCorner},
                               {19.2, kOuterEyeCorner},
                               {21.5, 4.35},
                               {24, 4.0},
                               {26, 3.6},
                               {28, 3.1},
                               {30, 2.5},
                               {33, 1.5},
                               {36, 0}};
  const auto within = [](std::size_t c, std::size_t from, std::size_t to) {
    return static_cast<double>(c - from) / static_cast<double>(to - from);
  };
  if (column <= kInner) return within(column, 0, kInner) * inner(down);
  if (column <= kCorner) return Mix(inner(down), corner(down), within(column, kInner, kCorner));
  return Mix(corner(down), outer(down), within(std::min(column, kOuter), kCorner, kOuter));
}

/// The point that divides the quarter of a circle between two of its points.
double AcrossArc(double from, double to, double share) {
  const double x = Mix(from, to, share);
  const double y =
      Mix(std::sqrt(std::max(0.0, 1 - from * from)), std::sqrt(std::max(0.0, 1 - to * to)), share);
  return x / std::sqrt(x * x + y * y);
}

FormPoint Place(double down, std::size_t column) {
  if (column == 0) return OnFront(down, 0);
  const double width = HalfWidth(down);
  if (width <= 0) return OnFront(down, 0); // the crown, the throat
  if (column <= kOuter) return OnFront(down, FrontX(column, down) / width);
  if (column <= kSide) {
    const double share = static_cast<double>(column - kOuter) / (kSide - kOuter);
    return OnFront(down, AcrossArc(FrontX(kOuter, down) / width, 1, share));
  }
  const double share = static_cast<double>(column - kSide) / (kColumns - 1 - kSide);
  const Vec at = OnBack(down, AcrossArc(1, 0, share));
  return {at, at.z};
}

/// The line of the eye's corners: the outer one is higher.
double EyeDown(double x) { return kEyeDown + 0.05 - 0.1 * (std::clamp(x, 0.5, 6.0) - 3.15); }

/// How much closer the rows are that follow the lips towards the corner.
double LipHeight(double x, bool upper) {
  const double a = std::min(x / kMouthCorner, 1.0);
  const double bow = upper ? 0.13 * Bell(x / 0.75) : 0;
  return std::max((1 - a * a) * (1 + 0.45 * a * a) - bow, 0.2);
}
constexpr double kUpperLip = 0.62, kLowerLip = 0.82; // heights in the middle

double LipDistance(double distance, double x, bool upper) {
  const double follow = 1 - Ramp(distance, 0.7, 2.2);
  const double beyond = Ramp(x, kMouthCorner, kMouthCorner + 1.8);
  return distance * Mix(1, Mix(LipHeight(x, upper), 1, beyond), follow);
}

/// How far lips stand out, by the distance from where they meet in shares of their height.
double LipProfile(double share, bool upper) {
  static const Spline above = {{0, -0.26},  {0.08, -0.1}, {0.25, 0.1}, {0.5, 0.2},
                               {0.85, 0.2}, {1.05, 0.16}, {1.4, 0.03}, {2, 0}};
  static const Spline below = {{0, -0.26},   {0.08, -0.08}, {0.25, 0.16}, {0.5, 0.27},
                               {0.75, 0.22}, {1.05, 0.02},  {1.4, -0.08}, {2, 0}};
  return upper ? above(share) : below(share);
}

class Skin {
public:
  explicit Skin(Surface& head) : head_(head) {}

  LidEdges Build() {
    Row above = Uniform(0);
    for (const double distance : kAboveEye) {
      if (distance == kAboveEye[0]) continue;
      Row row;
      for (std::size_t c = 0; c < kColumns; ++c) row.push_back(AroundEye(c, distance, true));
      Continue(above, row);
    }
    const Row upper_lid = above;
    LidEdges edges;
    for (const double distance : kBelowEye) {
      Row row;
      for (std::size_t c = 0; c < kColumns; ++c)
        row.push_back(distance == 0 && (c <= kInner || c >= kOuter) ? upper_lid[c]
                                                                    : AroundEye(c, distance, false));
      if (distance == 0) {
        edges = {Part(upper_lid, kInner, kOuter), Part(row, kInner, kOuter)};
        above = row; // nothing between the lids
      } else
        Continue(above, row);
    }
    EndOnEyeball(edges);
    for (const double distance : kAboveMouth) Continue(above, AroundMouth(distance, true, {}));
    const Row upper_lip = above;
    above = AroundMouth(0, false, upper_lip);
    LineMouth(Part(upper_lip, 0, kCorner), Part(above, 0, kCorner));
    for (const double distance : kBelowMouth)
      if (distance > 0 && distance < kLastDown - kMouthDown)
        Continue(above, AroundMouth(distance, false, {}));
    Continue(above, Uniform(kLastDown));
    return edges;
  }

private:
  using Row = Surface::Row;

  static Row Part(const Row& row, std::size_t first, std::size_t last) {
    return Row(row.begin() + static_cast<std::ptrdiff_t>(first),
               row.begin() + static_cast<std::ptrdiff_t>(last) + 1);
  }

  void Continue(Row& above, const Row& below) {
    head_.AddBand(Material::Skin, above, below);
    above = below;
  }

  Row Uniform(double down) {
    return Row(kColumns, head_.Add({.at = OnFront(down, 0).at, .colour = kSkinTone}));
  }

  /// `own`: its colour, if not that of skin at this place.
  Surface::Id AddSkin(const FormPoint& point, Vertex vertex, const std::optional<Colour>& own) {
    vertex.at = point.at;
    vertex.under = point.under;
    const auto& [x, y, z] = vertex.at;
    Colour colour = kSkinTone;
    if (z > 11) {
      colour = Blend(colour, kBlush, 0.42 * Bell((x - 4.3) / 2.6, (y - 6.3) / 2.2));
      colour = Blend(colour, kBlush, 0.4 * Bell(x / 1.7, (y - 5.9) / 1.3));
      colour = Blend(colour, kBlush, 0.25 * Bell(x / 2.0, (y + 0.6) / 1.4));
      colour = Blend(colour, kNostril,
                     Ramp(Bell((x - 0.72) / 0.5, (y - 5.32) / 0.3), 0.3, 0.8) * Ramp(z, 20.6, 20.0));
    }
    if (vertex.shut != 0) colour = Blend(colour, kBlush, 0.5 * Ramp(std::fabs(vertex.shut), 0.1, 0.6));
    vertex.colour = own.value_or(colour);
    return head_.Add(vertex);
  }

  Surface::Id AroundEye(std::size_t column, double distance, bool upper) {
    constexpr double kReach = 2.2; // of the lids' curves
    const double up = upper ? 1 : -1;
    const auto down = [&](double x) {
      const auto [opening_up, opening_down] = OpeningAt(x);
      const double left = std::max(1 - distance / kReach, 0.0);
      const double bent = distance + (upper ? opening_up : opening_down) * left * left;
      return Mix(kEyeDown, EyeDown(x), Ramp(distance, 3.5, 0.5)) - up * bent;
    };
    const double x = FrontX(column, kEyeDown - up * distance);
    Vertex vertex{};
    std::optional<Colour> own;
    const auto [opening_up, opening_down] = OpeningAt(x);
    if (column > kInner && column < kOuter) {
      // Shut, the lids meet where the lower one is a little above its rest.
      const double meet = 0.12 * (opening_up + opening_down);
      vertex.shut = upper ? -(opening_up + opening_down - meet) * Ramp(distance, 0.95, 0)
                          : meet * Ramp(distance, 0.8, 0);
      if (distance == 0) own = upper ? kLashLine : Blend(kMargin, kLashLine, 0.3);
    }
    return AddSkin(Place(down(x), column), vertex, own);
  }

  /// A row at this distance from the line between the lips. `shared`: the upper edge of that line, whose
  /// vertices from the corner on are those of the lower edge too.
  Row AroundMouth(double distance, bool upper, const Row& shared) {
    Row row;
    for (std::size_t c = 0; c < kColumns; ++c) {
      if (!shared.empty() && c >= kCorner) {
        row.push_back(shared[c]);
        continue;
      }
      const double up = upper ? 1 : -1;
      const double x = FrontX(c, kMouthDown - up * distance);
      const double down = kMouthDown - up * LipDistance(distance, x, upper);
      FormPoint point = Place(down, c);
      Vertex vertex{.lip = upper ? Vertex::Lip::Upper : Vertex::Lip::Lower};
      std::optional<Colour> own;
      const double a = x / kMouthCorner, share = distance / (upper ? kUpperLip : kLowerLip);
      if (a < 1.4) {
        const double full = (1 - 0.5 * a * a) * Ramp(a, 1.03, 0.55);
        point.at.z += full * LipProfile(share, upper);
        if (a < 1.001) {
          const double red = Ramp(share, 1.12, 0.95) * Ramp(a, 1.001, 0.93);
          if (red > 0) own = Blend(kSkinTone, Blend(kLipTone, kMargin, Ramp(share, 0.15, 0)), red);
        }
        vertex.rolled = Ramp(share, 0.9, 0) * Ramp(a, 1.2, 0.9);
      }
      row.push_back(AddSkin(point, vertex, own));
    }
    return row;
  }

  /// A rim as thick as the lid, down to the eyeball.
  void EndOnEyeball(const LidEdges& edges) {
    Row inner[2];
    for (const bool upper : {true, false}) {
      const Row& edge = upper ? edges.upper : edges.lower;
      Row& row = inner[upper ? 0 : 1];
      for (std::size_t i = 0; i < edge.size(); ++i) {
        if (!upper && (i == 0 || i + 1 == edge.size())) {
          row.push_back(inner[0][i]);
          continue;
        }
        Vertex vertex = head_.vertices[edge[i]];
        const Vec out = vertex.at - kEye;
        vertex.at = kEye + ((kEyeRadius - 0.03) / Length(out)) * out;
        vertex.colour = kMargin;
        row.push_back(head_.Add(vertex));
      }
    }
    head_.AddBand(Material::Skin, edges.upper, inner[0]);
    head_.AddBand(Material::Skin, inner[1], edges.lower);
  }

  /// The inside of the mouth, behind both lips to the throat.
  void LineMouth(const Row& upper_lip, const Row& lower_lip) {
    struct Depth {
      double back, half_height, wider, with_lips;
    };
    constexpr Depth kDepths[] = {{0.15, 0.01, 0, 1},       {0.4, 0.06, -0.02, 0.95},
                                 {0.65, 0.35, -0.03, 0.7}, {0.85, 0.85, -0.05, 0.35},
                                 {1.3, 1.1, -0.06, 0.15},  {2.2, 1.1, -0.08, 0.05},
                                 {3.3, 0.9, -0.15, 0},     {4.4, 0.6, -0.2, 0}};
    Row rows[2] = {upper_lip, lower_lip};
    for (const auto& [back, half_height, wider, with_lips] : kDepths)
      for (const bool upper : {true, false}) {
        Row& row = rows[upper ? 0 : 1];
        Row next;
        for (std::size_t c = 0; c <= kCorner; ++c) {
          if (!upper && c == kCorner) {
            next.push_back(rows[0][c]);
            continue;
          }
          const Vec& lip = head_.vertices[upper_lip[c]].at;
          const double a = lip.x / kMouthCorner, taper = 1 - a * a * a * a;
          Vertex vertex{
              .lip = upper ? Vertex::Lip::Upper : Vertex::Lip::Lower, .with_lips = with_lips, .rolled = 1};
          vertex.at = {lip.x * (1 + wider), lip.y + (upper ? 1 : -1) * half_height * taper, lip.z - back};
          vertex.colour = Blend(Blend(kMargin, kInside, Ramp(back, 0.1, 0.6)), kThroat, Ramp(back, 1.3, 3.3));
          next.push_back(head_.Add(vertex));
        }
        upper ? head_.AddBand(Material::Skin, row, next) : head_.AddBand(Material::Skin, next, row);
        row = next;
      }
    head_.AddBand(Material::Skin, rows[0], rows[1]);
  }

  Surface& head_;
};

} // namespace

EyeOpening OpeningAt(double x) {
  double a = (x - kInnerEyeCorner) / (kOuterEyeCorner - kInnerEyeCorner);
  if (a <= 0 || a >= 1) return {0, 0};
  const auto arch = [](double t) { return 0.45 * (4 * t * (1 - t)) + 0.55 * std::sqrt(4 * t * (1 - t)); };
  return {0.58 * arch(a - 0.12 * a * (1 - a)), 0.46 * arch(a + 0.25 * a * (1 - a))};
}

double MouthHeight(double x) {
  return OnFront(kMouthDown, std::min(x, kMouthCorner) / HalfWidth(kMouthDown)).at.y;
}

Vec SkinAt(double down, double x) { return OnFront(down, x / HalfWidth(down)).at; }

LidEdges BuildSkin(Surface& head) { return Skin(head).Build(); }

} // namespace mien
