#pragma once

/// @file
/// Many frames of one performer at once: head motion, points and template weights.

#include "mien/base/export.h"

#include <cstddef>
#include <memory>

class VActorFace;
class VFace;
struct VFaceMarkerSetState;

namespace mien {
namespace detail::batch {
struct FaceConstants;
}

/// Where the positions of many frames are in memory: axis a of point i of frame f is
/// `first[f * frame_stride + i * point_stride + a * axis_stride]`. All strides count doubles and may be
/// negative. If `first` is null, there are no positions.
///
/// | array                             | frame_stride                            | point_stride   | axis_stride |
/// |-----------------------------------|-----------------------------------------|----------------|-------------|
/// | `double[frames][points][3]`       | 3 * points                              | 3              | 1           |
/// | `double[points][3][frames]`       | 1                                       | 3 * frames     | frames      |
/// | `VFaceMarkerSetState[frames]`     | `sizeof(VFaceMarkerSetState) / sizeof(double)` | 4       | 1           |
///
/// With a `frame_stride` of 1, frames are read and written several at a time, which is faster.
template <class Number>
struct FramePoints {
  Number* first = nullptr; ///< x of point 0 of frame 0. Not owned. Of any alignment that a double has.
  std::ptrdiff_t frame_stride = 0; ///< From a frame to the next one.
  std::ptrdiff_t point_stride = 3; ///< From a point to the next one.
  std::ptrdiff_t axis_stride = 1;  ///< From x to y, and from y to z.
};

/// Where a table with a row per frame is in memory: column c of frame f is
/// `first[f * frame_stride + c * column_stride]`. As in FramePoints otherwise.
template <class Number>
struct FrameColumns {
  Number* first = nullptr;          ///< Column 0 of frame 0. Not owned. Of any alignment that a double has.
  std::ptrdiff_t frame_stride = 0;  ///< From a frame to the next one.
  std::ptrdiff_t column_stride = 1; ///< From a column to the next one.
};

/// What FaceBatch::Solve reads. The head is found from `head_markers`; without them it is in `heads`; without
/// both, the markers are in the head's frame already.
struct FaceBatchInput {
  std::size_t frames = 0; ///< May be 0.

  /// By `VFaceMarker::mIndex`. Read only if points or weights are wanted; the slots that no entry of the
  /// performer uses are never read.
  FramePoints<const double> markers;

  /// The present slots of the reference, in slot order and without the absent ones (size:
  /// FaceBatch::HeadMarkerCount). All of them must have a position in every frame.
  FramePoints<const double> head_markers;

  /// The head's frame, as in `VFaceMarkerSetState::mTransform`: element `m[c][r]` is in column 4 c + r
  /// (size: 16). The fourth row is not read.
  FrameColumns<const double> heads;
};

/// What FaceBatch::Solve writes. A null pointer leaves the result out. No result may overlap another one or
/// the input.
struct FaceBatchOutput {
  /// The head's frame, in the columns of FaceBatchInput::heads, the fourth row included (size: 16).
  FrameColumns<double> heads;

  /// Whether the head markers determine the head, as in `VFaceMarkerSetState::mRBValid` (size: frames). If
  /// they do not, the head has not moved from where it is in the reference's head markers. Written only with
  /// `head_markers`.
  bool* head_valid = nullptr;

  /// Point slot j of part p is point 7 p + j (size: 63). In a `VFaceState` they are consecutive from
  /// `mParts[0].mPoints[0].x` on, with a `point_stride` of 4.
  FramePoints<double> points;

  /// Template j of part p is in column `FaceBatch::kFirstTemplate[p]` + j (size: FaceBatch::kTemplates).
  FrameColumns<double> weights;
};

/// Solves many frames of one performer at once, from markers to head frames, points and template weights.
///
/// Each result has the bits that `VActorFace::ReferenceFromRBMarker`, `VActorFace::Actor2FaceSolve` and
/// `VFace::Face2TemplateSolve` give for its frame alone, for every input (which of several NaNs comes out is
/// not defined). Several frames are computed side by side in the lanes of the processor's widest vectors, so
/// a frame in a batch takes a quarter to a third of the time. The widths are chosen at run time. A call with fewer
/// frames than lanes takes the time of a full vector.
///
/// The object keeps copies of all that it needs, and never changes. Any number of threads may use it at the
/// same time. A call allocates nothing; its scratch memory, 20 KB in optimised
/// builds, is on the stack. No argument is checked.
class MIEN_API FaceBatch {
public:
  /// The template weights of a frame: of the nine parts in order, of each its templates in order.
  static constexpr int kTemplates = 23;
  /// The column of the first template of each part.
  static constexpr int kFirstTemplate[9] = {0, 7, 9, 11, 14, 17, 19, 21, 22};
  /// The points of a frame: seven slots for each of the nine parts.
  static constexpr int kPoints = 63;
  /// The residuals of a frame: one for each part.
  static constexpr int kParts = 9;

  /// For a performer whose set-up is complete. `reference` is the set that was given to
  /// `VActorFace::SetupRBMarkers` and `SetupRBTPI`; without head markers, any set. `face` has the templates of
  /// the default face in their order; it takes the place of the global face too, from which
  /// `Actor2FaceSolve` has the rest pose. After a change of one of the three, construct a new object.
  ///
  /// Allocates. Throws std::bad_alloc if memory runs out.
  FaceBatch(const VActorFace& actor, const VFace& face, const VFaceMarkerSetState& reference);
  FaceBatch(const FaceBatch&) = delete;
  FaceBatch& operator=(const FaceBatch&) = delete;
  ~FaceBatch();

  /// How many head markers the performer has: those present in the reference, 0 to 5.
  int HeadMarkerCount() const;

  /// Solves `input.frames` frames and writes the results that `output` has pointers to.
  void Solve(const FaceBatchInput& input, const FaceBatchOutput& output) const;

  /// Measures how well weights explain points. For each part: how far its points are from those that
  /// `VFace::Template2FaceSolve` gives for the weights, as the root of the mean square over the part's
  /// `mPointCount` points, in the units of the markers. A part without marker entries has 0.
  ///
  /// `points` and `weights` are as in FaceBatchOutput; `residuals` has a column for each part (size: kParts)
  /// and must not overlap them.
  void Residuals(std::size_t frames, const FramePoints<const double>& points,
                 const FrameColumns<const double>& weights, const FrameColumns<double>& residuals) const;

private:
  std::unique_ptr<const detail::batch::FaceConstants> mConstants; // never null
};

} // namespace mien
