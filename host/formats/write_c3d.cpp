#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/c3d.h"
#include "host/formats/c3d_parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

namespace mien {
namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kMostBlocks = 255;  // of parameters: a byte counts them
constexpr std::size_t kMostInArray = 255; // likewise, of each dimension
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kMostInRecord =
    0x7FFF; // bytes to the next one, a word that some programs read with a sign
constexpr std::size_t kMostMarkers = 0xFFFF;
constexpr std::int64_t kMostInWord = 0xFFFF;
constexpr std::int64_t kMostInTwoWords = 0xFFFFFFFF;
constexpr std::int64_t kMostFrames = (1 << 24) - 1; // that the float POINT:LONG_FRAMES counts exactly

// Of single precision: the largest number, and the smallest normal one.
constexpr double kMostInReal = 0x1.fffffep127, kLeastInReal = 0x1p-126;

void AppendWord(std::string& bytes, std::int64_t word) {
  bytes += static_cast<char>(word & 0xFF);
  bytes += static_cast<char>(word >> 8 & 0xFF);
}

void AppendReal(std::string& bytes, double real) {
  const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(real));
  AppendWord(bytes, bits & 0xFFFF);
  AppendWord(bytes, bits >> 16);
}

double InSinglePrecision(double number) { return static_cast<double>(static_cast<float>(number)); }

[[noreturn]] void Fail(const Take& take, std::string_view what, std::string_view fix) {
  throw InputError(Code::Limit, take.file, "", what, fix);
}

// What is to be settled before the first byte.
struct Plan {
  std::int64_t frames = 0; // those that the take lacks between its first and last included
  std::int64_t first = 0;  // the first one's number in the file
  double scale = 1;        // millimetres of a residual of 1; in single precision
  double rate = 0;         // likewise
};

Plan MakePlan(const Take& take) {
  if (take.markers.empty()) Fail(take, "the take has no markers", "write one that has some");
  if (take.markers.size() > kMostMarkers)
    Fail(take,
         fmt::format("the take has {} markers, and a C3D file at most {}", take.markers.size(), kMostMarkers),
         "leave markers out");
  for (const std::string& name : take.markers)
    if (name.size() > kLongestName)
      Fail(take,
           fmt::format("the marker name {} has {} bytes, and in a C3D file at most {}", Quoted(name),
                       name.size(), kLongestName),
           "shorten it");
  for (const TakeEvent& event : take.events)
    if (event.label.size() > kLongestName || !(std::abs(event.time) <= kMostInReal))
      Fail(take,
           fmt::format("the event {} at {} s does not fit into a C3D file", Quoted(event.label), event.time),
           "shorten its label, or leave it out");
  if (take.frames.empty()) Fail(take, "the take has no frames", "write one that has some");
  if (take.rate.numerator <= 0) Fail(take, "the take has no frame rate", "give it one");

  Plan plan;
  const std::int64_t first = take.frames.front(), last = take.frames.back();
  if (first < -kC3dMostFrameNumber || last > kC3dMostFrameNumber)
    Fail(take, fmt::format("the frames are numbered from {} to {}", first, last), "number them from 1");
  plan.frames = last - first + 1;
  if (plan.frames > kMostFrames)
    Fail(take,
         fmt::format("the frames are numbered from {} to {}, and a C3D file has room for {} frames", first,
                     last, kMostFrames),
         "cut the take, or number its frames without gaps");
  plan.first = first >= 1 && last <= kMostInTwoWords ? first : 1;
  plan.rate = InSinglePrecision(take.rate.Hz());

  double largest = 0, largest_residual_mm = 0;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) {
      const Point* const p = take.At(frame, marker);
      if (!p) continue;
      const double extent = std::max({std::abs(p->x), std::abs(p->y), std::abs(p->z)});
      if (!(extent <= kMostInReal))
        Fail(take,
             fmt::format("frame {}: marker {} is {:.6g} mm from the origin, beyond single precision",
                         take.frames[frame], Quoted(take.markers[marker]), extent),
             "check the take's unit");
      largest = std::max(largest, extent);
      if (const std::optional<Sighting> sighting = take.SightingAt(frame, marker))
        largest_residual_mm = std::max(largest_residual_mm, sighting->residual * take.residual_mm);
    }
  // So that the coordinates fit into 16-bit integers, should a program make some of them; and so that the largest
  // residual fits into its byte.
  constexpr double kCoordinateSteps = 32000, kResidualSteps = 255;
  const double scale = std::max(largest / kCoordinateSteps, largest_residual_mm / kResidualSteps);
  if (scale > 0) plan.scale = InSinglePrecision(std::clamp(scale, kLeastInReal, kMostInReal));
  return plan;
}

// The parameter section, record by record.
class ParameterWriter {
public:
  explicit ParameterWriter(const Take& take) : take_(take) {}

  void Group(std::string_view name) {
    ++group_;
    Record(name, -group_, "");
  }
  void Word(std::string_view name, std::int64_t word) {
    std::string body = {2, 0};
    AppendWord(body, word);
    Record(name, group_, body);
  }
  void TwoWords(std::string_view name, std::int64_t number) {
    std::string body = {2, 1, 2};
    AppendWord(body, number & kMostInWord);
    AppendWord(body, number >> 16);
    Record(name, group_, body);
  }
  void Real(std::string_view name, double real) {
    std::string body = {4, 0};
    AppendReal(body, real);
    Record(name, group_, body);
  }
  void Text(std::string_view name, std::string_view text) {
    std::string body = {'\xFF', 1, static_cast<char>(text.size())};
    Record(name, group_, body.append(text));
  }
  /// `text(i)` of each i below `count`, padded with blanks to the longest of its array, of which there is one for every
  /// 255: NAME, NAME2, NAME3 ...
  template <typename TextOf>
  void Texts(std::string_view name, std::size_t count, const TextOf& text) {
    ForEachArray(name, count, [&](std::size_t first, std::size_t end) {
      std::size_t length = 1;
      for (std::size_t i = first; i < end; ++i) length = std::max(length, text(i).size());
      std::string body = {'\xFF', 2, static_cast<char>(length), static_cast<char>(end - first)};
      for (std::size_t i = first; i < end; ++i) {
        const std::string_view one = text(i);
        body.append(one).append(length - one.size(), ' ');
      }
      return body;
    });
  }
  /// As minutes and seconds, likewise.
  void Times(std::string_view name, const std::vector<TakeEvent>& events) {
    ForEachArray(name, events.size(), [&](std::size_t first, std::size_t end) {
      std::string body = {4, 2, 2, static_cast<char>(end - first)};
      for (std::size_t i = first; i < end; ++i) {
        const double minutes = std::floor(std::max(events[i].time, 0.0) / 60);
        AppendReal(body, minutes);
        AppendReal(body, events[i].time - 60 * InSinglePrecision(minutes));
      }
      return body;
    });
  }
  /// The word that Finish fills in.
  void DataStart() {
    Word("DATA_START", 0);
    data_start_at_ = records_.size() - 3;
  }

  /// The whole section; `begin` is its own block.
  std::string Finish(std::size_t begin) {
    const std::size_t blocks = (kPreamble + records_.size() + kEnd + kBlock - 1) / kBlock;
    if (blocks > kMostBlocks) FailLong();
    std::string data_start;
    AppendWord(data_start, static_cast<std::int64_t>(begin + blocks));
    std::string section = {1, 0x50, static_cast<char>(blocks), 84}; // 84: Intel
    section += records_.replace(data_start_at_, data_start.size(), data_start);
    section.resize(blocks * kBlock);
    return section;
  }

private:
  static constexpr std::size_t kPreamble = 4, kEnd = 2; // zeros for a name length and a group

  template <typename BodyOf>
  void ForEachArray(std::string_view name, std::size_t count, const BodyOf& body) {
    for (std::size_t first = 0, number = 1; first < count; first += kMostInArray, ++number)
      Record(number == 1 ? std::string(name) : fmt::format("{}{}", name, number), group_,
             body(first, std::min(first + kMostInArray, count)));
  }
  void Record(std::string_view name, int id, std::string_view body) {
    const std::size_t step = 2 + body.size() + 1; // the offset itself, and a description of no length
    if (step > kMostInRecord) FailLong();
    records_ += static_cast<char>(name.size());
    records_ += static_cast<char>(id);
    records_ += name;
    AppendWord(records_, static_cast<std::int64_t>(step));
    records_ += body;
    records_ += '\0';
  }
  [[noreturn]] void FailLong() const {
    Fail(take_, "the names of the take's markers and events together are too long for a C3D file",
         "shorten them, or leave markers out");
  }

  const Take& take_;
  int group_ = 0;
  std::string records_;
  std::size_t data_start_at_ = 0;
};

// An event's label without the side that other programs keep apart, and that side.
struct EventName {
  std::string_view context, label;
  explicit EventName(std::string_view whole) : label(whole) {
    for (const std::string_view side : {"Left", "Right", "General"})
      if (whole.size() > side.size() + 1 && whole.starts_with(side) && whole[side.size()] == ' ') {
        context = side;
        label = whole.substr(side.size() + 1);
      }
  }
};

std::string Parameters(const Take& take, const Plan& plan, std::size_t begin) {
  const std::int64_t last = plan.first + plan.frames - 1;
  ParameterWriter write(take);
  write.Group("POINT");
  write.Word("USED", static_cast<std::int64_t>(take.MarkerCount()));
  write.Real("SCALE", -plan.scale);
  write.Real("RATE", plan.rate);
  write.DataStart();
  write.Word("FRAMES", std::min(plan.frames, kMostInWord));
  if (plan.frames >= kMostInWord) write.Real("LONG_FRAMES", static_cast<double>(plan.frames));
  write.Text("UNITS", "mm");
  write.Texts("LABELS", take.MarkerCount(), [&](std::size_t i) { return std::string_view(take.markers[i]); });
  write.Texts("DESCRIPTIONS", take.MarkerCount(), [](std::size_t) { return std::string_view(); });

  write.Group("ANALOG"); // of which there is nothing, but programs look for it
  write.Word("USED", 0);
  write.Real("RATE", plan.rate);
  write.Group("FORCE_PLATFORM");
  write.Word("USED", 0);

  write.Group("TRIAL");
  write.TwoWords("ACTUAL_START_FIELD", plan.first);
  write.TwoWords("ACTUAL_END_FIELD", last);

  if (!take.events.empty()) {
    const auto name = [&](std::size_t i) { return EventName(take.events[i].label); };
    write.Group("EVENT");
    write.Word("USED", static_cast<std::int64_t>(take.events.size()));
    write.Texts("CONTEXTS", take.events.size(), [&](std::size_t i) { return name(i).context; });
    write.Texts("LABELS", take.events.size(), [&](std::size_t i) { return name(i).label; });
    write.Times("TIMES", take.events);
  }

  const bool own_rate = FrameRateOf(plan.rate) != take.rate;
  const bool own_first = plan.first != take.frames.front();
  if (take.timecode || own_rate || own_first) write.Group("MIEN");
  if (take.timecode) write.Text("TIMECODE", ToText(*take.timecode));
  if (own_rate) write.Text("RATE", fmt::format("{}/{}", take.rate.numerator, take.rate.denominator));
  if (own_first) write.Text("FIRST_FRAME", fmt::format("{}", take.frames.front()));
  return write.Finish(begin);
}

std::string Header(const Take& take, const Plan& plan, std::size_t parameters_begin, std::size_t data_begin) {
  std::string header = {static_cast<char>(parameters_begin), 0x50};
  AppendWord(header, static_cast<std::int64_t>(take.MarkerCount()));
  AppendWord(header, 0); // analog numbers per frame
  AppendWord(header, std::min(plan.first, kMostInWord));
  AppendWord(header, std::min(plan.first + plan.frames - 1, kMostInWord));
  AppendWord(header, 0); // most frames that were interpolated at a stretch
  AppendReal(header, -plan.scale);
  AppendWord(header, static_cast<std::int64_t>(data_begin));
  AppendWord(header, 1); // analog samples per frame
  AppendReal(header, plan.rate);
  header.resize(std::size_t{2} * (150 - 1));
  AppendWord(header, 0x3039); // word 150: event labels, were there any, have four characters
  header.resize(kBlock);
  return header;
}

// The fourth number of a position: cameras and residual.
double Fourth(const Take& take, std::size_t frame, std::size_t marker, const Plan& plan) {
  if (take.OriginAt(frame, marker) != Origin::Measured) return 0;
  const Sighting sighting = take.SightingAt(frame, marker).value_or(Sighting{});
  constexpr int kSevenCameras = 0x7F;
  const double steps = std::round(sighting.residual * take.residual_mm / plan.scale);
  return static_cast<double>((sighting.cameras & kSevenCameras) << 8 |
                             static_cast<int>(std::clamp(steps, 1.0, 255.0)));
}

} // namespace

void WriteC3d(const Take& take, std::ostream& out) {
  const Plan plan = MakePlan(take);
  constexpr std::size_t kParametersBegin = 2;
  const std::string parameters = Parameters(take, plan, kParametersBegin);
  const std::string header =
      Header(take, plan, kParametersBegin, kParametersBegin + parameters.size() / kBlock);
  const auto write = [&](const std::string& bytes) {
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  };
  write(header);
  write(parameters);

  std::string gap, gaps, bytes;
  for (const double number : {0.0, 0.0, 0.0, -1.0}) AppendReal(gap, number);
  for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker) gaps += gap;
  std::int64_t next = take.frames.front();
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    for (; next < take.frames[frame]; ++next) write(gaps);
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
        x = kLeastInReal; // else readers, ours among them, take it for a gap
      for (const double number : {x, p->y, p->z, Fourth(take, frame, marker, plan)})
        AppendReal(bytes, number);
    }
    write(bytes);
  }
  const std::size_t in_last =
      static_cast<std::size_t>(plan.frames) * gaps.size() % kBlock; // 2^24 x 2^20 bytes at most
  if (in_last > 0) write(std::string(kBlock - in_last, '\0'));
}

} // namespace mien
