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

/// Finds the name that was probably meant, as NearestName does.
using NameSearch =
    std::function<std::optional<std::string>(std::string_view name, const std::vector<std::string>& names)>;

/// Throws InputError if the performer was calibrated with another set of landmarks than the take has, and if
/// the take lacks markers that the performer names. It lists the first five, each with
/// its place in the performer file and the most similar name in the take, and how many more there are.
/// `search`, which compares with every name of the take, is called only for these five.
void CheckMarkers(const Performer& performer, const Take& take, const NameSearch& search = NearestName);

/// Leaves the irises that the take lacks out of the performer: a mesh of 468 landmarks is one of 478 without
/// them.
void LeaveOutMissingIrises(Performer& performer, const Take& take);

} // namespace mien
