#pragma once

#include "host/formats/read_take.h"
#include "host/takes/take.h"

#include <string>
#include <string_view>

namespace mien {

/// ReadTake, for jobs that solve. A file that cannot be read because it has recorded weights instead of points gets the
/// name of the command that reads it.
Take ReadPoints(std::string_view bytes, const std::string& name, const ReadOptions& options);

} // namespace mien
