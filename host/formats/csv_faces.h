#pragma once

#include "host/base/error.h"
#include "host/formats/csv.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace mien {

/// The column that numbers the faces: "face_id", "face" or "face_index".
std::optional<std::size_t> FindFaceColumn(const CsvReader& csv);

/// Of a table whose rows are several faces, the one that is read.
class CsvFaces {
public:
  /// `column` has the faces' numbers; nothing if the table has one face. `wanted` is the user's face; without
  /// it the first row's is read. Throws InputError if a face is wanted and there is no column.
  CsvFaces(const CsvReader& csv, std::optional<std::size_t> column, std::optional<std::int64_t> wanted);

  /// Whether the current row is of the face that is read.
  bool IsChosen(CsvReader& csv);

  /// After the last row. Throws InputError if the table does not have the wanted face.
  void Check(const CsvReader& csv) const;

  /// Notes other faces, unless the user chose.
  void AppendTo(std::vector<Note>& notes, const CsvReader& csv) const;

private:
  const std::optional<std::size_t> column_;
  const std::optional<std::int64_t> wanted_;
  std::optional<std::int64_t> chosen_;
  std::set<std::int64_t> faces_; // in the file
  std::size_t left_out_ = 0;     // rows of other faces
};

} // namespace mien
