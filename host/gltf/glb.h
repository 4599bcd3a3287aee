#pragma once

#include "host/base/long_vector.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace mien {

/// A binary glTF 2.0 file in its pieces. Reading and writing one keeps all that it holds: the members of the
/// JSON in their order, and chunks of unknown types.
// NOLINTNEXTLINE(bugprone-exception-escape): that of the JSON, whose move promises not to throw, and does not
struct Glb {
  nlohmann::ordered_json json; ///< an object, its "asset" of version 2
  LongVector<char> binary;     ///< the data of buffer 0, curves included; empty without such a chunk
  std::string further_chunks;  ///< the chunks behind these, with their headings
  std::string file;            ///< its name, for messages
};

/// Throws InputError for bytes that are not a GLB, or one that is cut short or contradicts itself.
Glb ReadGlb(std::string_view bytes, const std::string& file);

/// Throws InputError, before anything is written, for more than the format's 4 GiB. Each byte of text that is
/// not UTF-8 becomes a replacement character.
void WriteGlb(const Glb& glb, std::ostream& out);

/// The length of a file whose chunks hold so many bytes, headings and padding included. Throws InputError for
/// more than the format's 4 GiB; `file` is the name for its message.
std::uint32_t GlbLength(std::size_t json, std::size_t binary, std::size_t further_chunks,
                        const std::string& file);

} // namespace mien
