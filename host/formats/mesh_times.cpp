#include "host/formats/mesh_times.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

namespace mien {

void NoteUnlikelyUnit(Take& take, std::string_view name, double units_per_second) {
  constexpr double kSlowest = 10, kFastest = 250; // of video
  const auto is_video = [](double hz) { return hz >= kSlowest && hz <= kFastest; };
  const bool seconds = units_per_second == 1;
  const double hz = take.rate.Hz();
  if (take.FrameCount() < 2 || !is_video(seconds ? hz * 1000 : hz / 1000)) return;
  take.notes.push_back(
      {Code::Doubtful, "",
       fmt::format(
           "{} is expected to be in {}, and its values rise by {:.3g} a frame, as {} do; read so, the "
           "recording lasts {:.3g} s",
           Quoted(name), seconds ? "seconds" : "milliseconds", units_per_second / hz,
           seconds ? "milliseconds" : "seconds", take.times.back() - take.times.front())});
}

} // namespace mien
