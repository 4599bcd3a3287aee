#pragma once

#include <string_view>

namespace mien {

// The tables of data/shape_basis as text; the build makes the source from them.
extern const std::string_view kTwoHeads;
extern const std::string_view kOneHead;

} // namespace mien
