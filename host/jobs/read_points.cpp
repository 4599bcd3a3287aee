#include "host/jobs/read_points.h"

#include "host/formats/csv.h"
#include "host/formats/landmark_csv.h"
#include "host/formats/mesh_weights.h"
#include "host/weights/read_weights.h"

#include <algorithm>

namespace mien {

Take ReadPoints(std::string_view bytes, const std::string& name, const ReadOptions& options) {
  try {
    return ReadTake(bytes, name, options);
  } catch (const InputError& error) {
    const std::vector<Problem>& problems = error.Problems();
    const bool is_named = std::any_of(problems.begin(), problems.end(), [](const Problem& problem) {
      return problem.code == Code::Unsupported || problem.code == Code::Usage;
    });
    const std::optional<std::string_view> format = TakeFormatNameOf(bytes);
    const bool any_table = !format ||
                           *format == "marker CSV" || // which any table that begins with frame,time is
                           (*format == "landmark CSV" && !HasLandmarks(CsvColumns(bytes)));
    if (!is_named && any_table && HasKnownWeights(bytes)) FailMeshWeights(name);
    throw;
  }
}

} // namespace mien
