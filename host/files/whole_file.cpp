#include "host/files/whole_file.h"

#include "host/base/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
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

/// A mapped file lost its end while it was read.
extern "C" void RemoveAndTell(int) {
  if (file_in_work) unlink(path_in_work);
  constexpr char kMessage[] =
      "mien: a file was cut short while it was being read; read it again when it is whole\n";
  if (write(STDERR_FILENO, kMessage, sizeof kMessage - 1) < 0) _exit(1); // nobody is there to read it
  _exit(1);                                                              // the input is at fault
}

[[noreturn]] void FailToWrite(const fs::path& path, int error) {
  throw InputError(Code::Unwritable, path.string(), "",
                   "cannot be written: " +
                       (error != 0 ? std::generic_category().message(error) : "writing broke off"),
                   "choose another place, or make room there");
}

/// A file to be filled, removed again unless it is renamed.
class TemporaryFile {
public:
  /// `given` is the target as the user wrote it, for messages.
  TemporaryFile(const fs::path& target, const fs::path& given)
      : target_(target), given_(given), path_(fmt::format("{}.{}.part", target.string(), getpid())) {
    if (path_.native().size() >= sizeof path_in_work) FailToWrite(given_, ENAMETOOLONG);
    std::error_code no_former_file;
    const fs::file_status former = fs::status(target_, no_former_file);
    if (fs::exists(former) && access(target_.c_str(), W_OK) != 0) FailToWrite(given_, errno);

    // Made anew, and not through a link that somebody has laid there.
    unlink(path_.c_str());
    const int descriptor = open(path_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor < 0) FailToWrite(given_, errno);
    close(descriptor);
    std::strcpy(path_in_work, path_.c_str());
    file_in_work = 1;
    stream_.open(path_, std::ios::binary);
    std::error_code not_ours; // then it gets the usual ones
    if (fs::exists(former)) fs::permissions(path_, former.permissions(), not_ours);
  }
  ~TemporaryFile() {
    if (!renamed_) {
      stream_.close();
      unlink(path_.c_str());
    }
    file_in_work = 0;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::ostream& Stream() { return stream_; }

  void Rename() {
    if (stream_) {
      errno = 0;
      stream_.flush(); // closing would forget why it failed
    }
    if (!stream_) FailToWrite(given_, errno);
    stream_.close();
    if (!stream_) FailToWrite(given_, errno);
    std::error_code error;
    fs::rename(path_, target_, error);
    if (error) FailToWrite(given_, error.value());
    renamed_ = true;
  }

private:
  fs::path target_, given_, path_;
  std::ofstream stream_;
  bool renamed_ = false;
};

/// Where the bytes really go: a link is followed, also to a file that is not there yet, so that renaming does not
/// replace the link.
fs::path Target(const fs::path& path) {
  constexpr int kMostLinks = 40;
  fs::path target = path;
  std::error_code error;
  for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
    if (links == kMostLinks) FailToWrite(path, ELOOP);
    target = target.parent_path() / fs::read_symlink(target, error);
    if (error) FailToWrite(path, error.value());
  }
  return target;
}

enum class Kind { File, Device, StandardOutput };

/// What is written to; throws for a place that is none.
Kind KindOf(const fs::path& path) {
  if (path == "-") return Kind::StandardOutput;
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  if (type == fs::file_type::directory)
    throw InputError(Code::Unwritable, path.string(), "", "this is a folder", "name a file in it with -o");
  if (type == fs::file_type::none) FailToWrite(path, error.value());
  return type == fs::file_type::regular || type == fs::file_type::not_found ? Kind::File : Kind::Device;
}

} // namespace

void RemoveTemporaryFileOnSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (std::signal(signal, RemoveAndEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
  std::signal(SIGBUS, RemoveAndTell);
  std::signal(SIGXFSZ, SIG_IGN); // writing past a quota then fails as on a full disk
}

void WriteWhole(const fs::path& path, const std::function<void(std::ostream&)>& write) {
  switch (KindOf(path)) {
  case Kind::StandardOutput:
    write(std::cout);
    if (!std::cout.flush())
      throw InputError(Code::Unwritable, "standard output", "", "cannot be written", "check what reads it");
    return;
  case Kind::Device: {
    errno = 0;
    std::ofstream stream(path, std::ios::binary);
    write(stream);
    if (!stream.flush()) FailToWrite(path, errno);
    return;
  }
  case Kind::File: {
    TemporaryFile file(Target(path), path);
    errno = 0;
    write(file.Stream());
    file.Rename();
  }
  }
}

void CheckWritable(const fs::path& path) {
  if (KindOf(path) == Kind::File) TemporaryFile(Target(path), path); // and gone again
}

} // namespace mien
