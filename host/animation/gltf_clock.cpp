#include "host/animation/gltf_clock.h"

#include <fmt/format.h>

namespace mien {

nlohmann::ordered_json ClockOf(const Animation& animation) {
  const AnimationLayout& layout = animation.layout;
  nlohmann::ordered_json clock = {{"first_frame", animation.frames.front()}, {"rate", ToText(layout.rate)}};
  if (layout.timecode) clock["timecode"] = ToText(*layout.timecode);
  return clock;
}

std::optional<Note> NoteOnLeftOut(std::size_t frames) {
  if (frames == 0) return std::nullopt;
  return Note{Code::Lossy, "",
              fmt::format("{} left out: too close to the previous frame for the times of glTF",
                          frames == 1 ? "1 frame was" : fmt::format("{} frames were", frames))};
}

} // namespace mien
