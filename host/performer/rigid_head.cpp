#include "host/performer/rigid_head.h"

#include "host/base/parallel.h"
#include "host/base/statistics.h"
#include "host/cleaning/rigid_fits.h"
#include "host/takes/marker_indices.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace mien {

namespace {

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// How far a marker strays from the head, per axis, in nine of ten frames; nothing where it is seen in less
/// than half of them.
class Straying {
public:
  Straying(const Take& take, const RigidBody& head, const std::vector<std::size_t>& head_markers)
      : take_(take) {
    const std::size_t count = std::min(take.FrameCount(), kMostLearnedFrames);
    std::vector<std::optional<VgeAMatrix>> to_head(count);
    RigidFits fits(head, [&](std::size_t i, const std::optional<VgeAMatrix>& motion) {
      if (motion) to_head[i] = InverseOfOrthogonalAxes(*motion);
    });
    RigidBody::Points seen(head_markers.size());
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t frame = i * take.FrameCount() / count;
      for (std::size_t m = 0; m < head_markers.size(); ++m) {
        const Point* const p = take.At(frame, head_markers[m]);
        seen[m] = p ? std::optional(*p) : std::nullopt;
      }
      fits.Add(i, seen);
    }
    fits.Finish();
    for (std::size_t i = 0; i < count; ++i) {
      if (!to_head[i]) continue;
      frames_.push_back(i * take.FrameCount() / count);
      to_head_.push_back(*to_head[i]);
    }
  }

  /// Of each of these markers. A few at a time, so that a take of many needs little memory for them, and yet
  /// is walked over only a few times.
  std::vector<std::optional<double>> Of(const std::vector<std::size_t>& markers, std::size_t threads) const {
    constexpr std::size_t kAtOnce = 16;
    std::vector<std::optional<double>> strays(markers.size());
    ForRanges(threads, markers.size(), kAtOnce, [&](std::size_t first, std::size_t end) {
      std::vector<std::vector<VgeTVector>> places(end - first);
      for (std::size_t i = 0; i < frames_.size(); ++i)
        for (std::size_t m = 0; m < places.size(); ++m)
          if (const Point* p = take_.At(frames_[i], markers[first + m]))
            places[m].push_back(TransformPoint(to_head_[i], {p->x, p->y, p->z}));
      for (std::size_t m = 0; m < places.size(); ++m) strays[first + m] = Of(places[m]);
    });
    return strays;
  }

private:
  std::optional<double> Of(const std::vector<VgeTVector>& places) const {
    if (places.empty() || places.size() * 2 < frames_.size()) return std::nullopt;
    std::vector<double> x, y, z, squares;
    for (const VgeTVector& p : places) x.push_back(p.x), y.push_back(p.y), z.push_back(p.z);
    const VgeTVector middle = {Median(x), Median(y), Median(z)};
    for (const VgeTVector& p : places) {
      const VgeTVector off = Difference(p, middle);
      squares.push_back(Dot(off, off));
    }
    constexpr double kNineTenths = 6.251; // of a sum of three squares of unit deviation
    return std::sqrt(Quantile(squares, 0.9) / kNineTenths);
  }

  const Take& take_;
  std::vector<std::size_t> frames_;
  std::vector<VgeAMatrix> to_head_;
};

/// The frames of a long take that a body is learned from.
Take LearnedFrames(const Take& take, std::size_t threads) {
  constexpr std::size_t kAtOnce = 64; // they lie far apart: each is fetched by itself
  Take learned(take.markers);
  learned.AddFrames(kMostLearnedFrames);
  ForRanges(threads, kMostLearnedFrames, kAtOnce, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      const std::size_t frame = i * take.FrameCount() / kMostLearnedFrames;
      learned.frames[i] = take.frames[frame];
      learned.times[i] = take.times[frame];
      const Take::Row row = learned.RowOf(i);
      for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
        const Point* const p = take.At(frame, m);
        row.positions[m] = p ? *p : Point();
        row.origins[m] = p ? Origin::Measured : Origin::None;
      }
    }
  });
  return learned;
}

} // namespace

std::optional<RigidHead> LearnRigidHead(const Take& whole, const Performer& performer, std::size_t threads) {
  // These frames are looked at several times, and are all over the take.
  const bool is_long = performer.rigid.empty() && whole.FrameCount() > kMostLearnedFrames;
  const std::optional<Take> learned = is_long ? std::optional(LearnedFrames(whole, threads)) : std::nullopt;
  const Take& take = learned ? *learned : whole;
  constexpr std::size_t kFewest = 4;
  RigidHead head;
  std::optional<RigidBody> of_head_alone;
  head.markers = performer.rigid;
  if (head.markers.empty() && performer.head.size() >= 3) {
    head.markers = performer.head;
    const std::vector<std::size_t> of_head = MarkerIndices(take, performer.head);
    of_head_alone = LearnRigidBody(take, of_head);
    const Straying straying(take, *of_head_alone, of_head);
    const std::vector<std::string> of_face = performer.FaceMarkers();
    std::vector<std::size_t> others;
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const std::string& name = take.markers[m];
      if (!Contains(head.markers, name) && !Contains(of_face, name) && !Contains(performer.irises[0], name) &&
          !Contains(performer.irises[1], name))
        others.push_back(m);
    }
    const std::vector<std::optional<double>> strays = straying.Of(others, threads);
    for (std::size_t i = 0; i < others.size(); ++i) {
      const std::string& name = take.markers[others[i]];
      if (strays[i] && *strays[i] <= 2 * of_head_alone->noise_mm && !Contains(head.markers, name))
        head.markers.push_back(name);
    }
    // In an order of their own: that of the take's markers must make no difference.
    std::sort(head.markers.begin() + static_cast<std::ptrdiff_t>(performer.head.size()), head.markers.end());
  }
  if (head.markers.size() < kFewest) return std::nullopt;
  const bool is_alone = of_head_alone && head.markers.size() == performer.head.size();
  head.body = is_alone ? *std::move(of_head_alone) : LearnRigidBody(take, MarkerIndices(take, head.markers));
  if (std::count_if(head.body.places.begin(), head.body.places.end(), [](const auto& place) {
        return place.has_value();
      }) < static_cast<std::ptrdiff_t>(kFewest))
    return std::nullopt;
  return head;
}

} // namespace mien
