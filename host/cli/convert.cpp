#include "host/base/error.h"
#include "host/base/text.h"
#include "host/cli/commands.h"
#include "host/cli/report.h"
#include "host/cli/take_options.h"
#include "host/files/whole_file.h"
#include "host/formats/read_take.h"
#include "host/formats/write_take.h"
#include "host/takes/frame_range.h"
#include "host/takes/frame_span.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

struct Options {
  std::string take, output;
  std::optional<std::string> timecode;
  std::optional<FrameRange> frames;
  std::vector<std::string> markers;
  bool quiet = false;
  ReadOptions reading;
};

TakeFormat FormatOf(const std::string& output) {
  if (output == "-" || output.starts_with("/dev/")) return TakeFormat::MarkerCsv;
  const std::optional<TakeFormat> format = TakeFormatOf(output);
  if (!format)
    throw CLI::ValidationError(
        "--output",
        fmt::format("\"{}\" does not end in .c3d, .trc or .csv, which say what to write", output));
  return *format;
}

/// The timecode that the take's frame of this index shows, and whether it lies on a whole count. Where it does not, the
/// count before.
std::pair<Timecode, bool> TimecodeAt(const Take& take, std::size_t frame) {
  std::string text = take.timecode->At(take.times[frame] - take.times[0]);
  const std::size_t fraction = text.find('.');
  const bool whole = fraction == std::string::npos;
  if (!whole) text.erase(fraction);
  return {ParseTimecode(text + "@" + ToText(take.timecode->rate), take.timecode->rate).value(), whole};
}

/// The frames that are asked for.
FrameSpan Frames(const Take& take, const std::optional<FrameRange>& asked) {
  if (!asked) return {0, take.FrameCount()};
  const FrameSpan frames = FramesIn(*asked, take.frames);
  if (frames.Count() == 0)
    throw InputError(Code::NotFound, take.file, "",
                     fmt::format("there are no frames {} to {}", asked->first, asked->last),
                     take.frames.empty() ? "the take has none"
                                         : fmt::format("the take goes from frame {} to {}",
                                                       take.frames.front(), take.frames.back()));
  return frames;
}

/// The indices of the markers that are asked for, all where none is.
std::vector<std::size_t> Markers(const Take& take, const std::vector<std::string>& asked) {
  std::vector<std::size_t> markers;
  if (asked.empty())
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) markers.push_back(m);
  for (const std::string& name : asked) {
    const auto found = take.FindMarker(name);
    if (!found)
      throw InputError(Code::NotFound, take.file, "", fmt::format("there is no marker {}", Quoted(name)),
                       "`mien info` lists the markers that it has");
    if (std::find(markers.begin(), markers.end(), *found) == markers.end()) markers.push_back(*found);
  }
  return markers;
}

/// The part of a take that is asked for, with its numbers and times.
Take Part(const Take& take, const Options& options) {
  const auto [first, end] = Frames(take, options.frames);
  const std::vector<std::size_t> markers = Markers(take, options.markers);
  Take part;
  part.file = take.file;
  part.name = take.name;
  part.format = take.format;
  part.flavour = take.flavour;
  part.unit = take.unit;
  part.rate = take.rate;
  part.residual_mm = take.residual_mm;
  part.axes = take.axes;
  part.notes = take.notes;
  if (options.frames &&
      (options.frames->first < take.frames.front() || options.frames->last > take.frames.back()))
    part.notes.push_back({Code::NotFound, "",
                          fmt::format("of frames {} to {} the take has {} to {}", options.frames->first,
                                      options.frames->last, take.frames[first], take.frames[end - 1])});
  for (const std::size_t m : markers) part.markers.push_back(take.markers[m]);

  const double start = take.times[first],
               stop = end < take.FrameCount() ? take.times[end] : std::numeric_limits<double>::infinity();
  for (const TakeEvent& event : take.events)
    if ((first == 0 || event.time >= start) && event.time < stop) part.events.push_back(event);
  if (take.timecode) {
    const auto [timecode, whole] = TimecodeAt(take, first);
    part.timecode = timecode;
    if (!whole)
      part.notes.push_back({Code::Lossy, "",
                            fmt::format("frame {} lies between two timecodes, {}; it gets the one before",
                                        take.frames[first], take.timecode->At(start - take.times[0]))});
  }

  for (std::size_t f = first; f < end; ++f) {
    const Take::Row to = part.RowOf(part.AddFrame(take.frames[f], take.times[f]));
    for (std::size_t i = 0; i < markers.size(); ++i) {
      const Point* const p = take.At(f, markers[i]);
      if (!p) continue;
      to.positions[i] = *p;
      to.origins[i] = take.OriginAt(f, markers[i]);
      if (const auto sighting = take.SightingAt(f, markers[i])) to.sightings[i] = *sighting;
    }
  }
  return part;
}

void Convert(const Options& options) {
  RefuseOverwriting(options.output, options.take, "the take");
  const TakeFormat format = FormatOf(options.output);
  CheckWritable(options.output);
  Take take = ReadTake(options.take, options.reading);
  if (options.frames || !options.markers.empty()) take = Part(take, options);
  if (options.timecode) SetTimecode(take, *options.timecode);

  // Read back before it is given away: so what is told of it is what any program will find.
  std::ostringstream file;
  WriteTake(take, format, file);
  const std::vector<Note> lost = WhatWasLost(take, ReadTake(file.view(), options.output));
  WriteWhole(options.output, [&](std::ostream& out) { out << file.view(); });

  if (options.quiet) return;
  ReportLine("take",
             fmt::format("{}: {}, {} at {} Hz, {}", take.name, take.format, Count(take.FrameCount(), "frame"),
                         ToText(take.rate), Count(take.MarkerCount(), "marker")));
  for (const Note& note : take.notes) ReportLine("", Message(note));
  ReportLine("wrote", fmt::format("{}: {}", options.output == "-" ? "standard output" : options.output,
                                  ToText(format)));
  for (const Note& loss : lost) ReportLine("", Message(loss));
}

} // namespace

void AddConvertCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("convert", "Write a take in another format, or a part of it");
  command->footer(
      "Example: mien convert take.csv take.c3d\n"
      "Example: mien convert take.csv part.c3d --frames 10-40 --timecode 10:02:59:29@30\n"
      "The ending of OUT says what is written:\n"
      "  .c3d   Intel, floating point, millimetres\n"
      "  .trc   tab-separated text\n"
      "  .csv   marker CSV: frame,time,NAME.x,NAME.y,NAME.z,...\n"
      "What is written is read back and compared; where OUT's format cannot hold all of the take, what is\n"
      "lost is told.");
  auto options = std::make_shared<Options>();
  command->add_option("TAKE", options->take, kTakeHelp)->required();
  command->add_option("OUT,-o,--output", options->output, "Where to write; - is standard output, as .csv")
      ->type_name("OUT")
      ->required();
  command
      ->add_option_function<std::string>(
          "--frames",
          [options](const std::string& text) {
            options->frames = ParseFrameRange(text);
            if (!options->frames)
              throw CLI::ValidationError("--frames",
                                         "\"" + text + "\" is not FRAME or FROM-TO, such as 12-40");
          },
          "Keep these frames only, by number")
      ->type_name("FRAME|FROM-TO");
  command
      ->add_option("--markers", options->markers,
                   "Keep these markers only, in this order; more than once if wanted")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("NAME,...");
  command
      ->add_option("--timecode", options->timecode,
                   "The timecode of the first frame that is written; the take's rate unless another is named")
      ->type_name("HH:MM:SS:FF[@RATE]");
  AddTakeOptions(*command, options->reading);
  command->add_flag("-q,--quiet", options->quiet, "Report nothing but errors");
  command->callback([options] { Convert(*options); });
}

} // namespace mien
