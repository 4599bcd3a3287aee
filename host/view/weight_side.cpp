#include "host/view/weight_side.h"

#include "host/character/character_file.h"
#include "host/view/animation_side.h"
#include "host/weights/eyes_of_shapes.h"
#include "host/weights/fill_missing.h"
#include "host/weights/to_animation.h"

#include <cmath>
#include <memory>
#include <utility>

namespace mien {

namespace {

/// Frames in which a weight is missing.
std::vector<ViewSpan> GapsOf(const WeightTake& take) {
  const std::size_t names = take.names.size();
  const auto is_gap = [&](std::size_t f) {
    for (std::size_t n = 0; n < names; ++n)
      if (std::isnan(take.Weight(f, n))) return true;
    return false;
  };
  std::vector<ViewSpan> spans;
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    if (!is_gap(f)) continue;
    if (spans.empty() || spans.back().last + 1 < f)
      spans.push_back({.kind = "gap", .name = "weights", .first = f, .last = f});
    else
      spans.back().last = f;
  }
  return spans;
}

template <class Animate>
ViewSide SideOf(WeightTake take, ViewPage& page, const Animate& animate) {
  constexpr double kFade_s = 0.25; // as mien retarget does by default
  std::vector<ViewSpan> gaps = GapsOf(take);
  FillMissing(take, kFade_s);
  SetEyesOfShapes(take);
  const auto animation = std::make_shared<const Animation>(ToAnimation(take));
  page.animations.push_back(animation);
  ViewSide side = SideOfAnimation(*animation);
  side.notes = Messages(take.notes);
  side.spans = std::move(gaps);
  if (!animation->frames.empty()) side.head = animate(*animation);
  return side;
}

} // namespace

ViewSide SideOfWeights(WeightTake take, ViewPage& page) {
  return SideOf(std::move(take), page, [](const Animation& animation) {
    if (animation.layout.shapes.empty()) return HeadOf(AnimateFace(animation, nullptr), "the built-in head");
    const Character arkit52 = LoadCharacter("arkit52");
    return HeadOf(AnimateFace(animation, &arkit52), "the built-in head");
  });
}

ViewSide SideOfWeights(WeightTake take, const Glb& head, const HeadNodes& nodes, ViewPage& page) {
  return SideOf(std::move(take), page, [&](const Animation& animation) {
    return HeadOf(AnimateHead(animation, head, nodes), head.file);
  });
}

} // namespace mien
