#pragma once

#include "host/base/error.h"
#include "host/live/live_statistics.h"
#include "host/net/event_loop.h"
#include "host/stream/live_job.h"
#include "host/wire/osc_reader.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// A face of a running stream.
struct StreamedFace {
  std::size_t source = 0; ///< in LiveJob::sources
  std::string name;       ///< as the source calls it: any bytes
  bool seen = false, learning = false;
  const LiveStatistics* statistics = nullptr; ///< valid until the stream runs on
};

/// What a source has delivered, apart from its faces.
struct StreamedSource {
  std::uint16_t port = 0;    ///< at which it listens; 0 for none
  std::uint64_t packets = 0; ///< or lines, or frames of a replay
  std::uint64_t flooded = 0; ///< that the system dropped, because they came faster than they were read
  std::vector<std::pair<std::string_view, std::uint64_t>> faults; ///< and how often
};

/// Live faces from sources to sinks, on one thread: packets go in, packets go out, and nothing is kept but
/// what the system's sockets keep. A face begins with its first frame.
class LiveStream {
public:
  /// Opens sockets and files, and reads what has to be read. `remark` gets what a user should know while it
  /// runs. Throws InputError. `loop` must outlive this.
  LiveStream(EventLoop& loop, const LiveJob& job, std::function<void(const Note&)> remark);
  ~LiveStream();
  LiveStream(const LiveStream&) = delete;
  LiveStream& operator=(const LiveStream&) = delete;

  // For the keyboard, and for OSC. Each is for all faces.
  void NeutralNow();      ///< those of markers learn their neutral face again
  void ToggleRecording(); ///< to the place of the record sink; a remark without one
  void TogglePause();
  void Mark(const std::string& label);
  void SwitchPerformer(std::size_t performer); ///< an index of LiveJob::performers; a remark for another

  bool IsRecording() const;
  bool IsPaused() const;

  std::uint16_t ControlPort() const; ///< 0 without
  std::vector<StreamedSource> Sources() const;
  std::vector<StreamedFace> Faces() const;
  std::uint64_t DroppedBySinks() const; ///< packets and lines that were not taken at once

  /// Ends recordings and writes what is kept. To be called behind the loop's end.
  void Finish();

private:
  void Control(const OscMessage& message);

  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace mien
