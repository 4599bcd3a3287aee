#pragma once

#include "host/base/lanes.h"

namespace mien {

/// The columns of the rotation of a quaternion of any length but 0.
template <class Lanes>
MIEN_IN_LANES void SetRotation(Lanes (&columns)[3][3], Lanes x, Lanes y, Lanes z, Lanes w) {
  Lanes largest = Magnitude(x);
  for (const Lanes& other : {y, z, w}) {
    const Lanes magnitude = Magnitude(other);
    largest = Select<Lanes>(largest < magnitude, magnitude, largest);
  }
  x /= largest, y /= largest, z /= largest, w /= largest; // so that no square over- or underflows
  const Lanes s = 2.0 / (x * x + y * y + z * z + w * w);
  columns[0][0] = 1.0 - s * (y * y + z * z);
  columns[0][1] = s * (x * y + z * w);
  columns[0][2] = s * (x * z - y * w);
  columns[1][0] = s * (x * y - z * w);
  columns[1][1] = 1.0 - s * (x * x + z * z);
  columns[1][2] = s * (y * z + x * w);
  columns[2][0] = s * (x * z + y * w);
  columns[2][1] = s * (y * z - x * w);
  columns[2][2] = 1.0 - s * (x * x + y * y);
}

} // namespace mien
