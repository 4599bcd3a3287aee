#include "host/jobs/convert_job.h"

#include "host/base/text.h"
#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/take_timecode.h"
#include "host/takes/part_of_take.h"

#include <fmt/format.h>

#include <sstream>
#include <utility>

namespace mien {

namespace {

TakeFormat FormatOf(const std::string& output) {
  if (const std::optional<TakeFormat> format = TakeFormatOf(output)) return *format;
  if (IsStream(output)) return TakeFormat::MarkerCsv;
  throw UsageError("output", fmt::format("{} does not end in .c3d, .trc or .csv, which say what to write",
                                         Quoted(output)));
}

} // namespace

Take PartToWrite(const ConvertJob& job, Take take) {
  if (job.frames || !job.markers.empty()) take = PartOfTake(take, job.frames, job.markers);
  if (job.timecode) take.timecode = RequireTimecode(*job.timecode, take.rate);
  return take;
}

ConvertedBytes ConvertBytes(const Take& take, const std::string& output, const JobProgress& progress) {
  const TakeFormat format = FormatOf(output);
  std::ostringstream file;
  const auto write = [&](std::ostream& out) { WriteTake(take, format, out); };
  if (format == TakeFormat::C3d)
    write(file);
  else
    WriteWithProgress(file, take.FrameCount() * (1 + 3 * take.MarkerCount()), progress, write);
  if (progress) progress(JobStage::Writing, 0, 0); // how long comparing takes is not known
  std::vector<Note> lost = WhatWasLost(take, ReadTake(file.view(), output));
  return {std::move(file).str(), format, std::move(lost)};
}

ConvertResult Run(const ConvertJob& job, const JobProgress& progress) {
  RefuseOverwriting(job.output, job.take, "the take");
  FormatOf(job.output);
  CheckWritable(job.output);
  Take take = PartToWrite(job, ReadTake(MappedFile(job.take, ReadingProgress(progress)).Bytes(),
                                        InputName(job.take), job.reading));
  ConvertedBytes file = ConvertBytes(take, job.output, progress);
  WriteWhole(job.output, [&](std::ostream& out) { out << file.bytes; });
  return {std::move(take), file.format, std::move(file.lost)};
}

} // namespace mien
