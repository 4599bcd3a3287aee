#pragma once

#include "host/base/error.h"
#include "host/takes/frame_rate.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The rate of a take whose file gives none: what the user names, or else 30 Hz, with a note that starts with `missing`:
/// "no times".
FrameRate InputRate(const std::optional<FrameRate>& named, const std::string& missing,
                    std::vector<Note>& notes);

/// Throws InputError of Code::Usage where a rate is named for a file that has its own.
void RefuseInputRate(const std::optional<FrameRate>& named, const std::string& file);

} // namespace mien
