#pragma once

#include "host/base/error.h"
#include "host/formats/csv.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Column names that are read as other names, collected for one note.
class CorrectedNames {
public:
  /// Adds a column unless its name equals `meant`, the regular one. `remark` follows it in the note.
  void Add(const CsvReader& csv, std::size_t column, std::string_view meant, std::string_view remark = "");

  /// Before the first row.
  void AppendTo(std::vector<Note>& notes, const CsvReader& csv) const;

private:
  std::vector<std::string> corrections_;
};

} // namespace mien
