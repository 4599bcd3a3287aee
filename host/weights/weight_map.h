#pragma once

#include "host/weights/weight_take.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// From weights by name to the weights of the face's templates.
struct WeightMap {
  std::string name;
  std::string file; ///< for messages

  /// For each of TemplateColumns the weights that it is the sum of, each times its factor.
  std::vector<std::vector<std::pair<std::string, double>>> templates;
};

/// Reads a map file (docs/file-formats.md). Throws InputError with all mistakes in it.
WeightMap ReadWeightMap(std::string_view text, const std::string& file);

/// The built-in map of this name ("arkit52"), or else the map file of that path.
WeightMap LoadWeightMap(const std::string& name_or_path);
std::vector<std::string> BuiltInWeightMaps();

/// Template weights, none below 0, from those of a take without missing values (size: frames x templates).
/// Weights that the take does not have are 0. `unused` gets the names of the take that no template uses.
/// Throws InputError if there is no name that the map uses.
std::vector<double> TemplatesOf(const WeightTake& take, const WeightMap& map,
                                std::vector<std::string>& unused);

} // namespace mien
