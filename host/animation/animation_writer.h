#pragma once

#include "host/animation/animation.h"

namespace mien {

/// Writes an animation frame by frame and stores no frames, so that the source can be a solved take or a live
/// stream. The constructor of a writer writes everything that precedes the first frame. Formats that consist
/// of separate lists (animation_json.h, animation_glb.h) need the whole animation and have no such writer.
class AnimationWriter {
public:
  AnimationWriter() = default;
  AnimationWriter(const AnimationWriter&) = delete;
  AnimationWriter& operator=(const AnimationWriter&) = delete;
  virtual ~AnimationWriter() = default;

  /// Writes a frame. Frames must be in the order of their times and match the writer's layout. Nothing of the
  /// frame is kept.
  virtual void Frame(const AnimationFrame& frame) = 0;

  /// To be called once, after the last frame. Without it, the output may be incomplete.
  virtual void End() = 0;
};

/// Writes a whole animation and ends it. `writer` must have the animation's layout.
void Write(const Animation& animation, AnimationWriter& writer);

} // namespace mien
