#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tests {

// Eight frames 10 to 18 without 14. A is always there but in the two empty frames 12 and 13; B has gaps of 1,
// 4 (with the empty frames inside) and none at the end; C is never seen.
inline mien::Take Sample() {
  mien::Take take({"A", "B", "C"});
  take.file = "takes/sample.csv";
  take.name = "sample";
  take.format = "marker CSV";
  take.rate = {20, 1};
  take.notes = {{mien::Code::Missing, "", "frames missing: 1 after frame 13"}};
  for (const int number : {10, 11, 12, 13, 15, 16, 17, 18}) take.AddFrame(number, number / 20.0);
  for (const std::size_t frame : {0u, 1u, 4u, 5u, 6u, 7u}) {
    const double f = static_cast<double>(frame);
    take.Set(frame, 0, {f, -f, 100 + f});
  }
  for (const std::size_t frame : {0u, 5u, 7u}) take.Set(frame, 1, {-50, 2.25, static_cast<double>(frame)});
  return take;
}

// The same with what only some formats have.
inline mien::Take RichSample() {
  mien::Take take({"A", "a"});
  take.file = "rich.c3d";
  take.name = "rich";
  take.format = "C3D";
  take.flavour = "Intel, float";
  take.unit = "m";
  take.rate = {30000, 1001};
  take.timecode = mien::Timecode{1000, {30, 1}, false};
  take.residual_mm = 0.5;
  take.events = {{0.1, "clap"}, {0.125, "say\n\"a\""}};
  for (int f = 0; f < 4; ++f) take.AddFrame(f + 1, f * 1001.0 / 30000);
  for (std::size_t f = 0; f < 4; ++f) {
    const auto row = take.RowOf(f);
    row.positions[0] = {1, 2, 3};
    row.origins[0] = f == 3 ? mien::Origin::Computed : mien::Origin::Measured;
    row.sightings[0] = {.cameras = 3, .residual = static_cast<std::uint8_t>(f)};
  }
  take.Set(0, 1, {0.1, 2, 3}, mien::Origin::Filled);
  return take;
}

// A take of one marker that is seen where `seen` has an 'x'.
inline mien::Take Seen(const std::string& seen, const mien::FrameRate& rate = {10, 1}) {
  mien::Take take({"A"});
  take.rate = rate;
  for (std::size_t f = 0; f < seen.size(); ++f) {
    take.AddFrame(static_cast<std::int64_t>(f), rate.Seconds(static_cast<std::int64_t>(f)));
    if (seen[f] == 'x') take.Set(f, 0, {});
  }
  return take;
}

} // namespace tests
