#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Marker CSV, this project's own plain table: a header `frame,time,NAME.x,NAME.y,NAME.z,...` and one row per
/// frame, with whole frame numbers, seconds and millimetres in any right-handed axes. A marker that was not
/// seen has three empty fields. Names may hold blanks and dots, not commas.
///
/// A column `timecode@RATE` ("timecode@25") may come before the markers, or `timecode`, which counts at the
/// take's own rate or, above 60 Hz, at the largest whole part of it up to 60. Its first field is the take's
/// timecode, without a fraction of a count; the others are only compared with it.
///
/// Columns of gaze (gaze_columns.h) may come before the markers or behind them.
///
/// Read with a note: `Frame#`, `TIME`, `time_ms` and the like, or no such column (csv_frames.h); `.X`, blanks
/// around that dot, and `_x`, `:x` or ` x`; a marker with one or two fields that are empty, or any that is
/// NaN or infinite, which is a gap; timecodes more than one count away from what follows from the first.
bool IsMarkerCsv(const std::vector<std::string_view>& columns);

/// Whether there is a column of a marker. A table of other things may begin with frames and times as well.
bool HasMarkerColumns(const std::vector<std::string_view>& columns);

/// `input_rate` is the rate of a table without times.
Take ReadMarkerCsv(std::string_view bytes, const std::string& file,
                   const std::optional<FrameRate>& input_rate = std::nullopt);

/// Writes numbers with the fewest digits that read back to the same doubles, and the timecode if the take has
/// one. Throws InputError for two markers of one name and for names that a header cannot hold. The rate is
/// not written: readers find it from the times.
void WriteMarkerCsv(const Take& take, std::ostream& out);

} // namespace mien
