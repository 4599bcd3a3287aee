// Any bytes are, to each reader of CSV, a take that keeps a take's promises, or an InputError; and what was read and can
// be written as marker CSV reads back the same.

#include "host/base/error.h"
#include "host/formats/landmark_csv.h"
#include "host/formats/marker_csv.h"
#include "host/takes/far_positions.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void Check(const mien::Take& take) {
  Require(take.FrameCount() > 0 && take.times.size() == take.FrameCount());
  Require(std::isfinite(take.rate.Hz()) && take.rate.Hz() > 0);
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    Require(std::isfinite(take.times[frame]));
    if (frame > 0)
      Require(take.frames[frame] > take.frames[frame - 1] && take.times[frame] > take.times[frame - 1]);
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (const mien::Point* p = take.At(frame, marker)) Require(mien::IsWithinReach(*p));
  }
}

bool SameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void CheckReadsBack(const mien::Take& take) {
  std::ostringstream out;
  try {
    mien::WriteMarkerCsv(take, out);
  } catch (const mien::InputError&) { return; } // a name that cannot stand in a header
  const mien::Take back = mien::ReadMarkerCsv(out.str(), "back");
  Require(back.markers == take.markers && back.frames == take.frames && back.times == take.times);
  Require(back.timecode == take.timecode);
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) {
      const mien::Point* const p = take.At(frame, marker);
      const mien::Point* const q = back.At(frame, marker);
      Require((p == nullptr) == (q == nullptr));
      if (p) Require(SameBits(p->x, q->x) && SameBits(p->y, q->y) && SameBits(p->z, q->z));
    }
}

template <typename Read>
void Try(const Read& read) {
  mien::Take take;
  try {
    take = read();
  } catch (const mien::InputError&) { return; } // the input is at fault, and says so
  Check(take);
  CheckReadsBack(take);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Try([&] { return mien::ReadMarkerCsv(bytes, "fuzz"); });
  Try([&] { return mien::ReadLandmarkCsv(bytes, "fuzz"); });
  Try([&] { return mien::ReadLandmarkCsv(bytes, "fuzz", 1); });
  Try([&] { return mien::ReadMarkerCsv(bytes, "fuzz", mien::FrameRate{30000, 1001}); });
  Try([&] { return mien::ReadLandmarkCsv(bytes, "fuzz", std::nullopt, mien::FrameRate{25, 1}); });
  return 0;
}
