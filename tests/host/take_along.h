#pragma once

// Takes whose markers follow known paths, and how two takes differ.

#include "host/takes/take.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/// `count` consecutive numbers.
inline std::vector<std::int64_t> Numbers(std::int64_t first, std::size_t count) {
  std::vector<std::int64_t> numbers(count);
  for (std::size_t i = 0; i < count; ++i) numbers[i] = first + static_cast<std::int64_t>(i);
  return numbers;
}

/// Frames with these numbers, each at its number's time; `way(seconds, marker)` returns a marker's position.
template <class Way>
mien::Take TakeAlong(std::vector<std::string> markers, const std::vector<std::int64_t>& numbers,
                     const mien::FrameRate& rate, Way way) {
  mien::Take take(std::move(markers));
  take.rate = rate;
  for (const std::int64_t number : numbers) {
    const double seconds = rate.Seconds(number);
    const std::size_t f = take.AddFrame(number, seconds);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) take.Set(f, m, way(seconds, m));
  }
  return take;
}

/// Makes the frames [first, end) of a marker, both by index, a gap.
inline void Hide(mien::Take& take, std::size_t marker, std::size_t first, std::size_t end) {
  for (std::size_t f = first; f < end; ++f) take.Clear(f, marker);
}

inline double Distance(const mien::Point& a, const mien::Point& b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

/// Infinite for a gap.
inline double Distance(const mien::Point* a, const mien::Point& b) {
  return a ? Distance(*a, b) : std::numeric_limits<double>::infinity();
}

inline bool Same(const mien::Point* a, const mien::Point* b) {
  if (!a || !b) return a == b;
  return a->x == b->x && a->y == b->y && a->z == b->z;
}

/// Whether both takes have the same position and origin there, or the same gap.
inline bool Same(const mien::Take& a, const mien::Take& b, std::size_t frame, std::size_t marker) {
  return a.OriginAt(frame, marker) == b.OriginAt(frame, marker) &&
         Same(a.At(frame, marker), b.At(frame, marker));
}

/// The number of samples that differ between two takes of equal size.
inline std::size_t Changes(const mien::Take& a, const mien::Take& b) {
  std::size_t changes = 0;
  for (std::size_t f = 0; f < a.FrameCount(); ++f)
    for (std::size_t m = 0; m < a.MarkerCount(); ++m) changes += !Same(a, b, f, m);
  return changes;
}

} // namespace tests
