// Any bytes are either marks within the take that do not overlap, or an InputError.

#include "host/base/error.h"
#include "host/calibrate/pose_marks.h"
#include "host/performer/guided_poses.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

/// Frames -5 to 294, with a drop after frame 100.
mien::Take TakeOfPoses() {
  mien::Take take({"chin"});
  take.rate = {30, 1};
  for (std::int64_t f = 0; f < 300; ++f)
    if (f < 106 || f > 110) take.AddFrame(f - 5, static_cast<double>(f) / 30);
  return take;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const mien::Take take = TakeOfPoses();
  try {
    std::size_t end = 0;
    const auto marks =
        mien::ReadPoseMarks(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz", take);
    Require(!marks.empty());
    for (const mien::PoseMark& mark : marks) {
      Require(mien::FindGuidedPose(mark.pose) != nullptr);
      Require(mark.frames.first >= end && mark.frames.first < mark.frames.end);
      end = mark.frames.end;
    }
    Require(end <= take.FrameCount());
  } catch (const mien::InputError&) {} // the input is at fault, and says so
  return 0;
}
