#pragma once

#include <filesystem>
#include <functional>
#include <ostream>

namespace mien {

/// Writes a file that appears under its name only when whole: `write` fills a temporary file beside it, which
/// is then renamed. Where `write` throws, or the disk is full, nothing is left behind and a file that was
/// there before is still there; a signal's handler removes it by RemoveUnfinishedFiles. "-" is standard output; a pipe or a
/// device is written to directly.
///
/// Throws InputError where the file cannot be written.
void WriteWhole(const std::filesystem::path& path, const std::function<void(std::ostream&)>& write);

/// Throws the InputError that WriteWhole would throw for a place in which nothing can be written, so that the
/// user hears of it before the work rather than after.
void CheckWritable(const std::filesystem::path& path);

} // namespace mien
