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

/// The format by a file name's ending, in any letter case: .c3d, .trc, .csv. Nothing for every other ending.
std::optional<TakeFormat> TakeFormatOf(const std::filesystem::path& path);

std::string_view ToText(TakeFormat format);

/// Throws InputError for a take that the format cannot hold, such as one with two markers of the same name.
void WriteTake(const Take& take, TakeFormat format, std::ostream& out);

/// What differs in `kept`, which was read from the file that `take` was written to, with figures; each note's
/// code is Lossy. Empty where the two differ in file, name, format, flavour, unit and notes alone.
std::vector<Note> WhatWasLost(const Take& take, const Take& kept);

} // namespace mien
