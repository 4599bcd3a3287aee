// Any bytes are either a take that keeps a take's promises, or an InputError. A take that was read can be written, and
// reads back as it was.

#include "host/base/error.h"
#include "host/formats/c3d.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

namespace {

using mien::Origin;
using mien::Point;
using mien::Take;

void Require(bool holds) {
  if (!holds) std::abort();
}

double Single(double number) { return static_cast<double>(static_cast<float>(number)); }

void RequireTake(const Take& take, std::size_t size) {
  Require(take.FrameCount() > 0 && take.MarkerCount() > 0);
  constexpr std::size_t kSmallest = 8; // bytes of a position: what is declared has to be there
  Require(take.FrameCount() <= size / (kSmallest * take.MarkerCount()));
  Require(take.times.size() == take.FrameCount());
  Require(std::isfinite(take.rate.Hz()) && take.rate.Hz() > 0);
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    Require(std::isfinite(take.times[frame]));
    if (frame > 0)
      Require(take.frames[frame] == take.frames[frame - 1] + 1 && take.times[frame] > take.times[frame - 1]);
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (const Point* p = take.At(frame, marker))
        Require(std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z));
  }
  for (std::size_t i = 0; i < take.events.size(); ++i)
    Require(std::isfinite(take.events[i].time) && (i == 0 || take.events[i - 1].time <= take.events[i].time));
}

void RequireSame(const Take& take, const Take& back) {
  Require(back.notes.empty());
  Require(back.markers == take.markers && back.frames == take.frames);
  Require(back.rate == take.rate && back.timecode == take.timecode);
  Require(back.events.size() == take.events.size());
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) {
      Require(back.OriginAt(frame, marker) == take.OriginAt(frame, marker));
      Require(back.CamerasAt(frame, marker) == take.CamerasAt(frame, marker));
      const Point* const p = take.At(frame, marker);
      if (!p) continue;
      double x = Single(p->x);
      const double y = Single(p->y), z = Single(p->z);
      if (x == 0 && y == 0 && z == 0) x = 0x1p-126; // since a zero would be a gap
      const Point* const q = back.At(frame, marker);
      Require(q->x == x && q->y == y && q->z == z);
      const auto seen = take.SightingAt(frame, marker), again = back.SightingAt(frame, marker);
      if (!seen) continue;
      Require(again.has_value());
      const double step = back.residual_mm;
      constexpr double kMost = 0x1.fffffep127; // which larger ones do not fit
      const double mm = std::max(seen->residual * take.residual_mm, step);
      constexpr double kRounding = 1e-4; // of a step: its own single precision, 255 times
      if (step < kMost) Require(std::abs(again->residual * step - mm) <= (0.5 + kRounding) * step);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  mien::IsC3d(bytes);
  std::string written;
  Take take;
  try {
    take = mien::ReadC3d(bytes, "fuzz");
    RequireTake(take, size);
    std::ostringstream out;
    mien::WriteC3d(take, out);
    written = out.str();
  } catch (const mien::InputError&) { // the input is at fault, and says so
    return 0;
  }
  Require(mien::IsC3d(written));
  RequireSame(take, mien::ReadC3d(written, "written"));
  return 0;
}
