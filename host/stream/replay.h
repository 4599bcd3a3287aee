#pragma once

#include "host/formats/read_take.h"
#include "host/live/live_input.h"

#include <cstddef>
#include <memory>
#include <string>

namespace mien {

/// A take or a recording of weights as a live source: the same frames, with the file's own times.
class Replay {
public:
  /// Throws InputError if the file is neither.
  Replay(const std::string& file, const ReadOptions& options);
  ~Replay();
  Replay(const Replay&) = delete;
  Replay& operator=(const Replay&) = delete;

  const LiveSource& Source() const { return source_; }
  std::size_t FrameCount() const;

  /// Seconds from the first frame.
  double TimeOf(std::size_t frame) const;

  /// How long it lasts, including the time for which the last frame is shown.
  double Duration() const;

  /// The frame's markers or weights, and its time in the file, later by `later_s`.
  void Fill(std::size_t frame, double later_s, LiveInput& input) const;

private:
  struct Recorded;
  std::unique_ptr<Recorded> recorded_;
  LiveSource source_;
};

} // namespace mien
