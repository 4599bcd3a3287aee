#include "host/takes/timecode.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <string_view>

namespace mien {

namespace {

constexpr std::int64_t kMinutesADay = 1440;

/// Numbers per second: 30 for 29.97 counts per second.
std::int64_t Numbers(const FrameRate& rate) { return std::llround(rate.Hz()); }

/// The numbers that each minute skips, except every tenth: 2 for 30, 4 for 60.
std::int64_t Skipped(const Timecode& timecode) { return timecode.drop ? Numbers(timecode.rate) / 15 : 0; }

bool IsPossible(const Timecode& timecode) {
  const std::int64_t numbers = Numbers(timecode.rate);
  constexpr std::int64_t kMost = 1000; // counts per second; timecodes have 24 to 60
  return numbers >= 1 && numbers <= kMost && (!timecode.drop || numbers % 30 == 0);
}

/// The number of a count since midnight, within one day.
std::int64_t Number(const Timecode& timecode, std::int64_t count) {
  const std::int64_t skipped = Skipped(timecode);
  if (skipped == 0) return count;
  const std::int64_t in_minute = 60 * Numbers(timecode.rate) - skipped; // of a minute that skips
  const std::int64_t in_ten = 10 * in_minute + skipped;
  const std::int64_t rest = count % in_ten;
  const std::int64_t minutes = rest < in_minute + skipped ? 0 : (rest - skipped) / in_minute;
  return count + (count / in_ten * 9 + minutes) * skipped;
}

} // namespace

std::int64_t Timecode::CountsADay() const {
  constexpr std::int64_t kMinutesThatSkip = kMinutesADay - kMinutesADay / 10;
  return kMinutesADay * 60 * Numbers(rate) - kMinutesThatSkip * Skipped(*this);
}

double Timecode::SecondsOfDay() const {
  return static_cast<double>(Number(*this, count)) / static_cast<double>(Numbers(rate));
}

std::string Timecode::At(double seconds) const {
  fmt::memory_buffer text;
  AppendTo(fmt::appender(text), seconds);
  return fmt::to_string(text);
}

void Timecode::AppendTo(fmt::appender text, double seconds) const {
  constexpr std::int64_t kParts = 1000;
  const double counts_later = seconds * rate.Hz();
  // In thousandths of a count; a day has far fewer than 2^53, and later times wrap around.
  const auto day = static_cast<double>(CountsADay());
  std::int64_t thousandths = std::llround(std::fmod(counts_later, day) * kParts) + count * kParts;
  const std::int64_t thousandths_a_day = CountsADay() * kParts;
  thousandths = (thousandths % thousandths_a_day + thousandths_a_day) % thousandths_a_day;

  const std::int64_t number = Number(*this, thousandths / kParts);
  const std::int64_t whole = number / Numbers(rate);
  fmt::format_to(text, "{:02}:{:02}:{:02}{}{:02}", whole / 3600, whole / 60 % 60, whole % 60,
                 drop ? ';' : ':', number % Numbers(rate));
  if (thousandths % kParts != 0) fmt::format_to(text, ".{:03}", thousandths % kParts);
}

std::optional<Timecode> ParseTimecode(const std::string& text, const FrameRate& rate_without,
                                      double* fraction) {
  std::string_view rest = text;
  Timecode timecode;
  std::optional<FrameRate> rate;
  if (const std::size_t at = rest.find('@'); at != std::string_view::npos) {
    rate = ParseFrameRate(std::string(rest.substr(at + 1)));
    if (!rate) return std::nullopt;
    rest = rest.substr(0, at);
  }

  std::int64_t field[4] = {};
  for (int i = 0; i < 4; ++i) {
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), field[i]);
    if (error != std::errc() || field[i] < 0 || end == rest.data() || rest[0] == '-') return std::nullopt;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    if (i == 3) break;
    if (rest.empty() || (rest[0] != ':' && !(i == 2 && rest[0] == ';'))) return std::nullopt;
    timecode.drop = rest[0] == ';';
    rest.remove_prefix(1);
  }
  if (fraction) *fraction = 0;
  if (fraction && rest.size() > 1 && rest[0] == '.') {
    const auto [end, error] =
        std::from_chars(rest.data(), rest.data() + rest.size(), *fraction, std::chars_format::fixed);
    if (error == std::errc()) rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  }
  if (!rest.empty()) return std::nullopt;

  timecode.rate = rate ? *rate : timecode.drop ? FrameRate{30000, 1001} : rate_without;
  if (timecode.rate.numerator <= 0 || !IsPossible(timecode)) return std::nullopt;
  const std::int64_t numbers = Numbers(timecode.rate);
  const auto [hours, minutes, seconds, frame] = field;
  if (hours > 23 || minutes > 59 || seconds > 59 || frame >= numbers) return std::nullopt;
  const std::int64_t minute = hours * 60 + minutes;
  const std::int64_t skipped = Skipped(timecode);
  if (timecode.drop && minute % 10 != 0 && seconds == 0 && frame < skipped) return std::nullopt;
  timecode.count = (minute * 60 + seconds) * numbers + frame - (minute - minute / 10) * skipped;
  return timecode;
}

std::string ToText(const Timecode& timecode) { return timecode.At(0) + "@" + ToText(timecode.rate); }

} // namespace mien
