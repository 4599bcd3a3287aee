#pragma once

#include "host/base/error.h"
#include "host/formats/csv.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The column names of a table that are read as others, for one note.
class CorrectedNames {
public:
  /// Takes up a column unless its name is `meant` to the letter; `remark` goes behind that.
  void Add(const CsvReader& csv, std::size_t column, std::string_view meant, std::string_view remark = "");

  /// Before the first row.
  void AppendTo(std::vector<Note>& notes, const CsvReader& csv) const;

private:
  std::vector<std::string> corrections_;
};

} // namespace mien
