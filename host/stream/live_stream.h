#pragma once

#include "host/base/error.h"
#include "host/live/live_statistics.h"
#include "host/net/event_loop.h"
#include "host/stream/live_job.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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
  const LiveStatistics* statistics = nullptr; ///< valid until the stream continues
};

/// What a source has delivered, apart from its faces.
struct StreamedSource {
  std::uint16_t port = 0;    ///< at which it listens; 0 for none
  std::uint64_t packets = 0; ///< or lines, or frames of a replay
  std::uint64_t flooded = 0; ///< packets that the system dropped because its queue was full
  std::vector<std::pair<std::string_view, std::uint64_t>> faults; ///< and how often
};

/// Live faces from sources to sinks, on one thread: packets go in, and packets go out. The only queues are
/// those of the system's sockets. A face starts with its first frame.
class LiveStream {
public:
  /// Opens sockets and files, and reads performers, characters and takes. `remark` gets messages for the user
  /// while the stream runs. Throws InputError. `loop` must outlive this.
  LiveStream(EventLoop& loop, const LiveJob& job, std::function<void(const Note&)> remark);
  ~LiveStream();
  LiveStream(const LiveStream&) = delete;
  LiveStream& operator=(const LiveStream&) = delete;

  // For the keyboard and for OSC. `source` is an index of LiveJob::sources whose faces are affected; without it,
  // all are. An index without a source is a remark.
  void
  NeutralNow(std::optional<std::size_t> source = {}); ///< faces with markers learn their neutral face again
  void ToggleRecording(); ///< at the place of the record sink; without one, only a remark
  void TogglePause();
  void Mark(const std::string& label);
  /// `performer` is an index of LiveJob::performers; otherwise there is only a remark. 0 selects a source's own
  /// performer, where it has one.
  void SwitchPerformer(std::size_t performer, std::optional<std::size_t> source = {});

  bool IsRecording() const; ///< also before the first face appears
  bool IsPaused() const;

  std::uint16_t ControlPort() const;            ///< 0 if there is none
  std::vector<std::uint16_t> PagePorts() const; ///< of the sinks that are pages
  /// Sets what the pages show about the stream: a line of text, and a line for each face, in the order of Faces.
  void SendStatus(const std::string& summary, const std::vector<std::string>& of_faces);
  std::vector<StreamedSource> Sources() const;
  std::vector<StreamedFace> Faces() const;
  std::uint64_t DroppedBySinks() const; ///< packets and lines that were not accepted immediately

  /// Stops recordings and writes buffered output. Call it after the loop has ended. Returns the files that could
  /// not be written completely, and why.
  std::vector<Problem> Finish();

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace mien
