#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_header.h"
#include "host/formats/c3d_parameters.h"
#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace mien::c3d {

/// What a file says about when its frames were.
struct Timing {
  FrameRate rate; ///< the user's or assumed where the file gives none
  std::optional<Timecode> timecode;
  std::int64_t first_frame = 1; ///< its number
};

/// The group MIEN, where WriteC3d puts what the format has no room for, comes before the format's own words.
/// What is contradicted, unreadable or missing goes to `notes`. Throws InputError where the user names a
/// rate, `input_rate`, and the file gives one.
Timing ReadTiming(const Header& header, const Parameters& parameters,
                  const std::optional<FrameRate>& input_rate, std::vector<Note>& notes);

} // namespace mien::c3d
