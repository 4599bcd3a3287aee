#pragma once

#include <cstddef>

namespace mien {

/// What a terminal can show.
struct Terminal {
  std::size_t columns = 80;
  bool utf8 = false; ///< otherwise pictures are drawn in ASCII
};

} // namespace mien
