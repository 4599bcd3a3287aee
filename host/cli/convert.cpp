#include "host/base/text.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/job_options.h"
#include "host/cli/output.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/files/standard_streams.h"
#include "host/jobs/convert_job.h"

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>

namespace mien {

namespace {

void Convert(const ConvertJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const ConvertResult converted = [&] {
    Progress progress(TakeName(job.take), output.quiet);
    return Run(job, std::ref(progress));
  }();
  const Take& take = converted.take;
  output.Line("take", fmt::format("{}: {}, {} at {} Hz, {}", take.name, take.format,
                                  Count(take.FrameCount(), "frame"), ToText(take.rate),
                                  Count(take.MarkerCount(), "marker")));
  output.Remark(take.notes, take.file);
  output.Line("wrote", fmt::format("{}: {}", IsStandardOutput(job.output) ? "standard output" : job.output,
                                   ToText(converted.format)));
  output.Remark(converted.lost, job.output);
  output.Result(JsonObject({{"take", take.file},
                            {"output", job.output},
                            {"format", ToText(converted.format)},
                            {"frames", take.FrameCount()},
                            {"markers", take.MarkerCount()}}));
}

} // namespace

void AddConvertCommand(Command& mien) {
  Command command = mien.AddCommand("convert", "Write a take, or a part of it, in another format");
  command.Details("The ending of OUT chooses the format:",
                  {{".c3d", "Intel byte order, floating point, millimetres"},
                   {".trc", "Tab-separated text"},
                   {".csv", "Marker CSV: frame,time,NAME.x,NAME.y,NAME.z,..."}});
  command.Details(
      "The output is read back and compared with the take. What its format cannot hold is listed.");
  command.Example("mien convert take.csv take.c3d");
  command.Example("mien convert take.csv part.c3d --frames 10-40 --timecode 10:02:59:29@30");
  auto job = std::make_shared<ConvertJob>();
  command.Add(TakeArgument(), job->take);
  command.Add({.names = "OUT,-o,--output",
               .type = "OUT",
               .help = "The file to write; - is standard output, as .csv",
               .required = true,
               .files = "*"},
              job->output);
  AddPartOptions(command, *job);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Convert(*job, output); });
}

} // namespace mien
