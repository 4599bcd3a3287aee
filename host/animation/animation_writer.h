#pragma once

#include "host/animation/animation.h"

namespace mien {

/// Writes an animation frame by frame, as its frames come, without holding any of them: what a solved take and a live
/// stream can both be fed to. Making one of a format writes what comes before the first frame. The formats whose files are
/// laid out list by list (animation_json.h, animation_glb.h) need the whole animation and are not among these.
class AnimationWriter {
public:
  AnimationWriter() = default;
  AnimationWriter(const AnimationWriter&) = delete;
  AnimationWriter& operator=(const AnimationWriter&) = delete;
  virtual ~AnimationWriter() = default;

  /// Frames come in the order of their times, and have what the writer's layout says. Nothing of the frame is kept.
  virtual void Frame(const AnimationFrame& frame) = 0;

  /// After the last frame, once. Without it, what was written may be incomplete.
  virtual void End() = 0;
};

/// Writes all of an animation, to its end. `writer` must have the animation's layout.
void Write(const Animation& animation, AnimationWriter& writer);

} // namespace mien
