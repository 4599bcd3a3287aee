#pragma once

#include "host/formats/trc_header.h"
#include "host/formats/trc_rows.h"
#include "host/takes/take.h"

#include <string>

namespace mien::trc {

/// Settles the frame numbers, the rate and the times of a take that has all its rows, as ReadTrc says. Throws InputError
/// where nothing gives a rate.
void SetTiming(const Header& header, const Rows& rows, const std::string& file, Take& take);

} // namespace mien::trc
