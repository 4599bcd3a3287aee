#pragma once

#include "host/base/error.h"
#include "host/formats/csv.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// Cells that make gaps because they hold no finite number, counted for one note.
class CsvGaps {
public:
  /// Adds a cell of the current row.
  void Add(const CsvReader& csv, std::size_t column);

  void AppendTo(std::vector<Note>& notes) const;

private:
  std::size_t cells_ = 0;
  std::string first_;
};

} // namespace mien
