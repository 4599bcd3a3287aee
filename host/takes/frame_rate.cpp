#include "host/takes/frame_rate.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

namespace mien {

namespace {

constexpr double kSlowest = 1e-6, kFastest = 1e9;
constexpr double kLargest = 1e15; // of a fraction's two numbers: both are exact as doubles

FrameRate Reduced(std::int64_t numerator, std::int64_t denominator) {
  const std::int64_t divisor = std::gcd(numerator, denominator);
  return {numerator / divisor, denominator / divisor};
}

} // namespace

std::optional<FrameRate> FrameRateOf(double hz) {
  if (!(hz >= kSlowest && hz <= kFastest)) return std::nullopt;
  // Single precision is off by less than 6e-8 of the rate; a whole rate and its NTSC neighbour are 1e-3
  // apart.
  const auto is = [hz](double rate) { return std::abs(rate - hz) <= 1e-6 * hz; };
  const double whole = std::round(hz);
  if (whole > 0 && is(whole)) return FrameRate{static_cast<std::int64_t>(whole), 1};
  // NTSC rates are written with two decimals or more: 23.98 is off by 1.7e-4 of the rate. A measured rate may
  // be as near to one of them and not mean it: 59.95.
  const double camera = std::round(hz * 1.001), ntsc = camera * 1000 / 1001;
  constexpr double kCameras[] = {24, 30, 48, 60, 120, 240};
  if (std::find(std::begin(kCameras), std::end(kCameras), camera) != std::end(kCameras) &&
      (is(ntsc) || is(std::round(ntsc * 100) / 100) || is(std::round(ntsc * 1000) / 1000)))
    return Reduced(static_cast<std::int64_t>(camera) * 1000, 1001);

  // The first convergent of the continued fraction that is within a billionth.
  double rest = hz;
  std::int64_t above = std::llround(std::floor(rest)), below = 1, above_before = 1, below_before = 0;
  while (std::abs(static_cast<double>(above) / static_cast<double>(below) - hz) > 1e-9 * hz) {
    rest = 1 / (rest - std::floor(rest));
    if (!(rest < kLargest / static_cast<double>(std::max(above, below)))) break;
    const std::int64_t digit = std::llround(std::floor(rest));
    above_before = std::exchange(above, digit * above + above_before);
    below_before = std::exchange(below, digit * below + below_before);
  }
  return FrameRate{above, below};
}

std::string ToText(const FrameRate& rate) {
  if (rate.denominator == 1) return fmt::format("{}", rate.numerator);
  constexpr std::int64_t kDecimals = 1000000;
  if (kDecimals % rate.denominator == 0 && FrameRateOf(rate.Hz()) == rate) // 2997/100 would be read as NTSC's
    return fmt::format("{:.15g}", rate.Hz());
  return fmt::format("{}/{}", rate.numerator, rate.denominator);
}

std::optional<FrameRate> ParseFrameRate(const std::string& text) {
  const char* const end = text.data() + text.size();
  if (const std::size_t slash = text.find('/'); slash != std::string::npos) {
    std::int64_t numerator = 0, denominator = 0;
    const auto above = std::from_chars(text.data(), end, numerator);
    const auto below = std::from_chars(text.data() + slash + 1, end, denominator);
    if (above.ec != std::errc() || above.ptr != text.data() + slash || below.ec != std::errc() ||
        below.ptr != end || numerator <= 0 || denominator <= 0)
      return std::nullopt;
    const FrameRate rate = Reduced(numerator, denominator);
    const bool possible = rate.Hz() >= kSlowest && rate.Hz() <= kFastest;
    return possible && static_cast<double>(std::max(rate.numerator, rate.denominator)) <= kLargest
               ? std::optional(rate)
               : std::nullopt;
  }
  double hz = 0;
  const auto [parsed, error] = std::from_chars(text.data(), end, hz);
  return error == std::errc() && parsed == end ? FrameRateOf(hz) : std::nullopt;
}

} // namespace mien
