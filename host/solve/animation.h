#pragma once

#include "mien/base/geometry.h"
#include "mien/face/template_state.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mien {

/// One template of one part, and its name: "Mouth.Open".
struct TemplateColumn {
  int part;
  int slot;
  std::string name;
};

/// The templates of the default face, part by part in their fixed order.
std::vector<TemplateColumn> TemplateColumns();

/// A solved take: for each of its frames the template weights and where the head was.
struct Animation {
  double rate_hz = 0;
  std::vector<std::int64_t> frames; ///< numbers, as in the take
  std::vector<double> times;        ///< seconds, as in the take (size: frames)

  std::vector<TemplateColumn> templates = TemplateColumns();
  std::vector<double>
      weights; ///< frame by frame, each in the order of `templates` (size: frames x templates)
  std::vector<VgeAMatrix>
      heads; ///< from a face that looks along +z, x to its left, y up, into the take (size: frames)

  double Weight(std::size_t frame, std::size_t column) const {
    return weights[frame * templates.size() + column];
  }
};

} // namespace mien
