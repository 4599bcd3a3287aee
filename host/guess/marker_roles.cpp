#include "host/guess/marker_roles.h"

#include "host/guess/counterparts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <utility>

namespace mien {

namespace {

/// What a region is for a user, and which regions are one holder's (those of equal names).
const char* HolderName(Region region) {
  switch (region) {
  case kInnerBrow:
  case kMiddleBrow:
  case kOuterBrow:
    return "brow";
  case kUpperLid:
    return "upper lid";
  case kLowerLid:
    return "lower lid";
  case kUpperCheek:
  case kCheekbone:
  case kMiddleCheek:
  case kLowerCheek:
    return "cheek";
  case kNoseWing:
    return "wing of the nose";
  case kUpperLip:
  case kMiddleUpperLip:
    return "upper lip";
  case kMouthCorner:
    return "corner of the mouth";
  case kLowerLip:
  case kMiddleLowerLip:
    return "lower lip";
  case kSideChin:
  case kMiddleChin:
    return "chin";
  case kGlabella:
    return "place between the brows";
  case kForehead:
  case kMiddleForehead:
    return "forehead";
  case kInnerEyeCorner:
  case kOuterEyeCorner:
    return "corner of the eye";
  case kNoseRoot:
  case kNoseTip:
  case kNoseSide:
    return "nose";
  case kJawSide:
    return "side of the jaw";
  }
  return "";
}

bool SameHolder(Region a, Region b) { return HolderName(a) == std::string(HolderName(b)); }

bool IsOneOf(const FaceSpot& spot, std::initializer_list<Region> regions) {
  return spot.region && std::find(regions.begin(), regions.end(), *spot.region) != regions.end();
}

std::vector<FaceSpot> Paired(const std::vector<VgeTVector>& places) {
  const auto counterparts = FindCounterparts(places);
  std::vector<FaceSpot> spots;
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto other = counterparts[i];
    const bool is_pair = other && *other != i;
    if (is_pair && places[i].x < places[*other].x) continue; // with its left one
    FaceSpot spot;
    spot.points = {i};
    if (is_pair) spot.points.push_back(*other);
    spot.on_mid_line = other && !is_pair;
    const auto share = 1 / static_cast<double>(spot.points.size());
    for (const std::size_t point : spot.points) {
      const VgeTVector& p = places[point];
      spot.place = {spot.place.x + share * (spot.on_mid_line ? 0 : std::fabs(p.x)),
                    spot.place.y + share * p.y, spot.place.z + share * p.z};
    }
    spots.push_back(std::move(spot));
  }
  // From top to bottom, whatever the order of the take's markers.
  std::stable_sort(spots.begin(), spots.end(),
                   [](const FaceSpot& a, const FaceSpot& b) { return a.place.y > b.place.y; });
  return spots;
}

/// The region that explains a spot best, and the best one of another holder.
struct Explained {
  Region best = kInnerBrow, other = kInnerBrow;
  double likelihood = 0, other_likelihood = 0;
};

Explained Explain(const FaceSpot& spot) {
  const auto likelihoods = RegionLikelihoods(spot.place);
  Explained explained;
  const auto may_be = [&](std::size_t r) { return FaceAtlas()[r].IsOnMidLine() == spot.on_mid_line; };
  for (std::size_t r = 0; r < kRegionCount; ++r)
    if (may_be(r) && likelihoods[r] > explained.likelihood)
      explained.best = static_cast<Region>(r), explained.likelihood = likelihoods[r];
  for (std::size_t r = 0; r < kRegionCount; ++r)
    if (may_be(r) && !SameHolder(static_cast<Region>(r), explained.best) &&
        likelihoods[r] > explained.other_likelihood)
      explained.other = static_cast<Region>(r), explained.other_likelihood = likelihoods[r];
  return explained;
}

class Rows {
public:
  explicit Rows(std::vector<FaceSpot>& spots) : spots_(spots), settled_(spots.size(), false) {}

  bool IsSettled(std::size_t spot) const { return settled_[spot]; }

  void SplitLipsAndChin() {
    const auto lips = {kUpperLip, kMiddleUpperLip, kLowerLip, kMiddleLowerLip, kSideChin, kMiddleChin};
    TakeNoseWingsAtTheLip();
    double corners = 0, corner_count = 0;
    for (const FaceSpot& spot : spots_)
      if (IsOneOf(spot, {kMouthCorner})) corners += spot.place.y, ++corner_count;
    if (corner_count == 0) return;
    const double corner = corners / corner_count;
    std::vector<std::size_t> below; // downwards
    for (std::size_t s = 0; s < spots_.size(); ++s) {
      if (!IsOneOf(spots_[s], lips)) continue;
      if (spots_[s].place.y > corner)
        Settle(s, spots_[s].on_mid_line ? kMiddleUpperLip : kUpperLip);
      else
        below.push_back(s);
    }
    const auto height = [&](std::size_t i) { return spots_[below[i]].place.y; };
    constexpr double kChinBegins = -81, kGap = 6;
    std::size_t chin = 1;
    while (chin < below.size() && !(height(chin - 1) - height(chin) >= kGap && height(chin) < kChinBegins))
      ++chin;
    if (chin >= below.size()) return; // a single row: where it is decides
    for (std::size_t i = 0; i < below.size(); ++i) {
      const bool on_mid_line = spots_[below[i]].on_mid_line;
      if (i < chin)
        Settle(below[i], on_mid_line ? kMiddleLowerLip : kLowerLip);
      else
        Settle(below[i], on_mid_line ? kMiddleChin : kSideChin);
    }
  }

  void FindLids() {
    if (!SettleRingAroundEye()) {
      SplitLids();
      MoveFarLowerLidsToCheek();
    }
  }

private:
  void Settle(std::size_t s, Region region) {
    spots_[s].region = region;
    settled_[s] = true;
  }

  /// Of what seems to be a wing of the nose, what is as low as the middle of the upper lip is the lip.
  void TakeNoseWingsAtTheLip() {
    constexpr double kSameHeight = 3;
    const auto middle = std::find_if(spots_.begin(), spots_.end(),
                                     [](const FaceSpot& spot) { return IsOneOf(spot, {kMiddleUpperLip}); });
    if (middle == spots_.end()) return;
    for (FaceSpot& spot : spots_)
      if (IsOneOf(spot, {kNoseWing}) && spot.place.y < middle->place.y + kSameHeight) spot.region = kUpperLip;
  }

  /// The corners of the eye may be lower on a face than the atlas has them, and then look like the side of
  /// the nose and the cheekbone.
  bool SettleRingAroundEye() {
    for (const FaceSpot& spot : spots_)
      if (IsOneOf(spot, {kLowerLid})) return false;
    constexpr double kSameHeight = 8, kDeeper = 8;
    for (std::size_t i = 0; i < spots_.size(); ++i) {
      const VgeTVector& inner = spots_[i].place;
      if (!spots_[i].IsPair() || inner.x < 8 || inner.x > 22 || inner.y > 8 || inner.y < -20) continue;
      for (std::size_t o = 0; o < spots_.size(); ++o) {
        const VgeTVector& outer = spots_[o].place;
        if (!spots_[o].IsPair() || outer.x < 38 || outer.x > 60 || inner.z - outer.z < kDeeper ||
            std::fabs(inner.y - outer.y) > kSameHeight)
          continue;
        const double height = (inner.y + outer.y) / 2;
        std::vector<std::size_t> upper, lower;
        for (std::size_t s = 0; s < spots_.size(); ++s) {
          const VgeTVector& p = spots_[s].place;
          if (s == i || s == o || p.x < inner.x + 5 || p.x > outer.x - 5) continue;
          const double above = p.y - height;
          if (IsOneOf(spots_[s], {kUpperLid}) && above > 3 && above < 22) upper.push_back(s);
          if (IsOneOf(spots_[s], {kUpperCheek, kLowerLid}) && above < -2 && above > -14) lower.push_back(s);
        }
        if (upper.empty() || lower.empty()) continue;
        Settle(i, kInnerEyeCorner);
        Settle(o, kOuterEyeCorner);
        for (const std::size_t s : upper) Settle(s, kUpperLid);
        for (const std::size_t s : lower) Settle(s, kLowerLid);
        return true;
      }
    }
    return false;
  }

  void SplitLids() {
    std::vector<std::size_t> lids; // downwards
    for (std::size_t s = 0; s < spots_.size(); ++s)
      if (IsOneOf(spots_[s], {kUpperLid, kLowerLid})) lids.push_back(s);
    if (lids.size() < 2) return;
    std::size_t below = 1;
    const auto height = [&](std::size_t i) { return spots_[lids[i]].place.y; };
    for (std::size_t i = 2; i < lids.size(); ++i)
      if (height(i - 1) - height(i) > height(below - 1) - height(below)) below = i;
    constexpr double kRows = 4.5, kLowest = 3; // mm: an open eye; no lower lid is above that height
    if (height(below - 1) - height(below) < kRows || height(below) > kLowest) return;
    for (std::size_t i = 0; i < lids.size(); ++i) Settle(lids[i], i < below ? kUpperLid : kLowerLid);
  }

  void MoveFarLowerLidsToCheek() {
    constexpr double kOpenEye_mm = 13;
    double upper = std::numeric_limits<double>::infinity();
    for (const FaceSpot& spot : spots_)
      if (IsOneOf(spot, {kUpperLid})) upper = std::min(upper, spot.place.y);
    if (!std::isfinite(upper)) return;
    for (std::size_t s = 0; s < spots_.size(); ++s) {
      FaceSpot& spot = spots_[s];
      const double below = upper - spot.place.y;
      if (!IsOneOf(spot, {kLowerLid}) || below <= kOpenEye_mm) continue;
      Settle(s, kUpperCheek);
      spot.doubt = fmt::format("taken for the cheek: {:.0f} mm below the upper lid is more than an open eye; "
                               "for the lower lid, move it to LowerEyeHolder",
                               below);
    }
  }

  std::vector<FaceSpot>& spots_; // downwards
  std::vector<bool> settled_;    // by order rather than by distance
};

/// What is between two holders (`open`).
void SettleOpen(std::vector<FaceSpot>& spots, const std::vector<Explained>& explained,
                const std::vector<bool>& open) {
  const auto has_another = [&](Region region) {
    for (std::size_t s = 0; s < spots.size(); ++s)
      if (!open[s] && spots[s].region && SameHolder(*spots[s].region, region)) return true;
    return false;
  };
  for (std::size_t s = 0; s < spots.size(); ++s) {
    if (!open[s]) continue;
    FaceSpot& spot = spots[s];
    Region region = explained[s].best, other = explained[s].other;
    // A mouth has one corner on a side, and cheeks have many markers.
    if (region == kMouthCorner && SameHolder(other, kLowerCheek) && has_another(kMouthCorner))
      std::swap(region, other);
    const bool is_beside_corner =
        SameHolder(region, kLowerCheek) && other == kMouthCorner && has_another(kMouthCorner);
    if (has_another(region) && !is_beside_corner) {
      spot.between = true;
      spot.unused = fmt::format("between {} and {}", HolderName(region), HolderName(other));
      spot.region.reset();
    } else {
      spot.region = region;
      spot.doubt = fmt::format("taken for the {}; it may be the {}", HolderName(region), HolderName(other));
    }
  }
}

} // namespace

bool DrivesAPart(Region region) {
  switch (region) {
  case kGlabella:
  case kForehead:
  case kMiddleForehead:
  case kInnerEyeCorner:
  case kOuterEyeCorner:
  case kNoseRoot:
  case kNoseTip:
  case kNoseSide:
  case kJawSide:
    return false;
  default:
    return true;
  }
}

std::vector<FaceSpot> FindSpots(const std::vector<VgeTVector>& places) {
  // A marker without a counterpart is less likely to be on the face: head markers have none.
  constexpr double kNowhere = 0.01, kNowhereAlone = 0.1, kNearlyAsWell = 0.5;
  std::vector<FaceSpot> spots = Paired(places);
  std::vector<Explained> explained;
  for (FaceSpot& spot : spots) {
    explained.push_back(Explain(spot));
    const bool is_alone = !spot.IsPair() && !spot.on_mid_line;
    if (explained.back().likelihood >= (is_alone ? kNowhereAlone : kNowhere))
      spot.region = explained.back().best;
  }
  Rows rows(spots);
  rows.SplitLipsAndChin();
  rows.FindLids();

  std::vector<bool> open(spots.size(), false);
  for (std::size_t s = 0; s < spots.size(); ++s) {
    if (!spots[s].region) spots[s].unused = "far from every part of the face";
    open[s] = spots[s].region && !rows.IsSettled(s) && spots[s].region == explained[s].best &&
              explained[s].other_likelihood > kNearlyAsWell * explained[s].likelihood &&
              DrivesAPart(explained[s].best);
  }
  SettleOpen(spots, explained, open);
  return spots;
}

} // namespace mien
