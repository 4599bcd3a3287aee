#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace mien {

/// Whether this is C3D, the binary format of optical capture systems, by its first block. A damaged file is
/// recognised too, so that its error is one of a C3D file.
bool IsC3d(std::string_view bytes);

/// Reads every kind: for Intel, DEC and SGI processors, in integers and in floats. The take's axes are the
/// file's.
///
/// A position is a gap where its fourth number is negative as a signed 16-bit word (a float is truncated to
/// one; NaN and numbers beyond a word count as well), where a coordinate is NaN or infinite, and at exactly
/// (0, 0, 0), which many programs write for a marker that they did not see. A position with the residual byte
/// 0 is Computed, every other is Measured; both keep their cameras.
///
/// Frame `n` is at (n - 1) / rate seconds, whatever the file's first number. Analog samples are skipped.
/// Where header and parameters disagree, the values count with which the data fill the file; a note says so.
///
/// `input_rate` is the rate of a file that gives none, 100 Hz otherwise. `threads` read at the same time; any
/// number of them read the same take.
Take ReadC3d(std::string_view bytes, const std::string& file,
             const std::optional<FrameRate>& input_rate = std::nullopt, std::size_t threads = 1);

/// Writes floats for Intel, in millimetres: positions in single precision, frames from the take's first to
/// its last number, missing ones as frames of gaps.
///
/// Measured positions keep their residual, to the nearest step of |POINT:SCALE|; at least 1, and 1 without a
/// sighting, since 0 means Computed. Measured and computed positions keep their cameras, of which there are
/// at most seven. Filled positions are written as computed ones. A position at exactly (0, 0, 0) is written
/// 1e-38 mm beside it, since it would be read as a gap. Times and the take's name are not written. The group
/// MIEN has what the format has no place for: TIMECODE, RATE (where single precision would change it) and
/// FIRST_FRAME (where it is below 1 or beyond 32 bits).
///
/// Throws InputError, before anything is written, for a take that does not fit: without markers, frames or a
/// rate, with more than 65535 markers, names above 255 bytes or too long together, 2^24 frames or more
/// (missing ones included), or coordinates beyond single precision.
void WriteC3d(const Take& take, std::ostream& out);

} // namespace mien
