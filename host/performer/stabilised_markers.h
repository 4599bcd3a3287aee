#pragma once

#include "host/base/long_vector.h"
#include "host/base/parallel.h"
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
  /// `rigid` may be null: then the head is found from the head markers. The take must outlive this. `threads`
  /// work at the same time here and in all that is asked.
  StabilisedMarkers(const Take& take, const Performer& performer, const FrameSpan& frames,
                    const RigidHead* rigid, std::size_t threads = 1);

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
  /// `frames` that shows it and the head, with its place in the head's frame: frame by frame for a marker, and
  /// several markers at the same time on different threads.
  template <class Visit>
  void ForEachPlace(std::span<const std::size_t> markers, const std::vector<std::size_t>& frames,
                    Visit visit) const {
    OnThreads(threads_, markers.size(), [&](std::size_t, std::size_t i) {
      for (const std::size_t f : frames)
        if (const auto place = At(f, markers[i])) visit(i, f, *place);
    });
  }

private:
  std::vector<std::optional<Point>> Places(const std::vector<std::size_t>& markers,
                                           const std::vector<bool>& use, const MiddleOf& middle_of) const;
  std::optional<VgeTVector> FromTake(std::size_t f, std::size_t marker) const;
  RigidMotion::Markers HeadMarkers(std::size_t f) const;
  void SolveHeads(const RigidMotion::Markers& reference);
  void FitHeads(const RigidHead& rigid, std::size_t first, std::size_t end);
  void RemoveHeadMotion();
  void KeepPlaces(std::size_t first, std::size_t end);

  const Take& take_;
  std::vector<std::string> names_;
  std::vector<std::size_t> indices_; // of names_
  std::vector<std::size_t> head_;
  FrameSpan frames_;
  std::size_t threads_;
  LongVector<std::optional<VgeAMatrix>> heads_; // from the take into the head's frame (size: frames)

  // The places of names_ in the head's frame, marker by marker: so that a few markers of all frames are found
  // without walking over all of the take (size: markers x frames; empty until all heads are found). x is NaN where
  // there is none.
  LongVector<Point> places_;
  std::vector<std::optional<std::size_t>> columns_; // in places_, by the marker's index in the take
};

} // namespace mien
