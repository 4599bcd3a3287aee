#pragma once

#include "host/formats/csv.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A column that is one coordinate of a numbered point: a name made of an axis, a number and any other text,
/// the axis before the number or behind it: "x_0", "z12", "face_landmark_0_x", "lm[0].x", "x_face_0".
struct PointColumn {
  std::string family; ///< the name without the number and the axis; equal for all points of one table
  std::size_t number = 0;
  std::size_t axis = 0;       ///< 0 to 2
  bool is_marker_csv = false; ///< spelled NAME.x, as the markers of marker CSV are
};
std::optional<PointColumn> ParsePointColumn(std::string_view name);

/// The columns of the face mesh in a table's header, found among any others.
struct MeshColumns {
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  struct Coordinate {
    std::size_t column = 0, point = 0, axis = 0;
  };
  std::vector<Coordinate> coordinates; ///< from left to right
  std::size_t points = 0;              ///< 468 or 478
  bool has_depth = true;               ///< there is a z
  std::size_t body_points = 0; ///< points of the body in front of those of the face, which are left out
};

/// Whether a header has as many numbered points as a face mesh, or nearly as many.
enum class MeshLikeness {
  No,
  AsMarkers, ///< the columns are those of marker CSV as well; the values decide
  Yes,
};
MeshLikeness LooksLikeMesh(const std::vector<std::string_view>& columns);

/// Whether a header is a row of one coordinate of a point instead: "x_0", then numbers.
bool BeginsWithPoint(const std::vector<std::string_view>& columns);

/// The line of the first coordinate in a table whose rows are the coordinates of points ("x_0" in the first
/// column) and whose columns are frames; nothing for any other table.
std::optional<std::size_t> TransposedMeshLine(std::string_view bytes);

/// Throws InputError if the number of points is not that of a mesh, or a column is missing or there twice.
MeshColumns FindMeshColumns(const CsvReader& csv);

} // namespace mien
