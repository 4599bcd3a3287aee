#include "benchmarks/whole_frames.h"

#include "benchmarks/eigen_solves.h"

#include <algorithm>

namespace benchmarks {
namespace {

class Form : public WholeFrames {
public:
  explicit Form(const Performer& performer)
      : face_(FromMien(performer.catalogue)), actor_(FromMien(performer.actor)),
        reference_(FromMien(performer.reference)) {}

  void Solve(std::size_t frames, const double* positions, double* weights) override {
    static_assert(sizeof(Eigen::Vector3d) == 3 * sizeof(double) &&
                  alignof(Eigen::Vector3d) == alignof(double));
    for (std::size_t f = 0; f < frames; ++f, positions += kNumbers) {
      const auto* const markers = reinterpret_cast<const Eigen::Vector3d*>(positions);
      std::copy_n(markers + kMarkers, kHeadMarkers, frame_.head_positions);
      actor_.SolveHead(frame_, reference_);
      actor_.ActorToFace(pose_, frame_.head, markers, face_);
      face_.FaceToTemplate(weights_, pose_);
      for (int p = 0; p < 9; ++p) {
        const int count = face_.template_counts[p];
        weights = std::copy_n(weights_.col(p).data(), count, weights);
      }
    }
  }

private:
  EigenFace face_;
  EigenActor actor_;
  EigenFrame reference_, frame_;
  EigenPose pose_;
  TemplateWeights weights_;
};

} // namespace

std::unique_ptr<WholeFrames> WHOLE_FRAMES(const Performer& performer) {
  return std::make_unique<Form>(performer);
}

} // namespace benchmarks
