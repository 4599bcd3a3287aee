#include "host/formats/csv_gaps.h"

#include "host/base/text.h"

#include <fmt/format.h>

namespace mien {

void CsvGaps::Add(const CsvReader& csv, std::size_t column) {
  if (++cells_ == 1) first_ = fmt::format("line {}, column {}", csv.Line(), Quoted(csv.Columns()[column]));
}

void CsvGaps::AppendTo(std::vector<Note>& notes) const {
  if (cells_ == 0) return;
  const bool one = cells_ == 1;
  notes.push_back(
      {Code::InvalidValue, "",
       fmt::format("{} {} empty, NaN or infinite and make{} gap{}, the first: {}", Count(cells_, "cell"),
                   one ? "is" : "are", one ? "s a" : "", one ? "" : "s", first_)});
}

} // namespace mien
