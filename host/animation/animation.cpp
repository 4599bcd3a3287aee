#include "host/animation/animation.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <cmath>

namespace mien {

void Animation::CheckFinite(const std::string& file) const {
  const auto check = [&](std::size_t frame, double value, const std::string& what) {
    if (!std::isfinite(static_cast<float>(value)))
      throw InputError(Code::InvalidValue, file, fmt::format("frame {}", frames[frame]),
                       fmt::format("the solve gives {} for {}", value, what),
                       "check the unit of the take's positions, and the character's weights");
  };
  for (std::size_t f = 0; f < frames.size(); ++f) {
    if (!std::isfinite(static_cast<float>(times[f] - times[0])))
      throw InputError(Code::InvalidValue, file, fmt::format("frame {}", frames[f]),
                       fmt::format("it comes at {} s", times[f]), "check the times");
    for (std::size_t t = 0; t < templates.size(); ++t) check(f, Weight(f, t), templates[t].name);
    for (std::size_t s = 0; s < shapes.size(); ++s) check(f, ShapeWeight(f, s), Quoted(shapes[s]));
    const VgeAMatrix head = HeadMotion(f);
    for (const auto& column : head.m)
      for (const double value : column) check(f, value, "the head");
    for (std::size_t c = 0; c < clusters.size(); ++c)
      for (const auto* transforms : {&local_clusters, &global_clusters}) {
        const auto& [t, r, s] = (*transforms)[f * clusters.size() + c];
        for (const double value : {t.x, t.y, t.z, s.x, s.y, s.z}) check(f, value, Quoted(clusters[c].name));
        for (int column = 0; column < 3; ++column)
          for (int row = 0; row < 3; ++row) check(f, r.m[column][row], Quoted(clusters[c].name));
      }
  }
}

VgeAMatrix Animation::HeadMotion(std::size_t frame) const {
  return detail::Product(detail::InverseOfOrthogonalAxes(neutral_head), heads[frame]);
}

} // namespace mien
