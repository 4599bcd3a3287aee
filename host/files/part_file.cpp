#include "host/files/part_file.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

namespace mien {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kEnding = ".part";

/// Whether a file name is one that part files for a target of this name have.
bool IsPartOf(std::string_view name, std::string_view target) {
  if (!name.starts_with(target)) return false;
  name.remove_prefix(target.size());
  if (name.size() < kEnding.size() + 2 || name.front() != '.' || !name.ends_with(kEnding)) return false;
  const std::string_view number = name.substr(1, name.size() - 1 - kEnding.size());
  return std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Whether a descriptor's file is still the one of that path: another process may have removed or renamed it.
bool IsStill(int descriptor, const fs::path& path) {
  struct stat open_file {
  }, named_file{};
  return fstat(descriptor, &open_file) == 0 && lstat(path.c_str(), &named_file) == 0 &&
         open_file.st_dev == named_file.st_dev && open_file.st_ino == named_file.st_ino;
}

/// Removes a part file whose writer is dead: one that nobody has locked.
void RemoveIfAbandoned(const fs::path& path) {
  const int file =
      open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); // does not wait for a pipe
  if (file < 0) return;
  struct stat status {};
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && flock(file, LOCK_EX | LOCK_NB) == 0 &&
      IsStill(file, path))
    unlink(path.c_str());
  close(file);
}

/// The part files in a folder, of any target.
std::vector<std::string> ReadParts(const fs::path& folder, std::size_t& entries) {
  std::vector<std::string> parts;
  std::error_code unreadable; // then they stay
  for (fs::directory_iterator entry(folder, unreadable), end; !unreadable && entry != end;
       entry.increment(unreadable), ++entries)
    if (std::string name = entry->path().filename().string(); name.ends_with(kEnding))
      parts.push_back(std::move(name));
  return parts;
}

/// The same, but for each output of a batch into a large folder the folder cannot be read anew: what was found
/// in one counts for a hundred times as long as reading it took. Those of processes that die within that time
/// stay for the next one that writes the same target.
std::vector<std::string> PartsIn(const fs::path& folder) {
  using Clock = std::chrono::steady_clock;
  struct Found {
    std::vector<std::string> parts;
    Clock::time_point until;
  };
  constexpr std::size_t kLarge = 1000;
  static std::mutex mutex;
  static std::unordered_map<std::string, Found> large_folders;
  const Clock::time_point start = Clock::now();
  {
    const std::lock_guard lock(mutex);
    const auto found = large_folders.find(folder.native());
    if (found != large_folders.end() && start < found->second.until) return found->second.parts;
  }
  std::size_t entries = 0;
  std::vector<std::string> parts = ReadParts(folder, entries);
  if (entries < kLarge) return parts;
  const Clock::time_point now = Clock::now();
  const std::lock_guard lock(mutex);
  large_folders[folder.native()] = {parts, now + 100 * (now - start)};
  return parts;
}

void RemoveAbandoned(const fs::path& target) {
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const std::string name = target.filename().string();
  for (const std::string& part : PartsIn(folder))
    if (IsPartOf(part, name)) RemoveIfAbandoned(folder / part);
}

/// A new name is on the disk when its folder is. A file system that cannot do that has the file nevertheless.
void FlushFolder(const fs::path& target) {
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

} // namespace

PartFile::PartFile(const fs::path& target, const fs::path& given) : target_(target), given_(given) {
  std::error_code no_former_file;
  const fs::file_status former = fs::status(target_, no_former_file);
  if (fs::exists(former) && access(target_.c_str(), W_OK) != 0) Fail(errno);
  RemoveAbandoned(target_);
  Open();
  stream_.open(path_, std::ios::binary);
  std::error_code not_ours; // then it gets the usual ones
  if (fs::exists(former)) fs::permissions(path_, former.permissions(), not_ours);
}

PartFile::~PartFile() {
  if (!renamed_) {
    stream_.close();
    if (IsStill(descriptor_, path_)) unlink(path_.c_str());
  }
  listed_.reset();
  close(descriptor_); // and only now may others remove what has its name
}

void PartFile::Open() {
  constexpr int kMostTries = 1000;
  const auto process = static_cast<std::int64_t>(getpid());
  for (int i = 0; i < kMostTries; ++i) {
    path_ = fmt::format("{}.{}{}", target_.string(), process + i, kEnding);
    if (std::error_code error; fs::exists(fs::symlink_status(path_, error))) continue; // somebody else's
    // On the list before it is there: no signal may come in between.
    listed_.emplace(path_.string());
    // Always a new file, never one behind a link that somebody has put there.
    descriptor_ = open(path_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && errno != EEXIST) Fail(errno);
    if (descriptor_ >= 0) {
      // Another process may be faster, take it for abandoned and remove it. Where a file system has no locks
      // nobody can.
      static_cast<void>(flock(descriptor_, LOCK_EX));
      if (IsStill(descriptor_, path_)) return;
      close(descriptor_);
      descriptor_ = -1;
    }
    listed_.reset();
  }
  Fail(EEXIST);
}

void PartFile::Finish() {
  if (stream_) {
    errno = 0;
    stream_.flush(); // closing would forget why it failed
  }
  if (!stream_) Fail(errno);
  stream_.close();
  if (!stream_) Fail(errno);
  const bool failed = fsync(descriptor_) != 0;
  if (failed && errno != EINVAL && errno != EROFS && errno != ENOSYS)
    Fail(errno); // it cannot, or it went wrong
}

void PartFile::Rename() {
  Finish();
  // Where locks are only known to the machine that has them, as on some shared file systems, another one may
  // have taken the file for abandoned and have one of this name now.
  if (!IsStill(descriptor_, path_)) Fail(ENOENT);
  std::error_code error;
  fs::rename(path_, target_, error);
  if (error) Fail(error.value());
  renamed_ = true;
  FlushFolder(target_);
}

void PartFile::Fail(int error) const { FailToWrite(given_, error); }

void FailToWrite(const fs::path& path, int error) {
  const fs::path folder = path.parent_path();
  std::error_code unknown;
  if (error == ENOENT && !folder.empty() && !fs::exists(folder, unknown))
    throw InputError(Code::Unwritable, path.string(), "",
                     fmt::format("cannot be written: there is no folder {}", Quoted(folder.string())),
                     "choose another place, or make the folder");
  throw InputError(Code::Unwritable, path.string(), "",
                   "cannot be written: " +
                       (error != 0 ? std::generic_category().message(error) : "writing broke off"),
                   "choose another place, or make room there");
}

} // namespace mien
