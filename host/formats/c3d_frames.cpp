#include "host/formats/c3d_frames.h"

#include "host/base/error.h"
#include "host/base/parallel.h"
#include "host/takes/far_positions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

namespace mien::c3d {
namespace {

// Positions that are read as gaps although the file does not mark them as such.
struct Oddities {
  std::uint64_t not_finite = 0; // NaN or infinite coordinates
  std::uint64_t zero = 0;       // exactly (0, 0, 0)
  FarPositions far;
  std::uint64_t no_word = 0; // the fourth number is NaN or what no 16-bit word can be

  void Add(const Oddities& later) {
    not_finite += later.not_finite;
    zero += later.zero;
    far.Add(later.far);
    no_word += later.no_word;
  }
};

// The frames from `begin` to `end` of the data that start at `at`. What differs between the encodings is known
// at compile time.
template <Processor kProcessor, bool kReal>
Oddities ReadFrames(const char* at, const Layout& layout, double scale_mm, std::int64_t first,
                    std::size_t begin, std::size_t end, Take& take) {
  constexpr std::size_t kNumber = kReal ? 4 : 2;
  const std::size_t points = layout.points;
  const std::size_t rest = layout.analog * kNumber;
  Oddities odd;
  at += begin * (4 * points * kNumber + rest);
  for (std::size_t frame = begin; frame < end; ++frame, at += rest) {
    const std::int64_t number = first + static_cast<std::int64_t>(frame);
    take.frames[frame] = number;
    take.times[frame] = take.rate.Seconds(number - 1);
    const Take::Row row = take.RowOf(frame);
    std::fill(row.positions.begin(), row.positions.end(), Point());
    std::fill(row.origins.begin(), row.origins.end(), Origin::None);
    std::fill(row.sightings.begin(), row.sightings.end(), Sighting());
    Point* const positions = row.positions.data();
    Origin* const origins = row.origins.data();
    Sighting* const sightings = row.sightings.empty() ? nullptr : row.sightings.data();
    for (std::size_t i = 0; i < points; ++i, at += 4 * kNumber) {
      int word;
      double x, y, z;
      if constexpr (kReal) {
        const double fourth = RealAt(kProcessor, at + 3 * kNumber);
        if (!(fourth > -1 && fourth < 0x1p15)) {
          if (!(fourth < 0x1p16)) ++odd.no_word;
          continue;
        }
        word = static_cast<int>(fourth);
        x = RealAt(kProcessor, at);
        y = RealAt(kProcessor, at + kNumber);
        z = RealAt(kProcessor, at + 2 * kNumber);
      } else {
        const auto coordinate = [at](std::size_t k) {
          return static_cast<std::int16_t>(WordAt(kProcessor, at + k * kNumber));
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
      const Point p = {x * scale_mm, y * scale_mm, z * scale_mm};
      if (!IsWithinReach(p)) {
        if (std::isfinite(x) && std::isfinite(y) && std::isfinite(z))
          odd.far.Add(take.markers[i], "frame", number);
        else
          ++odd.not_finite;
        continue;
      }
      positions[i] = p;
      origins[i] = (word & 0xFF) == 0 ? Origin::Computed : Origin::Measured;
      if (sightings)
        sightings[i] = {static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word & 0xFF)};
    }
  }
  return odd;
}

template <bool kReal>
Oddities ReadFrames(const Header& header, const Layout& layout, double scale_mm, std::int64_t first,
                    std::size_t threads, Take& take) {
  const char* const at = header.bytes.data() + layout.Begin();
  const auto read_frames = header.processor == Processor::Intel ? ReadFrames<Processor::Intel, kReal>
                           : header.processor == Processor::Dec ? ReadFrames<Processor::Dec, kReal>
                                                                : ReadFrames<Processor::Sgi, kReal>;
  const auto frames = static_cast<std::size_t>(layout.frames);
  take.AddFrames(frames);
  std::vector<Oddities> of_ranges((frames + kFramesAtOnce - 1) / kFramesAtOnce);
  ForRanges(threads, frames, kFramesAtOnce, [&](std::size_t begin, std::size_t end) {
    of_ranges[begin / kFramesAtOnce] = read_frames(at, layout, scale_mm, first, begin, end, take);
  });
  Oddities odd;
  for (const Oddities& of_range : of_ranges) odd.Add(of_range);
  return odd;
}

} // namespace

void ReadFrames(const Header& header, const Layout& layout, double unit_mm, std::int64_t first,
                std::size_t threads, Take& take) {
  const Oddities odd = layout.real
                           ? ReadFrames<true>(header, layout, unit_mm, first, threads, take)
                           : ReadFrames<false>(header, layout, layout.scale * unit_mm, first, threads, take);
  const auto note = [&](Code code, std::uint64_t count, std::string_view what) {
    if (count > 0) take.notes.push_back({code, "", fmt::format("{}, taken as gaps: {}", what, count)});
  };
  note(Code::InvalidValue, odd.not_finite, "positions with coordinates that are NaN or infinite");
  odd.far.AppendTo(take.notes);
  note(Code::Doubtful, odd.zero, "positions at exactly (0, 0, 0)");
  note(Code::InvalidValue, odd.no_word, "positions whose residual is NaN or above 65535");
}

} // namespace mien::c3d
