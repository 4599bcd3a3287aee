// Any bytes are either a take that keeps a take's promises, and can be described and cleaned, or an InputError.

#include "host/formats/read_take.h"

#include "host/base/error.h"
#include "host/cleaning/fill_gaps.h"
#include "host/cleaning/low_pass.h"
#include "host/inspect/describe.h"
#include "host/inspect/description_json.h"
#include "host/inspect/description_text.h"
#include "host/takes/far_positions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <string_view>
#include <vector>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void Check(const mien::Take& take) {
  Require(take.FrameCount() > 0);
  Require(take.times.size() == take.FrameCount());
  Require(std::isfinite(take.rate.Hz()) && take.rate.Hz() > 0);
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    Require(std::isfinite(take.times[frame]));
    if (frame > 0)
      Require(take.frames[frame] > take.frames[frame - 1] && take.times[frame] > take.times[frame - 1]);
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (const mien::Point* p = take.At(frame, marker)) Require(mien::IsWithinReach(*p));
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    mien::Take take = mien::ReadTake(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    Check(take);
    const mien::TakeDescription description = mien::Describe(take);
    Require(!mien::ToText(description).empty() && !mien::ToJson(description).empty());
    constexpr std::size_t kMost = 100; // markers; what is hostile about more is their number
    std::vector<std::size_t> markers(std::min(take.MarkerCount(), kMost));
    std::iota(markers.begin(), markers.end(), std::size_t{0});
    using mien::FillMethod;
    mien::FillGaps(take, markers,
                   {{FillMethod::Linear, 0.05},
                    {FillMethod::Cubic, 0.2},
                    {FillMethod::Pattern, 10},
                    {FillMethod::Hold, 100}});
    Check(take);
    mien::SmoothPositions(take, markers, take.rate.Hz() / 4);
  } catch (const mien::InputError&) {} // the input is at fault, and says so
  return 0;
}
