#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace mien {

/// Whether this is C3D, the binary format of optical capture systems, told from its first block. A damaged file is
/// still told, so that what is said of it is about C3D.
bool IsC3d(std::string_view bytes);

/// Reads every kind there is: for Intel, DEC and SGI processors, in integers and in floats. The take's axes are the file's.
///
/// A position is a gap where its fourth number says so (it is negative as a signed 16-bit word, which in a file of
/// floats it is cut to; NaN and what no word can hold count as well), where a coordinate is NaN or infinite, and at
/// exactly (0, 0, 0), which many programs write for a marker that they did not see. One whose residual byte is 0 is
/// Computed, every other is Measured.
///
/// Frame `n` is at (n - 1) / rate seconds, whichever number is the file's first. Analog samples are skipped. Where
/// header and parameters disagree about what lies where, those are believed with which the data fill the file; the
/// take's notes tell.
///
/// `input_rate` is the rate of a file that gives none, 100 Hz otherwise.
Take ReadC3d(std::string_view bytes, const std::string& file,
             const std::optional<FrameRate>& input_rate = std::nullopt);

/// Writes floats for Intel, in millimetres: positions in single precision, frames from the take's first to its last
/// number, those that it lacks as frames of gaps.
///
/// Measured positions keep cameras (the first seven) and residual, the latter to the nearest step of |POINT:SCALE|; at
/// least 1, and 1 without a sighting, since 0 would say Computed. Filled ones are written as computed. A position at
/// exactly (0, 0, 0) is written 1e-38 mm beside it, else it would be read as a gap. Times and the take's own name are
/// not written. What a C3D file cannot say otherwise stands in the group MIEN: TIMECODE, RATE (where single precision
/// would change it) and FIRST_FRAME (where it is below 1 or beyond 32 bits).
///
/// Throws InputError, before anything is written, for a take that does not fit: without markers or frames, with more
/// than 65535 markers, names above 255 bytes or too long together, 2^24 frames or more (those that it lacks counted), no rate, or coordinates beyond
/// single precision.
void WriteC3d(const Take& take, std::ostream& out);

} // namespace mien
