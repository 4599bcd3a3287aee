#include "host/formats/c3d.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/c3d_parameters.h"
#include "host/formats/length_unit.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace mien {
namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kMostLeadingZeros = 512;
constexpr unsigned kKey = 0x50;             // the file's second byte
constexpr std::uint32_t kEventKey = 0x3039; // in header word 150: event labels have four characters
constexpr std::uint32_t kMostInWord = 0xFFFF;
constexpr std::string_view kExportAgain = "export the take again, or copy it again from where it came";

unsigned Byte(char c) { return static_cast<unsigned char>(c); }

// Some programs pad the front of the file.
std::size_t LeadingZeros(std::string_view bytes) {
  return std::min(bytes.find_first_not_of('\0'), bytes.size());
}

// The file from its header on.
struct Source {
  const std::string& file;
  std::string_view bytes;
  std::size_t skipped; // before the header
  C3dProcessor processor = C3dProcessor::Intel;

  /// Of the header, whose words are numbered from 1.
  std::uint16_t Word(std::size_t word) const { return C3dWord(processor, &bytes[2 * (word - 1)]); }
  double Real(std::size_t first_word) const { return C3dReal(processor, &bytes[2 * (first_word - 1)]); }

  std::size_t ParametersBegin() const { return (std::size_t{Byte(bytes[0])} - 1) * kBlock; }

  [[noreturn]] void Fail(std::size_t byte, std::string_view what, std::string_view fix) const {
    throw InputError(Code::Syntax, file, fmt::format("byte {}", byte + skipped), what, fix);
  }
};

C3dProcessor ReadProcessor(const Source& source, std::vector<std::string>& notes) {
  const std::size_t at = source.ParametersBegin() + 3;
  constexpr unsigned kFirst = 84;
  const unsigned code = Byte(source.bytes[at]);
  const unsigned index = code >= 1 && code <= 3 ? code - 1 : code - kFirst;
  if (index > 2)
    source.Fail(at, fmt::format("the processor is {}, which is none of 84 (Intel), 85 (DEC), 86 (SGI)", code),
                kExportAgain);
  if (code < kFirst)
    notes.push_back(
        fmt::format("byte {}: the processor is {}; taken as {}", at + source.skipped, code, index + kFirst));
  return static_cast<C3dProcessor>(index);
}

// What a file says of one number, in several places: the likeliest first, each value once.
struct Claims {
  struct Claim {
    std::uint64_t value;
    std::string by;
  };
  std::vector<Claim> list;

  void Add(std::optional<std::uint64_t> value, std::string_view by) {
    if (value && std::none_of(list.begin(), list.end(), [&](const Claim& c) { return c.value == *value; }))
      list.push_back({*value, std::string(by)});
  }
  void AddUnlessZero(std::optional<std::uint64_t> value, std::string_view by) {
    if (value != std::uint64_t{0}) Add(value, by);
  }
};

// Where the positions lie.
struct Layout {
  std::uint64_t points = 0; // per frame
  std::uint64_t analog = 0; // numbers per frame, behind its points
  std::uint64_t frames = 0; // as declared, at first
  std::uint64_t block = 0;  // of the first frame, numbered from 1
  std::uint64_t real = 0;   // 1 for floats, 0 for 16-bit integers

  std::uint64_t FrameSize() const { return (points * 4 + analog) * (real ? 4 : 2); }
  std::uint64_t Begin() const { return (block - 1) * kBlock; }
  std::uint64_t Room(std::size_t size) const { return Begin() < size ? (size - Begin()) / FrameSize() : 0; }
  /// Behind the last declared frame; only where there is room for it.
  std::uint64_t End() const { return Begin() + frames * FrameSize(); }
};

// How well a layout goes with the file's size; less is better.
int Misfit(const Layout& layout, std::size_t size, std::size_t parameters_end) {
  const int fills = layout.frames > layout.Room(size) ? 4 : size - layout.End() >= kBlock ? 2 : 0;
  return fills + (layout.Begin() < parameters_end ? 1 : 0);
}
constexpr int kFills = 2; // below: the data end in the file's last block

std::optional<std::uint64_t> AnalogPerFrame(const C3dParameters& parameters, double samples) {
  const std::optional<std::uint32_t> channels = parameters.Count("ANALOG", "USED");
  samples = std::round(samples);
  if (!channels || (*channels > 0 && !(samples >= 1 && samples <= kMostInWord))) return std::nullopt;
  return *channels == 0 ? 0 : *channels * static_cast<std::uint64_t>(samples);
}

// A frame number of 32 bits: two words, the low one first.
std::optional<std::uint32_t> Field(const C3dParameters& parameters, std::string_view name) {
  const std::optional<std::uint32_t> low = parameters.Count("TRIAL", name, 0);
  if (!low || *low > kMostInWord) return low;
  const std::uint32_t high = parameters.Count("TRIAL", name, 1).value_or(0);
  return high <= kMostInWord ? high << 16 | *low : *low;
}

std::optional<std::uint64_t> TrialFrames(const C3dParameters& parameters) {
  const auto first = Field(parameters, "ACTUAL_START_FIELD"), last = Field(parameters, "ACTUAL_END_FIELD");
  if (!first || !last || *last < *first) return std::nullopt;
  return std::uint64_t{*last} - *first + 1;
}

bool IsScale(std::optional<double> scale) { return scale && std::isfinite(*scale) && *scale != 0; }

// The file's scale for floats or integers: millimetres are its multiples, times the unit; 0 where it has none.
double ScaleOf(const Source& source, const C3dParameters& parameters, bool real) {
  for (const std::optional<double> scale :
       {parameters.Number("POINT", "SCALE"), std::optional(source.Real(7))})
    if (IsScale(scale) && (*scale < 0) == real) return std::abs(*scale);
  return 0;
}

void TellChoice(const Claims& claims, std::uint64_t taken, std::string_view what, bool fills,
                std::vector<std::string>& notes) {
  if (claims.list.size() < 2) return;
  std::string said;
  for (const Claims::Claim& claim : claims.list)
    said += fmt::format("{}{} by {}", said.empty() ? "" : ", ", claim.value, claim.by);
  notes.push_back(fmt::format("{}: {}; {} is taken{}", what, said, taken,
                              fills ? ", with which the data fill the file" : ""));
}

Layout FindLayout(const Source& source, const C3dParameters& parameters, std::vector<std::string>& notes) {
  const auto count = [&](std::string_view name) { return parameters.Count("POINT", name); };
  const bool none = parameters.Empty();
  std::string missing_names;
  const auto missing = [&](std::string_view name) {
    missing_names += fmt::format("{}POINT:{}", missing_names.empty() ? "" : ", ", name);
  };
  if (none)
    notes.emplace_back(
        "there are no parameters: markers are numbered, positions taken as millimetres, the rest is what the "
        "header says");

  Claims points;
  if (count("USED") <= kMostInWord) points.AddUnlessZero(count("USED"), "POINT:USED");
  if (!count("USED")) missing("USED");
  points.AddUnlessZero(source.Word(2), "the header");
  if (points.list.empty())
    throw InputError(Code::Empty, source.file, "",
                     "there are no markers in the file, the number of its points is 0",
                     "export the take again, with its markers");

  Claims frames;
  const std::optional<std::uint32_t> declared = count("FRAMES");
  const std::optional<std::uint32_t> declared_long = count("LONG_FRAMES");
  const std::optional<std::uint64_t> of_trial = TrialFrames(parameters);
  const bool is_most = declared == kMostInWord; // a word says no more
  if (!is_most) frames.AddUnlessZero(declared, "POINT:FRAMES");
  const bool open = frames.list.empty();
  if (open || declared_long > kMostInWord) frames.AddUnlessZero(declared_long, "POINT:LONG_FRAMES");
  if (open || of_trial > kMostInWord) frames.Add(of_trial, "TRIAL:ACTUAL_START_FIELD and ACTUAL_END_FIELD");
  if (is_most && frames.list.empty()) frames.Add(kMostInWord, "POINT:FRAMES");
  if (frames.list.empty()) {
    if (!declared) missing("FRAMES");
    if (source.Word(5) >= source.Word(4) && source.Word(5) > 0)
      frames.Add(source.Word(5) - source.Word(4) + 1u, "the header");
  }
  if (frames.list.empty())
    throw InputError(Code::Empty, source.file, "", "there are no frames in the file, their number is 0",
                     "export the take again, with its frames");

  Claims real;
  const std::optional<double> scale = parameters.Number("POINT", "SCALE");
  const double header_scale = source.Real(7);
  if (IsScale(scale)) real.Add(*scale < 0, "POINT:SCALE");
  if (!scale) missing("SCALE");
  if (IsScale(header_scale)) real.Add(header_scale < 0, "the header");
  const bool no_scale = real.list.empty();
  if (no_scale) real.Add(1, "");

  Claims analog;
  const double rate = parameters.Number("POINT", "RATE").value_or(source.Real(11));
  analog.Add(AnalogPerFrame(parameters, parameters.Number("ANALOG", "RATE").value_or(0) / rate),
             "ANALOG:USED and RATE");
  analog.Add(AnalogPerFrame(parameters, source.Word(10)), "ANALOG:USED and the header's samples");
  analog.Add(source.Word(3), "the header");

  Claims block;
  const auto add_block = [&](std::optional<std::uint64_t> value, std::string_view by) {
    if (value > 1u) block.Add(value, by);
  };
  add_block(count("DATA_START"), "POINT:DATA_START");
  if (!count("DATA_START")) missing("DATA_START");
  add_block(source.Word(9), "the header");
  if (block.list.empty()) {
    block.Add((parameters.End() + kBlock - 1) / kBlock + 1, "");
    notes.push_back(
        fmt::format("where the data begin is not said; taken as block {}, the one behind the parameters",
                    block.list[0].value));
  }
  if (!missing_names.empty() && !none)
    notes.push_back("missing, so that the header's values are taken: " + missing_names);

  Layout best;
  int least = std::numeric_limits<int>::max();
  for (const auto& b : block.list)
    for (const auto& a : analog.list)
      for (const auto& p : points.list)
        for (const auto& f : frames.list)
          for (const auto& r : real.list) {
            const Layout layout{p.value, a.value, f.value, b.value, r.value};
            const int misfit = Misfit(layout, source.bytes.size(), parameters.End());
            if (misfit < least) {
              least = misfit;
              best = layout;
            }
          }

  const bool fills = least < kFills;
  TellChoice(points, best.points, "points per frame", fills, notes);
  TellChoice(frames, best.frames, "frames", fills, notes);
  TellChoice(analog, best.analog, "analog numbers per frame", fills, notes);
  TellChoice(block, best.block, "the data's first block", fills, notes);
  if (real.list.size() > 1)
    notes.push_back(fmt::format("POINT:SCALE is {}, the header's {}: the data are taken as {}{}", *scale,
                                header_scale, best.real ? "floats" : "integers",
                                fills ? ", with which they fill the file" : ""));
  if (no_scale) {
    if (!fills)
      throw InputError(Code::Syntax, source.file, "",
                       "POINT:SCALE is 0 or no number, so that the data can be integers or floats",
                       kExportAgain);
    notes.emplace_back(
        "POINT:SCALE is 0 or no number; the data, which fill the file as floats, are taken as such, "
        "without residuals");
  }

  const std::uint64_t room = best.Room(source.bytes.size());
  if (room == 0)
    throw InputError(Code::Truncated, source.file, "",
                     fmt::format("the file has {} bytes and ends before its first frame does, at byte {}",
                                 source.bytes.size() + source.skipped,
                                 best.Begin() + best.FrameSize() + source.skipped),
                     kExportAgain);
  if (best.frames > room) {
    notes.push_back(fmt::format("{} frames declared, {} in the file: it is cut short", best.frames, room));
    best.frames = room;
  } else if (!fills && room > best.frames) {
    if (is_most && best.frames == kMostInWord) {
      notes.push_back(
          fmt::format("{} frames declared, the most that POINT:FRAMES can say, and {} in the file: all "
                      "are read",
                      best.frames, room));
      best.frames = room;
    } else {
      notes.push_back(fmt::format("{} frames declared, and room for {} in the file: the rest is not read",
                                  best.frames, room));
    }
  }
  return best;
}

std::vector<std::string> MarkerNames(const C3dParameters& parameters, std::size_t points,
                                     std::vector<std::string>& notes) {
  std::vector<std::string> names = parameters.Texts("POINT", "LABELS");
  names.resize(std::min(names.size(), points));
  const std::size_t labels = names.size();
  if (labels < points && !parameters.Empty())
    notes.push_back(fmt::format("{} labels for {} points: the others are numbered, \"point {}\" ...", labels,
                                points, labels + 1));
  names.resize(points);

  // How often, and where first.
  struct Case {
    std::size_t count = 0;
    std::string first;
    void Add(const std::string& name) {
      if (count++ == 0) first = Quoted(name);
    }
    std::string Others() const { return count > 1 ? fmt::format(" and {} more", count - 1) : ""; }
  } blank, latin, twice;
  std::unordered_set<std::string> known;
  std::unordered_map<std::string, std::size_t> last_number;
  for (std::size_t i = 0; i < points; ++i) {
    std::string& name = names[i];
    if (name.empty()) {
      name = fmt::format("point {}", i + 1);
      if (i < labels) blank.Add(name);
    } else if (!IsUtf8(name)) {
      name = FromLatin1(name);
      latin.Add(name);
    }
    if (known.insert(name).second) continue;
    std::size_t& number = last_number.try_emplace(name, 1).first->second;
    twice.Add(name);
    std::string other;
    do other = fmt::format("{} ({})", name, ++number);
    while (!known.insert(other).second);
    name = other;
  }
  if (blank.count > 0) notes.push_back(fmt::format("blank label: named {}{}", blank.first, blank.Others()));
  if (latin.count > 0)
    notes.push_back(
        fmt::format("label that is not UTF-8, read as Latin-1: {}{}", latin.first, latin.Others()));
  if (twice.count > 0)
    notes.push_back(fmt::format("label that is there before, so that it got a number: {}{}", twice.first,
                                twice.Others()));
  return names;
}

double ReadUnit(const C3dParameters& parameters, Take& take) {
  const std::string unit = parameters.Text("POINT", "UNITS");
  const std::optional<double> millimetres = MillimetresOf(unit);
  take.unit = millimetres ? unit : "mm";
  if (!millimetres && !parameters.Empty())
    take.notes.push_back(
        unit.empty()
            ? "no unit is given; positions are taken as millimetres"
            : fmt::format("the unit {} is not known; positions are taken as millimetres", Quoted(unit)));
  return millimetres.value_or(1);
}

FrameRate ReadRate(const Source& source, const C3dParameters& parameters, std::vector<std::string>& notes) {
  const std::optional<double> declared = parameters.Number("POINT", "RATE");
  const double of_header = source.Real(11);
  constexpr double kSinglePrecision = 1e-6; // of a number, with room
  if (const std::string text = parameters.Text("MIEN", "RATE"); !text.empty()) {
    const std::optional<FrameRate> exact = ParseFrameRate(text);
    if (exact && declared && std::abs(exact->Hz() - *declared) <= kSinglePrecision * exact->Hz())
      return *exact;
    notes.push_back(
        fmt::format("MIEN:RATE is {}, which POINT:RATE does not bear out; ignored", Quoted(text)));
  }
  const std::optional<FrameRate> rate = FrameRateOf(declared.value_or(0)),
                                 header_rate = FrameRateOf(of_header);
  if (rate) {
    if (header_rate && std::abs(of_header - *declared) > 1e-3 * *declared)
      notes.push_back(
          fmt::format("POINT:RATE is {} Hz, the header's {} Hz; the first is taken", *declared, of_header));
    return *rate;
  }
  if (header_rate) {
    if (!parameters.Empty())
      notes.push_back(
          fmt::format("POINT:RATE is missing or no rate; taken as the header's {} Hz", ToText(*header_rate)));
    return *header_rate;
  }
  constexpr FrameRate kUnknown = {100, 1};
  notes.push_back(fmt::format("the file gives no frame rate; taken as {} Hz, so that times may be wrong",
                              ToText(kUnknown)));
  return kUnknown;
}

std::int64_t ReadFirstFrame(const Source& source, const C3dParameters& parameters,
                            std::vector<std::string>& notes) {
  if (const std::string text = parameters.Text("MIEN", "FIRST_FRAME"); !text.empty()) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && parsed == end && number >= -kC3dMostFrameNumber &&
        number <= kC3dMostFrameNumber)
      return number;
    notes.push_back(fmt::format("MIEN:FIRST_FRAME is {}, which is no frame number; ignored", Quoted(text)));
  }
  const std::uint32_t first = source.Word(4);
  const std::uint32_t of_trial = Field(parameters, "ACTUAL_START_FIELD").value_or(0);
  if (of_trial > kMostInWord || first == 0) return std::max(of_trial, 1u);
  return first;
}

void ReadTimecode(const C3dParameters& parameters, Take& take) {
  const std::string text = parameters.Text("MIEN", "TIMECODE");
  if (text.empty()) return;
  take.timecode = ParseTimecode(text, take.rate);
  if (!take.timecode)
    take.notes.push_back(fmt::format("MIEN:TIMECODE is {}, which is no timecode; ignored", Quoted(text)));
}

// Those of the group EVENT, whose times count from frame 1, and those of the header, whose times count from the first
// frame that the file has. Programs repeat the former in the latter.
void ReadEvents(const Source& source, const C3dParameters& parameters, double first_time, Take& take) {
  std::size_t lost = 0;
  const auto add = [&](double time, std::string label) {
    if (!std::isfinite(time)) {
      ++lost;
      return;
    }
    if (!IsUtf8(label)) label = FromLatin1(label);
    take.events.push_back({time, std::move(label)});
  };

  const std::size_t used = parameters.Count("EVENT", "USED").value_or(0);
  const std::vector<double> times = parameters.Numbers("EVENT", "TIMES"); // minutes, seconds, minutes ...
  const std::vector<std::string> labels = parameters.Texts("EVENT", "LABELS");
  const std::vector<std::string> contexts = parameters.Texts("EVENT", "CONTEXTS");
  const std::size_t count = times.size() / 2 >= used ? used : 0;
  if (count < used)
    take.notes.push_back(
        fmt::format("EVENT:TIMES has {} numbers and not two for each of {} events; they are not read",
                    times.size(), used));
  for (std::size_t i = 0; i < count; ++i) {
    std::string label = i < contexts.size() ? contexts[i] : "";
    if (i < labels.size() && !labels[i].empty()) label += (label.empty() ? "" : " ") + labels[i];
    add(times[2 * i] * 60 + times[2 * i + 1], std::move(label));
  }

  constexpr std::size_t kCountWord = 151, kFirstTimeWord = 153, kFirstLabelWord = 199, kMost = 18;
  const std::size_t in_header = source.Word(150) == kEventKey ? source.Word(kCountWord) : 0;
  if (in_header > kMost)
    take.notes.push_back(fmt::format("the header says {} events and has room for {}", in_header, kMost));
  const std::size_t from_group = take.events.size();
  for (std::size_t i = 0; i < std::min(in_header, kMost); ++i) {
    const double time = first_time + source.Real(kFirstTimeWord + 2 * i);
    const auto end = take.events.begin() + static_cast<std::ptrdiff_t>(from_group);
    const bool again = std::any_of(take.events.begin(), end, [&](const TakeEvent& event) {
      return std::abs(event.time - time) <= take.rate.Seconds(1) / 2;
    });
    if (again) continue;
    std::string_view label = source.bytes.substr(2 * (kFirstLabelWord - 1) + 4 * i, 4);
    label = label.substr(0, label.find('\0'));
    const std::size_t first = std::min(label.find_first_not_of(' '), label.size());
    add(time, std::string(label.substr(first, label.find_last_not_of(' ') + 1 - first)));
  }
  std::stable_sort(take.events.begin(), take.events.end(),
                   [](const TakeEvent& a, const TakeEvent& b) { return a.time < b.time; });
  if (lost > 0) take.notes.push_back(fmt::format("events whose time is no number, not read: {}", lost));
}

// Positions that were taken as gaps though the file does not mark them as such.
struct Oddities {
  std::uint64_t not_finite = 0; // NaN or infinite coordinates
  std::uint64_t zero = 0;       // exactly (0, 0, 0)
  std::uint64_t no_word = 0;    // the fourth number is NaN or what no 16-bit word can be
};

template <C3dProcessor kProcessor, bool kReal>
Oddities ReadFrames(const char* at, const Layout& layout, double scale_mm, std::int64_t first, Take& take) {
  constexpr std::size_t kNumber = kReal ? 4 : 2;
  const std::size_t points = layout.points;
  const std::size_t rest = layout.analog * kNumber;
  Oddities odd;
  for (std::uint64_t frame = 0; frame < layout.frames; ++frame, at += rest) {
    const std::int64_t number = first + static_cast<std::int64_t>(frame);
    const std::size_t index = take.AddFrame(number, take.rate.Seconds(number - 1));
    const Take::Row row = take.RowOf(index);
    Point* const positions = row.positions.data();
    Origin* const origins = row.origins.data();
    Sighting* const sightings = row.sightings.empty() ? nullptr : row.sightings.data();
    for (std::size_t i = 0; i < points; ++i, at += 4 * kNumber) {
      int word;
      double x, y, z;
      if constexpr (kReal) {
        const double fourth = C3dReal(kProcessor, at + 3 * kNumber);
        if (!(fourth > -1 && fourth < 0x1p15)) {
          if (!(fourth < 0x1p16)) ++odd.no_word;
          continue;
        }
        word = static_cast<int>(fourth);
        x = C3dReal(kProcessor, at);
        y = C3dReal(kProcessor, at + kNumber);
        z = C3dReal(kProcessor, at + 2 * kNumber);
        if (!(std::isfinite(x) && std::isfinite(y) && std::isfinite(z))) {
          ++odd.not_finite;
          continue;
        }
      } else {
        const auto coordinate = [at](std::size_t k) {
          return static_cast<std::int16_t>(C3dWord(kProcessor, at + k * kNumber));
        };
        word = coordinate(3);
        if (word < 0) continue;
        x = coordinate(0);
        y = coordinate(1);
        z = coordinate(2);
      }
      if (x == 0 && y == 0 && z == 0) {
        ++odd.zero;
        continue;
      }
      positions[i] = {x * scale_mm, y * scale_mm, z * scale_mm};
      origins[i] = (word & 0xFF) == 0 ? Origin::Computed : Origin::Measured;
      if (sightings)
        sightings[i] = {static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word & 0xFF)};
    }
  }
  return odd;
}

template <bool kReal>
Oddities ReadFrames(const Source& source, const Layout& layout, double scale_mm, std::int64_t first,
                    Take& take) {
  const char* const at = source.bytes.data() + layout.Begin();
  switch (source.processor) {
  case C3dProcessor::Intel:
    return ReadFrames<C3dProcessor::Intel, kReal>(at, layout, scale_mm, first, take);
  case C3dProcessor::Dec:
    return ReadFrames<C3dProcessor::Dec, kReal>(at, layout, scale_mm, first, take);
  case C3dProcessor::Sgi:
    break;
  }
  return ReadFrames<C3dProcessor::Sgi, kReal>(at, layout, scale_mm, first, take);
}

void TellOddities(const Oddities& odd, std::vector<std::string>& notes) {
  const auto tell = [&](std::uint64_t count, std::string_view what) {
    if (count > 0) notes.push_back(fmt::format("{}, taken as gaps: {}", what, count));
  };
  tell(odd.not_finite, "positions with coordinates that are NaN or infinite");
  tell(odd.zero, "positions at exactly (0, 0, 0)");
  tell(odd.no_word, "positions whose residual is NaN or above 65535");
}

} // namespace

bool IsC3d(std::string_view bytes) {
  const std::size_t zeros = LeadingZeros(bytes);
  if (zeros > kMostLeadingZeros) return false;
  bytes.remove_prefix(zeros);
  constexpr std::size_t kRecord = 24; // the header's first 12 words, the ones that every file fills
  if (bytes.size() < kRecord || Byte(bytes[1]) != kKey) return false;
  if (bytes.substr(0, kBlock).find('\0') == std::string_view::npos) return false; // text
  constexpr unsigned kUsualBlocks = 32; // before the parameters; beyond, what stands there has to bear it out
  const unsigned block = Byte(bytes[0]);
  if (block < 2) return false;
  if (block < kUsualBlocks) return true;
  const std::size_t processor = (std::size_t{block} - 1) * kBlock + 3;
  return processor < bytes.size() && Byte(bytes[processor]) >= 84 && Byte(bytes[processor]) <= 86;
}

Take ReadC3d(std::string_view bytes, const std::string& file) {
  std::vector<std::string> notes;
  const std::size_t zeros = LeadingZeros(bytes);
  if (zeros > 0) notes.push_back(fmt::format("{} zero bytes before the header, skipped", zeros));
  Source source{file, bytes.substr(zeros), zeros};
  if (source.bytes.size() < kBlock)
    source.Fail(source.bytes.size(), "the file ends in its header, which has 512 bytes", kExportAgain);
  const std::size_t parameters_begin = source.ParametersBegin();
  if (parameters_begin + 4 > source.bytes.size())
    source.Fail(source.bytes.size(),
                fmt::format("the file ends before its parameters, at block {}", Byte(source.bytes[0])),
                kExportAgain);
  source.processor = ReadProcessor(source, notes);

  const std::size_t data_begin = (std::max<std::size_t>(source.Word(9), 1) - 1) * kBlock;
  C3dParameters parameters(source.bytes, parameters_begin, data_begin, zeros, source.processor, notes);
  const Layout layout = FindLayout(source, parameters, notes);
  if (layout.Begin() > parameters_begin && parameters.CutAt(layout.Begin()))
    notes.push_back(
        fmt::format("byte {}: the data begin within the parameters; those that lie beyond are ignored",
                    layout.Begin() + zeros));

  Take take(MarkerNames(parameters, layout.points, notes));
  take.notes = std::move(notes);
  constexpr std::string_view kProcessors[] = {"Intel", "DEC", "SGI"};
  take.flavour = fmt::format("{}, {}", kProcessors[static_cast<std::size_t>(source.processor)],
                             layout.real ? "float" : "integer");
  const double unit_mm = ReadUnit(parameters, take);
  take.rate = ReadRate(source, parameters, take.notes);
  ReadTimecode(parameters, take);
  const std::int64_t first = ReadFirstFrame(source, parameters, take.notes);
  ReadEvents(source, parameters, take.rate.Seconds(first - 1), take);

  const double scale = ScaleOf(source, parameters, layout.real != 0);
  take.residual_mm = scale * unit_mm;
  TellOddities(layout.real ? ReadFrames<true>(source, layout, unit_mm, first, take)
                           : ReadFrames<false>(source, layout, scale * unit_mm, first, take),
               take.notes);
  return take;
}

} // namespace mien
