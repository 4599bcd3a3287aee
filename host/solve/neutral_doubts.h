#pragma once

#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/brow_fit.h"

#include <string>
#include <vector>

namespace mien {

/// A template whose weights depend on which frames count as the neutral face.
struct NeutralDoubt {
  std::string name;      ///< "Mouth.Open"
  double difference = 0; ///< in weight, between the neutral pose and the one of stricter frames
};

/// The templates that one of the two neutral poses shows at more than 0.1 when the other is the neutral face; the largest
/// first. Empty without a stricter pose. Throws InputError where a pose does not tell which way the face looks.
std::vector<NeutralDoubt> NeutralDoubts(const Performer& performer, const Neutral& neutral, BrowMethod brows);

} // namespace mien
