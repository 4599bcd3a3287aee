#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace mien {

/// A line on the terminal that says how far some work is. Silent where standard error is not a terminal.
class Progress {
public:
  explicit Progress(std::string work);
  /// Wipes the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void operator()(std::size_t done, std::size_t total);

private:
  std::string work_;
  bool on_terminal_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point next_;
};

} // namespace mien
