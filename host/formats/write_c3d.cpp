#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/c3d.h"
#include "host/formats/c3d_header.h"
#include "host/formats/c3d_parameter_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

using namespace c3d;

namespace {

constexpr std::size_t kMostMarkers = kMostInWord;
constexpr std::int64_t kMostInOneWord = kMostInWord;
constexpr std::int64_t kMostInTwoWords = 0xFFFFFFFF;
constexpr std::int64_t kMostFrames = (1 << 24) - 1; // that the float POINT:LONG_FRAMES counts exactly

// Of single precision: the largest number, and the smallest normal one.
constexpr double kMostInReal = 0x1.fffffep127, kLeastInReal = 0x1p-126;

double InSinglePrecision(double number) { return static_cast<double>(static_cast<float>(number)); }

[[noreturn]] void Fail(const Take& take, Code code, std::string_view what, std::string_view fix) {
  throw InputError(code, take.file, "", what, fix);
}

// What is decided before the first byte is written.
struct Plan {
  std::int64_t frames = 0; // missing ones between the first and the last included
  std::int64_t first = 0;  // the first one's number in the file
  double scale = 1;        // millimetres of a residual of 1; in single precision
  double rate = 0;         // likewise
};

void CheckMarkersAndEvents(const Take& take) {
  if (take.markers.empty()) Fail(take, Code::Empty, "the take has no markers", "write a take with markers");
  if (take.markers.size() > kMostMarkers)
    Fail(take, Code::Limit,
         fmt::format("the take has {} markers, and a C3D file at most {}", take.markers.size(), kMostMarkers),
         "leave markers out");
  for (const std::string& name : take.markers)
    if (name.size() > kLongestText)
      Fail(take, Code::Limit,
           fmt::format("the marker name {} has {} bytes, and in a C3D file at most {}", Quoted(name),
                       name.size(), kLongestText),
           "shorten it");
  for (const TakeEvent& event : take.events)
    if (event.label.size() > kLongestText || !(std::abs(event.time) <= kMostInReal))
      Fail(take, Code::Limit,
           fmt::format("a C3D file cannot hold the event {} at {} s", Quoted(event.label), event.time),
           "shorten its label, or leave it out");
}

// Of all positions, in millimetres.
struct Largest {
  double coordinate = 0;
  double residual = 0;
};

Largest FindLargest(const Take& take) {
  Largest largest;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) {
      const Point* const p = take.At(frame, marker);
      if (!p) continue;
      const double extent = std::max({std::abs(p->x), std::abs(p->y), std::abs(p->z)});
      if (!(extent <= kMostInReal))
        Fail(take, Code::Limit,
             fmt::format("frame {}: marker {} is {:.6g} mm from the origin, beyond single precision",
                         take.frames[frame], Quoted(take.markers[marker]), extent),
             "check the take's unit");
      largest.coordinate = std::max(largest.coordinate, extent);
      if (const std::optional<Sighting> sighting = take.SightingAt(frame, marker))
        largest.residual = std::max(largest.residual, sighting->residual * take.residual_mm);
    }
  return largest;
}

Plan MakePlan(const Take& take) {
  CheckMarkersAndEvents(take);
  if (take.frames.empty()) Fail(take, Code::Empty, "the take has no frames", "write a take with frames");
  if (take.rate.numerator <= 0) Fail(take, Code::Missing, "the take has no frame rate", "give it one");

  Plan plan;
  const std::int64_t first = take.frames.front(), last = take.frames.back();
  if (first < -kMostFrameNumber || last > kMostFrameNumber)
    Fail(take, Code::Limit, fmt::format("the frames are numbered from {} to {}", first, last),
         "number them from 1");
  plan.frames = last - first + 1;
  if (plan.frames > kMostFrames)
    Fail(take, Code::Limit,
         fmt::format("the frames are numbered from {} to {}, and a C3D file has room for {} frames", first,
                     last, kMostFrames),
         "cut the take, or number its frames without gaps");
  // A recording that paused skips some minutes, or several times what it has. A wrong number skips millions,
  // and would turn a hundred bytes into a gigabyte.
  constexpr std::int64_t kMostMissing = 10'000, kMostMissingPerFrame = 10;
  const auto count = static_cast<std::int64_t>(take.FrameCount());
  if (const std::int64_t missing = plan.frames - count;
      missing > std::max(kMostMissing, kMostMissingPerFrame * count))
    Fail(take, Code::Limit,
         fmt::format("{} numbered from {} to {}: a C3D file would hold {} empty frames in between",
                     Count(take.FrameCount(), "frame"), first, last, missing),
         "correct the frame numbers, or write a part of the take (--frames)");
  plan.first = first >= 1 && last <= kMostInTwoWords ? first : 1;
  plan.rate = InSinglePrecision(take.rate.Hz());

  // So that coordinates fit into 16-bit integers, for programs that convert them, and the largest residual
  // into its byte.
  constexpr double kCoordinateSteps = 32000, kResidualSteps = 255;
  const Largest largest = FindLargest(take);
  const double scale = std::max(largest.coordinate / kCoordinateSteps, largest.residual / kResidualSteps);
  if (scale > 0) plan.scale = InSinglePrecision(std::clamp(scale, kLeastInReal, kMostInReal));
  return plan;
}

void WriteEvents(const std::vector<TakeEvent>& events, ParameterWriter& write) {
  if (events.empty()) return;
  // Other programs have an event's side in a parameter of its own.
  std::vector<std::string_view> contexts, labels;
  for (const TakeEvent& event : events) {
    std::string_view context, label = event.label;
    for (const std::string_view side : {"Left", "Right", "General"})
      if (label.size() > side.size() + 1 && label.starts_with(side) && label[side.size()] == ' ')
        context = side;
    if (!context.empty()) label.remove_prefix(context.size() + 1);
    contexts.push_back(context);
    labels.push_back(label);
  }
  write.Group("EVENT");
  write.Word("USED", static_cast<std::int64_t>(events.size()));
  write.Texts("CONTEXTS", contexts);
  write.Texts("LABELS", labels);
  write.Times("TIMES", events);
}

// What the format has no place for, in a group of our own.
void WriteOwnGroup(const Take& take, const Plan& plan, ParameterWriter& write) {
  const bool own_rate = FrameRateOf(plan.rate) != take.rate;
  const bool own_first = plan.first != take.frames.front();
  if (take.timecode || own_rate || own_first) write.Group("MIEN");
  if (take.timecode) write.Text("TIMECODE", ToText(*take.timecode));
  if (own_rate) write.Text("RATE", fmt::format("{}/{}", take.rate.numerator, take.rate.denominator));
  if (own_first) write.Text("FIRST_FRAME", fmt::format("{}", take.frames.front()));
}

std::string ParametersOf(const Take& take, const Plan& plan, std::size_t begin) {
  const std::vector<std::string_view> labels(take.markers.begin(), take.markers.end());
  ParameterWriter write(take.file);
  write.Group("POINT");
  write.Word("USED", static_cast<std::int64_t>(take.MarkerCount()));
  write.Real("SCALE", -plan.scale);
  write.Real("RATE", plan.rate);
  write.DataStart();
  write.Word("FRAMES", std::min(plan.frames, kMostInOneWord));
  if (plan.frames >= kMostInOneWord) write.Real("LONG_FRAMES", static_cast<double>(plan.frames));
  write.Text("UNITS", "mm");
  write.Texts("LABELS", labels);
  write.Texts("DESCRIPTIONS", std::vector<std::string_view>(labels.size()));

  write.Group("ANALOG"); // empty, but programs look for it
  write.Word("USED", 0);
  write.Real("RATE", plan.rate);
  write.Group("FORCE_PLATFORM");
  write.Word("USED", 0);

  write.Group("TRIAL");
  write.TwoWords("ACTUAL_START_FIELD", plan.first);
  write.TwoWords("ACTUAL_END_FIELD", plan.first + plan.frames - 1);

  WriteEvents(take.events, write);
  WriteOwnGroup(take, plan, write);
  return write.Finish(begin);
}

std::string HeaderOf(const Take& take, const Plan& plan, std::size_t parameters_begin,
                     std::size_t data_begin) {
  std::string header = {static_cast<char>(parameters_begin), static_cast<char>(kKey)};
  AppendWord(header, static_cast<std::int64_t>(take.MarkerCount()));
  AppendWord(header, 0); // analog numbers per frame
  AppendWord(header, std::min(plan.first, kMostInOneWord));
  AppendWord(header, std::min(plan.first + plan.frames - 1, kMostInOneWord));
  AppendWord(header, 0); // longest gap that was interpolated
  AppendReal(header, -plan.scale);
  AppendWord(header, static_cast<std::int64_t>(data_begin));
  AppendWord(header, 1); // analog samples per frame
  AppendReal(header, plan.rate);
  header.resize(std::size_t{2} * (150 - 1));
  AppendWord(header, kEventKey); // word 150, which readers look for although the header has no events
  header.resize(kBlock);
  return header;
}

// The fourth number of a position: cameras and residual, the latter 0 unless it was measured.
double Fourth(const Take& take, std::size_t frame, std::size_t marker, const Plan& plan) {
  constexpr int kSevenCameras = 0x7F;
  const int cameras = (take.CamerasAt(frame, marker) & kSevenCameras) << 8;
  if (take.OriginAt(frame, marker) != Origin::Measured) return cameras;
  const int residual = take.SightingAt(frame, marker).value_or(Sighting{}).residual;
  const double steps = std::round(residual * take.residual_mm / plan.scale);
  return cameras | static_cast<int>(std::clamp(steps, 1.0, 255.0));
}

void Write(std::string_view bytes, std::ostream& out) {
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void WriteFrames(const Take& take, const Plan& plan, std::ostream& out) {
  std::string gap, gaps, bytes;
  for (const double number : {0.0, 0.0, 0.0, -1.0}) AppendReal(gap, number);
  for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) gaps += gap;
  std::int64_t next = take.frames.front();
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    for (; next < take.frames[frame]; ++next) Write(gaps, out);
    ++next;
    bytes.clear();
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) {
      const Point* const p = take.At(frame, marker);
      if (!p) {
        bytes += gap;
        continue;
      }
      double x = p->x;
      if (InSinglePrecision(x) == 0 && InSinglePrecision(p->y) == 0 && InSinglePrecision(p->z) == 0)
        x = kLeastInReal; // at 0 0 0 readers, ours among them, see a gap
      for (const double number : {x, p->y, p->z, Fourth(take, frame, marker, plan)})
        AppendReal(bytes, number);
    }
    Write(bytes, out);
  }
  const std::size_t in_last =
      static_cast<std::size_t>(plan.frames) * gaps.size() % kBlock; // 2^24 x 2^20 bytes at most
  if (in_last > 0) Write(std::string(kBlock - in_last, '\0'), out);
}

} // namespace

void WriteC3d(const Take& take, std::ostream& out) {
  const Plan plan = MakePlan(take);
  constexpr std::size_t kParametersBegin = 2;
  const std::string parameters = ParametersOf(take, plan, kParametersBegin);
  Write(HeaderOf(take, plan, kParametersBegin, kParametersBegin + parameters.size() / kBlock), out);
  Write(parameters, out);
  WriteFrames(take, plan, out);
}

} // namespace mien
