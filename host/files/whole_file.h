#pragma once

#include <filesystem>
#include <functional>
#include <ostream>

namespace mien {

/// Writes a file that appears under its name only when it is whole: `write` fills a part file beside it
/// (part_file.h), which reaches the disk before it is renamed. Where `write` throws or the disk is full,
/// nothing is left behind and a file that was there before is still there.
///
/// "-" and the system's names for it are standard output; it, a pipe and a device are written to directly.
/// What goes to a terminal is text and loses the characters that would steer it (PrintableLines).
///
/// Throws InputError where the file cannot be written.
void WriteWhole(const std::filesystem::path& path, const std::function<void(std::ostream&)>& write);

/// Throws the InputError that WriteWhole would throw for a place in which nothing can be written, so that a
/// user learns of it before the work rather than after.
void CheckWritable(const std::filesystem::path& path);

} // namespace mien
