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
/// input; any other device could be endless.
void CheckKind(const struct stat& status, const std::string& file, bool is_standard_input) {
  if (S_ISDIR(status.st_mode))
    throw InputError(Code::Unreadable, file, "", "this is a folder", "name a file in it");
  const bool is_terminal = is_standard_input && isatty(STDIN_FILENO) != 0;
  if ((S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) && !is_terminal)
    throw InputError(Code::Unreadable, file, "", "this is a device", "name a file that can be read");
}

/// Reads on; answers how many bytes came, 0 at the end. `before` is how many came before.
std::size_t ReadSome(int descriptor, char* to, std::size_t size, std::size_t before,
                     const std::string& file) {
  for (;;) {
    const ssize_t got = read(descriptor, to, size);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno != EINTR)
      throw InputError(Code::Unreadable, file, "",
                       fmt::format("cannot be read beyond byte {}: {}", before, SystemsWords(errno)),
                       "check what it comes from, or copy it again");
  }
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
    const std::size_t got =
        ReadSome(descriptor, bytes.data() + size, std::min(bytes.size() - size, kMostAtOnce), size, file);
    if (got == 0) break;
    size += got;
    if (progress) progress(size, expected);
  }
  bytes.resize(size);
  return bytes;
}

/// What a path names, open; refuses what cannot be read.
struct OpenFile {
  explicit OpenFile(const std::filesystem::path& path)
      : is_standard_input(path == "-"), name(path.empty() ? "an empty path" : InputName(path)),
        status(StatusOf(path)), descriptor(path, is_standard_input) {
    if (descriptor.Number() < 0)
      throw InputError(Code::Unreadable, name, "", "cannot be opened: " + SystemsWords(errno),
                       "check the file's permissions");
  }

  bool is_standard_input;
  std::string name;
  struct stat status;
  Descriptor descriptor;

private:
  struct stat StatusOf(const std::filesystem::path& path) const {
    struct stat found {};
    const int failed = is_standard_input ? fstat(STDIN_FILENO, &found) : stat(path.c_str(), &found);
    if (failed != 0 && (errno == ENOENT || errno == ENOTDIR))
      throw InputError(Code::NotFound, name, "", "there is no such file", "check the path");
    if (failed != 0)
      throw InputError(Code::Unreadable, name, "", "cannot be read: " + SystemsWords(errno),
                       "name a file that can be read");
    CheckKind(found, name, is_standard_input);
    return found;
  }
};

} // namespace

std::string ReadFile(const std::filesystem::path& path, const ReadProgress& progress) {
  const OpenFile file(path);
  const std::size_t expected =
      S_ISREG(file.status.st_mode) ? static_cast<std::size_t>(file.status.st_size) : 0;
  try {
    return ReadAll(file.descriptor.Number(), expected, file.name, progress);
  } catch (const std::bad_alloc&) {
    throw InputError(Code::Memory, file.name, "", "the file does not fit into memory",
                     "cut it into smaller ones");
  }
}

void ReadPieces(const std::filesystem::path& path, const std::function<void(std::string_view)>& take) {
  constexpr std::size_t kPiece = 1 << 20;
  const OpenFile file(path);
  std::string piece(kPiece, '\0');
  for (std::size_t done = 0;;) {
    const std::size_t got = ReadSome(file.descriptor.Number(), piece.data(), kPiece, done, file.name);
    if (got == 0) return;
    take(std::string_view(piece).substr(0, got));
    done += got;
  }
}

} // namespace mien
