#include "host/weights/to_animation.h"

#include "mien/base/affine.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace mien {
namespace {

LongVector<double> InOrderOf(const std::vector<std::string>& templates, const WeightTake& take) {
  std::vector<std::size_t> columns;
  for (const std::string& name : take.names)
    columns.push_back(
        static_cast<std::size_t>(std::find(templates.begin(), templates.end(), name) - templates.begin()));
  LongVector<double> weights(take.frames.size() * templates.size());
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    const auto from = take.weights.subspan(f * columns.size(), columns.size());
    const auto to = weights.subspan(f * templates.size(), templates.size());
    for (std::size_t n = 0; n < columns.size(); ++n) to[columns[n]] = from[n];
  }
  return weights;
}

} // namespace

Animation ToAnimation(const WeightTake& take) {
  Animation animation;
  AnimationLayout& layout = animation.layout;
  layout.take = take.name;
  layout.rate = take.rate;
  layout.timecode = take.timecode;
  layout.timecode_offset_s = take.timecode_offset_s;
  animation.frames = take.frames;
  animation.times = take.times;
  animation.heads.resize(take.frames.size());
  for (std::size_t f = 0; f < take.heads.size(); ++f) animation.heads[f] = RotationBy(take.heads[f]);
  for (std::size_t f = 0; f < take.head_places.size(); ++f) {
    const Point& place = take.head_places[f];
    SetColumn(animation.heads[f], 3, {place.x, place.y, place.z});
  }
  animation.eyes = take.eyes;
  if (take.HasTemplates()) {
    animation.weights = InOrderOf(layout.WeightNames(WeightKind::Templates), take);
  } else {
    layout.templates.clear();
    layout.shapes = take.names;
    animation.shape_weights = take.weights;
  }
  return animation;
}

} // namespace mien
