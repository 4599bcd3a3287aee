#pragma once

#include "host/weights/weight_take.h"

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The CSV of phone face-capture apps: Timecode, BlendShapeCount, a column per shape, then the angles of head
/// and eyes, in radians; columns in any order and spelling.
///
/// Timecode is HH:MM:SS:FF.fff with 60 counts per second whatever the rate of the rows. The times follow from
/// it, past midnight too; frames are numbered from 1, such that dropped rows skip numbers. A row at the time
/// of the row before is left out, with a note.
bool IsPhoneCsv(const std::vector<std::string_view>& columns);

/// Throws InputError with the line for timecodes that cannot be read or that fall.
WeightTake ReadPhoneCsv(std::string_view bytes, const std::string& file);

} // namespace mien
