#include "host/solve/face_solver.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/performer/neutral_head.h"
#include "mien/actor/actor_face.h"
#include "mien/base/affine.h"
#include "mien/base/bounded_text.h"
#include "mien/face/face.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace mien {

namespace {

/// As positions in takes are. Further away, squared lengths overflow sooner or later.
void CheckWithinAKilometre(const Performer& performer, const NeutralPose& neutral) {
  constexpr double kKilometre_mm = 1e6;
  for (const auto& [name, p] : neutral)
    for (const double length : {p.x, p.y, p.z})
      if (!(std::fabs(length) <= kKilometre_mm))
        throw InputError(Code::InvalidValue, performer.file, "/neutral",
                         fmt::format("the marker {} is more than a kilometre away", Quoted(name)),
                         "give its position in millimetres");
}

/// The frames that are solved before their residuals are measured, so that their points stay in the cache.
constexpr std::size_t kBlock = 32;

} // namespace

FaceSolver::FaceSolver(const Performer& performer, const NeutralPose& neutral, BrowMethod brows) {
  CheckWithinAKilometre(performer, neutral);
  neutral_head_ = mien::NeutralHead(performer, neutral);
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(neutral_head_);
  for (const std::string& name : performer.FaceMarkers()) {
    const auto place = neutral.find(name);
    if (place == neutral.end()) {
      left_out_.push_back(name);
      continue;
    }
    const auto& [x, y, z] = place->second;
    const VgeTVector p_head = TransformPoint(to_head, {x, y, z});
    markers_.push_back(name);
    rest_.push_back({p_head.x, p_head.y, p_head.z});
  }
  SetUpBatch(performer);
  if (brows == BrowMethod::Fit) brow_fit_.emplace(*GetGlobalFace());
}

// The library's set-up on the neutral pose, upright around the origin: head space.
void FaceSolver::SetUpBatch(const Performer& performer) {
  const auto actor = std::make_unique<VActorFace>();
  std::vector<std::unique_ptr<VActorFacePartMarker>> entries; // the actor's groups do not own them
  VFaceMarkerSetState reference;
  for (std::size_t slot = 0; slot < markers_.size(); ++slot) {
    auto marker = std::make_unique<VFaceMarker>();
    CopyBounded(marker->mName, markers_[slot].c_str());
    marker->mIndex = static_cast<int>(slot);
    reference.mPositions[slot] = {rest_[slot].x, rest_[slot].y, rest_[slot].z};
    actor->mMarkers.Add(marker.release());
  }

  for (std::size_t p = 0; p < performer.holders.size(); ++p)
    for (std::size_t h = 0; h < performer.holders[p].size(); ++h)
      for (const std::string& name : performer.holders[p][h]) {
        const auto slot =
            static_cast<std::size_t>(std::find(markers_.begin(), markers_.end(), name) - markers_.begin());
        if (slot == markers_.size()) continue; // left out
        entries.push_back(std::make_unique<VActorFacePartMarker>());
        entries.back()->mMarker = actor->mMarkers[static_cast<int>(slot)];
        actor->mParts[p].mGroups[h].Add(
            entries.back().get()); // a part's holders are its marker groups, in order
        markers_of_[p].push_back(slot);
      }

  actor->SetupFindVolumes(&reference);
  actor->SetupMarkerLocalFromGlobalPosition(&reference);
  actor->SetupComputeNormalisedPosition();
  actor->SetupResetWeights();
  actor->SetupComputeWeights();
  batch_ = std::make_shared<const FaceBatch>(*actor, *GetGlobalFace(), reference);
  points_.resize(kBlock * FaceBatch::kPoints * 3);
}

const FaceSolver::Frame& FaceSolver::Solve(const std::vector<Point>& places) {
  std::array<double, FaceBatch::kTemplates> weights;
  SolveFrames(places, weights, std::span(&frame_.residual_mm, 1));
  auto weight = weights.begin();
  for (std::size_t p = 0; p < 9; ++p) {
    const int end = p < 8 ? FaceBatch::kFirstTemplate[p + 1] : FaceBatch::kTemplates;
    for (int j = 0; j < end - FaceBatch::kFirstTemplate[p]; ++j)
      frame_.weights.mParts[p].mWeights[j] = *weight++;
  }
  return frame_;
}

void FaceSolver::SolveFrames(std::span<const Point> places, std::span<double> weights,
                             std::span<std::array<double, 9>> residual_mm) {
  static_assert(sizeof(Point) == 3 * sizeof(double) && sizeof(residual_mm[0]) == 9 * sizeof(double));
  constexpr std::ptrdiff_t kAxis = kBlock; // the points of a block's frames are beside each other
  for (std::size_t first = 0; first < residual_mm.size(); first += kBlock) {
    const std::size_t frames = std::min(kBlock, residual_mm.size() - first);
    // In the head's frame already: the input has no heads.
    const FaceBatchInput input = {.frames = frames,
                                  .markers = {markers_.empty() ? nullptr : &places[first * markers_.size()].x,
                                              3 * static_cast<std::ptrdiff_t>(markers_.size())},
                                  .head_markers = {},
                                  .heads = {}};
    const FrameColumns<double> of_frames = {&weights[first * FaceBatch::kTemplates], FaceBatch::kTemplates};
    const FramePoints<const double> points = {points_.data(), 1, 3 * kAxis, kAxis};
    batch_->Solve(input, {.heads = {},
                          .head_valid = nullptr,
                          .points = {points_.data(), 1, 3 * kAxis, kAxis},
                          .weights = of_frames});
    if (brow_fit_) brow_fit_->Fit(frames, points, of_frames);
    batch_->Residuals(frames, points, {of_frames.first, of_frames.frame_stride},
                      {residual_mm[first].data(), 9});
  }
}

} // namespace mien
