#include "host/solve/head_track.h"

#include "host/base/parallel.h"
#include "host/base/rotation.h"
#include "host/cleaning/calm_motion.h"
#include "host/cleaning/low_pass.h"
#include "host/cleaning/rigid_motion.h"
#include "host/takes/frame_span.h"
#include "host/takes/marker_indices.h"
#include "host/takes/pick_markers.h"
#include "mien/base/affine.h"
#include "mien/base/elementary.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace mien {

namespace {

void FillUnknown(const Take& take, HeadTrack& track) {
  const std::size_t count = track.heads.size();
  std::size_t last = count; // the last known frame; none yet
  for (std::size_t f = 0; f < count; ++f) {
    if (!track.known[f]) continue;
    for (std::size_t i = last == count ? 0 : last + 1; i < f; ++i) {
      const double fraction =
          last == count ? 1 : (take.times[i] - take.times[last]) / (take.times[f] - take.times[last]);
      track.heads[i] =
          last == count ? track.heads[f] : RigidBetween(track.heads[last], track.heads[f], fraction);
    }
    last = f;
  }
  if (last != count)
    std::fill(track.heads.begin() + static_cast<std::ptrdiff_t>(last), track.heads.end(), track.heads[last]);
}

/// Frames with a known head that follow each other without a break.
std::vector<FrameSpan> KnownSpans(const Take& take, const HeadTrack& track) {
  std::vector<FrameSpan> known;
  for (const auto& [first, end] : UnbrokenSpans(take.frames))
    for (std::size_t f = first; f < end; ++f) {
      if (!track.known[f]) continue;
      if (known.empty() || known.back().end != f || f == first) known.push_back({f, f});
      known.back().end = f + 1;
    }
  return known;
}

} // namespace

VgeAMatrix RigidBetween(const VgeAMatrix& a, const VgeAMatrix& b, double fraction) {
  const VgeQuaternion from(RotationOf(a));
  const VgeQuaternion to = QuaternionNear(from, RotationOf(b));
  const double cosine = from.x * to.x + from.y * to.y + from.z * to.z + from.w * to.w;
  const double x = to.x - cosine * from.x, y = to.y - cosine * from.y, z = to.z - cosine * from.z,
               w = to.w - cosine * from.w;
  const double sine = std::sqrt(x * x + y * y + z * z + w * w);
  double share_from = 1 - fraction, share_to = fraction;
  if (sine > 1e-6) { // below it the arc is straight to a part in 10^12
    const double degrees = ArcTangent2(sine, cosine) * (180 / std::numbers::pi);
    share_from = SineAndCosineOfDegrees((1 - fraction) * degrees).sine / sine;
    share_to = SineAndCosineOfDegrees(fraction * degrees).sine / sine;
  }
  const VgeRMatrix rotation =
      RotationOf(VgeQuaternion(share_from * from.x + share_to * to.x, share_from * from.y + share_to * to.y,
                               share_from * from.z + share_to * to.z, share_from * from.w + share_to * to.w));
  VgeAMatrix between;
  for (int column = 0; column < 3; ++column)
    SetColumn(between, column, {rotation.m[column][0], rotation.m[column][1], rotation.m[column][2]});
  const VgeTVector p = Column(a, 3), q = Column(b, 3);
  SetColumn(between, 3,
            {p.x + (q.x - p.x) * fraction, p.y + (q.y - p.y) * fraction, p.z + (q.z - p.z) * fraction});
  return between;
}

std::size_t HeadTrack::UnknownFrames() const {
  return static_cast<std::size_t>(std::count(known.begin(), known.end(), false));
}

HeadTrack TrackHead(const Take& take, const HeadSolver& head, const SolveOptions& options) {
  HeadTrack track;
  track.heads.assign(take.FrameCount(), head.NeutralHead());
  track.known.assign(take.FrameCount(), true);
  if (!head.RemovesMotion()) return track;

  Take markers = PickMarkers(take, MarkerIndices(take, head.Markers()), options.threads);
  std::vector<std::size_t> slots(markers.MarkerCount());
  std::iota(slots.begin(), slots.end(), std::size_t{0});
  if (options.head_tolerance_mm) {
    std::vector<std::size_t> guarded; // a performer may leave head markers out of its rigid ones
    RigidMotion::Markers places;
    for (std::size_t slot = 0; slot < head.HeadMarkers().size(); ++slot)
      if (const auto marker = markers.FindMarker(head.HeadMarkers()[slot])) {
        places[guarded.size()] = head.Reference()[slot];
        guarded.push_back(*marker);
      }
    track.slipped = TakeOutSlipped(markers, guarded, places, *options.head_tolerance_mm, options.threads);
  }
  track.fills = FillGaps(markers, slots, options.head_fill, options.threads);
  if (options.smooth_positions_hz) SmoothPositions(markers, slots, *options.smooth_positions_hz);

  head.SolveAll(markers, options.threads, [&](std::size_t f, const std::optional<VgeAMatrix>& found) {
    track.known[f] = found.has_value();
    if (found) track.heads[f] = *found;
  });
  if (const RigidFit* fit = head.Fit())
    track.calmed = CalmMotion(track.heads, KnownSpans(take, track), *fit, markers, options.threads);
  FillUnknown(take, track);
  return track;
}

Take Stabilise(const Take& take, const HeadTrack& track, const std::vector<std::string>& markers,
               std::size_t threads) {
  const std::vector<std::size_t> indices = MarkerIndices(take, markers);
  Take stable = WithoutFrames(take, indices);
  stable.AddFrames(take.FrameCount());
  ForRanges(threads, take.FrameCount(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
    for (std::size_t f = first; f < end; ++f) {
      stable.frames[f] = take.frames[f];
      stable.times[f] = take.times[f];
      const Take::Row row = stable.RowOf(f);
      const VgeAMatrix to_head = InverseOfOrthogonalAxes(track.heads[f]);
      for (std::size_t m = 0; m < indices.size(); ++m) {
        const Point* const p = track.known[f] ? take.At(f, indices[m]) : nullptr;
        const VgeTVector p_head = p ? TransformPoint(to_head, {p->x, p->y, p->z}) : VgeTVector();
        row.positions[m] = {p_head.x, p_head.y, p_head.z};
        row.origins[m] = p ? take.OriginAt(f, indices[m]) : Origin::None;
      }
    }
  });
  return stable;
}

} // namespace mien
