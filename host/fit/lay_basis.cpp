#include "host/fit/lay_basis.h"

#include "host/base/error.h"
#include "host/base/face_parts.h"
#include "host/cleaning/rigid_fit.h"
#include "host/fit/landmark_scheme.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

namespace mien {

namespace {

double Along(const Point& p, std::size_t axis) { return axis == 0 ? p.x : axis == 1 ? p.y : p.z; }

Point MeanOf(const std::vector<Point>& points) {
  Point mean = {0, 0, 0};
  const auto count = static_cast<double>(points.size());
  for (const Point& p : points) mean.x += p.x / count, mean.y += p.y / count, mean.z += p.z / count;
  return mean;
}

double SquaredDistance(const Point& a, const Point& b) {
  const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return x * x + y * y + z * z;
}

/// Places of the basis and of the performer that belong together (sizes: equal).
struct Pairs {
  std::vector<Point> from, to;

  void Add(const Point& a, const Point& b) {
    from.push_back(a);
    to.push_back(b);
  }
};

/// Turns, then scales along each axis, then shifts.
class Laying {
public:
  /// The one that brings `from` to `to` best, or without `depth` one whose scale in depth is the mean of the
  /// others'.
  Laying(const Pairs& pairs, bool depth) {
    RigidBody body;
    for (const Point& p : pairs.from) body.places.emplace_back(p);
    body.spread_mm.assign(pairs.from.size(), 1.0);
    body.noise_mm = 1e9; // every pair counts in full
    const RigidBody::Points seen(pairs.to.begin(), pairs.to.end());
    if (const auto turn = RigidFit(body).Solve(seen)) turn_ = *turn;
    SetColumn(turn_, 3, {0, 0, 0});

    Pairs turned;
    for (std::size_t i = 0; i < pairs.from.size(); ++i) turned.Add(Turned(pairs.from[i]), pairs.to[i]);
    const Point from = MeanOf(turned.from), to = MeanOf(turned.to);
    std::array<double, 3> scale{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double product = 0, square = 0;
      for (std::size_t i = 0; i < turned.from.size(); ++i) {
        const double a = Along(turned.from[i], axis) - Along(from, axis);
        product += a * (Along(turned.to[i], axis) - Along(to, axis));
        square += a * a;
      }
      scale[axis] = square > 0 ? product / square : 1;
    }
    if (!depth) scale[2] = (scale[0] + scale[1]) / 2;
    scale_ = {scale[0], scale[1], scale[2]};
    shift_ = {to.x - scale_.x * from.x, to.y - scale_.y * from.y, to.z - scale_.z * from.z};
  }

  /// A place, or a way.
  Point Place(const Point& p) const {
    const Point way = Way(p);
    return {way.x + shift_.x, way.y + shift_.y, way.z + shift_.z};
  }
  Point Way(const Point& p) const {
    const Point t = Turned(p);
    return {scale_.x * t.x, scale_.y * t.y, scale_.z * t.z};
  }
  const Point& Scale() const { return scale_; }

private:
  Point Turned(const Point& p) const {
    const VgeTVector t = TransformPoint(turn_, {p.x, p.y, p.z});
    return {t.x, t.y, t.z};
  }

  VgeAMatrix turn_;
  Point scale_ = {1, 1, 1}, shift_ = {0, 0, 0};
};

/// The landmarks in the middle of a holder's markers.
struct HolderPlace {
  FacePart part;
  std::size_t holder; // kAny: all holders of the part
  std::vector<std::size_t> landmarks;
};
constexpr std::size_t kAny = 5;

const std::vector<HolderPlace>& HolderPlaces() {
  static const std::vector<HolderPlace> places = {
      {kMouth, kLeftMouthHolder, {54}},
      {kMouth, kRightMouthHolder, {48}},
      {kMouth, kUpperMouthHolder, {50, 51, 52}},
      {kMouth, kLowerMouthHolder, {56, 57, 58}},
      {kMouth, kChinHolder, {8}},
      {kLeftBrow, kAny, {22, 23, 24, 25, 26}},
      {kRightBrow, kAny, {17, 18, 19, 20, 21}},
      {kLeftEye, kUpperEyeHolder, {43, 44}},
      {kLeftEye, kLowerEyeHolder, {46, 47}},
      {kRightEye, kUpperEyeHolder, {37, 38}},
      {kRightEye, kLowerEyeHolder, {40, 41}},
      {kLeftNostril, kAny, {35}},
      {kRightNostril, kAny, {31}},
  };
  return places;
}

/// Above or below a slit of the face: lids and lips.
enum class Side { Neither, Upper, Lower };

constexpr std::size_t kUpper[] = {37, 38, 43, 44, 49, 50, 51, 52, 53, 61, 62, 63};
constexpr std::size_t kLower[] = {40, 41, 46, 47, 55, 56, 57, 58, 59, 65, 66, 67};

/// The points of a basis, by landmark and by side.
class BasisPoints {
public:
  explicit BasisPoints(const ShapeBasis& basis) : basis_(basis) {
    for (std::size_t p = 0; p < basis.points.size(); ++p)
      for (std::size_t i = 0; i < kLandmarks68; ++i)
        if (basis.points[p] == fmt::format("lm{}", i)) landmark_[i] = p;
    constexpr double kBeside_mm = 15; // beyond, skin is neither lid nor lip
    for (const Point& rest : basis.rest) {
      const double upper = Nearest(rest, kUpper), lower = Nearest(rest, kLower);
      sides_.push_back(std::min(upper, lower) > kBeside_mm * kBeside_mm ? Side::Neither
                       : upper < lower                                  ? Side::Upper
                                                                        : Side::Lower);
    }
  }

  std::optional<std::size_t> Landmark(std::size_t i) const { return landmark_[i]; }

  /// The middle of these landmarks, if the basis has them all.
  std::optional<Point> Middle(const std::vector<std::size_t>& landmarks) const {
    std::vector<Point> places;
    for (const std::size_t i : landmarks) {
      if (!landmark_[i]) return std::nullopt;
      places.push_back(basis_.rest[*landmark_[i]]);
    }
    return MeanOf(places);
  }

  Side SideOf(std::size_t point) const { return sides_[point]; }

private:
  template <std::size_t N>
  double Nearest(const Point& p, const std::size_t (&landmarks)[N]) const {
    double nearest = HUGE_VAL;
    for (const std::size_t i : landmarks)
      if (landmark_[i]) nearest = std::min(nearest, SquaredDistance(p, basis_.rest[*landmark_[i]]));
    return nearest;
  }

  const ShapeBasis& basis_;
  std::array<std::optional<std::size_t>, kLandmarks68> landmark_;
  std::vector<Side> sides_;
};

struct FaceMarker {
  LaidBasis::Marker marker;
  Side side = Side::Neither;
};

/// The performer's markers that can be fitted, in a fixed order: the landmarks, then the others that drive the
/// face.
std::vector<FaceMarker> MarkersOf(const Performer& performer, const NeutralPose& rest) {
  std::vector<FaceMarker> markers;
  std::set<std::string> known;
  const auto landmarks = MarkersOfLandmarks(SchemeOf(performer));
  for (std::size_t i = 0; i < landmarks.size(); ++i) {
    if (!landmarks[i]) continue;
    const auto place = rest.find(*landmarks[i]);
    if (place == rest.end()) continue;
    const FitRegion region = i >= 48   ? FitRegion::Mouth
                             : i >= 42 ? FitRegion::LeftEye
                             : i >= 36 ? FitRegion::RightEye
                                       : FitRegion::None;
    known.insert(*landmarks[i]);
    markers.push_back({{*landmarks[i], place->second, i, region}, Side::Neither});
  }
  for (std::size_t part = 0; part < performer.holders.size(); ++part)
    for (std::size_t holder = 0; holder < performer.holders[part].size(); ++holder)
      for (const std::string& name : performer.holders[part][holder]) {
        const auto place = rest.find(name);
        if (place == rest.end() || !known.insert(name).second) continue;
        const bool is_eye = part == kLeftEye || part == kRightEye;
        const Side side =
            (is_eye && holder == kUpperEyeHolder) || (part == kMouth && holder == kUpperMouthHolder)
                ? Side::Upper
            : (is_eye && holder == kLowerEyeHolder) || (part == kMouth && holder == kLowerMouthHolder)
                ? Side::Lower
                : Side::Neither;
        const FitRegion region = part == kMouth      ? FitRegion::Mouth
                                 : part == kLeftEye  ? FitRegion::LeftEye
                                 : part == kRightEye ? FitRegion::RightEye
                                                     : FitRegion::None;
        markers.push_back({{name, place->second, std::nullopt, region}, side});
      }
  return markers;
}

Pairs LandmarkPairs(const std::vector<FaceMarker>& markers, const ShapeBasis& basis,
                    const BasisPoints& points) {
  Pairs pairs;
  for (const auto& [marker, side] : markers)
    if (marker.landmark && *marker.landmark >= kJawContour) // the contour slides along the jaw
      if (const auto point = points.Landmark(*marker.landmark)) pairs.Add(basis.rest[*point], marker.rest);
  return pairs;
}

Pairs HolderPairs(const Performer& performer, const NeutralPose& rest, const BasisPoints& points) {
  Pairs pairs;
  for (const auto& [part, holder, landmarks] : HolderPlaces()) {
    std::vector<Point> places;
    for (std::size_t h = 0; h < performer.holders[part].size(); ++h)
      if (holder == kAny || holder == h)
        for (const std::string& name : performer.holders[part][h])
          if (const auto place = rest.find(name); place != rest.end()) places.push_back(place->second);
    const auto middle = points.Middle(landmarks);
    if (!places.empty() && middle) pairs.Add(*middle, MeanOf(places));
  }
  return pairs;
}

/// The squared distance of the nearest point of the basis, and which it is.
std::pair<double, std::size_t> NearestPoint(const Point& p, const std::vector<Point>& laid) {
  std::pair<double, std::size_t> nearest = {HUGE_VAL, 0};
  for (std::size_t i = 0; i < laid.size(); ++i) nearest = std::min(nearest, {SquaredDistance(p, laid[i]), i});
  return nearest;
}

Laying LayingOf(const std::vector<FaceMarker>& markers, const Performer& performer, const NeutralPose& rest,
                const ShapeBasis& basis, const BasisPoints& points) {
  constexpr std::size_t kEnough = 20;
  if (const Pairs pairs = LandmarkPairs(markers, basis, points); pairs.from.size() >= kEnough)
    return {pairs, true};
  const Pairs holders = HolderPairs(performer, rest, points);
  constexpr std::size_t kFewest = 4;
  if (holders.from.size() < kFewest)
    throw InputError(
        Code::Unsolvable, performer.file, "/parts",
        fmt::format("the markers are on {} of the places by which the face's shapes are laid onto "
                    "it (corners of the mouth, lips, chin, brows, lids, nostrils); {} are needed",
                    holders.from.size(), kFewest),
        "name markers for more parts, or solve with --solver parts");
  Laying laying(holders, false);
  constexpr int kRounds = 6; // three move it by less than a tenth of a millimetre after the second
  for (int round = 0; round < kRounds; ++round) {
    Pairs pairs = holders;
    for (std::size_t i = 0; i < holders.from.size(); ++i) pairs.Add(holders.from[i], holders.to[i]); // twice
    std::vector<Point> laid;
    for (const Point& p : basis.rest) laid.push_back(laying.Place(p));
    for (const auto& [marker, side] : markers)
      pairs.Add(basis.rest[NearestPoint(marker.rest, laid).second], marker.rest);
    laying = Laying(pairs, true);
  }
  return laying;
}

/// The weights of the points of the basis under a marker.
std::vector<std::pair<std::size_t, double>>
SkinUnder(const FaceMarker& marker, const std::vector<Point>& laid, const BasisPoints& points) {
  constexpr std::size_t kNearest = 4;
  constexpr double kBlur_mm = 1; // nearer than this, distances make no difference
  std::vector<std::pair<double, std::size_t>> near;
  for (std::size_t p = 0; p < laid.size(); ++p) {
    const Side side = points.SideOf(p);
    if (marker.side != Side::Neither && side != Side::Neither && side != marker.side) continue;
    near.emplace_back(std::sqrt(SquaredDistance(marker.marker.rest, laid[p])), p);
  }
  const std::size_t count = std::min(kNearest, near.size());
  std::partial_sort(near.begin(), near.begin() + static_cast<std::ptrdiff_t>(count), near.end());
  std::vector<std::pair<std::size_t, double>> weights;
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double distance = near[i].first + kBlur_mm;
    weights.emplace_back(near[i].second, 1 / (distance * distance));
    sum += weights.back().second;
  }
  for (auto& [point, weight] : weights) weight /= sum;
  return weights;
}

} // namespace

LaidBasis LayBasis(const ShapeBasis& basis, const Performer& performer, const NeutralPose& rest) {
  const BasisPoints points(basis);
  const std::vector<FaceMarker> markers = MarkersOf(performer, rest);
  const Laying laying = LayingOf(markers, performer, rest, basis, points);
  std::vector<Point> laid;
  for (const Point& p : basis.rest) laid.push_back(laying.Place(p));

  LaidBasis on_face;
  on_face.shapes = basis.shapes;
  on_face.scale = laying.Scale();
  for (const FaceMarker& marker : markers) {
    const auto landmark = marker.marker.landmark ? points.Landmark(*marker.marker.landmark) : std::nullopt;
    const auto skin = landmark ? std::vector{std::pair(*landmark, 1.0)} : SkinUnder(marker, laid, points);
    for (std::size_t s = 0; s < basis.shapes.size(); ++s) {
      Point moved = {0, 0, 0};
      for (const auto& [point, weight] : skin) {
        const Point way = laying.Way(basis.Moved(point, s));
        moved.x += weight * way.x, moved.y += weight * way.y, moved.z += weight * way.z;
      }
      on_face.moved.push_back(moved);
    }
    on_face.distance_mm +=
        std::sqrt(NearestPoint(marker.marker.rest, laid).first) / static_cast<double>(markers.size());
    on_face.markers.push_back(marker.marker);
  }
  return on_face;
}

} // namespace mien
