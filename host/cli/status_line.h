#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace mien {

/// A line on the terminal that shows how far some work is. It appears when the work has taken half a second,
/// changes ten times a second whatever the work is doing, and is wiped in the end. Silent where standard error
/// is not a terminal that can do that, and in the background.
class StatusLine {
public:
  /// `text` returns what to show, at most so many columns wide; empty for nothing yet. It is called on a
  /// thread of the line's own, and must outlive it.
  StatusLine(std::function<std::string(std::size_t columns)> text, bool quiet);
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  /// Whether nothing is ever shown.
  bool IsSilent() const { return silent_; }

  /// Prints on standard error by `print`, above the line.
  void Above(const std::function<void()>& print);

private:
  void Show(); // runs in a thread of its own

  const std::function<std::string(std::size_t)> text_;
  bool silent_;
  std::mutex mutex_; // for all below
  std::condition_variable wake_;
  bool ended_ = false;
  std::string shown_;
  std::thread thread_; // the last member: it uses the others
};

/// "12 s", "3 min 5 s", "1 h 2 min"; whole seconds, rounded up.
std::string DurationText(double seconds);

/// "title [####----]numbers": a title, a bar where there is room, and numbers, at most `columns` wide. `part`
/// is from 0 to 1.
std::string BarLine(std::string title, double part, const std::string& numbers, std::size_t columns);

/// What a bar line keeps of its title at least.
inline constexpr std::size_t kShortestTitle = 8;

} // namespace mien
