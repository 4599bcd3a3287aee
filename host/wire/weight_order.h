#pragma once

#include <array>
#include <string>

namespace mien {

/// The orders of the 52 weights in packets that have no names. kArkitNames has the order of the phone apps'
/// tables.
enum class WeightOrder {
  Phone,    ///< the phone apps' packets: as their tables, but jawLeft and mouthLeft come first
  JawFirst, ///< browInnerUp first, and the jaw before the mouth
  JawLast   ///< browInnerUp first, and the jaw after the mouth
};

const std::array<std::string, 52>& NamesInOrder(WeightOrder order);

} // namespace mien
