#pragma once

#include "host/base/error.h"
#include "host/takes/take.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <string_view>
#include <vector>

namespace mien {

/// What a take can be written as.
enum class TakeFormat { C3d, Trc, MarkerCsv };

/// By a file name's ending, in either letter case: .c3d, .trc, .csv. Nothing for any other.
std::optional<TakeFormat> TakeFormatOf(const std::filesystem::path& path);

std::string_view ToText(TakeFormat format);

/// Throws InputError where the take has what the format cannot hold at all, such as two markers of one name.
void WriteTake(const Take& take, TakeFormat format, std::ostream& out);

/// What `kept`, read from a file that `take` was written to, does not have as `take` has it, with figures; each note's code
/// is Lossy. Empty where the two are equal but for file, name, format, flavour, unit and notes.
std::vector<Note> WhatWasLost(const Take& take, const Take& kept);

} // namespace mien
