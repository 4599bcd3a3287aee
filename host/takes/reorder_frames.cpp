#include "host/takes/reorder_frames.h"

#include <algorithm>

namespace mien {

void ReorderFrames(Take& take, const std::vector<std::size_t>& order) {
  Take before = take;
  for (std::size_t to = 0; to < order.size(); ++to) {
    const std::size_t from = order[to];
    take.frames[to] = before.frames[from];
    take.times[to] = before.times[from];
    if (take.gaze_axes) take.gaze[to] = before.gaze[from];
    const Take::Row source = before.RowOf(from), target = take.RowOf(to);
    std::copy(source.positions.begin(), source.positions.end(), target.positions.begin());
    std::copy(source.origins.begin(), source.origins.end(), target.origins.begin());
    std::copy(source.sightings.begin(), source.sightings.end(), target.sightings.begin());
  }
}

} // namespace mien
