#include "host/files/whole_file.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/files/part_file.h"
#include "host/files/standard_streams.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace mien {

namespace {

namespace fs = std::filesystem;

/// Where the bytes really go: a link is followed, also to a file that is not there yet, so that renaming does
/// not replace the link.
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

/// What is written to; throws for a folder and a place that cannot be looked at.
Kind KindOf(const fs::path& path) {
  if (IsStandardOutput(path)) return Kind::StandardOutput;
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  if (type == fs::file_type::directory)
    throw InputError(Code::Unwritable, path.string(), "", "this is a folder", "name a file in it with -o");
  if (type == fs::file_type::none) FailToWrite(path, error.value());
  return type == fs::file_type::regular || type == fs::file_type::not_found ? Kind::File : Kind::Device;
}

void WriteForTerminal(const std::function<void(std::ostream&)>& write, std::ostream& terminal) {
  std::ostringstream text;
  write(text);
  terminal << PrintableLines(text.view());
}

bool IsTerminal(const fs::path& device) {
  const int descriptor = open(device.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  const bool is_terminal = descriptor >= 0 && isatty(descriptor) != 0;
  if (descriptor >= 0) close(descriptor);
  return is_terminal;
}

void WriteToStandardOutput(const std::function<void(std::ostream&)>& write) {
  const bool is_terminal = isatty(STDOUT_FILENO) != 0; // which leaves an error number of its own
  errno = 0;
  if (is_terminal)
    WriteForTerminal(write, std::cout);
  else
    write(std::cout);
  if (!std::cout.flush())
    throw InputError(Code::Unwritable, "standard output", "",
                     "cannot be written: " +
                         (errno != 0 ? std::generic_category().message(errno) : "writing broke off"),
                     "check where it goes");
}

void WriteToDevice(const fs::path& path, const std::function<void(std::ostream&)>& write) {
  std::error_code not_there;
  const bool is_terminal = fs::is_character_file(path, not_there) && IsTerminal(path);
  errno = 0;
  std::ofstream stream(path, std::ios::binary);
  if (is_terminal)
    WriteForTerminal(write, stream);
  else
    write(stream);
  if (!stream.flush()) FailToWrite(path, errno);
}

} // namespace

void WriteWhole(const fs::path& path, const std::function<void(std::ostream&)>& write) {
  switch (KindOf(path)) {
  case Kind::StandardOutput:
    return WriteToStandardOutput(write);
  case Kind::Device:
    return WriteToDevice(path, write);
  case Kind::File: {
    PartFile file(Target(path), path);
    errno = 0;
    write(file.Stream());
    file.Rename();
  }
  }
}

void CheckWritable(const fs::path& path) {
  if (KindOf(path) == Kind::File) PartFile(Target(path), path); // and gone again
}

} // namespace mien
