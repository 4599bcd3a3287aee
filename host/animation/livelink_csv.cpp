#include "host/animation/livelink_csv.h"

#include "host/base/rotation.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numbers>
#include <string_view>

namespace mien {

namespace {

constexpr std::string_view kAngles[] = {"HeadYaw",     "HeadPitch",     "HeadRoll",
                                        "LeftEyeYaw",  "LeftEyePitch",  "LeftEyeRoll",
                                        "RightEyeYaw", "RightEyePitch", "RightEyeRoll"};
constexpr std::size_t kEyes = 2;

/// On this format's clock of 60 counts per second, whatever the take's own timecode counts.
void AppendTimeOfDay(fmt::appender row, double seconds) {
  constexpr std::int64_t kSecond = 60'000; // thousandths of a count
  constexpr std::int64_t kDay = 86'400 * kSecond;
  const std::int64_t of_day = std::llround(std::fmod(seconds, 86400) * kSecond); // below 0 before midnight
  const std::int64_t thousandths = (of_day + kDay) % kDay;
  const std::int64_t whole = thousandths / kSecond, counts = thousandths % kSecond;
  fmt::format_to(row, "{:02}:{:02}:{:02}:{:02}.{:03}", whole / 3600, whole / 60 % 60, whole % 60,
                 counts / 1000, counts % 1000);
}

/// A number that ten decimals, as these apps write them, round to 0 has no sign.
double WithoutSignOfZero(double value) { return std::fabs(value) < 0.5e-10 ? 0.0 : value; }

} // namespace

LiveLinkCsvWriter::LiveLinkCsvWriter(const AnimationLayout& layout, std::ostream& out)
    : CsvAnimationWriter(out), layout_(layout), columns_(layout.shapes) {
  Rows header;
  const fmt::appender row(header);
  fmt::format_to(row, "Timecode,BlendShapeCount");
  for (const std::string_view name : kArkitNames)
    fmt::format_to(row, ",{}{}", static_cast<char>(name[0] - 'a' + 'A'), name.substr(1));
  fmt::format_to(row, ",{}", fmt::join(kAngles, ","));
  WriteHeader(header);
}

std::vector<std::string> LiveLinkCsvWriter::Missing() const {
  std::vector<std::string> missing;
  for (std::size_t c = 0; c < kArkitNames.size(); ++c)
    if (!columns_.Has(c)) missing.emplace_back(kArkitNames[c]);
  return missing;
}

// A timecode may count 29.97 numbers per second; its seconds are those that its numbers show.
void LiveLinkCsvWriter::Begin(const AnimationFrame& first) {
  start_ = layout_.timecode ? layout_.timecode->SecondsOfDay() + layout_.timecode_offset_s - first.time : 0;
}

void LiveLinkCsvWriter::AppendRow(Rows& rows, const AnimationFrame& frame) const {
  AppendTimeOfDay(fmt::appender(rows), start_ + frame.time);
  fmt::format_to(fmt::appender(rows), ",{}", kArkitNames.size() + std::size(kAngles));
  for (std::size_t c = 0; c < kArkitNames.size(); ++c)
    AppendTenDecimals(rows, WithoutSignOfZero(columns_.Weight(c, frame.shape_weights)));
  VgeRVector degrees;
  const VTxRotationOrder roll_first = {.mOrder = 4}; // z, x, y
  roll_first.M2V(degrees, RotationOf(layout_.HeadMotion(frame.head)));
  constexpr double kRadians = std::numbers::pi / 180;
  for (const double angle : {degrees.y, degrees.x, degrees.z})
    AppendTenDecimals(rows, WithoutSignOfZero(angle * kRadians));
  for (std::size_t eye = 0; eye < kEyes; ++eye) {
    const auto& [yaw, pitch] = frame.eyes ? (*frame.eyes)[eye] : EyeAngles();
    for (const double angle : {-yaw, pitch, 0.0})
      AppendTenDecimals(rows, WithoutSignOfZero(angle)); // yaw to the performer's right
  }
}

} // namespace mien
