#include "host/jobs/view_job.h"

#include "host/base/text.h"
#include "host/compare/read_recording.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/gltf/glb.h"
#include "host/jobs/output_place.h"
#include "host/jobs/write_view.h"
#include "host/view/animation_side.h"
#include "host/view/take_side.h"
#include "host/view/weight_side.h"
#include "host/weights/read_weights.h"

#include <utility>

namespace mien {

namespace {

void CheckSettings(const ViewJob& job) {
  RefuseReadingTwice({{"input", job.input}, {"onto", job.onto}});
  RefuseOverwriting(job.output, job.input, "what is shown");
  RefuseOverwriting(job.output, job.onto, "the head");
  if (job.onto.empty() && !job.head_node.empty()) throw UsageError("head", "this is for --onto");
  if (job.onto.empty() && job.eye_nodes) throw UsageError("eyes", "this is for --onto");
  CheckViewer("output");
  CheckWritable(job.output);
}

ViewPage PageOfTake(const ViewJob& job, std::string_view bytes, ViewResult& result) {
  if (!job.onto.empty())
    throw UsageError("onto", "a take moves no head; mien solve --onto --view solves and shows it");
  const Take take = ReadTake(bytes, InputName(job.input), job.reading);
  result = {.name = take.name,
            .format = take.format,
            .frames = take.FrameCount(),
            .markers = take.MarkerCount(),
            .curves = 0};
  return PageOf(take, SideOfTake(take));
}

ViewPage PageOfWeights(const ViewJob& job, std::string_view bytes, ViewResult& result) {
  const ReadOptions& reading = job.reading;
  WeightTake take =
      ReadWeights(bytes, InputName(job.input),
                  {.strict = reading.strict, .face = reading.face, .input_rate = reading.input_rate});
  result = {.name = take.name,
            .format = take.format,
            .frames = take.frames.size(),
            .markers = 0,
            .curves = take.names.size()};
  const auto facts = ViewFacts{.title = "File", .rows = {{"File", take.file}, {"Format", take.format}}};
  ViewPage page;
  page.title = take.name;
  page.rate = take.rate;
  page.timecode = take.timecode;
  page.timecode_offset_s = take.timecode_offset_s;
  page.frames = {take.frames.begin(), take.frames.end()};
  page.times = {take.times.begin(), take.times.end()};
  HeadNodes nodes;
  if (!job.head_node.empty()) nodes.head = job.head_node;
  nodes.eyes = job.eye_nodes;
  page.sides.push_back(
      job.onto.empty()
          ? SideOfWeights(std::move(take), page)
          : SideOfWeights(std::move(take), ReadGlb(ReadFile(job.onto), InputName(job.onto)), nodes, page));
  page.sides[0].facts.insert(page.sides[0].facts.begin(), facts);
  return page;
}

} // namespace

ViewResult Run(const ViewJob& job, const JobProgress& progress) {
  CheckSettings(job);
  const MappedFile file(job.input, ReadingProgress(progress));
  ViewResult result;
  const bool is_take = RecordingContentOf(file.Bytes(), InputName(job.input)).kind == RecordingKind::Take;
  ViewPage page = is_take ? PageOfTake(job, file.Bytes(), result) : PageOfWeights(job, file.Bytes(), result);
  page.sides[0].command = ShellCommand(job.command);
  WriteView(job.output, page);
  return result;
}

} // namespace mien
