#pragma once

#include "host/base/long_vector.h"
#include "host/weights/weight_names.h"
#include "host/weights/weight_take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mien {

/// Weights that a file lists one by one, each with its name.
class ScoreList {
public:
  /// `score` may be NaN.
  void Add(std::size_t frame, std::string_view name, double score);

  /// After the last one: moves names and weights to a take whose frames are set, and adds notes. What is not
  /// in the list is missing; of several weights of one name in a frame, the first counts. `order`, if not
  /// empty, is the place of each frame in the file.
  void Finish(const std::vector<std::size_t>& order, WeightTake& take);

private:
  struct Score {
    std::size_t frame, weight;
    double value;
  };

  WeightNames names_;
  std::unordered_map<std::string, std::optional<std::size_t>> weights_; // by the names as written
  LongVector<Score> scores_;
};

} // namespace mien
