#include "host/jobs/convert_job.h"

#include "host/base/text.h"
#include "host/files/mapped_file.h"
#include "host/files/spooled_text.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/take_timecode.h"
#include "host/takes/part_of_take.h"

#include <fmt/format.h>

#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

namespace {

TakeFormat FormatOf(const std::string& output) {
  if (const std::optional<TakeFormat> format = TakeFormatOf(output)) return *format;
  if (IsStream(output)) return TakeFormat::MarkerCsv;
  throw UsageError("output", fmt::format("{} does not end in .c3d, .trc or .csv, which say what to write",
                                         Quoted(output)));
}

/// What a take becomes as a file.
struct Converted {
  TakeFormat format;
  std::vector<Note> lost;
};

/// Writes a take as the file of a name, and compares it with what a reader finds there.
Converted Convert(const Take& take, const std::string& output, SpooledText& file,
                  const JobProgress& progress) {
  const TakeFormat format = FormatOf(output);
  std::ostream stream(&file);
  const auto write = [&](std::ostream& out) { WriteTake(take, format, out); };
  if (format == TakeFormat::C3d)
    write(stream);
  else
    WriteWithProgress(stream, take.FrameCount() * (1 + 3 * take.MarkerCount()), progress, write);
  if (progress) progress(JobStage::Writing, 0, 0); // how long comparing takes is not known
  return {format, WhatWasLost(take, ReadTake(file.Text(), output))};
}

} // namespace

Take PartToWrite(const ConvertJob& job, Take take) {
  if (job.frames || !job.markers.empty()) take = PartOfTake(take, job.frames, job.markers);
  if (job.timecode) take.timecode = RequireTimecode(*job.timecode, take.rate);
  return take;
}

ConvertedBytes ConvertBytes(const Take& take, const std::string& output, const JobProgress& progress) {
  SpooledText file;
  Converted converted = Convert(take, output, file, progress);
  return {std::string(file.Text()), converted.format, std::move(converted.lost)};
}

ConvertResult Run(const ConvertJob& job, const JobProgress& progress) {
  RefuseOverwriting(job.output, job.take, "the take");
  FormatOf(job.output);
  CheckWritable(job.output);
  Take take = PartToWrite(job, ReadTake(MappedFile(job.take, ReadingProgress(progress)).Bytes(),
                                        InputName(job.take), job.reading));
  SpooledText file;
  Converted converted = Convert(take, job.output, file, progress);
  WriteWhole(job.output, [&](std::ostream& out) {
    file.EachPart(
        [&](std::string_view part) { out.write(part.data(), static_cast<std::streamsize>(part.size())); });
  });
  return {std::move(take), converted.format, std::move(converted.lost)};
}

} // namespace mien
