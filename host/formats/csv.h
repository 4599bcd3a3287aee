#pragma once

#include "host/base/error.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The names in a comma-separated text's header row, which is its first row that is not blank; a byte order
/// mark, blanks and quotes around a name, and empty names at the end are taken off.
std::vector<std::string_view> CsvColumns(std::string_view bytes);

/// Walks a comma-separated table of numbers row by row and finds its fields by column.
///
/// Takes LF and CRLF, a byte order mark, a missing last line end, rows without content, blanks around fields
/// and empty fields past the last column. Everything else that does not fit throws InputError with file, line
/// and column.
///
/// Fields are quickest when asked for from left to right; those in between are skipped unread.
class CsvReader {
public:
  /// Reads the header. `bytes` must outlive the reader; `file` is the name for messages.
  CsvReader(std::string_view bytes, std::string file);

  const std::string& File() const { return file_; }
  const std::vector<std::string_view>& Columns() const { return columns_; }

  /// Index of the column of this name, letter case included. Throws InputError if there are two.
  std::optional<std::size_t> Column(std::string_view name) const;

  /// Goes to the next row; false at the end. The row left behind is checked for too few or too many fields.
  bool Next();

  /// The current row's field without the blanks around it.
  std::string_view Text(std::size_t column);

  /// The current row's line, counted from 1; before the first Next the header's.
  std::size_t Line() const { return line_number_; }

  /// The field as a number with a decimal point, whatever the locale. `fix` tells the user what else could
  /// stand there.
  double Number(std::size_t column, std::string_view fix = "write a plain number, such as 12.5");

  /// The same, but nothing for an empty field and a NaN for one, however it is spelt.
  std::optional<double> NumberIfAny(std::size_t column,
                                    std::string_view fix = "write a plain number, such as 12.5");

  /// The field as a whole number; 7.0 is one too.
  std::int64_t Integer(std::size_t column);

  /// Throws InputError at the current line, or at a column of it. Before the first Next that line is the
  /// header.
  [[noreturn]] void Fail(Code code, std::string_view what, std::string_view fix) const;
  [[noreturn]] void FailAt(Code code, std::size_t column, std::string_view what, std::string_view fix) const;

private:
  void Seek(std::size_t column);
  void CheckFieldCount();
  [[noreturn]] void FailShort(std::size_t column) const;

  std::string file_;
  std::vector<std::string_view> columns_;
  std::vector<std::size_t> by_name_; // the columns, sorted by their names
  std::string_view rest_;            // what follows the current line
  std::size_t line_number_ = 0;
  std::string_view line_; // the current row, without its line end; empty before the first
  std::size_t field_ = 0; // the column that starts at at_
  std::size_t at_ = 0;    // offset in line_; its size + 1 when there is no field_
};

} // namespace mien
