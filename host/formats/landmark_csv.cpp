#include "host/formats/landmark_csv.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_faces.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_gaps.h"
#include "host/formats/csv_names.h"
#include "host/formats/gaze_columns.h"
#include "host/takes/far_positions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
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

// The landmark that a column "X_0", "Y_17" ... of one of these axes is of.
std::optional<std::size_t> LandmarkOf(std::string_view column, std::string_view axes) {
  if (column.size() < 3 || axes.find(column[0]) == std::string_view::npos || column[1] != '_')
    return std::nullopt;
  std::size_t landmark = 0;
  const char* const end = column.data() + column.size();
  const auto [stop, error] = std::from_chars(column.data() + 2, end, landmark);
  return stop == end && error == std::errc() ? std::optional(landmark) : std::nullopt;
}

// All that the table has of these axes, in rising order.
std::set<std::size_t> LandmarksOf(const CsvReader& csv, std::string_view axes) {
  std::set<std::size_t> landmarks;
  for (const std::string_view column : csv.Columns())
    if (const auto landmark = LandmarkOf(column, axes)) landmarks.insert(*landmark);
  return landmarks;
}

// Where each landmark stands in a row, from left to right.
std::vector<Coordinate> Coordinates(const CsvReader& csv, std::string_view axes) {
  constexpr std::string_view kFix = "let the tracker write its landmarks in 3D (X_0 to Z_67, in "
                                    "millimetres), or at least in 2D (x_0 to y_67)";
  const std::set<std::size_t> landmarks = LandmarksOf(csv, axes);
  if (landmarks.empty()) csv.Fail(Code::Missing, "the table holds no landmarks", kFix);
  if (*landmarks.rbegin() >= kLandmarks) // another scheme, in which the first 68 are other places of the face
    csv.Fail(Code::Unsupported,
             fmt::format("the table has {} landmarks, {} to {}, and only the scheme of 68 is known, 0 to 67",
                         landmarks.size(), *landmarks.begin(), *landmarks.rbegin()),
             "let the tracker write 68 landmarks, or write those that you need as marker CSV");
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

// The columns that are read.
struct Columns {
  bool has_depth = false;              // millimetres in 3D; otherwise pixels
  std::vector<Coordinate> coordinates; // from left to right
  FrameColumns frames;
  GazeColumns gaze;
  std::optional<std::size_t> face, success;
  std::optional<std::size_t> confidence; // only where success is missing
};

Columns FindColumns(const CsvReader& csv, std::vector<Note>& notes) {
  Columns columns;
  columns.has_depth = !LandmarksOf(csv, kAxes).empty();
  columns.coordinates = Coordinates(csv, columns.has_depth ? kAxes : kPixelAxes);
  CorrectedNames corrected;
  columns.frames = FindFrameColumns(csv, "timestamp", corrected);
  corrected.AppendTo(notes, csv);
  if (!columns.frames.number && !columns.frames.time && csv.Column("face"))
    csv.Fail(Code::Missing, "the rows are the faces of single images: there is no column \"timestamp\"",
             "let the tracker process the recording as a video, or add the column in seconds");
  columns.gaze = GazeColumns(csv);
  columns.face = csv.Column("face_id");
  columns.success = csv.Column("success");
  if (!columns.success) columns.confidence = csv.Column("confidence");
  return columns;
}

// Reads the rows, and notes after the last one what else they held.
class RowReader {
public:
  RowReader(CsvReader& csv, const Columns& columns, std::optional<std::int64_t> face_id,
            const std::optional<FrameRate>& input_rate, Take& take)
      : csv_(csv), columns_(columns), take_(take), faces_(csv, columns.face, face_id),
        frames_(csv, columns.frames, input_rate) {}

  void Read() {
    while (csv_.Next()) {
      try {
        ReadRow();
      } catch (const InputError&) {
        if (!frames_.LeaveOutIfCut(csv_, take_)) throw;
      }
    }
    faces_.Check(csv_);
    csv_.Finish(take_.notes);
    NoteRows();
    frames_.Finish(csv_, take_, kFastestVideoHz);
  }

private:
  void ReadRow() {
    if (!faces_.IsChosen(csv_)) return;
    const std::size_t frame = frames_.AddFrame(csv_, take_);
    // The other columns of a face that was lost mean nothing.
    if (columns_.success && !(Cell(*columns_.success).value_or(0) != 0)) return;
    if (columns_.confidence && !(Cell(*columns_.confidence).value_or(0) >= kLeastConfidence))
      ++doubtful_;
    else
      ReadFace(frame);
  }

  // Nothing for a cell that is empty or NaN.
  std::optional<double> Cell(std::size_t column) {
    const std::optional<double> value = csv_.NumberIfAny(column);
    if (value && !std::isnan(*value)) return value;
    gaps_.Add(csv_, column);
    return std::nullopt;
  }

  void ReadFace(std::size_t frame) {
    if (columns_.gaze.Axes()) take_.gaze[frame] = columns_.gaze.Read(csv_);
    ReadLandmarks(frame);
  }

  void ReadLandmarks(std::size_t frame) {
    const std::string_view fix = columns_.has_depth
                                     ? "write millimetres, such as 12.5, or success 0 if the face was lost"
                                     : "write pixels, such as 12.5, or success 0 if the face was lost";
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    std::array<double, kAxes.size() * kLandmarks> value{};
    for (const Coordinate& c : columns_.coordinates)
      value[c.slot] = csv_.NumberIfAny(c.column, fix).value_or(kNone);
    for (std::size_t i = 0; i < kLandmarks; ++i) {
      const Point p = {value[i], -value[kLandmarks + i], columns_.has_depth ? -value[2 * kLandmarks + i] : 0};
      if (!IsWithinReach(p))
        NoteGap(value, i);
      else if (p.x != 0 || p.y != 0 || p.z != 0)
        take_.Set(frame, i, p);
    }
  }

  // A landmark with a coordinate that is not a number or too large.
  void NoteGap(std::span<const double> value, std::size_t landmark) {
    bool any_missing = false;
    for (const Coordinate& c : columns_.coordinates)
      if (c.slot % kLandmarks == landmark && !std::isfinite(value[c.slot])) {
        gaps_.Add(csv_, c.column);
        any_missing = true;
      }
    if (!any_missing) far_.Add(take_.markers[landmark], "line", static_cast<std::int64_t>(csv_.Line()));
  }

  void NoteRows() {
    const auto note = [&](Code code, std::string what) {
      take_.notes.push_back({code, "", std::move(what)});
    };
    faces_.AppendTo(take_.notes, csv_);
    if (!columns_.has_depth)
      note(Code::Missing, "the landmarks are in pixels, of unknown depth: turns of the head will show up as "
                          "expression");
    if (doubtful_ > 0)
      note(Code::Doubtful,
           fmt::format("no column \"success\"; {} with a confidence below {} {}", Count(doubtful_, "row"),
                       kLeastConfidence, doubtful_ == 1 ? "is a gap" : "are gaps"));
    gaps_.AppendTo(take_.notes);
    far_.AppendTo(take_.notes);
  }

  CsvReader& csv_;
  const Columns& columns_;
  Take& take_;
  CsvFaces faces_;
  CsvFrames frames_;
  std::size_t doubtful_ = 0; // rows without enough confidence
  CsvGaps gaps_;
  FarPositions far_;
};

} // namespace

bool IsLandmarkCsv(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(), [](std::string_view name) {
    return name == "X_0" || name == "x_0" || name == "confidence" || name == "success";
  });
}

bool HasLandmarks(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(),
                     [](std::string_view name) { return name == "X_0" || name == "x_0"; });
}

Take ReadLandmarkCsv(std::string_view bytes, const std::string& file, std::optional<std::int64_t> face_id,
                     const std::optional<FrameRate>& input_rate) {
  CsvReader csv(bytes, file);
  Take take(MarkerNames());
  const Columns columns = FindColumns(csv, take.notes);
  take.axes = "+y up, along +z out of a face that looks at the camera";
  take.unit = columns.has_depth ? "mm" : "px";
  take.gaze_axes = columns.gaze.Axes();
  RowReader(csv, columns, face_id, input_rate, take).Read();
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
