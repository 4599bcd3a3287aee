#pragma once

#include "host/formats/mesh_space.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

struct ReadOptions {
  bool strict = false;                   ///< throw for everything that would be a note
  std::optional<std::int64_t> face = {}; ///< of several faces in a file, the one to read; the first without
  std::optional<FrameRate> input_rate = {}; ///< for a file that has neither times nor a rate
  MeshOptions mesh = {};                    ///< for the landmarks of a face mesh
  std::size_t threads = 1; ///< that read formats whose frames can be read independently; the takes are equal
};

/// Reads a take from a file. Its content decides the format, not the file's ending. In every format,
/// positions beyond a kilometre are gaps. Throws InputError when the file cannot be read, is of no known
/// format, or breaks the rules of its own.
Take ReadTake(const std::filesystem::path& path, const ReadOptions& options = {});

/// The same from memory. `name` is the file's name as messages show it.
Take ReadTake(std::string_view bytes, const std::string& name, const ReadOptions& options = {});

/// The format that ReadTake would read these bytes as; nothing for none.
std::optional<std::string_view> TakeFormatNameOf(std::string_view bytes);

} // namespace mien
