#include "host/weights/weight_take.h"

#include "host/base/face_parts.h"

#include <algorithm>
#include <utility>

namespace mien {

void WeightTake::SetClock(Take clock) {
  frames = std::move(clock.frames);
  times = std::move(clock.times);
  rate = clock.rate;
  notes.insert(notes.end(), clock.notes.begin(), clock.notes.end());
}

bool WeightTake::HasTemplates() const {
  const std::vector<TemplateColumn> templates = TemplateColumns();
  return std::all_of(names.begin(), names.end(), [&](const std::string& own) {
    return std::any_of(templates.begin(), templates.end(),
                       [&](const TemplateColumn& column) { return column.name == own; });
  });
}

} // namespace mien
