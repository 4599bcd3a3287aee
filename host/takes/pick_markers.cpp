#include "host/takes/pick_markers.h"

#include "host/base/parallel.h"

namespace mien {

Take WithoutFrames(const Take& take, const std::vector<std::size_t>& markers) {
  Take picked;
  picked.file = take.file;
  picked.name = take.name;
  picked.format = take.format;
  picked.flavour = take.flavour;
  picked.unit = take.unit;
  picked.axes = take.axes;
  picked.rate = take.rate;
  picked.timecode = take.timecode;
  for (const std::size_t m : markers) picked.markers.push_back(take.markers[m]);
  return picked;
}

Take PickMarkers(const Take& take, const std::vector<std::size_t>& markers, std::size_t threads) {
  Take picked = WithoutFrames(take, markers);
  picked.AddFrames(take.FrameCount());
  ForRanges(threads, take.FrameCount(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
    for (std::size_t f = first; f < end; ++f) {
      picked.frames[f] = take.frames[f];
      picked.times[f] = take.times[f];
      const Take::Row row = picked.RowOf(f);
      for (std::size_t i = 0; i < markers.size(); ++i) {
        const Point* const p = take.At(f, markers[i]);
        row.positions[i] = p ? *p : Point();
        row.origins[i] = take.OriginAt(f, markers[i]);
      }
    }
  });
  return picked;
}

} // namespace mien
