// Any bytes are either a TRC take that keeps a take's promises, is no larger than they allow, and reads back
// as it was written, or an InputError.

#include "host/base/error.h"
#include "host/formats/trc.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

namespace {

using mien::Point;
using mien::Take;

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireValid(const Take& take) {
  Require(take.FrameCount() > 0 && take.MarkerCount() > 0);
  Require(take.times.size() == take.FrameCount());
  Require(std::isfinite(take.rate.Hz()) && take.rate.Hz() > 0);
  Require(std::set<std::string>(take.markers.begin(), take.markers.end()).size() == take.MarkerCount());
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    Require(std::isfinite(take.times[frame]));
    if (frame > 0)
      Require(take.frames[frame] > take.frames[frame - 1] && take.times[frame] > take.times[frame - 1]);
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (const Point* p = take.At(frame, marker))
        Require(std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z));
  }
}

bool SameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void RequireSame(const Take& a, const Take& b) {
  Require(a.markers == b.markers && a.frames == b.frames);
  // A rate close to a usual one is taken for it, so that one at the edge of "close" can move once more.
  Require(std::abs(a.rate.Hz() - b.rate.Hz()) <= 1e-4 * a.rate.Hz());
  for (std::size_t frame = 0; frame < a.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < a.MarkerCount(); ++marker) {
      const Point *p = a.At(frame, marker), *q = b.At(frame, marker);
      Require((p == nullptr) == (q == nullptr));
      if (p) Require(SameBits(p->x, q->x) && SameBits(p->y, q->y) && SameBits(p->z, q->z));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  mien::IsTrc(bytes);
  try {
    const Take take = mien::ReadTrc(bytes, "fuzz");
    RequireValid(take);
    Require(take.FrameCount() * take.MarkerCount() * (sizeof(Point) + 1) <= 32 * size + (1 << 20));
    try {
      std::ostringstream out;
      mien::WriteTrc(take, out);
      Require(mien::IsTrc(out.str()));
      const Take again = mien::ReadTrc(out.str(), "written");
      RequireValid(again);
      RequireSame(take, again);
    } catch (const mien::InputError&) { Require(false); } // what was read can be written and read again
  } catch (const mien::InputError&) {}                    // the input is at fault, and says so
  return 0;
}
