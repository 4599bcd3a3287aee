#pragma once

#include "host/base/long_vector.h"
#include "host/cleaning/rigid_motion.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/takes/frame_span.h"
#include "host/takes/take.h"
#include "mien/base/affine.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// The indices of the frames that are true, in order.
std::vector<std::size_t> FramesOf(const std::vector<bool>& use);

/// The performer's markers over some frames of a take, with the head's motion removed. Their frame is that of
/// the body of `rigid`; without it, the head's pose in the frame in which most of its markers are visible.
/// Frames are counted from the first of the range. With fewer than three head markers, and for a single
/// frame, nothing is removed.
class StabilisedMarkers {
public:
  /// `rigid` may be null: then the head is found from the head markers. The take must outlive this.
  StabilisedMarkers(const Take& take, const Performer& performer, const FrameSpan& frames,
                    const RigidHead* rigid);

  std::size_t FrameCount() const { return frames_.Count(); }
  /// The number of a frame in the take.
  std::int64_t Number(std::size_t f) const { return take_.frames[frames_.first + f]; }
  bool AnyIsSeen() const;
  bool HeadIsFound(std::size_t f) const { return heads_[f].has_value(); }
  bool HeadIsNeverFound() const;

  /// A marker's position in the head's frame, by its index in the take; nothing for a gap, and in frames in
  /// which the head was not found.
  std::optional<VgeTVector> At(std::size_t f, std::size_t marker) const;

  /// These markers of the take in the head's frame, then transformed by `to`.
  Take Carried(const std::vector<std::string>& names, const VgeAMatrix& to) const;

  /// A mean or median of the values. It may change their order.
  using MiddleOf = std::function<double(std::vector<double>&)>;

  /// The position of each of the performer's markers over the frames for which `use` (size: frames) is true,
  /// per axis. Markers that are visible in none of them are left out.
  NeutralPose Pose(const std::vector<bool>& use, const MiddleOf& middle_of) const;

  /// Calls `visit(i, f, place)` for each marker i of `markers` (indices in the take) in each frame f of
  /// `frames` that shows it and the head, frame by frame, with its place in the head's frame.
  template <class Visit>
  void ForEachPlace(std::span<const std::size_t> markers, const std::vector<std::size_t>& frames,
                    Visit visit) const {
    for (const std::size_t f : frames) {
      if (!heads_[f]) continue;
      for (std::size_t i = 0; i < markers.size(); ++i)
        if (const Point* const p = take_.At(frames_.first + f, markers[i]))
          visit(i, f, TransformPoint(*heads_[f], {p->x, p->y, p->z}));
    }
  }

private:
  std::vector<std::optional<Point>> Places(const std::vector<std::size_t>& markers,
                                           const std::vector<bool>& use, const MiddleOf& middle_of) const;
  RigidMotion::Markers HeadMarkers(std::size_t f) const;
  void SolveHeads(const RigidMotion::Markers& reference);
  void FitHeads(const RigidHead& rigid);
  void RemoveHeadMotion();

  const Take& take_;
  std::vector<std::string> names_;
  std::vector<std::size_t> indices_; // of names_
  std::vector<std::size_t> head_;
  FrameSpan frames_;
  LongVector<std::optional<VgeAMatrix>> heads_; // from the take into the head's frame (size: frames)
};

} // namespace mien
