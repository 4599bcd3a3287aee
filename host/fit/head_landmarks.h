#pragma once

#include "host/base/error.h"
#include "host/base/point.h"
#include "host/fit/landmark_scheme.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Where the 68 landmarks are on a head.
struct HeadLandmarks {
  struct Landmark {
    Point place;      ///< in the units and axes of the head's scene
    std::size_t line; ///< of the file, for messages
  };
  std::array<std::optional<Landmark>, kLandmarks68> landmarks;
  std::string file;
  std::vector<Note> notes; ///< on the text
};

/// Reads a table with the columns `landmark,x,y,z`; a landmark is "lm36" or "36". Throws InputError for
/// anything else, for a landmark that occurs twice, and for missing ones among those that are needed: 8, the
/// chin, and 17 to 67. The rest of the jaw's contour may be missing.
HeadLandmarks ReadHeadLandmarks(std::string_view bytes, const std::string& file);

/// Whether a basis must have this landmark.
constexpr bool IsNeededLandmark(std::size_t landmark) { return landmark == 8 || landmark >= kJawContour; }

} // namespace mien
