#include "host/formats/read_take.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/files/foreign_file.h"
#include "host/files/mapped_file.h"
#include "host/formats/c3d.h"
#include "host/formats/csv.h"
#include "host/formats/landmark_csv.h"
#include "host/formats/marker_csv.h"
#include "host/formats/mesh_columns.h"
#include "host/formats/mesh_csv.h"
#include "host/formats/mesh_json.h"
#include "host/formats/mesh_long_csv.h"
#include "host/formats/mesh_weights.h"
#include "host/formats/trc.h"
#include "host/takes/timecode.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace mien {
namespace {

struct Format {
  std::string_view name;
  std::string_view looks; // how a user recognises it
  bool (*is)(std::string_view bytes);
  Take (*read)(std::string_view bytes, const std::string& file, const ReadOptions& options);
  bool has_faces = false; // may hold several
  bool is_mesh = false;   // has landmarks of the face mesh
};

constexpr Format kFormats[] = {
    {"C3D", "optical capture, .c3d", IsC3d,
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadC3d(bytes, file, options.input_rate, options.threads);
     }},
    {"TRC", "tab-separated text that starts with PathFileType", IsTrc,
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadTrc(bytes, file, options.input_rate);
     }},
    {"mesh CSV", "columns x_0, y_0, z_0, ... of 468 or 478 landmarks", IsMeshCsv,
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadMeshCsv(bytes, file, options.face, options.input_rate, options.mesh);
     },
     true, true},
    {"long mesh CSV", "columns frame, time_s, face, landmark, x, y, z",
     [](std::string_view bytes) { return IsLongMeshCsv(CsvColumns(bytes)); },
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadLongMeshCsv(bytes, file, options.face, options.input_rate, options.mesh);
     },
     true, true},
    {"mesh JSON", "results with faceLandmarks", IsMeshJson,
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadMeshJson(bytes, file, options.face, options.input_rate, options.mesh);
     },
     true, true},
    {"landmark CSV", "columns frame, timestamp, X_0, ... Z_67",
     [](std::string_view bytes) {
       const std::vector<std::string_view> columns = CsvColumns(bytes);
       return IsLandmarkCsv(columns) && !BeginsWithPoint(columns);
     },
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadLandmarkCsv(bytes, file, options.face, options.input_rate);
     },
     true},
    {"marker CSV", "columns frame,time,NAME.x,NAME.y,NAME.z,...",
     [](std::string_view bytes) {
       const std::vector<std::string_view> columns = CsvColumns(bytes);
       return IsMarkerCsv(columns) && !IsMeshWeightsCsv(columns);
     },
     [](std::string_view bytes, const std::string& file, const ReadOptions& options) {
       return ReadMarkerCsv(bytes, file, options.input_rate);
     }},
};

// What phone face-capture apps write: Timecode, BlendShapeCount, then the shapes.
bool IsShapeWeights(const std::vector<std::string_view>& columns) {
  return columns.size() >= 2 && EqualIgnoringCase(columns[0], "timecode") &&
         EqualIgnoringCase(columns[1], "blendshapecount");
}

// Describes a table of shape weights by its timecodes, which count 60 a second at any rate of rows.
[[noreturn]] void FailShapeWeights(std::string_view bytes, const std::string& file) {
  constexpr FrameRate kClock = {60, 1};
  std::size_t lines = 0; // the header among them
  std::vector<double> times;
  while (!bytes.empty()) {
    const std::string_view line = bytes.substr(0, bytes.find('\n'));
    bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
    if (line.find_first_not_of(" \t\r,") == std::string_view::npos) continue;
    ++lines;
    double fraction = 0;
    const std::optional<Timecode> timecode =
        ParseTimecode(std::string(line.substr(0, line.find(','))), kClock, &fraction);
    if (timecode) times.push_back((static_cast<double>(timecode->count) + fraction) / kClock.Hz());
  }

  std::string what = fmt::format("these are shape weights of a face-capture app ({} rows", lines - 1);
  if (times.size() > 1) {
    constexpr double kDay = 24 * 3600;
    std::vector<double> steps;
    for (std::size_t i = 1; i < times.size(); ++i)
      steps.push_back(times[i] - times[i - 1] + (times[i] < times[i - 1] ? kDay : 0)); // past midnight
    std::vector<double> sorted = steps;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    double seconds = 0, dropped = 0;
    for (const double step : steps) {
      seconds += step;
      if (*middle > 0) dropped += std::max(std::round(step / *middle) - 1, 0.0);
    }
    what += fmt::format(" over {:.1f} s, {:.0f} frames dropped", seconds, dropped);
  }
  throw InputError(Code::Unsupported, file, "", what + "), and no markers to solve",
                   "name the take of markers, or put the weights onto a character with mien retarget");
}

[[noreturn]] void FailUnknown(std::string_view bytes, const std::string& file) {
  if (IsShapeWeights(CsvColumns(bytes))) FailShapeWeights(bytes, file);
  if (IsMeshWeightsCsv(CsvColumns(bytes))) FailMeshWeights(file);
  if (const auto line = TransposedMeshLine(bytes))
    throw InputError(Code::Unsupported, file, std::to_string(*line),
                     "the table is transposed: the row has one coordinate of a point in all frames, and a "
                     "row per frame is expected",
                     "exchange rows and columns: the first row names the coordinates, x_0,y_0,z_0,x_1,...");
  std::string formats;
  for (const Format& format : kFormats)
    formats += fmt::format("{}{} ({})", formats.empty() ? "" : ", ", format.name, format.looks);
  throw InputError(Code::UnknownFormat, file, "", "this is not a take of a known format",
                   "the formats that can be read are " + formats);
}

[[noreturn]] void FailStrictly(const Take& take) {
  std::vector<Problem> problems;
  for (const Note& note : take.notes) {
    constexpr std::string_view kLine = "line "; // a problem's place is a line's number alone
    const std::string place = note.place.substr(note.place.starts_with(kLine) ? kLine.size() : 0);
    problems.push_back({note.code, take.file, Printable(place), Printable(note.what),
                        "fix the file, or read it without --strict"});
  }
  throw InputError(std::move(problems));
}

} // namespace

std::optional<std::string_view> TakeFormatNameOf(std::string_view bytes) {
  const auto found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                  [bytes](const Format& format) { return format.is(bytes); });
  return found == std::end(kFormats) ? std::nullopt : std::optional(found->name);
}

Take ReadTake(const std::filesystem::path& path, const ReadOptions& options) {
  return ReadTake(MappedFile(path).Bytes(), path.string(), options);
}

Take ReadTake(std::string_view bytes, const std::string& name, const ReadOptions& options) {
  if (bytes.find_first_not_of(" \t\r\n") == std::string_view::npos)
    throw InputError(Code::Empty, name, "", "the file is empty", "export the take again");
  RefuseForeignFile(bytes, name, "a take", "export the take as C3D, TRC or CSV");
  for (const Format& format : kFormats) {
    if (!format.is(bytes)) continue;
    if (options.face && !format.has_faces)
      throw InputError(Code::Usage, name, "", fmt::format("{} has no faces to choose from", format.name),
                       "leave out --face, which is for landmarks of several faces");
    if (!options.mesh.IsDefault() && !format.is_mesh)
      throw InputError(Code::Usage, name, "",
                       fmt::format("{} does not have the landmarks of a face mesh", format.name),
                       "leave out --image, --face-width and --mirrored, which are for those");
    Take take = format.read(bytes, name, options);
    take.file = name;
    take.name = std::filesystem::path(name).stem().string();
    take.format = format.name;
    if (options.strict && !take.notes.empty()) FailStrictly(take);
    return take;
  }
  FailUnknown(bytes, name);
}

} // namespace mien
