#include "host/takes/landmark_csv.h"

#include "host/error.h"
#include "host/takes/csv.h"
#include "host/takes/frame_times.h"

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

std::vector<std::string> MarkerNames() {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kLandmarks; ++i) names.push_back(fmt::format("lm{}", i));
  return names;
}

} // namespace

bool IsLandmarkCsv(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(), [](std::string_view name) {
    return name == "X_0" || name == "x_0" || name == "confidence" || name == "success";
  });
}

Take ReadLandmarkCsv(std::string_view bytes, const std::string& file) {
  CsvReader csv(bytes, file);

  struct Coordinate {
    std::size_t column;
    std::size_t slot; // axis * 68 + landmark
  };
  std::vector<Coordinate> coordinates;
  for (std::size_t slot = 0; slot < kAxes.size() * kLandmarks; ++slot) {
    const std::string name = fmt::format("{}_{}", kAxes[slot / kLandmarks], slot % kLandmarks);
    const std::optional<std::size_t> column = csv.Column(name);
    if (!column)
      csv.Fail(
          fmt::format("the column \"{}\" is missing", name),
          "let the tracker write its landmarks in 3D (X_0 to Z_67, in millimetres); x_0 and y_0 are pixels");
    coordinates.push_back({*column, slot});
  }
  std::sort(coordinates.begin(), coordinates.end(),
            [](const Coordinate& a, const Coordinate& b) { return a.column < b.column; });

  const std::optional<std::size_t> timestamp = csv.Column("timestamp");
  if (!timestamp)
    csv.Fail("the column \"timestamp\" is missing, as for single images",
             "let the tracker process the recording as a video, or add the column in seconds");
  const std::optional<std::size_t> frame = csv.Column("frame");
  const std::optional<std::size_t> face_id = csv.Column("face_id");
  const std::optional<std::size_t> success = csv.Column("success");

  Take take(MarkerNames());
  FrameTimes frame_times(frame, *timestamp);
  std::set<std::int64_t> faces;
  std::int64_t first_face = 0;
  std::size_t left_out = 0;
  while (csv.Next()) {
    if (face_id) {
      const std::int64_t face = csv.Integer(*face_id);
      if (faces.empty()) first_face = face;
      faces.insert(face);
      if (face != first_face) {
        ++left_out;
        continue;
      }
    }
    const std::size_t row = frame_times.AddFrame(csv, take);
    if (success && csv.Number(*success) == 0) continue; // what stands in its other columns means nothing
    std::array<double, kAxes.size() * kLandmarks> value{};
    for (const Coordinate& c : coordinates)
      value[c.slot] =
          csv.Number(c.column, "write millimetres, such as 12.5, or success 0 if the face was lost");
    for (std::size_t i = 0; i < kLandmarks; ++i) {
      const double x = value[i];
      const double y = value[kLandmarks + i];
      const double z = value[2 * kLandmarks + i];
      if (x != 0 || y != 0 || z != 0) take.Set(row, i, {x, -y, -z});
    }
  }
  if (left_out > 0)
    take.notes.push_back(fmt::format("{} faces in the file; read face_id {}, left out {} rows of the others",
                                     faces.size(), first_face, left_out));
  if (!frame) take.notes.emplace_back("no column \"frame\"; the rows are numbered from 1");
  frame_times.Finish(csv, take);
  return take;
}

void WriteLandmarkCsv(const Take& take, std::ostream& out, int decimals) {
  std::array<std::size_t, kLandmarks> marker{};
  for (std::size_t i = 0; i < kLandmarks; ++i) {
    const std::optional<std::size_t> found = take.FindMarker(fmt::format("lm{}", i));
    if (!found)
      throw InputError(take.name, "", fmt::format("the take has no marker lm{}", i),
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
