#pragma once

#include "host/animation/animation.h"
#include "host/performer/calibration.h"
#include "mien/face/template_state.h"

#include <span>
#include <vector>

namespace mien {

/// The trusted ranges of a performer, which turn measured weights into those of their own face: 0 at a
/// range's low and below, 1 at its high. Weights of other templates stay as they are.
class TemplateRanges {
public:
  explicit TemplateRanges(const std::vector<Range>& ranges);

  /// In the order of the performer's.
  const std::vector<Range>& Applied() const { return applied_; }

  void Apply(VFaceTemplateState& weights) const;
  void Apply(std::span<double> weights) const; ///< of one frame, in the order of TemplateColumns
  void Apply(Animation& animation) const;

private:
  std::vector<Range> applied_;
  std::vector<std::size_t> columns_; // of TemplateColumns (size: applied_)
  std::vector<TemplateColumn> templates_ = TemplateColumns();
};

} // namespace mien
