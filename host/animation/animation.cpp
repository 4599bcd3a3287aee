#include "host/animation/animation.h"

#include "host/base/error.h"
#include "host/base/parallel.h"
#include "host/base/text.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <cmath>

namespace mien {

namespace {

bool IsFinite(double value) { return std::isfinite(static_cast<float>(value)); }

/// The frame's part of a list with `size` values per frame.
template <class T>
std::span<const T> Row(const LongVector<T>& values, std::size_t frame, std::size_t size) {
  return values.subspan(frame * size, size);
}

} // namespace

std::vector<std::string> AnimationLayout::WeightNames(WeightKind kind) const {
  if (kind == WeightKind::Shapes) return shapes;
  std::vector<std::string> names;
  for (const TemplateColumn& column : templates) names.push_back(column.name);
  return names;
}

VgeAMatrix AnimationLayout::HeadMotion(const VgeAMatrix& head) const {
  return Product(InverseOfOrthogonalAxes(neutral_head), head);
}

void CheckFinite(const AnimationLayout& layout, const AnimationFrame& frame, double first_time,
                 const std::string& file) {
  const auto fail = [&](const std::string& what, const char* fix) {
    throw InputError(Code::InvalidValue, file, fmt::format("frame {}", frame.number), what, fix);
  };
  // A frame has hundreds of values, which almost never fail: a name is computed only for the message.
  const auto check = [&](double value, const auto& name) {
    if (!IsFinite(value))
      fail(fmt::format("the result for {} is {}", name(), value),
           "check the unit of the take's positions, and the character's weights");
  };
  if (!IsFinite(frame.time - first_time))
    fail(fmt::format("its time is {} s", frame.time), "check the times");
  for (std::size_t t = 0; t < frame.weights.size(); ++t)
    check(frame.weights[t], [&] { return layout.templates[t].name; });
  for (std::size_t s = 0; s < frame.shape_weights.size(); ++s)
    check(frame.shape_weights[s], [&] { return Quoted(layout.shapes[s]); });
  const VgeAMatrix head = layout.HeadMotion(frame.head);
  for (const auto& column : head.m)
    for (const double value : column) check(value, [] { return "the head"; });
  for (std::size_t c = 0; c < layout.clusters.size(); ++c)
    for (const auto& transforms : {frame.local_clusters, frame.global_clusters}) {
      const auto name = [&] { return Quoted(layout.clusters[c].name); };
      const auto& [t, r, s] = transforms[c];
      for (const double value : {t.x, t.y, t.z, s.x, s.y, s.z}) check(value, name);
      for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) check(r.m[column][row], name);
    }
}

AnimationFrame Animation::Frame(std::size_t frame) const {
  return {.number = frames[frame],
          .time = times[frame],
          .head = heads[frame],
          .weights = Row(weights, frame, layout.templates.size()),
          .shape_weights = Row(shape_weights, frame, layout.shapes.size()),
          .eyes = eyes.empty() ? nullptr : &eyes[frame],
          .local_clusters = Row(local_clusters, frame, layout.clusters.size()),
          .global_clusters = Row(global_clusters, frame, layout.clusters.size())};
}

bool Animation::HeadMoves() const {
  constexpr double kRounding = 1e-12;
  const VgeAMatrix still;
  for (std::size_t f = 0; f < frames.size(); ++f) {
    const VgeAMatrix motion = HeadMotion(f);
    for (int column = 0; column < 4; ++column)
      for (int row = 0; row < 3; ++row)
        if (std::fabs(motion.m[column][row] - still.m[column][row]) > kRounding) return true;
  }
  return false;
}

void Animation::CheckFinite(const std::string& file, std::size_t threads) const {
  ForRanges(threads, frames.size(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
    for (std::size_t f = first; f < end; ++f) mien::CheckFinite(layout, Frame(f), times[0], file);
  });
}

} // namespace mien
