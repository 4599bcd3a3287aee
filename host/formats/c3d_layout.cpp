#include "host/formats/c3d_layout.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace mien::c3d {
namespace {

// What a file gives for one number in several places: the likeliest first, each value once.
struct Claims {
  struct Claim {
    std::uint64_t value;
    std::string by; // empty where it is assumed
  };
  std::vector<Claim> list;

  void Add(std::optional<std::uint64_t> value, std::string_view by) {
    if (value && std::none_of(list.begin(), list.end(), [&](const Claim& c) { return c.value == *value; }))
      list.push_back({*value, std::string(by)});
  }
  void AddUnlessZero(std::optional<std::uint64_t> value, std::string_view by) {
    if (value != std::uint64_t{0}) Add(value, by);
  }
  bool AreAssumed() const { return list[0].by.empty(); }
};

struct LayoutClaims {
  Claims points, frames, real, analog, block;
  Claims further_frames; // asked only where none of `frames` fills the file: programs often get these wrong
};

bool IsScale(std::optional<double> scale) { return scale && std::isfinite(*scale) && *scale != 0; }

// A word has this value also where there are more frames.
bool IsMostOfAWord(std::optional<std::uint32_t> frames) { return frames == kMostInWord; }

// Collects the claims without judging them.
class ClaimReader {
public:
  ClaimReader(const Header& header, const Parameters& parameters, std::vector<Note>& notes)
      : header_(header), parameters_(parameters), notes_(notes) {}

  LayoutClaims Read() {
    LayoutClaims claims;
    claims.points = Points();
    claims.frames = Frames();
    claims.further_frames = FurtherFrames();
    claims.real = Real();
    claims.analog = Analog();
    claims.block = Block();
    if (!missing_.empty() && !parameters_.Empty())
      notes_.push_back(
          {Code::Missing, "",
           fmt::format("missing, so the header's values are taken: {}", fmt::join(missing_, ", "))});
    return claims;
  }

private:
  Claims Points() {
    Claims points;
    const std::optional<std::uint32_t> used = parameters_.Count("POINT", "USED");
    if (used <= kMostInWord) points.AddUnlessZero(used, "POINT:USED");
    if (!used) missing_.emplace_back("POINT:USED");
    points.AddUnlessZero(header_.Word(2), "the header");
    if (points.list.empty())
      throw InputError(Code::Empty, header_.file, "", "there are no markers: the number of points is 0",
                       "export the take again, with its markers");
    return points;
  }

  Claims Frames() {
    Claims frames;
    const std::optional<std::uint32_t> declared = parameters_.Count("POINT", "FRAMES");
    const std::optional<std::uint32_t> declared_long = parameters_.Count("POINT", "LONG_FRAMES");
    const std::optional<std::uint64_t> of_trial = FramesOfTrial();
    if (!IsMostOfAWord(declared)) frames.AddUnlessZero(declared, "POINT:FRAMES");
    const bool open = frames.list.empty();
    if (open || declared_long > kMostInWord) frames.AddUnlessZero(declared_long, "POINT:LONG_FRAMES");
    if (open || of_trial > kMostInWord) frames.Add(of_trial, "TRIAL:ACTUAL_START_FIELD and ACTUAL_END_FIELD");
    if (IsMostOfAWord(declared) && frames.list.empty()) frames.Add(kMostInWord, "POINT:FRAMES");
    if (frames.list.empty()) {
      if (!declared) missing_.emplace_back("POINT:FRAMES");
      frames.Add(FramesOfHeader(), "the header");
    }
    if (frames.list.empty())
      throw InputError(Code::Empty, header_.file, "", "there are no frames: their number is 0",
                       "export the take again, with its frames");
    return frames;
  }

  Claims FurtherFrames() const {
    Claims frames;
    frames.Add(FramesOfTrial(), "TRIAL:ACTUAL_START_FIELD and ACTUAL_END_FIELD");
    frames.Add(FramesOfHeader(),
               fmt::format("the header (frames {} to {})", header_.Word(4), header_.Word(5)));
    return frames;
  }

  std::optional<std::uint64_t> FramesOfHeader() const {
    const std::uint64_t first = header_.Word(4), last = header_.Word(5);
    return last >= first && last > 0 ? std::optional(last - first + 1) : std::nullopt;
  }

  std::optional<std::uint64_t> FramesOfTrial() const {
    const auto first = parameters_.CountOfTwoWords("TRIAL", "ACTUAL_START_FIELD");
    const auto last = parameters_.CountOfTwoWords("TRIAL", "ACTUAL_END_FIELD");
    if (!first || !last || *last < *first) return std::nullopt;
    return std::uint64_t{*last} - *first + 1;
  }

  // From the scale's sign, which is negative where the data are floats.
  Claims Real() {
    Claims real;
    const std::optional<double> scale = parameters_.Number("POINT", "SCALE");
    const double header_scale = header_.Real(7);
    if (IsScale(scale)) real.Add(*scale < 0, "POINT:SCALE");
    if (!scale) missing_.emplace_back("POINT:SCALE");
    if (IsScale(header_scale)) real.Add(header_scale < 0, "the header");
    if (real.list.empty()) real.Add(1, "");
    return real;
  }

  Claims Analog() const {
    Claims analog;
    const double rate = parameters_.Number("POINT", "RATE").value_or(header_.Real(11));
    analog.Add(AnalogPerFrame(parameters_.Number("ANALOG", "RATE").value_or(0) / rate),
               "ANALOG:USED and RATE");
    analog.Add(AnalogPerFrame(header_.Word(10)), "ANALOG:USED and the header's samples");
    analog.Add(header_.Word(3), "the header");
    return analog;
  }

  // With so many samples per frame.
  std::optional<std::uint64_t> AnalogPerFrame(double samples) const {
    const std::optional<std::uint32_t> channels = parameters_.Count("ANALOG", "USED");
    samples = std::round(samples);
    if (!channels || (*channels > 0 && !(samples >= 1 && samples <= kMostInWord))) return std::nullopt;
    return *channels == 0 ? 0 : *channels * static_cast<std::uint64_t>(samples);
  }

  Claims Block() {
    Claims block;
    const auto add = [&](std::optional<std::uint64_t> value, std::string_view by) {
      if (value > 1u) block.Add(value, by);
    };
    const std::optional<std::uint32_t> data_start = parameters_.Count("POINT", "DATA_START");
    add(data_start, "POINT:DATA_START");
    if (!data_start) missing_.emplace_back("POINT:DATA_START");
    add(header_.Word(9), "the header");
    if (block.list.empty()) {
      block.Add((parameters_.End() + kBlock - 1) / kBlock + 1, "");
      notes_.push_back(
          {Code::Assumed, "",
           fmt::format("the data's first block is missing; taken as block {}, which follows the parameters",
                       block.list[0].value)});
    }
    return block;
  }

  const Header& header_;
  const Parameters& parameters_;
  std::vector<Note>& notes_;
  std::vector<std::string> missing_; // parameters that the header replaces
};

// How badly a layout fits the file's size; less is better.
int Misfit(const Layout& layout, std::size_t size, std::size_t parameters_end) {
  const int fills = layout.frames > layout.Room(size) ? 4 : size - layout.End() >= kBlock ? 2 : 0;
  return fills + (layout.Begin() < parameters_end ? 1 : 0);
}
constexpr int kFills = 2; // below: the data end in the file's last block

// Of all combinations of the claims, the first of those that fit best, and its misfit.
std::pair<Layout, int> BestFit(const LayoutClaims& claims, std::size_t size, std::size_t parameters_end) {
  std::pair<Layout, int> best{{}, std::numeric_limits<int>::max()};
  for (const auto& b : claims.block.list)
    for (const auto& a : claims.analog.list)
      for (const auto& p : claims.points.list)
        for (const auto& f : claims.frames.list)
          for (const auto& r : claims.real.list) {
            const Layout layout{p.value, a.value, f.value, b.value, r.value != 0};
            const int misfit = Misfit(layout, size, parameters_end);
            if (misfit < best.second) best = {layout, misfit};
          }
  return best;
}

// Some programs write the last frame's number as POINT:FRAMES. Then one of the further counts fills the file,
// and the count that is too large does not, or only with zeros from the padding of the last block.
void TryFurtherFrames(const Header& header, std::size_t parameters_end, LayoutClaims& claims, Layout& layout,
                      int& misfit) {
  for (const Claims::Claim& claim : claims.further_frames.list) {
    Layout other = layout;
    other.frames = claim.value;
    const int other_misfit = Misfit(other, header.bytes.size(), parameters_end);
    if (other_misfit >= kFills) continue;
    const bool padded = other.frames < layout.frames &&
                        header.bytes.find_first_not_of('\0', other.End()) == std::string_view::npos;
    if (misfit < kFills && !padded) continue;
    layout = other;
    misfit = other_misfit;
    claims.frames.Add(claim.value, claim.by);
  }
}

void NoteChoice(const Claims& claims, std::uint64_t taken, std::string_view what, bool fills,
                std::vector<Note>& notes) {
  if (claims.list.size() < 2) return;
  std::vector<std::string> said;
  for (const Claims::Claim& claim : claims.list)
    said.push_back(fmt::format("{} by {}", claim.value, claim.by));
  notes.push_back({Code::Contradiction, "",
                   fmt::format("{}: {}; {} is taken{}", what, fmt::join(said, ", "), taken,
                               fills ? ", with which the data fill the file" : "")});
}

// Where the scales disagree, and where there is none; then the data must fill the file as floats.
void NoteScale(const Header& header, const Parameters& parameters, const Claims& real, const Layout& layout,
               bool fills, std::vector<Note>& notes) {
  if (real.list.size() > 1)
    notes.push_back(
        {Code::Contradiction, "",
         fmt::format("POINT:SCALE is {}, the header's {}: the data are taken as {}{}",
                     parameters.Number("POINT", "SCALE").value_or(0), header.Real(7),
                     layout.real ? "floats" : "integers", fills ? ", with which they fill the file" : "")});
  if (!real.AreAssumed()) return;
  if (!fills)
    throw InputError(Code::Syntax, header.file, "",
                     "POINT:SCALE is 0 or not a number, so the data may be integers or floats", kExportAgain);
  notes.push_back({Code::Assumed, "",
                   "POINT:SCALE is 0 or not a number; the data fill the file as floats and are read as "
                   "floats, without residuals"});
}

// Limits the declared frames to those in the file.
void FitFrames(const Header& header, const Parameters& parameters, bool fills, Layout& layout,
               std::vector<Note>& notes) {
  const std::uint64_t room = layout.Room(header.bytes.size());
  if (room == 0)
    throw InputError(Code::Truncated, header.file, "",
                     fmt::format("the file has {} bytes and ends before its first frame does, at byte {}",
                                 header.bytes.size() + header.skipped,
                                 layout.Begin() + layout.FrameSize() + header.skipped),
                     kExportAgain);
  if (layout.frames > room) {
    notes.push_back(
        {Code::Truncated, "",
         fmt::format("{} frames are declared, and the file has {}: it is cut short", layout.frames, room)});
    layout.frames = room;
  } else if (!fills && room > layout.frames) {
    if (layout.frames == kMostInWord && IsMostOfAWord(parameters.Count("POINT", "FRAMES"))) {
      notes.push_back(
          {Code::Contradiction, "",
           fmt::format("{} frames are declared, the most that POINT:FRAMES can hold, and the file "
                       "has {}: all are read",
                       layout.frames, room)});
      layout.frames = room;
    } else {
      notes.push_back(
          {Code::Ignored, "",
           fmt::format("{} frames are declared, and the file has room for {}: the rest is ignored",
                       layout.frames, room)});
    }
  }
}

// The first of the file's scales that has the sign of its kind of numbers.
double ScaleOf(const Header& header, const Parameters& parameters, bool real) {
  for (const std::optional<double> scale :
       {parameters.Number("POINT", "SCALE"), std::optional(header.Real(7))})
    if (IsScale(scale) && (*scale < 0) == real) return std::abs(*scale);
  return 0;
}

} // namespace

Layout FindLayout(const Header& header, const Parameters& parameters, std::vector<Note>& notes) {
  if (parameters.Empty())
    notes.push_back({Code::Missing, "",
                     "there are no parameters: markers are numbered, positions are taken as millimetres, and "
                     "the rest comes from the header"});
  LayoutClaims claims = ClaimReader(header, parameters, notes).Read();
  auto [layout, misfit] = BestFit(claims, header.bytes.size(), parameters.End());
  TryFurtherFrames(header, parameters.End(), claims, layout, misfit);
  const bool fills = misfit < kFills;
  NoteChoice(claims.points, layout.points, "points per frame", fills, notes);
  NoteChoice(claims.frames, layout.frames, "frames", fills, notes);
  NoteChoice(claims.analog, layout.analog, "analog numbers per frame", fills, notes);
  NoteChoice(claims.block, layout.block, "the data's first block", fills, notes);
  NoteScale(header, parameters, claims.real, layout, fills, notes);
  FitFrames(header, parameters, fills, layout, notes);
  layout.scale = ScaleOf(header, parameters, layout.real);
  return layout;
}

} // namespace mien::c3d
