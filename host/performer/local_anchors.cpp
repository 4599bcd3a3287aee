#include "host/performer/local_anchors.h"

#include "host/base/face_parts.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace mien {

static_assert(kAnchoredParts == std::array<std::size_t, 4>{kLeftBrow, kRightBrow, kLeftEye, kRightEye});

namespace {

bool Drives(const Performer& performer, std::size_t part, const std::string& marker) {
  return std::any_of(performer.holders[part].begin(), performer.holders[part].end(), [&](const auto& holder) {
    return std::find(holder.begin(), holder.end(), marker) != holder.end();
  });
}

std::optional<VgeTVector> PlaceOf(const std::string& marker, const NeutralPose& neutral) {
  const auto place = neutral.find(marker);
  if (place == neutral.end()) return std::nullopt;
  return VgeTVector{place->second.x, place->second.y, place->second.z};
}

/// The middle of a part's markers on the neutral face.
std::optional<VgeTVector> MiddleOf(std::size_t part, const Performer& performer, const NeutralPose& neutral) {
  VgeTVector sum = {0, 0, 0};
  double count = 0;
  for (const auto& holder : performer.holders[part])
    for (const std::string& marker : holder)
      if (const auto p = PlaceOf(marker, neutral)) {
        sum = {sum.x + p->x, sum.y + p->y, sum.z + p->z};
        ++count;
      }
  if (count == 0) return std::nullopt;
  return VgeTVector{sum.x / count, sum.y / count, sum.z / count};
}

double BetweenTheEyes(const Performer& performer, const NeutralPose& neutral) {
  for (const auto& [left, right] : {std::pair(kLeftEye, kRightEye), std::pair(kLeftBrow, kRightBrow)}) {
    const auto l = MiddleOf(left, performer, neutral), r = MiddleOf(right, performer, neutral);
    if (l && r) return Distance(*l, *r);
  }
  return 0;
}

bool AreSame(const std::vector<double>& a, const std::vector<double>& b) {
  return a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

} // namespace

std::vector<std::string> AnchorsOf(std::size_t part, const Performer& performer, const NeutralPose& neutral,
                                   const RigidHead& rigid) {
  constexpr double kNear =
      0.6; // of the way to the other eye: both corners and the root of the nose, not the other eye's
  std::vector<std::string> anchors;
  const auto middle = MiddleOf(part, performer, neutral);
  if (!middle) return anchors;
  const double near = kNear * BetweenTheEyes(performer, neutral);
  const bool named = !performer.anchors[part].empty();
  for (const std::string& marker : named ? performer.anchors[part] : rigid.markers) {
    const auto place = PlaceOf(marker, neutral);
    if (place && (named || (!Drives(performer, part, marker) && Distance(*place, *middle) < near)))
      anchors.push_back(marker);
  }
  if (anchors.size() < 2) anchors.clear();
  return anchors;
}

LocalAnchors::LocalAnchors(const Take& anchors, const std::vector<Point>& rest)
    : ways_(anchors.FrameCount()), own_(rest.size()) {
  struct Sight {
    std::size_t marker;
    Way off; // its place on the neutral face
  };
  struct Frame {
    std::size_t frame, end; // its sights: those from the end of the one before to `end`
    double count;
  };
  LongVector<Sight> sights; // in frames that see two or more
  LongVector<Frame> frames; // those
  std::vector<double> of_marker(rest.size(), 0);
  for (std::size_t f = 0; f < anchors.FrameCount(); ++f) {
    const std::size_t before = sights.size();
    for (std::size_t m = 0; m < rest.size(); ++m)
      if (const Point* const p = anchors.At(f, m))
        sights.push_back({m, {p->x - rest[m].x, p->y - rest[m].y, p->z - rest[m].z}});
    if (sights.size() < before + 2) sights.resize(before);
    for (std::size_t i = before; i < sights.size(); ++i) ++of_marker[sights[i].marker];
    if (sights.size() > before)
      frames.push_back({f, sights.size(), static_cast<double>(sights.size() - before)});
  }

  // Each anchor's way is the common one, and a steady distance of its own, which is neither noise nor to be
  // missed when the anchor is hidden. The two are found in turns, which is exact at once where all anchors
  // are seen.
  const auto visit_frames = [&](std::size_t axis, const std::vector<double>& own, const auto& visit) {
    std::size_t first = 0;
    for (const auto& [f, end, count] : frames) {
      double way = 0;
      for (std::size_t i = first; i < end; ++i) way += (sights[i].off[axis] - own[sights[i].marker]) / count;
      visit(f, std::span<const Sight>(sights.subspan(first, end - first)), count, way);
      first = end;
    }
  };
  constexpr int kRounds = 20; // each leaves a quarter of the error where every frame sees two of three
  for (std::size_t axis = 0; axis < 3; ++axis) {
    std::vector<double> own(rest.size(), 0), before = own, next = own;
    for (int round = 0; round < kRounds; ++round) {
      std::fill(next.begin(), next.end(), 0);
      visit_frames(axis, own, [&](std::size_t, std::span<const Sight> seen, double, double way) {
        for (const auto& [m, off] : seen) next[m] += (off[axis] - way) / of_marker[m];
      });
      double mean = 0;
      for (const double way : next) mean += way / static_cast<double>(next.size());
      for (double& way : next) way -= mean;
      // Rounds that find the same again, or the last two in turns, as roundings may have it, are skipped.
      const bool is_same = AreSame(next, own), is_before = round > 0 && AreSame(next, before);
      before.swap(own), own.swap(next);
      if (is_same) break;
      if (is_before) round += (kRounds - 1 - round) / 2 * 2;
    }
    for (std::size_t m = 0; m < rest.size(); ++m) own_[m][axis] = own[m];
    double sum = 0, squares = 0, noise = 0;
    visit_frames(axis, own, [&](std::size_t f, std::span<const Sight> seen, double count, double way) {
      if (!ways_[f]) ways_[f] = Way{};
      (*ways_[f])[axis] = way;
      sum += way, squares += way * way;
      for (const auto& [m, off] : seen) {
        const double difference = off[axis] - own[m] - way;
        noise += difference * difference / (count - 1) / count; // of a mean of so many
      }
    });
    const double scatter = frames.empty() ? 0 : squares - sum * sum / static_cast<double>(frames.size());
    gain_[axis] = scatter > 0 ? std::clamp(1 - noise / scatter, 0.0, 1.0) : 0;
  }
  FillUnseen(anchors.times);
}

void LocalAnchors::FillUnseen(std::span<const double> times) {
  std::optional<std::size_t> last; // the last frame that sees two
  for (std::size_t f = 0; f < ways_.size(); ++f) {
    if (!ways_[f]) continue;
    for (std::size_t i = last ? *last + 1 : 0; i < f; ++i) {
      ways_[i] = ways_[f];
      if (!last) continue;
      const double share = (times[i] - times[*last]) / (times[f] - times[*last]);
      for (std::size_t axis = 0; axis < 3; ++axis)
        (*ways_[i])[axis] = (*ways_[*last])[axis] + ((*ways_[f])[axis] - (*ways_[*last])[axis]) * share;
    }
    last = f;
  }
  if (last) std::fill(ways_.begin() + static_cast<std::ptrdiff_t>(*last), ways_.end(), ways_[*last]);
}

Point LocalAnchors::Measure(const Point& place, std::size_t frame) const {
  if (!ways_[frame]) return place;
  const Way& way = *ways_[frame];
  return {place.x - gain_[0] * way[0], place.y - gain_[1] * way[1], place.z - gain_[2] * way[2]};
}

} // namespace mien
