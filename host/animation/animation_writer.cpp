#include "host/animation/animation_writer.h"

namespace mien {

void Write(const Animation& animation, AnimationWriter& writer) {
  for (std::size_t f = 0; f < animation.frames.size(); ++f) writer.Frame(animation.Frame(f));
  writer.End();
}

} // namespace mien
