#pragma once

// The data of a GLB as a string, and the other way round.

#include "host/base/long_vector.h"
#include "host/gltf/glb.h"

#include <span>
#include <string>

namespace tests {

inline std::string BinaryOf(const mien::Glb& glb) { return {glb.binary.begin(), glb.binary.end()}; }

inline mien::LongVector<char> Binary(const std::string& bytes) { return std::span<const char>(bytes); }

} // namespace tests
