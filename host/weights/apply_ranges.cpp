#include "host/weights/apply_ranges.h"

#include "host/weights/weight_names.h"

#include <algorithm>
#include <cstddef>

namespace mien {

AppliedRanges ApplyRanges(const std::vector<Range>& ranges, WeightTake& take) {
  AppliedRanges result;
  for (const Range& range : ranges) {
    const auto found = std::find(take.names.begin(), take.names.end(), UsualName(range.name));
    if (!range.trusted)
      result.doubted.push_back(range.name);
    else if (found == take.names.end())
      result.unmatched.push_back(range.name);
    else {
      const auto column = static_cast<std::size_t>(found - take.names.begin());
      for (std::size_t f = 0; f < take.frames.size(); ++f) {
        double& weight = take.weights[f * take.names.size() + column];
        weight = range.Read(weight);
      }
      result.applied.push_back(range);
    }
  }
  return result;
}

} // namespace mien
