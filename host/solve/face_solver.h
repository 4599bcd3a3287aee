#pragma once

#include "host/performer/head_motion.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"
#include "mien/actor/actor_face.h"
#include "mien/face/template_state.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace mien {

/// Turns one frame of a take after the other into template weights.
///
/// Gaps: a marker that a frame does not have stays where it was last seen in the head's frame, and before
/// that where the neutral pose has it. In a frame whose head markers do not tell where the head is, the head
/// stays where it was.
class FaceSolver {
public:
  /// Sets the performer up on the neutral pose. The take must have the performer's markers (CheckMarkers).
  /// Throws InputError where the pose does not tell which way the face looks.
  FaceSolver(const Performer& performer, const NeutralPose& neutral, const Take& take);

  /// From a face that looks along +z, x to its left, y up, to where the neutral pose has it.
  const VgeAMatrix& NeutralHead() const { return face_axes_; }

  struct Frame {
    VFaceTemplateState weights;
    VgeAMatrix head; ///< from a face that looks along +z, x to its left, y up, into the take
  };

  /// Solves a frame of the take. Frames are to come in their order: what is held comes from the one before.
  const Frame& Solve(const Take& take, std::size_t frame);

  /// What happened so far, for the user.
  struct Report {
    std::size_t frames = 0;
    std::size_t frames_without_head = 0; ///< the head was held
    struct Held {
      std::string marker;
      std::size_t frames;
    };
    std::vector<Held> held;                 ///< the face markers that have gaps
    std::vector<std::string> resting_parts; ///< without a marker: they stay at rest
    std::vector<std::string> left_out;      ///< markers that the neutral pose lacks
    bool head_motion_removed = true; ///< false where the head markers are fewer than three or on a line
  };
  Report GetReport() const;

private:
  struct Marker {
    std::string name;
    std::size_t index; // in the take
    VgeTVector p_head; // where it was last seen
    std::size_t held;  // frames without it
  };

  void SetUpActor(const Performer& performer, const NeutralPose& neutral);
  void SetUpHead(const Performer& performer, const NeutralPose& neutral, const Take& take);

  VgeAMatrix face_axes_;
  std::unique_ptr<VActorFace> actor_ = std::make_unique<VActorFace>();
  std::vector<std::unique_ptr<VActorFacePartMarker>> entries_; // of the actor's groups, which do not own them
  std::vector<Marker> markers_;                                // by their slot in the marker set
  std::vector<std::size_t> head_markers_;                      // indices in the take, by slot
  std::unique_ptr<HeadMotion> head_motion_;
  VFaceMarkerSetState frame_set_;
  VFaceState face_state_;
  Frame frame_;
  Report report_;
};

} // namespace mien
