#include "host/files/read_file.h"

#include "host/base/error.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <new>
#include <system_error>

namespace mien {

std::string ReadFile(const std::filesystem::path& path) {
  const std::string file = path.empty() ? "an empty path" : path.string();
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found)
    throw InputError(Code::NotFound, file, "", "there is no such file",
                     path == "-" ? "standard input is /dev/stdin" : "check the path");
  if (status.type() == std::filesystem::file_type::directory)
    throw InputError(Code::Unreadable, file, "", "this is a folder", "name a file in it");
  // Pipes are welcome: a shell's <(...) is one. A device could go on for ever.
  if (status.type() != std::filesystem::file_type::regular &&
      status.type() != std::filesystem::file_type::fifo)
    throw InputError(Code::Unreadable, file, "",
                     error ? "cannot be read: " + error.message() : "this is a device",
                     "name a file that can be read");

  errno = 0;
  std::ifstream in(path, std::ios::binary);
  if (!in)
    throw InputError(Code::Unreadable, file, "",
                     "cannot be opened: " + std::generic_category().message(errno),
                     "check the file's permissions");
  std::uintmax_t expected = std::filesystem::file_size(path, error);
  if (error) expected = 0; // a pipe
  try {
    constexpr std::size_t kPiece = 1 << 16;
    std::string bytes;
    std::size_t size = 0;
    // One byte more than expected, so that the end is met without growing once more.
    for (std::size_t piece = std::max<std::size_t>(kPiece, expected + 1); in;
         piece = std::max(kPiece, size)) {
      bytes.resize(size + piece);
      in.read(bytes.data() + size, static_cast<std::streamsize>(piece));
      size += static_cast<std::size_t>(in.gcount());
    }
    if (in.bad())
      throw InputError(Code::Unreadable, file, "",
                       "reading broke off after " + std::to_string(size) + " bytes",
                       "read it again or copy it anew");
    bytes.resize(size);
    return bytes;
  } catch (const std::bad_alloc&) {
    throw InputError(Code::Memory, file, "", "the file does not fit into memory", "cut it into smaller ones");
  }
}

} // namespace mien
