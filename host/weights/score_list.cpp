#include "host/weights/score_list.h"

#include "host/weights/weight_columns.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace mien {

void ScoreList::Add(std::size_t frame, std::string_view name, double score) {
  const auto [found, is_new] = weights_.try_emplace(std::string(name));
  if (is_new) found->second = names_.Add(name);
  if (found->second) scores_.push_back({frame, *found->second, score});
}

void ScoreList::Finish(const std::vector<std::size_t>& order, WeightTake& take) {
  std::vector<std::size_t> places(take.frames.size()); // of the file's frames in the take
  std::iota(places.begin(), places.end(), std::size_t{0});
  for (std::size_t f = 0; f < order.size(); ++f) places[order[f]] = f;
  take.names = names_.Names();
  take.weights.assign(take.frames.size() * take.names.size(), std::numeric_limits<double>::quiet_NaN());
  for (const Score& score : scores_) {
    double& weight = take.weights[places[score.frame] * take.names.size() + score.weight];
    if (std::isnan(weight)) weight = score.value;
  }
  scores_ = {};
  names_.AppendTo(take.notes);
  NoteUnlikelyWeights(take);
}

} // namespace mien
