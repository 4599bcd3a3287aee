#include "host/jobs/compare_job.h"

#include "host/base/text.h"
#include "host/compare/comparison_csv.h"
#include "host/compare/read_recording.h"
#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/write_view.h"
#include "host/view/comparison_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace mien {

namespace {

void CheckPlaces(const CompareJob& job) {
  RefuseReadingTwice({{"A", job.a}, {"B", job.b}});
  for (const auto& [place, setting] : {std::pair(&job.output, "output"), std::pair(&job.view, "view")}) {
    if (place->empty()) continue;
    RefuseOverwriting(*place, job.a, "A", setting);
    RefuseOverwriting(*place, job.b, "B", setting);
    CheckWritable(*place);
  }
  if (job.view.empty()) return;
  CheckViewer("view");
  if (!job.output.empty() && IsSamePlace(job.view, job.output))
    throw UsageError("view", "this is the output itself");
}

/// "an animation (score CSV)"
std::string Called(const RecordingContent& content) {
  return fmt::format("{} ({})", content.kind == RecordingKind::Take ? "a take" : "an animation",
                     content.format);
}

void CheckKinds(const CompareJob& job, const MappedFile& a, const MappedFile& b) {
  const RecordingContent of_a = RecordingContentOf(a.Bytes(), InputName(job.a));
  const RecordingContent of_b = RecordingContentOf(b.Bytes(), InputName(job.b));
  if (of_a.kind == of_b.kind) return;
  throw InputError(
      Code::Contradiction, "", "",
      fmt::format("{} is {}, and {} is {}", InputName(job.a), Called(of_a), InputName(job.b), Called(of_b)),
      "name two animations or two takes; mien solve makes an animation of a take");
}

std::vector<Problem> AboveLimit(const Comparison& comparison, double limit) {
  const auto above = [&](const Comparison::Pair& pair) {
    return pair.difference.compared > 0 && Size(comparison.a.curves[pair.a], pair.difference.largest) > limit;
  };
  const auto count =
      static_cast<std::size_t>(std::count_if(comparison.pairs.begin(), comparison.pairs.end(), above));
  if (count == 0) return {};
  const Comparison::Pair& worst = comparison.pairs[0];
  const Curve& curve = comparison.a.curves[worst.a];
  const CurveDifference& difference = worst.difference;
  const std::string timecode = comparison.a.TimecodeAt(difference.largest_frame);
  std::string what =
      fmt::format("{} differs by {:.6g}{}{}", FullName(curve), difference.largest,
                  curve.unit.empty() ? "" : " " + curve.unit, timecode.empty() ? "" : " at " + timecode);
  if (curve.unit == "deg") what += fmt::format(", {:.6g} radians", Size(curve, difference.largest));
  what += fmt::format(", above the limit of {}", limit);
  if (count > 1) what += fmt::format("; {} above it", Count(count, "curve") + " are");
  return {{Code::Limit, comparison.b.file,
           fmt::format("frame {}", comparison.a.frames[difference.largest_frame]), what, ""}};
}

} // namespace

CompareResult Run(const CompareJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  Recording a, b;
  {
    const MappedFile file_a(job.a, ReadingProgress(progress)), file_b(job.b, ReadingProgress(progress));
    CheckKinds(job, file_a, file_b);
    a = ReadRecording(file_a.Bytes(), InputName(job.a), job.reading);
    b = ReadRecording(file_b.Bytes(), InputName(job.b), job.reading);
  }
  CompareResult result{Compare(std::move(a), std::move(b), job.align), {}};
  if (!job.output.empty())
    WriteWhole(job.output, [&](std::ostream& out) { WriteComparisonCsv(result.comparison, out); });
  if (!job.view.empty()) {
    ViewPage page = PageOf(result.comparison);
    for (ViewSide& side : page.sides) side.command = ShellCommand(job.command);
    WriteView(job.view, page);
  }
  if (job.fail_above) result.above_limit = AboveLimit(result.comparison, *job.fail_above);
  return result;
}

} // namespace mien
