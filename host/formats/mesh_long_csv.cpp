#include "host/formats/mesh_long_csv.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_faces.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_names.h"
#include "host/formats/mesh_mirror.h"
#include "host/formats/mesh_rows.h"
#include "host/formats/mesh_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <unordered_map>

namespace mien {
namespace {

constexpr std::string_view kFix = "write a row per landmark as frame,time_s,face,landmark,x,y,z";

std::optional<std::size_t> FindColumn(const std::vector<std::string_view>& columns,
                                      std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names)
    for (std::size_t c = 0; c < columns.size(); ++c)
      if (EqualIgnoringCase(columns[c], name)) return c;
  return std::nullopt;
}

std::optional<std::size_t> LandmarkColumn(const std::vector<std::string_view>& columns) {
  return FindColumn(columns, {"landmark", "landmark_id", "landmark_index", "landmark_idx", "point",
                              "point_id", "point_index"});
}

struct Columns {
  FrameColumns frames;
  std::optional<std::size_t> face;
  std::size_t landmark = 0;
  std::vector<std::size_t> axes; // x, y and, if the table has depth, z
};

Columns FindColumns(const CsvReader& csv) {
  Columns columns;
  CorrectedNames names; // no program's names are the regular ones: nothing to note
  columns.frames = FindFrameColumns(csv, "timestamp", names);
  if (!columns.frames.number && !columns.frames.time)
    csv.Fail(Code::Missing, "a row is a landmark, and there is no column \"frame\" that says of which frame",
             kFix);
  columns.face = FindFaceColumn(csv);
  columns.landmark = LandmarkColumn(csv.Columns()).value_or(0); // there is one: IsLongMeshCsv
  for (const std::string_view name : {"x", "y", "z"})           // of these IsLongMeshCsv found x and y
    if (const auto column = FindColumn(csv.Columns(), {name})) columns.axes.push_back(*column);
  return columns;
}

struct Numbering {
  std::size_t first = 0, count = 0;
};

// A take's markers are known before its first frame, so the landmarks' numbers are read ahead.
Numbering FindNumbering(std::string_view bytes, const std::string& file, std::size_t column) {
  CsvReader csv(bytes, file);
  std::int64_t least = std::numeric_limits<std::int64_t>::max(), most = -1;
  try {
    while (csv.Next())
      if (!csv.Text(column).empty()) {
        const std::int64_t landmark = csv.Integer(column);
        least = std::min(least, landmark);
        most = std::max(most, landmark);
      }
  } catch (const InputError&) {} // reported when the row is read, unless it is cut short
  for (const std::size_t count : {kMeshWithoutIrises, kMeshPoints})
    for (const std::int64_t first : {0, 1})
      if (least == first && most - first + 1 == static_cast<std::int64_t>(count))
        return {static_cast<std::size_t>(first), count};
  if (most < 0) return {0, kMeshPoints};
  throw InputError(
      Code::Unsupported, file, "",
      fmt::format("the table has landmarks {} to {}; those of the face mesh are 0 to 467 or 0 to 477, "
                  "or as many from 1",
                  least, most),
      "write all landmarks of the face mesh, and those of nothing else");
}

class RowReader {
public:
  RowReader(CsvReader& csv, const Columns& columns, const Numbering& numbering,
            std::optional<std::int64_t> face_id, const std::optional<FrameRate>& input_rate, Take& take)
      : rows_(csv, columns.frames, columns.face, face_id, input_rate, take), columns_(columns),
        numbering_(numbering) {}

  void Read() {
    rows_.Read([this] { ReadRow(); });
  }

private:
  // The frame of the current row, which other rows may have added.
  std::size_t Frame() {
    const double key = rows_.csv.Number(columns_.frames.number.value_or(columns_.frames.time.value_or(0)));
    if (const auto found = by_key_.find(key); found != by_key_.end()) return found->second;
    return by_key_.emplace(key, rows_.frames.AddFrame(rows_.csv, rows_.take)).first->second;
  }

  void ReadRow() {
    const std::size_t frame = Frame();
    if (rows_.csv.Text(columns_.landmark).empty()) return;
    const std::int64_t landmark =
        rows_.csv.Integer(columns_.landmark) - static_cast<std::int64_t>(numbering_.first);
    if (landmark < 0 || landmark >= static_cast<std::int64_t>(numbering_.count))
      rows_.csv.FailAt(Code::InvalidValue, columns_.landmark, "the landmark is not one of the face mesh",
                       kFix);
    const auto marker = static_cast<std::size_t>(landmark);
    if (rows_.take.At(frame, marker))
      rows_.csv.FailAt(Code::Duplicate, columns_.landmark,
                       fmt::format("landmark {} is in its frame twice", landmark),
                       "number the faces in a column \"face\", and give each recording its own file");

    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    std::array<double, 3> value{};
    for (std::size_t axis = 0; axis < columns_.axes.size(); ++axis)
      value[axis] = rows_.csv.NumberIfAny(columns_.axes[axis]).value_or(kNone);
    const Point p = {value[0], value[1], value[2]};
    const auto axes = static_cast<std::ptrdiff_t>(columns_.axes.size());
    const auto missing =
        std::find_if_not(value.begin(), value.end(), [](double v) { return std::isfinite(v); });
    if (IsWithinReach(p)) {
      if (p.x != 0 || p.y != 0 || p.z != 0) rows_.take.Set(frame, marker, p);
    } else if (missing == value.end()) {
      rows_.far.Add(rows_.take.markers[marker], "line", static_cast<std::int64_t>(rows_.csv.Line()));
    } else if (std::any_of(value.begin(), value.begin() + axes, [](double v) { return std::isfinite(v); })) {
      rows_.gaps.Add(rows_.csv, columns_.axes[static_cast<std::size_t>(missing - value.begin())]);
    }
  }

  MeshRows rows_;
  const Columns& columns_;
  const Numbering numbering_;
  std::unordered_map<double, std::size_t>
      by_key_; // frames by their numbers, or without numbers by their times
};

} // namespace

bool IsLongMeshCsv(const std::vector<std::string_view>& columns) {
  return LandmarkColumn(columns) && FindColumn(columns, {"x"}) && FindColumn(columns, {"y"});
}

Take ReadLongMeshCsv(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face_id,
                     const std::optional<FrameRate>& input_rate, const MeshOptions& options) {
  CsvReader csv(bytes, file);
  const Columns columns = FindColumns(csv);
  const Numbering numbering = FindNumbering(bytes, file, columns.landmark);
  Take take(MeshMarkers(numbering.count));
  RowReader(csv, columns, numbering, face_id, input_rate, take).Read();
  if (columns.frames.time)
    NoteUnlikelyUnit(take, csv.Columns()[*columns.frames.time], columns.frames.units_per_second);
  MeshToMillimetres(take, file, options);
  return take;
}

} // namespace mien
