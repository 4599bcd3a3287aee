#include "host/guess/guess_performer.h"

#include "host/base/face_parts.h"
#include "host/base/text.h"
#include "host/guess/face_motion.h"
#include "host/guess/face_pose.h"
#include "host/guess/head_choice.h"
#include "host/guess/marker_roles.h"
#include "host/guess/side_names.h"
#include "mien/base/affine.h"
#include "mien/face/face.h"
#include "mien/face/global_face.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace mien {

namespace {

/// Holders of a brow.
constexpr std::size_t kBrowHolder = 0;

constexpr std::size_t kFewestMarkers = 10; // fewer have planes of symmetry and poses by chance

/// A group of markers and its pose on the average face. FindFace answers places in the atlas's axes.
struct Face {
  std::vector<std::size_t> markers; ///< indices in the take
  std::vector<VgeTVector> places;   ///< size: markers
  std::vector<double> spread_mm;    ///< size: markers
  FaceMotion motion;
  FacePose pose;
};

double Across(const std::vector<VgeTVector>& places) {
  double across = 0;
  for (const VgeTVector& p : places)
    for (const VgeTVector& q : places) across = std::max(across, Distance(p, q));
  return across;
}

InputError NoFace(const Take& take, const std::string& what) {
  return {Code::Unsolvable, take.file, "", what, "write a performer file by hand (docs/file-formats.md)"};
}

/// Up in the face's own frame of motion.
VgeTVector UpOf(const FacePose& pose) {
  const auto& m = pose.to_face.m;
  return Unit({m[0][1], m[1][1], m[2][1], 0});
}

/// People who speak have their mouths open in most frames, and lips and chin are then not where the atlas has
/// them: takes the places from frames in which chin and lower lip are high, and the pose from these. The
/// medians are along the face's own axes, so that those of the take make no difference.
void CloseMouth(Face& face) {
  constexpr double kLow_mm = -72, kNearMidLine_mm = 32;
  std::vector<std::size_t> low;
  for (std::size_t i = 0; i < face.markers.size(); ++i) {
    const VgeTVector p = TransformPoint(face.pose.to_face, face.places[i]);
    if (p.y < kLow_mm && std::fabs(p.x) < kNearMidLine_mm) low.push_back(face.markers[i]);
  }
  VgeAMatrix unscaled = face.pose.to_face;
  for (int column = 0; column < 4; ++column) {
    const VgeTVector c = Column(unscaled, column);
    const double scale = face.pose.scale;
    SetColumn(unscaled, column, {c.x / scale, c.y / scale, c.z / scale});
  }
  const std::vector<VgeTVector> places = face.motion.PlacesAtTop(face.markers, low, unscaled);
  FacePose pose = face.pose;
  for (int axis = 0; axis < 3; ++axis) {
    VgeTVector column = {0, 0, 0, 0};
    (axis == 0 ? column.x : axis == 1 ? column.y : column.z) = pose.scale;
    SetColumn(pose.to_face, axis, column);
  }
  SetColumn(pose.to_face, 3, {0, 0, 0});
  pose = ImproveFacePose(places, pose);
  face.pose = pose;
  face.pose.to_face = Product(pose.to_face, unscaled);
  face.places.clear();
  for (const VgeTVector& p : places) face.places.push_back(TransformPoint(pose.to_face, p));
}

/// The group that looks most like a face.
Face FindFace(const Take& take, const MarkerCloud& cloud) {
  constexpr double kSmallest_mm = 70, kLargest_mm = 450; // of markers on a face, with a cap
  std::optional<Face> best;
  double refused_mm = 0;
  for (const std::vector<std::size_t>& group : cloud.groups) {
    if (group.size() < kFewestMarkers || group.size() > Performer::kMostMarkers) continue;
    FaceMotion motion(take, group);
    std::vector<std::size_t> markers;
    std::vector<VgeTVector> places;
    std::vector<double> spread_mm;
    for (const std::size_t m : group)
      if (const auto rest = motion.Of(m)) {
        markers.push_back(m);
        places.push_back(rest->place);
        spread_mm.push_back(rest->spread_mm);
      }
    const double across = Across(places);
    if (markers.size() < kFewestMarkers) continue;
    if (across < kSmallest_mm || across > kLargest_mm) {
      refused_mm = across;
      continue;
    }
    const auto pose = FindFacePose(places);
    if (!pose || (best && best->pose.fit >= pose->fit)) continue;
    best.emplace(Face{markers, places, spread_mm, std::move(motion), *pose});
  }
  if (best) {
    CloseMouth(*best);
    return *std::move(best);
  }
  if (refused_mm > 0)
    throw NoFace(
        take,
        fmt::format("the largest group of near markers is {:.3g} mm across, and a face 100 to 300 mm; is "
                    "the take in another unit?",
                    refused_mm));
  const std::size_t largest = cloud.groups.empty() ? 0 : cloud.groups.front().size();
  throw NoFace(take,
               fmt::format("the largest group of markers near each other has {}, and a guess needs {} to {} "
                           "on a face",
                           largest, kFewestMarkers, Performer::kMostMarkers));
}

class Guess {
public:
  Guess(const Take& take, const MarkerCloud& cloud, Face face)
      : take_(take), cloud_(cloud), face_(std::move(face)) {
    used_.assign(take.MarkerCount(), false);
    may_be_head_ = used_;
    guess_.unused = cloud.unused;
  }

  PerformerGuess Make() {
    RequireOneFace();
    std::vector<FaceSpot> spots = FindSpots(face_.places);
    RequireParts(spots);
    for (const FaceSpot& spot : spots) AddSpot(spot);
    SortHolders();
    MoveInnerBrows();
    ChooseHead(spots);
    DoubtPose();
    DoubtSides();
    DoubtMotion(spots);
    DoubtMissingParts();
    ListUnused();
    return std::move(guess_);
  }

private:
  const std::string& Name(std::size_t point) const { return take_.markers[face_.markers[point]]; }

  void Doubt(const std::string& marker, const std::string& what) {
    guess_.doubts.push_back({Code::Doubtful, marker, what});
  }

  void RequireOneFace() const {
    constexpr double kNoFace = -1.5, kDistinct = 0.15;
    constexpr double kSmallest = 0.55,
                     kLargest = 1.8; // of scales; beyond, it is not a human face in millimetres
    const FacePose& pose = face_.pose;
    if (pose.fit < kNoFace || pose.scale < kSmallest || pose.scale > kLargest)
      throw NoFace(take_, fmt::format("{} are near each other, but not where the markers of a face are",
                                      Count(face_.markers.size(), "marker")));
    if (pose.fit - pose.rival_fit < kDistinct)
      throw NoFace(take_,
                   "the markers may be a face in two different ways: too few of them state which way is up");
  }

  void RequireParts(const std::vector<FaceSpot>& spots) const {
    constexpr std::size_t kFewestPairs = 3;
    constexpr double kMostAlone = 0.4; // of the markers that are near a region
    std::size_t driving = 0, pairs = 0, alone = 0, near = 0;
    bool has_upper = false, has_lower = false;
    for (const FaceSpot& spot : spots) {
      if (!spot.region) continue;
      near += spot.points.size();
      if (DrivesAPart(*spot.region)) {
        driving += spot.points.size();
        const Region region = *spot.region;
        const bool is_upper = region == kInnerBrow || region == kMiddleBrow || region == kOuterBrow ||
                              region == kUpperLid || region == kLowerLid;
        (is_upper ? has_upper : has_lower) = true;
      }
      if (spot.IsPair())
        ++pairs;
      else if (!spot.on_mid_line)
        ++alone;
    }
    if (driving * 2 < kFewestMarkers)
      throw NoFace(take_, fmt::format("only {} on parts of the face that move", Count(driving, "marker")));
    if (!has_upper || !has_lower)
      throw NoFace(take_, has_upper ? "no marker on the mouth, the cheeks or the nostrils"
                                    : "no marker on the brows or the eyes");
    if (pairs < kFewestPairs || static_cast<double>(alone) > kMostAlone * static_cast<double>(near))
      throw NoFace(take_, fmt::format("too few markers mirror each other: {}, and {} without a counterpart",
                                      Count(pairs, "pair"), Count(alone, "marker")));
  }

  /// The holders of a region on the left and on the right.
  std::vector<std::string>& Holder(Region region, bool left) {
    auto& holders = guess_.performer.holders;
    switch (region) {
    case kInnerBrow:
    case kMiddleBrow:
    case kOuterBrow:
      return holders[left ? kLeftBrow : kRightBrow][kBrowHolder];
    case kUpperLid:
      return holders[left ? kLeftEye : kRightEye][kUpperEyeHolder];
    case kLowerLid:
      return holders[left ? kLeftEye : kRightEye][kLowerEyeHolder];
    case kNoseWing:
      return holders[left ? kLeftNostril : kRightNostril][0];
    case kUpperLip:
    case kMiddleUpperLip:
      return holders[kMouth][kUpperMouthHolder];
    case kLowerLip:
    case kMiddleLowerLip:
      return holders[kMouth][kLowerMouthHolder];
    case kMouthCorner:
      return holders[kMouth][left ? kLeftMouthHolder : kRightMouthHolder];
    case kSideChin:
    case kMiddleChin:
      return holders[kMouth][kChinHolder];
    default:
      return holders[left ? kLeftCheek : kRightCheek][0];
    }
  }

  void AddSpot(const FaceSpot& spot) {
    if (spot.IsPair()) guess_.pairs.emplace_back(Name(spot.points[0]), Name(spot.points[1]));
    for (const std::size_t point : spot.points) {
      if (!spot.region || !DrivesAPart(*spot.region)) continue;
      Holder(*spot.region, face_.places[point].x > 0).push_back(Name(point));
      used_[face_.markers[point]] = true;
      constexpr double kOften = 0.5;
      if (const double seen = cloud_.seen[face_.markers[point]]; seen < kOften)
        Doubt(Name(point), fmt::format("visible in {:.0f} % of the frames", 100 * seen));
    }
    std::vector<std::string> names;
    for (const std::size_t point : spot.points) names.push_back(Name(point));
    const std::string all = fmt::format("{}", fmt::join(names, ", "));
    const auto leave_out = [&](const std::string& why) {
      for (const std::string& name : names) guess_.unused.push_back({name, why});
    };
    if (!spot.doubt.empty()) Doubt(all, spot.doubt);
    if (spot.between) Doubt(all, "not used: " + spot.unused);
    if (!spot.region)
      leave_out(spot.unused);
    else if (*spot.region == kGlabella)
      leave_out("between the brows, where no template is measured");
    else if (*spot.region == kJawSide)
      leave_out("on the side of the jaw, where no template is measured");
    else if (!spot.IsPair() && !spot.on_mid_line && DrivesAPart(*spot.region))
      Doubt(all, "has no counterpart on the other side of the face");
  }

  VgeTVector PlaceOf(const std::string& name) const {
    for (std::size_t point = 0; point < face_.markers.size(); ++point)
      if (Name(point) == name) return face_.places[point];
    return {};
  }

  /// The order of a take's markers makes no difference: on the lips from left to right, on the sides from
  /// the mid-line outwards.
  void SortHolders() {
    for (std::size_t part = 0; part < guess_.performer.holders.size(); ++part)
      for (auto& holder : guess_.performer.holders[part])
        std::sort(holder.begin(), holder.end(), [&](const std::string& a, const std::string& b) {
          const VgeTVector p = PlaceOf(a), q = PlaceOf(b);
          return part == kMouth ? p.x > q.x : std::fabs(p.x) < std::fabs(q.x);
        });
  }

  /// The innermost of two or more markers of a brow is its inner end, where it has one.
  void MoveInnerBrows() {
    constexpr double kInnerEnd_mm = 26;
    for (const std::size_t part : {kLeftBrow, kRightBrow}) {
      auto& [brow, inner, none1, none2, none3] = guess_.performer.holders[part];
      if (brow.size() < 2 || std::fabs(PlaceOf(brow.front()).x) > kInnerEnd_mm) continue;
      inner = {brow.front()};
      brow.erase(brow.begin());
    }
  }

  /// Markers near the face that drive no part, above the mouth: shoulders may hold as still as a cap.
  void ChooseHead(const std::vector<FaceSpot>& spots) {
    constexpr double kLowest_mm = -50, kFurthest_mm = 250, kMostSpread_mm = 6;
    std::vector<std::size_t> candidates;
    const auto consider = [&](std::size_t marker) {
      const auto rest = face_.motion.Of(marker);
      if (!rest || rest->spread_mm > kMostSpread_mm) return;
      const VgeTVector p = TransformPoint(face_.pose.to_face, rest->place);
      if (p.y > kLowest_mm && Length(p) < kFurthest_mm)
        candidates.push_back(marker), may_be_head_[marker] = true;
    };
    std::vector<std::size_t> tips; // of the nose, which follow the upper lip
    for (const FaceSpot& spot : spots)
      for (const std::size_t point : spot.points)
        if (const std::size_t marker = face_.markers[point]; !used_[marker]) {
          if (spot.region == kNoseTip)
            tips.push_back(marker);
          else if (spot.region != kGlabella)
            consider(marker);
        }
    for (const auto& group : cloud_.groups)
      for (const std::size_t marker : group)
        if (std::find(face_.markers.begin(), face_.markers.end(), marker) == face_.markers.end())
          consider(marker);
    std::vector<std::size_t> head = ChooseHeadMarkers(take_, candidates);
    if (head.size() < 3) {
      for (const std::size_t tip : tips) consider(tip);
      head = ChooseHeadMarkers(take_, candidates);
    }
    if (head.size() < 3) {
      head.clear();
      Doubt("", "no three markers that move with the skull alone: the head's motion is not removed; put "
                "markers on the forehead, on the bridge of the nose, or on a cap");
    }
    for (const std::size_t marker : head) {
      guess_.performer.head.push_back(take_.markers[marker]);
      used_[marker] = true;
    }
    std::erase_if(guess_.unused, [&](const UnusedMarker& unused) {
      return std::find(guess_.performer.head.begin(), guess_.performer.head.end(), unused.marker) !=
             guess_.performer.head.end();
    });
  }

  void DoubtPose() {
    constexpr double kGood = -1;
    if (face_.pose.fit < kGood)
      Doubt("",
            fmt::format(
                "the markers are not where they are on most faces (fit {:.2f}, usual -0.3 to -0.9): check "
                "every part",
                face_.pose.fit));
    constexpr double kSmallest = 0.7, kLargest = 1.45;
    if (face_.pose.scale < kSmallest || face_.pose.scale > kLargest)
      Doubt("", fmt::format("the face is {:.2f} times as large as an adult's: is the take in another unit?",
                            1 / face_.pose.scale));
  }

  /// A mirrored take looks like any other: only names can contradict it.
  void DoubtSides() {
    std::size_t agree = 0, contradict = 0;
    for (const auto& [left, right] : guess_.pairs) {
      const int of_left = SideInName(left), of_right = SideInName(right);
      if (of_left == 1 && of_right == -1) ++agree;
      if (of_left == -1 && of_right == 1) ++contradict;
    }
    if (contradict > agree)
      Doubt("", fmt::format(
                    "{} named right on the left side of the face, and left on the right side: the take is "
                    "mirrored, or the names are",
                    Count(contradict, "pair")));
  }

  void DoubtMotion(const std::vector<FaceSpot>& spots) {
    constexpr double kStill_mm = 0.7;
    if (std::all_of(face_.spread_mm.begin(), face_.spread_mm.end(),
                    [&](double spread) { return spread < kStill_mm; }))
      Doubt(
          "",
          "the face hardly moves in this take: only places decided; compare with a take in which it speaks");
    const VgeTVector up = UpOf(face_.pose);
    constexpr double kAgainst = -0.3;
    for (const FaceSpot& spot : spots) {
      if (!spot.IsPair() || !spot.region || !DrivesAPart(*spot.region)) continue;
      const auto r =
          face_.motion.Correlation(face_.markers[spot.points[0]], face_.markers[spot.points[1]], up);
      if (r && *r < kAgainst)
        Doubt(Name(spot.points[0]) + ", " + Name(spot.points[1]),
              fmt::format("move against each other (r = {:.2f}): one of them may be mislabelled", *r));
    }
    DoubtJaw(up);
  }

  /// The lower lip follows the jaw.
  void DoubtJaw(const VgeTVector& up) {
    const auto& mouth = guess_.performer.holders[kMouth];
    constexpr double kAgainst = -0.2;
    for (const std::string& lip : mouth[kLowerMouthHolder])
      for (const std::string& chin : mouth[kChinHolder]) {
        const auto r = face_.motion.Correlation(*take_.FindMarker(lip), *take_.FindMarker(chin), up);
        if (!r || *r >= kAgainst) continue;
        Doubt(fmt::format("{}, {}", lip, chin),
              fmt::format("lower lip and chin move against each other (r = {:.2f})", *r));
        return;
      }
  }

  void DoubtMissingParts() {
    const VFace& global = *GetGlobalFace();
    std::vector<std::string> missing;
    for (std::size_t part = 0; part < guess_.performer.holders.size(); ++part) {
      const auto& holders = guess_.performer.holders[part];
      if (std::all_of(holders.begin(), holders.end(), [](const auto& names) { return names.empty(); }))
        missing.emplace_back(global.mParts[part].mName);
    }
    if (!missing.empty())
      Doubt("", fmt::format("no markers on {}: their weights stay at rest", Some(missing)));
  }

  void ListUnused() {
    for (std::size_t marker = 0; marker < take_.MarkerCount(); ++marker) {
      const std::string& name = take_.markers[marker];
      if (used_[marker] || std::any_of(guess_.unused.begin(), guess_.unused.end(),
                                       [&](const UnusedMarker& unused) { return unused.marker == name; }))
        continue;
      const bool on_face =
          std::find(face_.markers.begin(), face_.markers.end(), marker) != face_.markers.end();
      guess_.unused.push_back({name, on_face || may_be_head_[marker]
                                         ? "drives no part, and other markers suit the head better"
                                         : "not near the face, or not rigid with it"});
    }
    std::sort(guess_.unused.begin(), guess_.unused.end(),
              [](const UnusedMarker& a, const UnusedMarker& b) { return a.marker < b.marker; });
  }

  const Take& take_;
  const MarkerCloud& cloud_;
  Face face_;
  std::vector<bool> used_, may_be_head_; // by the take's markers
  PerformerGuess guess_;
};

} // namespace

PerformerGuess GuessPerformer(const Take& take) {
  const MarkerCloud cloud = FindMarkerCloud(take);
  PerformerGuess guess = Guess(take, cloud, FindFace(take, cloud)).Make();
  guess.performer.name = take.name;
  return guess;
}

} // namespace mien
