#include "host/files/read_file.h"

#include "host/base/error.h"
#include "host/files/standard_streams.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace mien {

namespace {

std::string SystemsWords(int error) { return std::generic_category().message(error); }

/// An open file; standard input stays open.
class Descriptor {
public:
  Descriptor(const std::filesystem::path& path, bool is_standard_input)
      : number_(is_standard_input ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)),
        closes_(!is_standard_input && number_ >= 0) {}
  ~Descriptor() {
    if (closes_) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Number() const { return number_; }

private:
  int number_;
  bool closes_;
};

/// Refuses what has no content to read. A pipe and a socket have, and so has a terminal where it is standard
/// input; any other device could go on for ever.
void CheckKind(const struct stat& status, const std::string& file, bool is_standard_input) {
  if (S_ISDIR(status.st_mode))
    throw InputError(Code::Unreadable, file, "", "this is a folder", "name a file in it");
  const bool is_terminal = is_standard_input && isatty(STDIN_FILENO) != 0;
  if ((S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) && !is_terminal)
    throw InputError(Code::Unreadable, file, "", "this is a device", "name a file that can be read");
}

std::string ReadAll(int descriptor, std::size_t expected, const std::string& file,
                    const ReadProgress& progress) {
  constexpr std::size_t kPiece = 1 << 16, kMostAtOnce = 1 << 24; // the latter for the sake of progress
  std::string bytes;
  std::size_t size = 0;
  // One byte more than expected, so that the end is met without growing once more.
  bytes.resize(std::max(kPiece, expected + 1));
  for (;;) {
    if (size == bytes.size()) bytes.resize(2 * size);
    const ssize_t got = read(descriptor, bytes.data() + size, std::min(bytes.size() - size, kMostAtOnce));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0)
      throw InputError(Code::Unreadable, file, "",
                       fmt::format("cannot be read beyond byte {}: {}", size, SystemsWords(errno)),
                       "check what it comes from, or copy it again");
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
    if (progress) progress(size, expected);
  }
  bytes.resize(size);
  return bytes;
}

} // namespace

std::string ReadFile(const std::filesystem::path& path, const ReadProgress& progress) {
  const bool is_standard_input = path == "-";
  const std::string file = path.empty() ? "an empty path" : InputName(path);
  struct stat status {};
  const int failed = is_standard_input ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status);
  if (failed != 0 && (errno == ENOENT || errno == ENOTDIR))
    throw InputError(Code::NotFound, file, "", "there is no such file", "check the path");
  if (failed != 0)
    throw InputError(Code::Unreadable, file, "", "cannot be read: " + SystemsWords(errno),
                     "name a file that can be read");
  CheckKind(status, file, is_standard_input);

  const Descriptor descriptor(path, is_standard_input);
  if (descriptor.Number() < 0)
    throw InputError(Code::Unreadable, file, "", "cannot be opened: " + SystemsWords(errno),
                     "check the file's permissions");
  const std::size_t expected = S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
  try {
    return ReadAll(descriptor.Number(), expected, file, progress);
  } catch (const std::bad_alloc&) {
    throw InputError(Code::Memory, file, "", "the file does not fit into memory", "cut it into smaller ones");
  }
}

} // namespace mien
