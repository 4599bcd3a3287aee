#include "host/compare/read_recording.h"

#include "host/base/error.h"
#include "host/formats/csv.h"
#include "host/formats/marker_csv.h"
#include "host/formats/mesh_json.h"
#include "host/weights/read_weights.h"

#include <fmt/format.h>

namespace mien {

namespace {

// Tables of weights may begin as tables of markers do, and results of a face mesh may have weights alone.
bool HasPoints(std::string_view bytes, std::string_view take_format) {
  if (take_format == "marker CSV") return HasMarkerColumns(CsvColumns(bytes));
  if (take_format == "mesh JSON") return HasFacePoints(bytes);
  return true;
}

} // namespace

RecordingContent RecordingContentOf(std::string_view bytes, const std::string& name) {
  const auto take = TakeFormatNameOf(bytes), weights = WeightLayoutNameOf(bytes);
  if (weights && !(take && HasPoints(bytes, *take))) return {RecordingKind::Animation, std::string(*weights)};
  if (take) return {RecordingKind::Take, std::string(*take)};
  // The readers of takes know what else a file may be: empty, compressed, a web page.
  try {
    ReadTake(bytes, name);
  } catch (const InputError& error) {
    if (error.Problems()[0].code != Code::UnknownFormat) throw;
  }
  throw InputError(Code::UnknownFormat, name, "", "this is neither an animation nor a take",
                   "name two files that mien solve or mien retarget wrote or that mien retarget reads, or "
                   "two takes");
}

Recording ReadRecording(std::string_view bytes, const std::string& name, const ReadOptions& options) {
  if (RecordingContentOf(bytes, name).kind == RecordingKind::Take)
    return RecordingOf(ReadTake(bytes, name, options));
  if (!options.mesh.IsDefault())
    throw InputError(Code::Usage, name, "", "an animation does not have the landmarks of a face mesh",
                     "leave out --image, --face-width and --mirrored, which are for those");
  return RecordingOf(ReadWeights(
      bytes, name, {.strict = options.strict, .face = options.face, .input_rate = options.input_rate}));
}

} // namespace mien
