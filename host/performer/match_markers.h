#pragma once

#include "host/base/nearest_name.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Finds the name that one was meant to be: NearestName.
using NameSearch =
    std::function<std::optional<std::string>(std::string_view name, const std::vector<std::string>& names)>;

/// Throws InputError for every marker that the performer names and the take lacks: the first five, each by its place in
/// the performer file and with the take's name that comes near, and how many more there are. `search`, which compares
/// with every name of the take, is called for these five alone.
void CheckMarkers(const Performer& performer, const Take& take, const NameSearch& search = NearestName);

} // namespace mien
