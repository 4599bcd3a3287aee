#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace mien {

/// TRC: tab-separated text of marker positions. A line of the file's own name, a line of keys and one of
/// their values, the marker names (one above each three columns), the labels X1, Y1, Z1, X2 ..., a blank
/// line, and then a row for each frame: its number, its time in seconds, x, y and z of each marker. The
/// three cells of an unseen marker are empty.
///
/// Whether a text is TRC: it starts with PathFileType, or one of its first three lines has the keys.
bool IsTrc(std::string_view bytes);

/// Reads TRC as programs write it. What departs from the above and needs no guess is read, with a note that
/// names the line. No note is given for letter case of keys and labels, a byte order mark, CRLF, blanks
/// around cells, "NaN" for an empty cell, empty cells at a row's end, and blank lines among the rows.
///
/// - Values are found by their keys. The number of markers follows from names and columns, the number of
///   frames from the rows. A marker without a name gets one: "marker 34". Of equal names the second becomes
///   "NAME (2)".
/// - Lines without a tab are split at runs of blanks. Their names and rows must be complete, since a blank
///   does not show a gap.
/// - A row that ends within a marker's three cells lacks one somewhere: it is a gap of all markers.
/// - A marker is also a gap where only one or two of its cells are filled, where one is infinite, where its
///   row ends before its columns do, and at exactly 0 0 0 if its nearest other position is a millimetre or
///   more from there.
/// - Decimal commas are read where no number has a point and one comma cannot be a thousands separator.
/// - Where frame numbers are missing, not whole or not rising, all of them are replaced: frames are counted
///   from the first.
/// - The rate is DataRate, or without one what the column Time gives. Frame i is at t0 + (frames[i] -
///   frames[0]) / rate, t0 the first row's Time. Where a row's Time is further from that than half a frame,
///   the times are those of the column, if they rise.
/// - Rows that are out of order are sorted by time where their numbers agree with that.
/// - A file without DataRate and times is at `input_rate`, or at 30 Hz.
/// - The last value of a file that ends within a row is left out.
///
/// Throws InputError for what cannot be read, for more than 65535 markers, and for a take that would need
/// much more memory than its file: 32 bytes for each of the file's and a megabyte.
Take ReadTrc(std::string_view bytes, const std::string& file,
             const std::optional<FrameRate>& input_rate = std::nullopt);

/// Writes the format as described first, in millimetres, so that ReadTrc gives the same gaps, frame numbers
/// and rate, and the same positions to the last bit; but for a position of exactly 0 0 0, which may be a
/// gap then. Throws InputError, before anything is written, for a take without frames or markers, and for
/// names that would not read back: empty, repeated, not UTF-8, with a tab or line end in it or a blank
/// around it.
///
/// The format has no place for whether positions are Computed or Filled, for cameras, events and timecode,
/// and for times that differ from the rate's by less than half a frame.
void WriteTrc(const Take& take, std::ostream& out);

} // namespace mien
