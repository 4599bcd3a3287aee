#include "host/write/whole_file.h"

#include "host/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace mien {

namespace {

namespace fs = std::filesystem;

// What a signal handler may read: the path of the one file that is being filled.
char path_in_work[PATH_MAX];
volatile std::sig_atomic_t file_in_work = 0;

extern "C" void RemoveAndEnd(int signal) {
  if (file_in_work) unlink(path_in_work);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

/// A file to be filled, removed again unless it is renamed.
class TemporaryFile {
public:
  explicit TemporaryFile(const fs::path& target)
      : target_(target), path_(fmt::format("{}.{}.part", target.string(), getpid())) {
    if (path_.native().size() >= sizeof path_in_work) Fail(ENAMETOOLONG);
    std::strcpy(path_in_work, path_.c_str());
    file_in_work = 1;
    errno = 0;
    stream_.open(path_, std::ios::binary | std::ios::trunc);
    if (!stream_) Fail(errno);
  }
  ~TemporaryFile() {
    if (!renamed_) {
      stream_.close();
      std::error_code ignored;
      fs::remove(path_, ignored);
    }
    file_in_work = 0;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::ostream& Stream() { return stream_; }

  void Rename() {
    errno = 0;
    stream_.close();
    if (!stream_) Fail(errno);
    std::error_code error;
    fs::rename(path_, target_, error);
    if (error) Fail(error.value());
    renamed_ = true;
  }

private:
  [[noreturn]] void Fail(int error) const {
    throw InputError(target_.string(), "",
                     "cannot be written: " +
                         (error != 0 ? std::generic_category().message(error) : "writing broke off"),
                     "choose another place with -o, or make room there");
  }

  fs::path target_, path_;
  std::ofstream stream_;
  bool renamed_ = false;
};

/// Where the bytes really go: a link is followed, so that renaming does not replace it by a file.
fs::path Target(const fs::path& path) {
  std::error_code error;
  const fs::path target = fs::weakly_canonical(path, error);
  return error ? path : target;
}

bool IsPlain(const fs::path& target) {
  std::error_code error;
  const fs::file_type type = fs::status(target, error).type();
  return type == fs::file_type::regular || type == fs::file_type::not_found;
}

} // namespace

void RemoveTemporaryFileOnSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, RemoveAndEnd);
}

void WriteWhole(const fs::path& path, const std::function<void(std::ostream&)>& write) {
  if (path == "-") {
    write(std::cout);
    if (!std::cout.flush())
      throw InputError("standard output", "", "cannot be written", "check what reads it");
    return;
  }
  const fs::path target = Target(path);
  if (fs::is_directory(target))
    throw InputError(path.string(), "", "this is a folder", "name a file in it with -o");
  if (!IsPlain(target)) {
    std::ofstream stream(target, std::ios::binary);
    write(stream);
    if (!stream.flush())
      throw InputError(path.string(), "", "cannot be written", "choose another place with -o");
    return;
  }
  TemporaryFile file(target);
  write(file.Stream());
  file.Rename();
}

void CheckWritable(const fs::path& path) {
  if (path == "-" || (!fs::is_directory(path) && !IsPlain(Target(path)))) return;
  if (fs::is_directory(path))
    throw InputError(path.string(), "", "this is a folder", "name a file in it with -o");
  TemporaryFile file(Target(path)); // and gone again
}

} // namespace mien
