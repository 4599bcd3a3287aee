#include "host/solve/face_solver.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/performer/neutral_head.h"
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

} // namespace

FaceSolver::FaceSolver(const Performer& performer, const NeutralPose& neutral, BrowMethod brows)
    : brows_(brows) {
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
  SetUpActor(performer);
}

// The library's set-up on the neutral pose, upright around the origin: head space.
void FaceSolver::SetUpActor(const Performer& performer) {
  VFaceMarkerSetState reference;
  for (std::size_t slot = 0; slot < markers_.size(); ++slot) {
    auto marker = std::make_unique<VFaceMarker>();
    CopyBounded(marker->mName, markers_[slot].c_str());
    marker->mIndex = static_cast<int>(slot);
    reference.mPositions[slot] = {rest_[slot].x, rest_[slot].y, rest_[slot].z};
    actor_->mMarkers.Add(marker.release());
  }

  for (std::size_t p = 0; p < performer.holders.size(); ++p)
    for (std::size_t h = 0; h < performer.holders[p].size(); ++h)
      for (const std::string& name : performer.holders[p][h]) {
        const auto slot =
            static_cast<std::size_t>(std::find(markers_.begin(), markers_.end(), name) - markers_.begin());
        if (slot == markers_.size()) continue; // left out
        entries_.push_back(std::make_unique<VActorFacePartMarker>());
        entries_.back()->mMarker = actor_->mMarkers[static_cast<int>(slot)];
        actor_->mParts[p].mGroups[h].Add(
            entries_.back().get()); // a part's holders are its marker groups, in order
        markers_of_[p].push_back(slot);
      }

  actor_->SetupFindVolumes(&reference);
  actor_->SetupMarkerLocalFromGlobalPosition(&reference);
  actor_->SetupComputeNormalisedPosition();
  actor_->SetupResetWeights();
  actor_->SetupComputeWeights();
}

const FaceSolver::Frame& FaceSolver::Solve(const std::vector<Point>& places) {
  // In the head's frame already: the set's own frame stays the identity.
  for (std::size_t slot = 0; slot < places.size(); ++slot)
    frame_set_.mPositions[slot] = {places[slot].x, places[slot].y, places[slot].z};
  actor_->Actor2FaceSolve(&solved_, &frame_set_);
  GetGlobalFace()->Face2TemplateSolve(&frame_.weights, &solved_);
  if (brows_ == BrowMethod::Fit) FitBrows(*GetGlobalFace(), solved_, frame_.weights);
  MeasureResiduals();
  return frame_;
}

void FaceSolver::MeasureResiduals() {
  const VFace& face = *GetGlobalFace();
  face.Template2FaceSolve(&given_back_, &frame_.weights);
  for (std::size_t p = 0; p < frame_.residual_mm.size(); ++p) {
    frame_.residual_mm[p] = 0;
    if (markers_of_[p].empty()) continue;
    const VgeAMatrix& volume =
        actor_->mParts[p].mMarkerSet.mTransform; // from the part's space to millimetres
    const int points = face.mParts[p].mPointCount;
    double squares = 0;
    for (int j = 0; j < points; ++j) {
      const VgeTVector off = TransformDirection(
          volume, Difference(solved_.mParts[p].mPoints[j], given_back_.mParts[p].mPoints[j]));
      squares += Dot(off, off);
    }
    frame_.residual_mm[p] = std::sqrt(squares / points);
  }
}

} // namespace mien
