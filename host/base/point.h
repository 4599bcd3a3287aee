#pragma once

namespace mien {

/// A marker's position in millimetres.
struct Point {
  double x = 0;
  double y = 0;
  double z = 0;
};

} // namespace mien
