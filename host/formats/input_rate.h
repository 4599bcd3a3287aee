#pragma once

#include "host/base/error.h"
#include "host/takes/frame_rate.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The rate of a take whose file gives none: the one that the user names, or else 30 Hz with a note.
/// `missing` begins the note: "no times".
FrameRate InputRate(const std::optional<FrameRate>& named, const std::string& missing,
                    std::vector<Note>& notes);

/// Throws InputError (Code::Usage) if the user names a rate: for a file that has one.
void RefuseInputRate(const std::optional<FrameRate>& named, const std::string& file);

} // namespace mien
