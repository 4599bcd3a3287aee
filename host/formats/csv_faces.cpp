#include "host/formats/csv_faces.h"

#include "host/base/text.h"

#include <fmt/format.h>

#include <string>
#include <string_view>

namespace mien {

std::optional<std::size_t> FindFaceColumn(const CsvReader& csv) {
  for (const std::string_view name : {"face_id", "face", "face_index"})
    if (const auto column = csv.Column(name)) return column;
  return std::nullopt;
}

CsvFaces::CsvFaces(const CsvReader& csv, std::optional<std::size_t> column,
                   std::optional<std::int64_t> wanted)
    : column_(column), wanted_(wanted), chosen_(wanted) {
  if (wanted && !column)
    csv.Fail(Code::Missing, "there is no column \"face_id\" to choose a face by",
             "read the file without choosing a face");
}

bool CsvFaces::IsChosen(CsvReader& csv) {
  if (!column_) return true;
  const std::int64_t face = csv.Integer(*column_);
  if (!chosen_) chosen_ = face;
  faces_.insert(face);
  if (face == *chosen_) return true;
  ++left_out_;
  return false;
}

void CsvFaces::Check(const CsvReader& csv) const {
  if (!wanted_ || faces_.empty() || faces_.contains(*wanted_)) return;
  std::vector<std::string> names;
  for (const std::int64_t face : faces_) names.push_back(std::to_string(face));
  throw InputError(Code::NotFound, csv.File(), "",
                   fmt::format("there is no {} {}", Printable(csv.Columns()[*column_]), *wanted_),
                   "those in the file are " + Some(names));
}

void CsvFaces::AppendTo(std::vector<Note>& notes, const CsvReader& csv) const {
  if (wanted_ || left_out_ == 0) return;
  notes.push_back({Code::Ignored, "",
                   fmt::format("{} faces in the file; read {} {}, left out {} of the others", faces_.size(),
                               Printable(csv.Columns()[*column_]), *chosen_, Count(left_out_, "row"))});
}

} // namespace mien
