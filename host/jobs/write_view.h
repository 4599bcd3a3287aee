#pragma once

#include "host/view/view_page.h"

#include <cstddef>
#include <string>

namespace mien {

/// Throws InputError, of Code::Unsupported, in a build that cannot write pages.
void CheckViewer();

/// Writes the page of one or two sides, whole or not at all. Returns its size in bytes. Throws InputError.
std::size_t WriteView(const std::string& path, const ViewPage& page);

} // namespace mien
