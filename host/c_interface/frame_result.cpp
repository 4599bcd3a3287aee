#include "host/c_interface/frame_result.h"

#include "host/c_interface/array.h"
#include "host/c_interface/cluster_arrays.h"
#include "host/jobs/output_place.h"

#include <limits>

namespace mien {

void FrameResult::TakeOver(const LiveOutput& from) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  output = from;
  eyes = from.eyes.value_or(Eyes{EyeAngles{kNaN, kNaN}, EyeAngles{kNaN, kNaN}});
  known = {static_cast<std::uint8_t>(from.head_known), static_cast<std::uint8_t>(from.eyes_known)};
}

mien_array FrameResult::Array(mien_frame_array which) const {
  const auto numbers = [](const auto& values) {
    return ViewOf(values.data(), {{values.size(), sizeof(values[0])}});
  };
  const auto matrix = [](const VgeAMatrix& m) { // from m[column][row] to [row][column]
    return ViewOf(&m.m[0][0], {{4, sizeof(double)}, {4, 4 * sizeof(double)}});
  };
  switch (which) {
  case MIEN_FRAME_WEIGHTS:
    return numbers(output.weights);
  case MIEN_FRAME_SHAPE_WEIGHTS:
    return numbers(output.shapes);
  case MIEN_FRAME_HEAD:
    return matrix(output.head);
  case MIEN_FRAME_HEAD_MOTION:
    return matrix(output.head_motion);
  case MIEN_FRAME_EYES:
    return ViewOf(&eyes[0].yaw, {{2, sizeof(EyeAngles)}, {2, sizeof(double)}});
  case MIEN_FRAME_RESIDUALS:
    return numbers(output.residual_mm);
  case MIEN_FRAME_KNOWN:
    return numbers(known);
  case MIEN_FRAME_LOCAL_TRANSLATIONS:
  case MIEN_FRAME_LOCAL_ROTATIONS:
  case MIEN_FRAME_LOCAL_SCALES:
    return ViewOfClusters(output.local.data(), output.local.size(),
                          static_cast<ClusterValues>(which - MIEN_FRAME_LOCAL_TRANSLATIONS));
  case MIEN_FRAME_GLOBAL_TRANSLATIONS:
  case MIEN_FRAME_GLOBAL_ROTATIONS:
  case MIEN_FRAME_GLOBAL_SCALES:
    return ViewOfClusters(output.global.data(), output.global.size(),
                          static_cast<ClusterValues>(which - MIEN_FRAME_GLOBAL_TRANSLATIONS));
  }
  throw UsageError("which", "there is no such array");
}

} // namespace mien
