#include "host/solve/template_ranges.h"

#include <algorithm>
#include <cstddef>

namespace mien {

TemplateRanges::TemplateRanges(const std::vector<Range>& ranges) {
  for (const Range& range : ranges) {
    const auto column = std::find_if(templates_.begin(), templates_.end(),
                                     [&](const TemplateColumn& t) { return t.name == range.name; });
    if (!range.trusted || column == templates_.end()) continue;
    applied_.push_back(range);
    columns_.push_back(static_cast<std::size_t>(column - templates_.begin()));
  }
}

void TemplateRanges::Apply(VFaceTemplateState& weights) const {
  for (std::size_t r = 0; r < applied_.size(); ++r) {
    const TemplateColumn& column = templates_[columns_[r]];
    double& weight = weights.mParts[column.part].mWeights[column.slot];
    weight = applied_[r].Read(weight);
  }
}

void TemplateRanges::Apply(std::span<double> weights) const {
  for (std::size_t r = 0; r < applied_.size(); ++r) {
    double& weight = weights[columns_[r]];
    weight = applied_[r].Read(weight);
  }
}

void TemplateRanges::Apply(Animation& animation) const {
  const std::size_t columns = animation.layout.templates.size();
  for (std::size_t f = 0; f < animation.frames.size(); ++f)
    Apply(animation.weights.subspan(f * columns, columns));
}

} // namespace mien
