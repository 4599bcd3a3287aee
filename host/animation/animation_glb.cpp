#include "host/animation/animation_glb.h"

#include "host/animation/animated_head.h"
#include "host/animation/gltf_clock.h"
#include "host/gltf/glb_animation.h"

#include <utility>

namespace mien {

namespace {

/// Writes the head with one more animation, unless it has no frames.
HeadCoverage Write(const Animation& animation, AnimatedHead head, std::ostream& out) {
  if (!animation.frames.empty()) {
    GlbAnimation curves(head.glb, animation.times);
    for (const AnimatedHead::Morphs& morphs : head.morphs)
      curves.AddWeights(morphs.node, morphs.weight,
                        morphs.drivers ? GlbAnimation::Curve::Shared : GlbAnimation::Curve::Own);
    for (const auto& [node, rotation] : head.turning) curves.AddRotation(node, rotation);
    for (const auto& [node, transform] : head.moving) curves.AddTransform(node, transform);
    curves.Finish(animation.layout.take, ClockOf(animation));
    if (const auto note = NoteOnLeftOut(curves.LeftOutFrames())) head.coverage.notes.push_back(*note);
  }
  WriteGlb(head.glb, out);
  return std::move(head.coverage);
}

} // namespace

HeadCoverage WriteAnimationOntoHead(const Animation& animation, Glb head, const HeadNodes& nodes,
                                    std::ostream& out) {
  return Write(animation, AnimateHead(animation, std::move(head), nodes), out);
}

HeadCoverage WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out) {
  return Write(animation, AnimateFace(animation, character), out);
}

} // namespace mien
