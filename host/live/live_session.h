#pragma once

#include "host/animation/animation.h"
#include "host/live/live_face.h"
#include "host/live/live_input.h"
#include "host/live/live_output.h"
#include "host/live/live_statistics.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace mien {

/// Faces from any number of live sources, each with its own performer: frames go in, weights come out, at
/// once and in the same thread. Has no clock, sockets or threads of its own; one thread at a time uses it.
///
/// Nothing that a source sends makes it throw, or use memory without bounds: what a frame has in excess is
/// not read, numbers that are no position or weight are missing ones, and both are counted.
class LiveSession {
public:
  static constexpr std::size_t kMostFaces = 64;

  /// `on_output` gets each frame that comes out, within Feed and Advance. It may call anything of the session
  /// but Feed and Advance.
  explicit LiveSession(std::function<void(const LiveOutput&)> on_output);
  ~LiveSession();

  /// Takes up a face. Throws InputError where its setup does not fit its names, for more than kMostFaces
  /// faces, and for names beyond the limits of LiveFace. Returns its number, which is not used again.
  std::size_t AddFace(const LiveSource& source, const LiveSetup& setup);

  /// Ends its recording and forgets it. Later frames of it are counted as unknown.
  void RemoveFace(std::size_t face);

  std::size_t FaceCount() const;

  /// The names of a face's numbers. It changes with SwitchPerformer only.
  const AnimationLayout& Layout(std::size_t face) const;

  /// What became of a frame.
  enum class Verdict {
    Used,      ///< `on_output` got what came of it: with an output rate, none, one or several frames
    Paused,    ///< by Pause
    Duplicate, ///< its time is that of the frame before
    Late,      ///< its time is before that of the frame before
    Unusable,  ///< it has no usable time
    Unknown    ///< there is no such face
  };
  Verdict Feed(const LiveInput& input);

  /// Lets time pass: a face of which nothing came for `silent_s` is lost, and gets frames in which it is, so
  /// that it fades to rest. To be called some 30 times a second. `now_s` is on the clock of
  /// LiveInput::arrival_s.
  void Advance(double now_s);

  /// Restarts a face: its neutral face is learned from the frames of the next seconds.
  void NeutralNow(std::size_t face);

  /// Drops what comes in until it is called with false.
  void Pause(bool paused);

  /// Notes a moment in a face's recording; nothing where none is made.
  void Mark(std::size_t face, const std::string& label);

  /// Restarts a face with another performer, or other settings. Throws as AddFace does; then nothing changes.
  void SwitchPerformer(std::size_t face, const LiveSetup& setup);

  /// Begins to write what comes in and what goes out of a face (LiveRecording), and restarts its filters, so
  /// that a causal solve of what is recorded gives what goes out. `place` is a path without an ending. Throws
  /// InputError where a file cannot be written, or exists.
  void StartRecording(std::size_t face, const std::string& place);
  void StopRecording(std::size_t face);

  const LiveStatistics& Statistics(std::size_t face) const;

  /// The time from a frame's arrival to when it was sent on, for the statistics.
  void AddLatency(std::size_t face, double seconds);

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace mien
