#include "host/compare/align.h"

#include "host/base/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace mien {

namespace {

constexpr double kSame = 0.01; // frames of A

bool RatesAgree(const Recording& a, const Recording& b) {
  constexpr double kTolerance = 1e-4; // a tenth of what is between 30 and 30000/1001
  return std::abs(a.rate.Hz() - b.rate.Hz()) <= kTolerance * a.rate.Hz();
}

/// Seconds by which the timecode of B's first frame is later than that of A's.
double TimecodeDifference(const Recording& a, const Recording& b) {
  const Timecode &from = *a.timecode, &to = *b.timecode;
  const bool counts_alike = from.rate == to.rate && from.drop == to.drop;
  const double day = counts_alike ? static_cast<double>(from.CountsADay()) / from.rate.Hz() : 24 * 3600;
  const double seconds = counts_alike ? static_cast<double>(to.count - from.count) / from.rate.Hz()
                                      : to.SecondsOfDay() - from.SecondsOfDay();
  // A .json keeps whole counts: the same recording may have a fraction in one file and none in the other.
  const bool one_is_whole = (a.timecode_offset_s == 0) != (b.timecode_offset_s == 0);
  if (counts_alike && one_is_whole && to.count == from.count) return 0;
  return std::remainder(seconds, day) + b.timecode_offset_s - a.timecode_offset_s;
}

AlignBy ChooseBy(const Recording& a, const Recording& b, const std::optional<AlignBy>& asked) {
  const bool have_timecodes = a.timecode && b.timecode;
  if (asked == AlignBy::Timecode && !have_timecodes)
    throw InputError(Code::Missing, a.timecode ? b.file : a.file, "", "the file has no timecode",
                     "align by frames or time");
  if (asked) return *asked;
  return have_timecodes ? AlignBy::Timecode : RatesAgree(a, b) ? AlignBy::Frames : AlignBy::Time;
}

/// Where a recording has the moment at a position, if it has it. `i` is a frame not after the moment, unless
/// it is the first, and moves on to it.
std::optional<Alignment::Moment> Find(const LongVector<double>& positions,
                                      const LongVector<std::int64_t>& frames, double position,
                                      std::size_t& i) {
  while (i + 1 < positions.size() && positions[i + 1] <= position) ++i;
  if (std::abs(positions[i] - position) <= kSame) return Alignment::Moment{0, i, true};
  if (i + 1 == positions.size() || positions[i] > position) return std::nullopt;
  if (std::abs(positions[i + 1] - position) <= kSame) return Alignment::Moment{0, i + 1, true};
  if (frames[i + 1] - frames[i] > 1) return std::nullopt;
  return Alignment::Moment{0, i, false};
}

/// "frames 1 to 20 (10:00:00:00 to 10:00:00:19)"
std::string RangeOf(const Recording& recording, AlignBy by) {
  const std::size_t last = recording.frames.size() - 1;
  if (by == AlignBy::Timecode)
    return fmt::format("{} to {}", recording.TimecodeAt(0), recording.TimecodeAt(last));
  if (by == AlignBy::Frames)
    return fmt::format("frames {} to {}", recording.frames[0], recording.frames[last]);
  return fmt::format("{:.6g} s from its first frame", recording.times[last] - recording.times[0]);
}

void CheckFrames(const Recording& recording) {
  if (recording.frames.empty())
    throw InputError(Code::Empty, recording.file, "", "there are no frames", "export the file again");
}

/// "2 frames later"
std::string Later(double frames) {
  return fmt::format("{:.6g} {} {}", std::abs(frames), std::abs(frames) == 1 ? "frame" : "frames",
                     frames < 0 ? "earlier" : "later");
}

double Rounded(double frames) { return std::round(frames * 1000) / 1000; }

} // namespace

std::string_view ToText(AlignBy by) {
  switch (by) {
  case AlignBy::Timecode:
    return "timecode";
  case AlignBy::Frames:
    return "frames";
  case AlignBy::Time:
    break;
  }
  return "time";
}

std::string Alignment::Text() const {
  std::string text = by == AlignBy::Timecode ? "by timecode"
                     : by == AlignBy::Frames ? "by frame number"
                                             : "by time from the first frame";
  if (const double frames = Rounded(b_starts); frames != 0) text += "; B starts " + Later(frames);
  if (offset_frames != 0) text += fmt::format("; B is read {}", Later(offset_frames));
  return text;
}

Alignment Align(const Recording& a, const Recording& b, const AlignOptions& options) {
  CheckFrames(a);
  CheckFrames(b);
  Alignment alignment;
  alignment.by = ChooseBy(a, b, options.by);
  alignment.offset_frames = options.offset_frames;
  const double hz = a.rate.Hz();
  if (alignment.by == AlignBy::Frames)
    alignment.b_starts = static_cast<double>(b.frames[0] - a.frames[0]);
  else if (alignment.by == AlignBy::Timecode)
    alignment.b_starts = TimecodeDifference(a, b) * hz;
  const auto positions = [&](const Recording& recording, double first) {
    LongVector<double> all(recording.frames.size());
    for (std::size_t f = 0; f < all.size(); ++f)
      all[f] = first + (alignment.by == AlignBy::Frames
                            ? static_cast<double>(recording.frames[f] - recording.frames[0])
                            : (recording.times[f] - recording.times[0]) * hz);
    return all;
  };
  alignment.positions_a = positions(a, 0);
  alignment.positions_b = positions(b, alignment.b_starts - alignment.offset_frames);

  std::size_t at = 0;
  for (std::size_t f = 0; f < a.frames.size(); ++f) {
    auto moment = Find(alignment.positions_b, b.frames, alignment.positions_a[f], at);
    if (!moment) continue;
    moment->a = f;
    if (!moment->exact) ++alignment.interpolated;
    alignment.moments.push_back(*moment);
  }
  alignment.only_a = a.frames.size() - alignment.moments.size();
  at = 0;
  for (const double position : alignment.positions_b)
    if (!Find(alignment.positions_a, a.frames, position, at)) ++alignment.only_b;
  if (alignment.moments.empty())
    throw InputError(Code::Contradiction, b.file, "",
                     fmt::format("no frame is in both: aligned {}, A has {}, B {}", alignment.Text(),
                                 RangeOf(a, alignment.by), RangeOf(b, alignment.by)),
                     "align by something else (--align), or check the offset");
  return alignment;
}

} // namespace mien
