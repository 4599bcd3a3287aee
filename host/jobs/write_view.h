#pragma once

#include "host/view/view_page.h"

#include <string>
#include <string_view>

namespace mien {

/// Throws a UsageError in a build that cannot write pages. `setting` asked for one.
void CheckViewer(std::string_view setting);

/// Writes a page, whole or not at all, in a build that can. Throws InputError.
void WriteView(const std::string& path, const ViewPage& page);

} // namespace mien
