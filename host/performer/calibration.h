#pragma once

#include "host/base/point.h"
#include "host/takes/frame_range.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// What one template's weight is on a performer's face at rest and at full strength.
struct Range {
  /// Limits of a file's numbers, so that no weight overflows: the least `high` - `low`, and the largest
  /// absolute value of both.
  static constexpr double kLeastWidth = 0.01, kLargest = 100;

  std::string name;     ///< of the template: "LeftEye.Close"
  double low = 0;       ///< the weight that reads 0
  double high = 1;      ///< the weight that reads 1; above `low`
  int seen = 0;         ///< how many blinks or recordings of poses it was measured on
  bool trusted = false; ///< otherwise it is not applied
  std::string why = {}; ///< it is trusted or not, for people: "11 blinks"

  /// 0 at `low` and below, 1 at `high`, more above; NaN for NaN.
  double Read(double weight) const { return weight <= low ? 0 : (weight - low) / (high - low); }

  bool operator==(const Range&) const = default;
};

/// Where a performer's ranges come from. All of it is empty for a performer who was not calibrated.
struct CalibrationRecord {
  struct TakeFile {
    std::string name;   ///< of the file
    std::string sha256; ///< of its bytes
    bool operator==(const TakeFile&) const = default;
  };

  /// A pose of the guided list as the performer made it.
  struct Pose {
    std::string name;  ///< "jaw-open"
    FrameRange frames; ///< of the first take
    std::map<std::string, Point>
        points; ///< by marker, in millimetres in the head's frame; medians over the frames
  };

  std::vector<TakeFile> takes;
  std::size_t landmarks = 0;                                 ///< of the takes: 68 or 478; 0 for other markers
  std::vector<std::pair<std::string, std::string>> settings; ///< names and values: "brows" "fit"
  std::vector<Pose> poses;                                   ///< in the order of their frames

  bool IsEmpty() const { return takes.empty() && landmarks == 0 && settings.empty() && poses.empty(); }

  /// The value of a setting; empty if it is not recorded.
  std::string_view Setting(std::string_view name) const;
};

/// 478 or 68 where the markers are those landmarks ("lm0" to "lm477", with or without the irises, which are
/// the last ten; "lm0" to "lm67"), 0 for all others.
std::size_t LandmarkCount(const std::vector<std::string>& markers);

} // namespace mien
