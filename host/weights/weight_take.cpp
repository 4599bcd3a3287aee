#include "host/weights/weight_take.h"

#include <utility>

namespace mien {

void WeightTake::SetClock(Take clock) {
  frames = std::move(clock.frames);
  times = std::move(clock.times);
  rate = clock.rate;
  notes.insert(notes.end(), clock.notes.begin(), clock.notes.end());
}

} // namespace mien
