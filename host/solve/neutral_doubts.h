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
  double difference = 0; ///< of the weight, between the neutral pose and that of stricter frames
};

/// The templates that have a weight above 0.1 in one of the two neutral poses when the other is the neutral
/// face, the largest first. Empty without a stricter pose. Throws InputError if a pose does not determine
/// which way the face looks.
std::vector<NeutralDoubt> NeutralDoubts(const Performer& performer, const Neutral& neutral, BrowMethod brows);

} // namespace mien
