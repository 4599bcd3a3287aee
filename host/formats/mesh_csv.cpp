#include "host/formats/mesh_csv.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_names.h"
#include "host/formats/mesh_columns.h"
#include "host/formats/mesh_rows.h"
#include "host/formats/mesh_times.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace mien {
namespace {

// Markers of marker CSV are in millimetres, which a face does not have within 2 mm of the origin: such points
// are parts of an image. The first row with numbers decides.
bool HasPartsOfAnImage(std::string_view bytes) {
  try {
    CsvReader csv(bytes, "");
    const MeshColumns mesh = FindMeshColumns(csv);
    while (csv.Next()) {
      std::size_t count = 0, parts = 0;
      for (const MeshColumns::Coordinate& c : mesh.coordinates)
        if (const auto value = csv.NumberIfAny(c.column); value && !std::isnan(*value)) {
          ++count;
          if (*value >= -1 && *value <= 2) ++parts;
        }
      if (count > 0) return parts == count;
    }
  } catch (const InputError&) {} // marker CSV reports it
  return false;
}

class RowReader {
public:
  RowReader(CsvReader& csv, const MeshColumns& mesh, const FrameColumns& frames,
            std::optional<std::int64_t> face_id, const std::optional<FrameRate>& input_rate, Take& take)
      : rows_(csv, frames, FindFaceColumn(csv), face_id, input_rate, take), mesh_(mesh), values_(mesh.points),
        column_of_(mesh.points) {
    for (const MeshColumns::Coordinate& c : mesh.coordinates) column_of_[c.point][c.axis] = c.column;
  }

  void Read() {
    rows_.Read([this] { ReadRow(); });
  }

private:
  void ReadRow() {
    const std::size_t frame = rows_.frames.AddFrame(rows_.csv, rows_.take);
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr std::string_view kFix =
        "write a part of the image, such as 0.5, or leave all fields of a lost face empty";
    for (const MeshColumns::Coordinate& c : mesh_.coordinates)
      values_[c.point][c.axis] = rows_.csv.NumberIfAny(c.column, kFix).value_or(kNone);
    for (std::size_t point = 0; point < mesh_.points; ++point) {
      const auto& [x, y, z] = values_[point];
      if (!IsWithinReach({x, y, z}))
        NoteGap(point);
      else if (x != 0 || y != 0 || z != 0)
        rows_.take.Set(frame, point, {x, y, z});
    }
  }

  // A point with a coordinate that is not a number or too large. One without any coordinate is simply lost.
  void NoteGap(std::size_t point) {
    std::size_t missing = 0;
    std::size_t first = 0; // axis
    const std::size_t axes = mesh_.has_depth ? 3 : 2;
    for (std::size_t axis = 0; axis < axes; ++axis)
      if (!std::isfinite(values_[point][axis]) && missing++ == 0) first = axis;
    if (missing == axes) return;
    if (missing == 0) {
      rows_.far.Add(rows_.take.markers[point], "line", static_cast<std::int64_t>(rows_.csv.Line()));
      return;
    }
    rows_.gaps.Add(rows_.csv, column_of_[point][first]);
  }

  MeshRows rows_;
  const MeshColumns& mesh_;
  std::vector<std::array<double, 3>> values_; // of the row; z stays 0 in a table without depth
  std::vector<std::array<std::size_t, 3>> column_of_;
};

} // namespace

bool IsMeshCsv(std::string_view bytes) {
  const MeshLikeness likeness = LooksLikeMesh(CsvColumns(bytes));
  return likeness == MeshLikeness::Yes || (likeness == MeshLikeness::AsMarkers && HasPartsOfAnImage(bytes));
}

Take ReadMeshCsv(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face_id,
                 const std::optional<FrameRate>& input_rate, const MeshOptions& options) {
  CsvReader csv(bytes, file);
  const MeshColumns mesh = FindMeshColumns(csv);
  Take take(MeshMarkers(mesh.points));
  CorrectedNames names; // no program's names are the regular ones: nothing to note
  const FrameColumns frames = FindFrameColumns(csv, "timestamp", names);
  if (mesh.body_points > 0)
    take.notes.push_back({Code::Ignored, "",
                          fmt::format("the first {} of {} points are of the body; left out", mesh.body_points,
                                      mesh.body_points + mesh.points)});
  RowReader(csv, mesh, frames, face_id, input_rate, take).Read();
  if (frames.time) NoteUnlikelyUnit(take, csv.Columns()[*frames.time], frames.units_per_second);
  MeshToMillimetres(take, file, options);
  return take;
}

} // namespace mien
