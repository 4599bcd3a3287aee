#include "host/animation/livelink_csv.h"

#include "host/character/arkit_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>

namespace mien {

namespace {

/// On this format's clock of 60 counts a second, whatever the take's own timecode counts.
std::string TimeOfDay(double seconds) {
  constexpr std::int64_t kSecond = 60'000; // thousandths of a count
  constexpr std::int64_t kDay = 86'400 * kSecond;
  const std::int64_t of_day = std::llround(std::fmod(seconds, 86400) * kSecond); // below 0 before midnight
  const std::int64_t thousandths = (of_day + kDay) % kDay;
  const std::int64_t whole = thousandths / kSecond, counts = thousandths % kSecond;
  return fmt::format("{:02}:{:02}:{:02}:{:02}.{:03}", whole / 3600, whole / 60 % 60, whole % 60,
                     counts / 1000, counts % 1000);
}

/// With ten decimals, as these apps write; a number that they make 0 has no sign.
void Append(fmt::memory_buffer& row, double value) {
  fmt::format_to(std::back_inserter(row), ",{:.10f}", std::fabs(value) < 0.5e-10 ? 0.0 : value);
}

/// The shapes that mean each of the 52 names.
using Columns = std::array<std::vector<std::size_t>, kArkitNames.size()>;

Columns FindColumns(const std::vector<std::string>& shapes) {
  Columns columns, halves;
  for (std::size_t s = 0; s < shapes.size(); ++s)
    if (const auto match = FindArkitName(shapes[s]))
      (match->half == ArkitMatch::Half::Both ? columns : halves)[match->name].push_back(s);
  for (std::size_t c = 0; c < columns.size(); ++c) {
    // Of several spellings the name itself, or else the first.
    const auto exact = std::find_if(columns[c].begin(), columns[c].end(),
                                    [&](std::size_t s) { return shapes[s] == kArkitNames[c]; });
    if (exact != columns[c].end())
      columns[c] = {*exact};
    else if (!columns[c].empty())
      columns[c].resize(1);
    else
      columns[c] = halves[c];
  }
  return columns;
}

} // namespace

std::vector<std::string> WriteLiveLinkCsv(const Animation& animation, std::ostream& out) {
  constexpr std::string_view kAngles[] = {"HeadYaw",     "HeadPitch",     "HeadRoll",
                                          "LeftEyeYaw",  "LeftEyePitch",  "LeftEyeRoll",
                                          "RightEyeYaw", "RightEyePitch", "RightEyeRoll"};
  const VTxRotationOrder roll_first = {.mOrder = 4}; // z, x, y
  const Columns columns = FindColumns(animation.shapes);

  std::vector<std::string> missing;
  fmt::memory_buffer row;
  const auto end = std::back_inserter(row);
  fmt::format_to(end, "Timecode,BlendShapeCount");
  for (std::size_t c = 0; c < columns.size(); ++c) {
    std::string title(kArkitNames[c]);
    if (columns[c].empty()) missing.push_back(title);
    title[0] = static_cast<char>(title[0] - 'a' + 'A');
    fmt::format_to(end, ",{}", title);
  }
  fmt::format_to(end, ",{}", fmt::join(kAngles, ","));
  // A timecode, which may count 29.97 numbers a second, is told in seconds by the numbers that it shows.
  const double start = animation.timecode ? animation.timecode->SecondsOfDay() - animation.times[0] : 0;
  for (std::size_t f = 0; f < animation.frames.size(); ++f) {
    fmt::format_to(end, "\n{},{}", TimeOfDay(start + animation.times[f]),
                   columns.size() + std::size(kAngles));
    for (const std::vector<std::size_t>& shapes : columns) {
      double sum = 0;
      for (const std::size_t s : shapes) sum += animation.ShapeWeight(f, s);
      Append(row, shapes.empty() ? 0 : sum / static_cast<double>(shapes.size()));
    }
    const VgeAMatrix head = animation.HeadMotion(f);
    VgeRMatrix rotation;
    std::copy(&head.m[0][0], &head.m[3][0], &rotation.m[0][0]);
    VgeRVector degrees;
    roll_first.M2V(degrees, rotation);
    constexpr double kRadians = std::numbers::pi / 180;
    for (const double angle : {degrees.y, degrees.x, degrees.z}) Append(row, angle * kRadians);
    for (std::size_t eye = 3; eye < std::size(kAngles); ++eye) Append(row, 0);
    out.write(row.data(), static_cast<std::streamsize>(row.size()));
    row.clear();
  }
  row.push_back('\n');
  out.write(row.data(), static_cast<std::streamsize>(row.size()));
  return missing;
}

} // namespace mien
