#include "host/formats/landmark_csv.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/frame_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>
#include <set>

namespace mien {
namespace {

constexpr std::size_t kLandmarks = 68;
constexpr std::string_view kAxes = "XYZ";
constexpr std::string_view kPixelAxes = "xy";

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
  if (!HasAny(csv, axes)) csv.Fail("the table holds no landmarks", kFix);
  std::vector<Coordinate> coordinates;
  for (std::size_t slot = 0; slot < axes.size() * kLandmarks; ++slot) {
    const std::string name = ColumnName(axes[slot / kLandmarks], slot % kLandmarks);
    const std::optional<std::size_t> column = csv.Column(name);
    if (!column) csv.Fail(fmt::format("the column {} is missing", Quoted(name)), kFix);
    coordinates.push_back({*column, slot});
  }
  std::sort(coordinates.begin(), coordinates.end(),
            [](const Coordinate& a, const Coordinate& b) { return a.column < b.column; });
  return coordinates;
}

std::vector<std::string> FaceNames(const std::set<std::int64_t>& faces) {
  std::vector<std::string> names;
  for (const std::int64_t face : faces) names.push_back(std::to_string(face));
  return names;
}

} // namespace

bool IsLandmarkCsv(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(), [](std::string_view name) {
    return name == "X_0" || name == "x_0" || name == "confidence" || name == "success";
  });
}

Take ReadLandmarkCsv(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face_id) {
  CsvReader csv(bytes, file);
  const bool has_depth = HasAny(csv, kAxes);
  const std::vector<Coordinate> coordinates = Coordinates(csv, has_depth ? kAxes : kPixelAxes);
  const std::optional<std::size_t> timestamp = csv.Column("timestamp");
  if (!timestamp)
    csv.Fail("the column \"timestamp\" is missing, as for single images",
             "let the tracker process the recording as a video, or add the column in seconds");
  const std::optional<std::size_t> frame = csv.Column("frame");
  const std::optional<std::size_t> face_column = csv.Column("face_id");
  if (face_id && !face_column)
    csv.Fail("there is no column \"face_id\" to choose a face by", "read the file without choosing a face");
  const std::optional<std::size_t> success = csv.Column("success");
  const std::optional<std::size_t> confidence = success ? std::nullopt : csv.Column("confidence");
  constexpr double kLeastConfidence = 0.5;
  const std::string_view fix = has_depth
                                   ? "write millimetres, such as 12.5, or success 0 if the face was lost"
                                   : "write pixels, such as 12.5, or success 0 if the face was lost";

  Take take(MarkerNames());
  take.axes = "+y up, along +z out of a face that looks at the camera";
  take.unit = has_depth ? "mm" : "px";
  FrameTimes frame_times(frame, *timestamp);
  std::set<std::int64_t> faces;
  std::optional<std::int64_t> chosen = face_id;
  std::size_t left_out = 0, doubtful = 0;
  while (csv.Next()) {
    if (face_column) {
      const std::int64_t face = csv.Integer(*face_column);
      if (!chosen) chosen = face;
      faces.insert(face);
      if (face != *chosen) {
        ++left_out;
        continue;
      }
    }
    const std::size_t row = frame_times.AddFrame(csv, take);
    if (success && csv.Number(*success) == 0) continue; // what stands in its other columns means nothing
    if (confidence && csv.Number(*confidence) < kLeastConfidence) {
      ++doubtful;
      continue;
    }
    std::array<double, kAxes.size() * kLandmarks> value{};
    for (const Coordinate& c : coordinates) value[c.slot] = csv.Number(c.column, fix);
    for (std::size_t i = 0; i < kLandmarks; ++i) {
      const double x = value[i];
      const double y = value[kLandmarks + i];
      const double z = value[2 * kLandmarks + i];
      if (x != 0 || y != 0 || z != 0) take.Set(row, i, {x, -y, has_depth ? -z : 0});
    }
  }

  if (face_id && !faces.empty() && !faces.contains(*face_id))
    throw InputError(Code::NotFound, file, "", fmt::format("there is no face_id {}", *face_id),
                     "those in the file are " + Some(FaceNames(faces)));
  if (!face_id && left_out > 0)
    take.notes.push_back(fmt::format("{} faces in the file; read face_id {}, left out {} rows of the others",
                                     faces.size(), *chosen, left_out));
  if (!has_depth)
    take.notes.emplace_back(
        "the landmarks are in pixels, of unknown depth: turns of the head will show up as "
        "expression");
  if (!frame) take.notes.emplace_back("no column \"frame\"; the rows are numbered from 1");
  if (doubtful > 0)
    take.notes.push_back(fmt::format("no column \"success\"; {} rows with a confidence below {} are gaps",
                                     doubtful, kLeastConfidence));
  frame_times.Finish(csv, take);
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
