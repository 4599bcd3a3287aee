#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mien {

struct MarkerDescription {
  std::string name;
  std::size_t gaps = 0;        ///< frames without this marker, those without any marker included
  std::size_t longest_gap = 0; ///< most such frames in a row
  Point low;                   ///< smallest x, y, z in millimetres; (0, 0, 0) for a marker that is never seen
  Point high;                  ///< largest
};

/// What there is to know about a take before working with it.
struct TakeDescription {
  std::string name;
  std::string format;
  std::size_t frames = 0;
  std::int64_t first_frame = 0; ///< as numbered in the file
  std::int64_t last_frame = 0;
  std::int64_t missing_frames = 0; ///< numbers between first and last that the file does not have
  std::size_t empty_frames = 0;    ///< frames that are there and hold no marker
  double rate_hz = 0;
  double duration_s =
      0; ///< from the first frame to the end of the last: one period more than their times are apart
  std::vector<MarkerDescription> markers;
  Point low; ///< over all markers; (0, 0, 0) without any
  Point high;
  std::vector<std::string> notes;
};

TakeDescription Describe(const Take& take);

/// As text for a terminal, in lines.
std::string ToText(const TakeDescription& description);

} // namespace mien
