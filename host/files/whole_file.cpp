#include "host/files/whole_file.h"

#include "host/base/error.h"
#include "host/files/unfinished_files.h"

#include <fmt/format.h>

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace mien {

namespace {

namespace fs = std::filesystem;

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
    std::error_code no_former_file;
    const fs::file_status former = fs::status(target_, no_former_file);
    if (fs::exists(former) && access(target_.c_str(), W_OK) != 0) FailToWrite(given_, errno);

    // Made anew, and not through a link that somebody has laid there.
    unlink(path_.c_str());
    const int descriptor = open(path_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor < 0) FailToWrite(given_, errno);
    close(descriptor);
    listed_.emplace(path_.string());
    stream_.open(path_, std::ios::binary);
    std::error_code not_ours; // then it gets the usual ones
    if (fs::exists(former)) fs::permissions(path_, former.permissions(), not_ours);
  }
  ~TemporaryFile() {
    if (!renamed_) {
      stream_.close();
      unlink(path_.c_str());
    }
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
  std::optional<UnfinishedFile> listed_;
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
