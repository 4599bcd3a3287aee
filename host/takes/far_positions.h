#pragma once

#include "host/base/error.h"
#include "host/base/point.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Whether all coordinates are numbers and none is beyond a kilometre: false for NaN and infinity. No
/// recording of a face has anything farther away, which would decide every mean and sum that it enters, so
/// every reader makes a gap of it.
inline bool IsWithinReach(const Point& p) {
  constexpr double kFarthestMm = 1e6;
  return std::abs(p.x) <= kFarthestMm && std::abs(p.y) <= kFarthestMm && std::abs(p.z) <= kFarthestMm;
}

/// The positions that a reader made gaps of because they are farther away than that, for one note.
class FarPositions {
public:
  /// Takes up a marker's; `what` and `number` say where it stands: "line", 12.
  void Add(std::string_view marker, std::string_view what, std::int64_t number);

  /// Takes up those of a later part of the file.
  void Add(const FarPositions& later);

  void AppendTo(std::vector<Note>& notes) const;

private:
  std::size_t count_ = 0;
  std::string first_;
};

} // namespace mien
