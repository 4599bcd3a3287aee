#include "host/base/text.h"
#include "host/cli/commands.h"
#include "host/cli/output.h"
#include "host/cli/take_options.h"
#include "host/jobs/convert_job.h"

#include <fmt/format.h>

#include <memory>
#include <string>

namespace mien {

namespace {

void Convert(const ConvertJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const ConvertResult converted = Run(job);
  const Take& take = converted.take;
  output.Line("take", fmt::format("{}: {}, {} at {} Hz, {}", take.name, take.format,
                                  Count(take.FrameCount(), "frame"), ToText(take.rate),
                                  Count(take.MarkerCount(), "marker")));
  output.Remark(take.notes, take.file);
  output.Line("wrote", fmt::format("{}: {}", job.output == "-" ? "standard output" : job.output,
                                   ToText(converted.format)));
  output.Remark(converted.lost, job.output);
  output.Result(JsonObject({{"take", take.file},
                            {"output", job.output},
                            {"format", ToText(converted.format)},
                            {"frames", take.FrameCount()},
                            {"markers", take.MarkerCount()}}));
}

} // namespace

void AddConvertCommand(Command& app) {
  Command command = app.AddCommand("convert", "Write a take in another format, or a part of it");
  command.Footer("Example: mien convert take.csv take.c3d\n"
                 "Example: mien convert take.csv part.c3d --frames 10-40 --timecode 10:02:59:29@30\n"
                 "The ending of OUT says what is written:\n"
                 "  .c3d   Intel, floating point, millimetres\n"
                 "  .trc   tab-separated text\n"
                 "  .csv   marker CSV: frame,time,NAME.x,NAME.y,NAME.z,...\n"
                 "What is written is read back and compared; what OUT's format cannot hold of the take is\n"
                 "listed.");
  auto job = std::make_shared<ConvertJob>();
  command.Add({.names = "TAKE", .type = "", .help = kTakeHelp, .required = true}, job->take);
  command.Add({.names = "OUT,-o,--output",
               .type = "OUT",
               .help = "Where to write; - is standard output, as .csv",
               .required = true},
              job->output);
  AddFrameRange(command,
                {.names = "--frames", .type = "FRAME|FROM-TO", .help = "Keep these frames only, by number"},
                job->frames);
  command.Add({.names = "--markers",
               .type = "NAME,...",
               .help = "Keep these markers only, in this order; more than once if wanted"},
              job->markers, ',');
  command.Add(
      {.names = "--timecode",
       .type = "HH:MM:SS:FF[@RATE]",
       .help = "The timecode of the first frame that is written; the take's rate unless another is named"},
      job->timecode);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Convert(*job, output); });
}

} // namespace mien
