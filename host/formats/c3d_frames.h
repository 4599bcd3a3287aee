#pragma once

#include "host/formats/c3d_header.h"
#include "host/formats/c3d_layout.h"
#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>

namespace mien::c3d {

/// Appends the layout's frames, numbered from `first`, to a take that has its markers (one per point), its
/// rate and its residual_mm. The file's unit has `unit_mm` millimetres. The take gets notes on positions that
/// are read as gaps although the file does not mark them as such. `threads` read at the same time.
void ReadFrames(const Header& header, const Layout& layout, double unit_mm, std::int64_t first,
                std::size_t threads, Take& take);

} // namespace mien::c3d
