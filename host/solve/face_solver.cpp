#include "host/solve/face_solver.h"

#include "host/performer/face_axes.h"
#include "host/performer/match_markers.h"
#include "mien/base/affine.h"
#include "mien/base/bounded_text.h"
#include "mien/face/face.h"

#include <algorithm>

namespace mien {

using namespace detail; // the vector arithmetic

FaceSolver::FaceSolver(const Performer& performer, const NeutralPose& neutral, const Take& take)
    : face_axes_(FaceAxes(performer, neutral)) {
  const VgeAMatrix to_face = InverseOfOrthogonalAxes(face_axes_);
  for (const std::string& name : performer.FaceMarkers()) {
    const auto place = neutral.find(name);
    if (place == neutral.end()) {
      report_.left_out.push_back(name);
      continue;
    }
    const auto& [x, y, z] = place->second;
    markers_.push_back({name, MarkerIndices(take, {name})[0], TransformPoint(to_face, {x, y, z}), 0});
  }
  SetUpActor(performer, neutral);
  SetUpHead(performer, neutral, take);
}

// The library's set-up on the neutral pose, which stands upright around the origin: head space.
void FaceSolver::SetUpActor(const Performer& performer, const NeutralPose& neutral) {
  VFaceMarkerSetState reference;
  for (std::size_t slot = 0; slot < markers_.size(); ++slot) {
    auto marker = std::make_unique<VFaceMarker>();
    CopyBounded(marker->mName, markers_[slot].name.c_str());
    marker->mIndex = static_cast<int>(slot);
    reference.mPositions[slot] = markers_[slot].p_head;
    actor_->mMarkers.Add(marker.release());
  }

  const VFace& face = *GetGlobalFace();
  for (std::size_t p = 0; p < performer.holders.size(); ++p) {
    for (std::size_t h = 0; h < performer.holders[p].size(); ++h) {
      for (const std::string& name : performer.holders[p][h]) {
        if (!neutral.contains(name)) continue;
        const auto slot = std::find_if(markers_.begin(), markers_.end(),
                                       [&](const Marker& marker) { return marker.name == name; }) -
                          markers_.begin();
        entries_.push_back(std::make_unique<VActorFacePartMarker>());
        entries_.back()->mMarker = actor_->mMarkers[static_cast<int>(slot)];
        actor_->mParts[p].mGroups[h].Add(
            entries_.back().get()); // a part's holders are its marker groups, in order
      }
    }
    if (actor_->mParts[p].GetMarkerCount() == 0) report_.resting_parts.emplace_back(face.mParts[p].mName);
  }

  actor_->SetupFindVolumes(&reference);
  actor_->SetupMarkerLocalFromGlobalPosition(&reference);
  actor_->SetupComputeNormalisedPosition();
  actor_->SetupResetWeights();
  actor_->SetupComputeWeights();
}

void FaceSolver::SetUpHead(const Performer& performer, const NeutralPose& neutral, const Take& take) {
  const VgeAMatrix to_face = InverseOfOrthogonalAxes(face_axes_);
  HeadMotion::Markers reference;
  head_markers_ = MarkerIndices(take, performer.head);
  for (std::size_t slot = 0; slot < performer.head.size(); ++slot) {
    const auto place = neutral.find(performer.head[slot]);
    if (place == neutral.end()) {
      report_.left_out.push_back(performer.head[slot]);
      continue;
    }
    const VgeTVector p = TransformPoint(to_face, {place->second.x, place->second.y, place->second.z});
    reference[slot] = Point{p.x, p.y, p.z};
  }
  head_motion_ = std::make_unique<HeadMotion>(reference);
  report_.head_motion_removed = head_motion_->Solve(reference).has_value();
  if (!report_.head_motion_removed) head_motion_.reset();
  frame_.head = face_axes_;
}

const FaceSolver::Frame& FaceSolver::Solve(const Take& take, std::size_t frame) {
  ++report_.frames;
  if (head_motion_) {
    HeadMotion::Markers seen;
    for (std::size_t slot = 0; slot < head_markers_.size(); ++slot)
      if (const Point* p = take.At(frame, head_markers_[slot])) seen[slot] = *p;
    if (const auto head = head_motion_->Solve(seen))
      frame_.head = *head;
    else
      ++report_.frames_without_head;
  }

  const VgeAMatrix to_head = InverseOfOrthogonalAxes(frame_.head);
  for (std::size_t slot = 0; slot < markers_.size(); ++slot) {
    Marker& marker = markers_[slot];
    if (const Point* p = take.At(frame, marker.index)) {
      frame_set_.mPositions[slot] = {p->x, p->y, p->z};
      marker.p_head = TransformPoint(to_head, frame_set_.mPositions[slot]);
    } else {
      frame_set_.mPositions[slot] = TransformPoint(frame_.head, marker.p_head);
      ++marker.held;
    }
  }
  frame_set_.mTransform = frame_.head;

  actor_->Actor2FaceSolve(&face_state_, &frame_set_);
  GetGlobalFace()->Face2TemplateSolve(&frame_.weights, &face_state_);
  return frame_;
}

FaceSolver::Report FaceSolver::GetReport() const {
  Report report = report_;
  for (const Marker& marker : markers_)
    if (marker.held > 0) report.held.push_back({marker.name, marker.held});
  return report;
}

} // namespace mien
