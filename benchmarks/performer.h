#pragma once

#include "mien/actor/actor_face.h"
#include "mien/face/expression_state.h"
#include "mien/face/face.h"

#include <memory>
#include <vector>

namespace benchmarks {

inline constexpr int kFrames = 64;
inline constexpr int kMarkers = 45;
inline constexpr int kHeadMarkers = 5;
inline constexpr int kExpressions = 10;

/// A synthetic performer: 45 markers on the nine parts and five on the head, set up by the library's own
/// calls, and 64 frames in which the head turns and every template rises and falls. Takes are in millimetres.
///
/// It uses only IEEE arithmetic and square roots, so that it has the same bits everywhere.
struct Performer {
  Performer();

  VActorFace actor;
  VFaceMarkerSetState reference;
  VFaceMarkerSetState frames[kFrames];     ///< With `mTransform` solved.
  VFaceState faces[kFrames + 2];           ///< The results of the frames, with the first two repeated: any
  VFaceTemplateState weights[kFrames + 2]; ///< three consecutive ones are sources of a blend.
  VFaceBlendState blends[kFrames];         ///< Three weights that sum to 1, none of them 0 or 1.
  VFaceExpressionState expression_weights[kFrames]; ///< Of `catalogue.mExpressions`.
  VFace catalogue;                                  ///< A default face with ten expressions.

private:
  void PlaceMarkers();
  void SetUp();
  void Move(int frame);

  std::vector<std::unique_ptr<VActorFacePartMarker>> entries_;
};

} // namespace benchmarks
