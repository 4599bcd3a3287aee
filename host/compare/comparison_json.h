#pragma once

#include "host/base/json_text.h"
#include "host/compare/comparison.h"

namespace mien {

/// {"kind", "a", "b", "alignment", "curves", "only_a", "only_b"}; see docs/file-formats.md.
JsonValue ComparisonAsJson(const Comparison& comparison);

} // namespace mien
