#include "host/formats/csv_names.h"

#include "host/base/text.h"

#include <fmt/format.h>

namespace mien {

void CorrectedNames::Add(const CsvReader& csv, std::size_t column, std::string_view meant,
                         std::string_view remark) {
  const std::string_view name = csv.Columns()[column];
  if (name != meant) // those with a remark first: the note shows one
    corrections_.insert(
        remark.empty() ? corrections_.end() : corrections_.begin(),
        fmt::format("column {} from {} to {}{}", column + 1, Quoted(name), Quoted(meant), remark));
}

void CorrectedNames::AppendTo(std::vector<Note>& notes, const CsvReader& csv) const {
  if (!corrections_.empty())
    notes.push_back({Code::Syntax, fmt::format("line {}", csv.Line()),
                     "column names corrected: " + Some(corrections_, 1)});
}

} // namespace mien
