#include "host/wire/sent_rotation.h"

#include "host/base/rotation.h"

namespace mien {

std::optional<VgeRMatrix> SentRotation(double x, double y, double z, double w) {
  const double square = x * x + y * y + z * z + w * w;
  constexpr double kShortest = 0.25, kLongest = 4; // squares; single precision is much closer to 1
  if (!(square > kShortest && square < kLongest)) return std::nullopt;
  return RotationOf(VgeQuaternion(x, y, z, w));
}

} // namespace mien
