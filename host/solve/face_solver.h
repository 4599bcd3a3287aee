#pragma once

#include "host/performer/performer.h"
#include "host/solve/brow_fit.h"
#include "host/takes/take.h"
#include "mien/batch/face_batch.h"
#include "mien/face/template_state.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// Turns the places of a performer's markers, with the head's motion removed, into template weights. Frames
/// allocate nothing. Each thread needs one of its own: a copy, which shares the set-up.
class FaceSolver {
public:
  /// Sets the performer up on the neutral pose. Throws InputError where the pose does not determine which way
  /// the face looks, and for a marker more than a kilometre away on an axis.
  FaceSolver(const Performer& performer, const NeutralPose& neutral, BrowMethod brows = BrowMethod::Fit);

  /// From a face that looks along +z, x to its left, y up, to where the neutral pose has it.
  const VgeAMatrix& NeutralHead() const { return neutral_head_; }

  /// The markers that it solves from: those that drive holders and are in the neutral pose.
  const std::vector<std::string>& Markers() const { return markers_; }

  /// Their places in the neutral pose, in the head's frame (size: markers).
  const std::vector<Point>& RestPlaces() const { return rest_; }

  /// Which of the markers drive a part, by their indices.
  const std::vector<std::size_t>& MarkersOf(std::size_t part) const { return markers_of_[part]; }

  /// Markers missing from the neutral pose.
  const std::vector<std::string>& LeftOut() const { return left_out_; }

  struct Frame {
    VFaceTemplateState weights;

    /// How far the points of each part are from those that the weights give back: the root of the mean
    /// square, in millimetres on the performer's face. 0 for a part without markers.
    std::array<double, 9> residual_mm;
  };

  /// `places`: of each marker, in the head's frame (size: markers).
  const Frame& Solve(const std::vector<Point>& places);

  /// What Solve gives for each of several frames, in a fraction of the time. `places`: frame by frame (size:
  /// frames x markers). Writes the weights in the order of TemplateColumns (size: frames x templates), and
  /// each frame's residuals (size: frames).
  void SolveFrames(std::span<const Point> places, std::span<double> weights,
                   std::span<std::array<double, 9>> residual_mm);

private:
  void SetUpBatch(const Performer& performer);

  VgeAMatrix neutral_head_;
  std::vector<std::string> markers_; // by their slot in the marker set
  std::vector<Point> rest_;
  std::array<std::vector<std::size_t>, 9> markers_of_;
  std::vector<std::string> left_out_;
  std::shared_ptr<const FaceBatch> batch_; // is only read
  std::optional<BrowFit> brow_fit_;        // nothing where the library's weights stay
  std::vector<double> points_;             // of the frames that are being solved
  Frame frame_;
};

} // namespace mien
