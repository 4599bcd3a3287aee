#pragma once

#include "host/base/error.h"
#include "host/base/json_text.h"

#include <vector>

namespace mien {

/// An error as an object on one line: {"code", "file", "place", "what", "fix"}.
JsonValue ErrorAsJson(const Problem& problem);

/// Errors as a JSON list with a line for each, as documents have them.
JsonValue ErrorsAsJson(const std::vector<Problem>& problems);

} // namespace mien
