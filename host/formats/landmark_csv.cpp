#include "host/formats/landmark_csv.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {
namespace {

constexpr std::size_t kLandmarks = 68;
constexpr std::string_view kAxes = "XYZ";
constexpr std::string_view kPixelAxes = "xy";
constexpr double kLeastConfidence = 0.5;

std::vector<std::string> MarkerNames() {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kLandmarks; ++i) names.push_back(fmt::format("lm{}", i));
  return names;
}

std::string ColumnName(char axis, std::size_t landmark) { return fmt::format("{}_{}", axis, landmark); }

struct Coordinate {
  std::size_t column;
  std::size_t slot; // axis * 68 + landmark
};

// Whether there is a column "X_0", "Y_17" ... of these axes.
bool HasAny(const CsvReader& csv, std::string_view axes) {
  return std::any_of(csv.Columns().begin(), csv.Columns().end(), [axes](std::string_view name) {
    return name.size() >= 3 && axes.find(name[0]) != std::string_view::npos && name[1] == '_' &&
           name[2] >= '0' && name[2] <= '9';
  });
}

// Where each landmark stands in a row, from left to right.
std::vector<Coordinate> Coordinates(const CsvReader& csv, std::string_view axes) {
  constexpr std::string_view kFix = "let the tracker write its landmarks in 3D (X_0 to Z_67, in "
                                    "millimetres), or at least in 2D (x_0 to y_67)";
  if (!HasAny(csv, axes)) csv.Fail(Code::Missing, "the table holds no landmarks", kFix);
  std::vector<Coordinate> coordinates;
  for (std::size_t slot = 0; slot < axes.size() * kLandmarks; ++slot) {
    const std::string name = ColumnName(axes[slot / kLandmarks], slot % kLandmarks);
    const std::optional<std::size_t> column = csv.Column(name);
    if (!column) csv.Fail(Code::Missing, fmt::format("the column {} is missing", Quoted(name)), kFix);
    coordinates.push_back({*column, slot});
  }
  std::sort(coordinates.begin(), coordinates.end(),
            [](const Coordinate& a, const Coordinate& b) { return a.column < b.column; });
  return coordinates;
}

// Where a table has what is read.
struct Columns {
  bool has_depth = false;              // millimetres in 3D; otherwise pixels
  std::vector<Coordinate> coordinates; // from left to right
  std::size_t timestamp = 0;
  std::optional<std::size_t> frame, face, success;
  std::optional<std::size_t> confidence; // only where success is missing
};

Columns FindColumns(const CsvReader& csv, bool face_is_chosen) {
  Columns columns;
  columns.has_depth = HasAny(csv, kAxes);
  columns.coordinates = Coordinates(csv, columns.has_depth ? kAxes : kPixelAxes);
  const std::optional<std::size_t> timestamp = csv.Column("timestamp");
  if (!timestamp)
    csv.Fail(Code::Missing, "the column \"timestamp\" is missing, as for single images",
             "let the tracker process the recording as a video, or add the column in seconds");
  columns.timestamp = *timestamp;
  columns.frame = csv.Column("frame");
  columns.face = csv.Column("face_id");
  if (face_is_chosen && !columns.face)
    csv.Fail(Code::Missing, "there is no column \"face_id\" to choose a face by",
             "read the file without choosing a face");
  columns.success = csv.Column("success");
  if (!columns.success) columns.confidence = csv.Column("confidence");
  return columns;
}

// The positions of the current row's landmarks.
void ReadLandmarks(CsvReader& csv, const Columns& columns, Take& take, std::size_t frame) {
  const std::string_view fix = columns.has_depth
                                   ? "write millimetres, such as 12.5, or success 0 if the face was lost"
                                   : "write pixels, such as 12.5, or success 0 if the face was lost";
  std::array<double, kAxes.size() * kLandmarks> value{};
  for (const Coordinate& c : columns.coordinates) value[c.slot] = csv.Number(c.column, fix);
  for (std::size_t i = 0; i < kLandmarks; ++i) {
    const double x = value[i];
    const double y = value[kLandmarks + i];
    const double z = value[2 * kLandmarks + i];
    if (x != 0 || y != 0 || z != 0) take.Set(frame, i, {x, -y, columns.has_depth ? -z : 0});
  }
}

std::vector<std::string> FaceNames(const std::set<std::int64_t>& faces) {
  std::vector<std::string> names;
  for (const std::int64_t face : faces) names.push_back(std::to_string(face));
  return names;
}

// What the rows held beside the face that was read.
struct Others {
  std::set<std::int64_t> faces; // that one among them
  std::size_t left_out = 0;     // rows of other faces
  std::size_t doubtful = 0;     // rows without enough confidence
};

void NoteOthers(const Others& others, const Columns& columns, std::optional<std::int64_t> face_id,
                std::optional<std::int64_t> chosen, std::vector<Note>& notes) {
  const auto note = [&](Code code, std::string what) { notes.push_back({code, "", std::move(what)}); };
  if (!face_id && others.left_out > 0)
    note(Code::Ignored, fmt::format("{} faces in the file; read face_id {}, left out {} of the others",
                                    others.faces.size(), *chosen, Count(others.left_out, "row")));
  if (!columns.has_depth)
    note(Code::Missing, "the landmarks are in pixels, of unknown depth: turns of the head will show up as "
                        "expression");
  if (!columns.frame) note(Code::Assumed, "no column \"frame\"; the rows are numbered from 1");
  if (others.doubtful > 0)
    note(Code::Doubtful,
         fmt::format("no column \"success\"; {} with a confidence below {} {}", Count(others.doubtful, "row"),
                     kLeastConfidence, others.doubtful == 1 ? "is a gap" : "are gaps"));
}

} // namespace

bool IsLandmarkCsv(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(), [](std::string_view name) {
    return name == "X_0" || name == "x_0" || name == "confidence" || name == "success";
  });
}

Take ReadLandmarkCsv(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face_id) {
  CsvReader csv(bytes, file);
  const Columns columns = FindColumns(csv, face_id.has_value());
  Take take(MarkerNames());
  take.axes = "+y up, along +z out of a face that looks at the camera";
  take.unit = columns.has_depth ? "mm" : "px";
  CsvFrames frames(columns.frame, columns.timestamp);
  std::optional<std::int64_t> chosen = face_id;
  Others others;
  while (csv.Next()) {
    if (columns.face) {
      const std::int64_t face = csv.Integer(*columns.face);
      if (!chosen) chosen = face;
      others.faces.insert(face);
      if (face != *chosen) {
        ++others.left_out;
        continue;
      }
    }
    const std::size_t frame = frames.AddFrame(csv, take);
    if (columns.success && csv.Number(*columns.success) == 0)
      continue; // what stands in its other columns means nothing
    if (columns.confidence && csv.Number(*columns.confidence) < kLeastConfidence)
      ++others.doubtful;
    else
      ReadLandmarks(csv, columns, take, frame);
  }
  if (face_id && !others.faces.empty() && !others.faces.contains(*face_id))
    throw InputError(Code::NotFound, file, "", fmt::format("there is no face_id {}", *face_id),
                     "those in the file are " + Some(FaceNames(others.faces)));
  NoteOthers(others, columns, face_id, chosen, take.notes);
  frames.SetRate(csv, take);
  return take;
}

void WriteLandmarkCsv(const Take& take, std::ostream& out, int decimals) {
  std::array<std::size_t, kLandmarks> marker{};
  for (std::size_t i = 0; i < kLandmarks; ++i) {
    const std::optional<std::size_t> found = take.FindMarker(fmt::format("lm{}", i));
    if (!found)
      throw InputError(Code::Missing, take.name, "", fmt::format("the take has no marker lm{}", i),
                       "landmark CSV needs the markers lm0 to lm67; write marker CSV instead");
    marker[i] = *found;
  }

  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "frame, timestamp, confidence, success");
  for (const char axis : kAxes)
    for (std::size_t i = 0; i < kLandmarks; ++i) fmt::format_to(to, ", {}_{}", axis, i);
  text.push_back('\n');
  for (std::size_t row = 0; row < take.FrameCount(); ++row) {
    const bool seen =
        std::any_of(marker.begin(), marker.end(), [&](std::size_t m) { return take.At(row, m); });
    fmt::format_to(to, "{}, {:.{}f}, {}, {}", take.frames[row], take.times[row], std::max(decimals, 3),
                   seen ? "0.98" : "0.00", seen ? 1 : 0);
    for (const char axis : kAxes)
      for (const std::size_t m : marker) {
        const Point* p = take.At(row, m);
        const double value = !p ? 0 : axis == 'X' ? p->x : axis == 'Y' ? -p->y : -p->z;
        fmt::format_to(to, ", {:.{}f}", value, decimals);
      }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
