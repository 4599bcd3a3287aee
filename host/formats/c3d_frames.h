#pragma once

#include "host/formats/c3d_header.h"
#include "host/formats/c3d_layout.h"
#include "host/takes/take.h"

#include <cstdint>

namespace mien::c3d {

/// Appends the layout's frames to a take that has its markers (as many as there are points), rate and residual_mm, and
/// numbers them from `first`. The file's unit has `unit_mm` millimetres. Notes positions that were taken as gaps though the
/// file does not mark them as such.
void ReadFrames(const Header& header, const Layout& layout, double unit_mm, std::int64_t first, Take& take);

} // namespace mien::c3d
