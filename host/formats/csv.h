#pragma once

#include "host/base/error.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The names in a table's header row, the first row that is not blank, without a byte order mark, blanks and
/// quotes around a name, and empty names at the end.
std::vector<std::string_view> CsvColumns(std::string_view bytes);

/// Reads a table of comma-separated numbers row by row and finds its fields by column.
///
/// Accepts LF and CRLF, a byte order mark, a missing last line end, rows without content, blanks around
/// fields, fields in quotes, and empty fields past the last column. It also reads semicolons or tabs as
/// separators, decimal commas, CR CR LF, and leaves out a last row that is cut short: Finish notes these.
/// Everything else that does not fit throws InputError with file, line and column.
///
/// Fields are read fastest from left to right; those in between are skipped.
class CsvReader {
public:
  /// Reads the header. `bytes` must outlive the reader; `file` is the name for messages.
  CsvReader(std::string_view bytes, std::string file);
  CsvReader(const CsvReader&) = delete; // a row without its quotes is kept here
  CsvReader& operator=(const CsvReader&) = delete;

  const std::string& File() const { return file_; }
  const std::vector<std::string_view>& Columns() const { return columns_; }

  /// Index of the column of this name, letter case included. Throws InputError if there are two.
  std::optional<std::size_t> Column(std::string_view name) const;

  /// Goes to the next row; false at the end. Checks that the row before had neither too few nor too many
  /// fields.
  bool Next();

  /// For a row that could not be read: if the file ends in it without a line end, the row is cut short and
  /// left out, unless it is the only one. Returns whether it was left out.
  bool LeaveOutIfCut();

  /// After the last row: adds the notes on the text. Throws InputError where commas could be decimal or
  /// separate thousands.
  void Finish(std::vector<Note>& notes) const;

  /// The current row's field without quotes and without the blanks around it. Valid until Next.
  std::string_view Text(std::size_t column);

  /// How many rows follow the current one, if they are as long: an estimate, to reserve memory.
  std::size_t LikelyRowsLeft() const { return line_.empty() ? 0 : rest_.size() / line_.size(); }

  /// The current row's line, counted from 1; before the first Next the header's.
  std::size_t Line() const { return line_number_; }

  /// The field as a number, whatever the locale. `fix` says what else could stand there.
  double Number(std::size_t column, std::string_view fix = "write a plain number, such as 12.5");

  /// The same, but nothing for an empty field, NaN for NaN in any spelling, and infinity for infinity and for
  /// numbers beyond the range of a double.
  std::optional<double> NumberIfAny(std::size_t column,
                                    std::string_view fix = "write a plain number, such as 12.5");

  /// The field as a whole number; 7.0 is one too.
  std::int64_t Integer(std::size_t column);

  /// Throws InputError at the current line, or at a column of it. Before the first Next the line is the
  /// header's.
  [[noreturn]] void Fail(Code code, std::string_view what, std::string_view fix) const;
  [[noreturn]] void FailAt(Code code, std::size_t column, std::string_view what, std::string_view fix) const;

private:
  bool SetLine(std::string_view line);
  bool Unquote(std::string_view line);
  std::size_t FieldCount() const;
  void Seek(std::size_t column);
  std::optional<double> OddNumber(std::size_t column, std::string_view fix);
  void CheckFieldCount();
  [[noreturn]] void FailShort(std::size_t column) const;

  std::string file_;
  std::vector<std::string_view> columns_;
  std::vector<std::size_t> by_name_; // the columns, sorted by their names
  std::vector<Note> header_notes_;
  std::string_view rows_;     // all of them
  std::string_view rest_;     // what follows the current line
  char separator_ = ',';      // of the file's fields
  std::size_t row_count_ = 0; // up to the current one
  std::size_t line_number_ = 0;
  std::optional<std::size_t> cut_line_;

  std::string_view line_;     // the current row, without its line end; empty before the first
  std::string unquoted_;      // what line_ is of, where the file has quotes
  char line_separator_ = ','; // of line_
  std::size_t field_ = 0;     // the column that starts at at_
  std::size_t at_ = 0;        // offset in line_; its size + 1 when there is no field_

  std::size_t comma_line_ = 0; // where the first decimal comma is; 0 without one
  std::string comma_text_;     // its number
  bool no_thousands_ = false;  // one comma cannot separate thousands
};

} // namespace mien
