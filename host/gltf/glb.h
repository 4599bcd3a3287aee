#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace mien {

/// A binary glTF 2.0 file in its pieces. Read and written unchanged, it keeps everything that it held: the members of
/// the JSON in their order, and chunks that only others know.
// NOLINTNEXTLINE(bugprone-exception-escape): that of the JSON, whose move promises not to throw, and does not
struct Glb {
  nlohmann::ordered_json json; ///< an object, its "asset" of version 2
  std::string binary;          ///< the data of buffer 0; empty without such a chunk
  std::string further_chunks;  ///< what follows, each with its heading
  std::string file;            ///< its name, for messages
};

/// Throws InputError where these bytes are no such file, or one that is cut short.
Glb ReadGlb(std::string_view bytes, const std::string& file);

/// Throws InputError, before anything is written, where it would not fit into the 4 GiB of the format. Text that is not
/// UTF-8 gets a replacement character for each byte at fault.
void WriteGlb(const Glb& glb, std::ostream& out);

/// The length of a file whose chunks hold so many bytes, their headings and padding included. `file` is the name for
/// the InputError of more than 4 GiB.
std::uint32_t GlbLength(std::size_t json, std::size_t binary, std::size_t further_chunks,
                        const std::string& file);

} // namespace mien
