#include "host/formats/c3d.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/c3d_events.h"
#include "host/formats/c3d_frames.h"
#include "host/formats/c3d_header.h"
#include "host/formats/c3d_labels.h"
#include "host/formats/c3d_layout.h"
#include "host/formats/c3d_parameters.h"
#include "host/formats/c3d_timing.h"
#include "host/formats/length_unit.h"

#include <fmt/format.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

using namespace c3d;

namespace {

constexpr std::size_t kMostLeadingZeros = 512;

// Sets the take's unit to the file's and answers its millimetres.
double ReadUnit(const Parameters& parameters, Take& take) {
  const std::string unit = parameters.Text("POINT", "UNITS");
  const std::optional<double> millimetres = MillimetresOf(unit);
  take.unit = millimetres ? unit : "mm";
  if (!millimetres && !parameters.Empty())
    take.notes.push_back(
        {Code::Assumed, "",
         unit.empty() ? "the file gives no unit; positions are taken as millimetres"
                      : fmt::format("the unit {} is unknown or ambiguous; positions are taken as millimetres",
                                    Quoted(unit))});
  return millimetres.value_or(1);
}

} // namespace

bool IsC3d(std::string_view bytes) {
  const std::size_t zeros = LeadingZeros(bytes);
  if (zeros > kMostLeadingZeros) return false;
  bytes.remove_prefix(zeros);
  constexpr std::size_t kRecord = 24; // the header's first 12 words, which every file fills
  if (bytes.size() < kRecord || Byte(bytes[1]) != kKey) return false;
  if (bytes.substr(0, kBlock).find('\0') == std::string_view::npos) return false; // text
  constexpr unsigned kUsualBlocks =
      32; // before the parameters; a later block must have the code of a processor
  const unsigned block = Byte(bytes[0]);
  if (block < 2) return false;
  if (block < kUsualBlocks) return true;
  const std::size_t processor = (std::size_t{block} - 1) * kBlock + 3;
  return processor < bytes.size() && Byte(bytes[processor]) >= kIntelCode &&
         Byte(bytes[processor]) <= kIntelCode + 2;
}

Take ReadC3d(std::string_view bytes, const std::string& file, const std::optional<FrameRate>& input_rate,
             std::size_t threads) {
  std::vector<Note> notes;
  const Header header = ReadHeader(bytes, file, notes);
  Parameters parameters(header, notes);
  const Layout layout = FindLayout(header, parameters, notes);
  if (layout.Begin() > header.ParametersBegin() && parameters.CutAt(layout.Begin()))
    notes.push_back(
        {Code::Ignored, header.Place(layout.Begin()),
         "the data begin within the parameters; parameters that reach into the data are ignored"});

  Take take(MarkerNames(parameters, layout.points, notes));
  take.notes = std::move(notes);
  constexpr std::string_view kProcessors[] = {"Intel", "DEC", "SGI"};
  take.flavour = fmt::format("{}, {}", kProcessors[static_cast<std::size_t>(header.processor)],
                             layout.real ? "float" : "integer");
  const double unit_mm = ReadUnit(parameters, take);
  const Timing timing = ReadTiming(header, parameters, input_rate, take.notes);
  take.rate = timing.rate;
  take.timecode = timing.timecode;
  const double first_time = take.rate.Seconds(timing.first_frame - 1);
  take.events = ReadEvents(header, parameters, take.rate, first_time, take.notes);
  take.residual_mm = layout.scale * unit_mm;
  ReadFrames(header, layout, unit_mm, timing.first_frame, threads, take);
  return take;
}

} // namespace mien
