#include "mien/batch/face_batch.h"

#include "mien/batch/face_constants.h"
#include "mien/batch/frame_solves.h"

namespace mien {

using namespace detail::batch;

FaceBatch::FaceBatch(const VActorFace& actor, const VFace& face, const VFaceMarkerSetState& reference)
    : mConstants(std::make_unique<const FaceConstants>(actor, face, reference)) {}

FaceBatch::~FaceBatch() = default;

int FaceBatch::HeadMarkerCount() const { return mConstants->head_markers; }

void FaceBatch::Solve(const FaceBatchInput& input, const FaceBatchOutput& output) const {
  static const FrameSolves& widest = AllFrameSolves().back();
  widest.solve(*mConstants, input, output);
}

void FaceBatch::Residuals(std::size_t frames, const FramePoints<const double>& points,
                          const FrameColumns<const double>& weights,
                          const FrameColumns<double>& residuals) const {
  static const FrameSolves& widest = AllFrameSolves().back();
  widest.residuals(*mConstants, frames, points, weights, residuals);
}

} // namespace mien
