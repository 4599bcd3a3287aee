#pragma once

#include "host/base/error.h"
#include "host/formats/trc_header.h"
#include "host/formats/trc_text.h"
#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien::trc {

/// What all rows together say beside their positions.
struct Rows {
  std::vector<Note> notes;
  bool zeros = false; ///< there is a position 0 0 0

  /// Where the frames' own numbers are not distinct: the number to count from, and why.
  std::optional<std::int64_t> number_from;
  Note unnumbered;
  bool lacks_numbers = false; ///< in some row, whose frame is 0 in the take

  Repeated no_time; ///< rows without one; it is NaN in the take
  int decimals = 0; ///< most that a time was written with; counted only where the header has no rate
};

/// How many markers have a number in their columns, from the rows' widths.
std::size_t MarkersOfWidestRow(Lines rows);

/// Appends the rows' frames to a take that has its markers, with numbers and times as they stand there.
/// Nothing if a row has columns for more markers than the take, which is spoilt then. Throws InputError for
/// cells that cannot be read, for rows whose numbers cannot be assigned to markers, and where the rows would
/// need much more memory than the file of `file_size` bytes.
std::optional<Rows> ReadRows(const Header& header, std::size_t file_size, const std::string& file,
                             Take& take);

} // namespace mien::trc
