#pragma once

#include "host/formats/trc_header.h"
#include "host/formats/trc_rows.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <optional>
#include <string>

namespace mien::trc {

/// Settles the frame numbers, the rate and the times of a take that has all its rows, as ReadTrc says. Throws
/// InputError where nothing gives a rate, and where the user names one, `input_rate`, beside the file's own.
void SetTiming(const Header& header, const Rows& rows, const std::string& file,
               const std::optional<FrameRate>& input_rate, Take& take);

} // namespace mien::trc
