#pragma once

#include "host/animation/eye_angles.h"
#include "host/character/character.h"
#include "host/takes/timecode.h"
#include "mien/base/geometry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace mien {

/// The result for a face in one frame. LiveSession::Layout(face) has the names and the order of all numbers.
/// Belongs to the session, which fills it again for each frame.
struct LiveOutput {
  std::size_t face = 0;
  std::int64_t frame = 0; ///< from 1, rising; with an output rate, from 1 again when the face restarts
  double time_s = 0;      ///< rising: the source's clock where it has one, from 0 at its first frame
  std::optional<Timecode> timecode; ///< of the face's first frame; this frame's is timecode->At(time_s)
  double timecode_offset_s = 0;     ///< by which the first frame is later than `timecode`
  double arrival_s = 0;             ///< of the packet that it was made of

  std::vector<double> weights;          ///< of the templates (size: layout.templates; may be empty)
  std::vector<double> shapes;           ///< of the character, or of the source (size: layout.shapes)
  std::vector<ClusterTransform> local;  ///< relative to their root (size: layout.clusters)
  std::vector<ClusterTransform> global; ///< in the character's space (size: layout.clusters)
  VgeAMatrix head;          ///< from a face that looks along +z, x to its left, y up, to where the head is
  VgeAMatrix head_motion;   ///< from the neutral pose, in the neutral face's axes, millimetres
  std::optional<Eyes> eyes; ///< nothing where the source never shows where they look

  bool learning = false;   ///< the neutral face is not known yet: all weights are 0
  bool face_seen = false;  ///< otherwise the face is lost: its last result is held, then fades to rest
  bool head_known = false; ///< otherwise it keeps its last pose
  bool eyes_known = false; ///< this frame shows where they look; otherwise `eyes` is kept, then fades
  std::size_t unseen = 0;  ///< markers of the solve, or weights of the source, that the frame lacks
  double presence = 0;     ///< the share of what was measured in the weights: 1, less while a lost face fades

  /// For each part, how far its points are from those that the weights reproduce, in millimetres; 0 for
  /// sources of weights and while the face is lost.
  std::array<double, 9> residual_mm{};
};

} // namespace mien
