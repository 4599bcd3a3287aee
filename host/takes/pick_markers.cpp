#include "host/takes/pick_markers.h"

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

Take PickMarkers(const Take& take, const std::vector<std::size_t>& markers) {
  Take picked = WithoutFrames(take, markers);
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    picked.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t i = 0; i < markers.size(); ++i)
      if (const Point* p = take.At(f, markers[i])) picked.Set(f, i, *p, take.OriginAt(f, markers[i]));
  }
  return picked;
}

} // namespace mien
