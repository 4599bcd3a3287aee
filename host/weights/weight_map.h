#pragma once

#include "host/base/long_vector.h"
#include "host/weights/weight_take.h"

#include <cstddef>
#include <span>
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

/// A map for weights of these names, frame by frame. A frame allocates nothing.
class MappedTemplates {
public:
  /// `unused` gets the names that no template uses. Throws InputError if there is no name that the map uses;
  /// `file` is for the message.
  MappedTemplates(const WeightMap& map, const std::vector<std::string>& names, const std::string& file,
                  std::vector<std::string>& unused);

  /// Template weights, none below 0 (size: templates), from those of a frame without missing values (size:
  /// names).
  void Apply(std::span<const double> weights, std::span<double> templates) const;

private:
  struct Term {
    std::size_t column, name;
    double factor;
  };
  std::vector<Term> terms_;
};

/// Template weights, none below 0, from those of a take without missing values (size: frames x templates).
/// Weights that the take does not have are 0. `unused` gets the names of the take that no template uses.
/// Throws InputError if there is no name that the map uses.
LongVector<double> TemplatesOf(const WeightTake& take, const WeightMap& map,
                               std::vector<std::string>& unused);

} // namespace mien
