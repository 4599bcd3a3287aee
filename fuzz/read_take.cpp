// Any bytes are either a take that keeps a take's promises, or an InputError.

#include "host/takes/read_take.h"

#include "host/error.h"
#include "host/takes/describe.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const mien::Take take =
        mien::ReadTake(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    Require(take.FrameCount() > 0);
    Require(take.times.size() == take.FrameCount());
    Require(std::isfinite(take.rate_hz) && take.rate_hz > 0);
    for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
      Require(std::isfinite(take.times[frame]));
      if (frame > 0)
        Require(take.frames[frame] > take.frames[frame - 1] && take.times[frame] > take.times[frame - 1]);
      for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
        if (const mien::Point* p = take.At(frame, marker))
          Require(std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z));
    }
    Require(!mien::ToText(mien::Describe(take)).empty());
  } catch (const mien::InputError&) {} // the input is at fault, and says so
  return 0;
}
