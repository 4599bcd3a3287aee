#pragma once

#include "host/animation/animation.h"
#include "host/base/error.h"
#include "host/live/live_face.h"
#include "host/live/live_input.h"
#include "host/live/live_output.h"
#include "host/live/live_statistics.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Faces from any number of live sources, each with its own performer: frames go in, weights come out, at
/// once and in the same thread. Has no clock, sockets or threads of its own; one thread at a time uses it.
///
/// No input from a source makes it throw or use unlimited memory: surplus entries of a frame are not read,
/// numbers that are not valid positions or weights count as missing, and both are counted.
class LiveSession {
public:
  static constexpr std::size_t kMostFaces = 64;

  /// `on_output` gets each resulting frame during Feed and Advance. It may call only const functions of the
  /// session.
  explicit LiveSession(std::function<void(const LiveOutput&)> on_output);
  ~LiveSession();

  /// Adds a face. Throws InputError if its setup does not fit its names, for more than kMostFaces faces, and
  /// for names beyond the limits of LiveFace. Returns its number, which is not reused.
  std::size_t AddFace(const LiveSource& source, const LiveSetup& setup);

  /// Stops its recording and removes it. Its later frames are Unknown.
  void RemoveFace(std::size_t face);

  std::size_t FaceCount() const;

  /// The names of a face's numbers. It changes with SwitchPerformer only.
  const AnimationLayout& Layout(std::size_t face) const;

  /// Valid until the session is used again.
  const LiveFace& Face(std::size_t face) const;

  /// What became of a frame.
  enum class Verdict {
    Used,      ///< `on_output` got the result: with an output rate, zero, one or several frames
    Paused,    ///< by Pause
    Duplicate, ///< its time is that of the frame before
    Late,      ///< its time is before that of the frame before
    Unusable,  ///< it has no usable time
    Unknown    ///< there is no such face
  };
  Verdict Feed(const LiveInput& input);

  /// Handles silent sources: a face without input for a quarter of a second, or three frames if that is
  /// longer, is lost, and frames without it are inserted so that it fades to rest. Call this about 30 times
  /// per second. `now_s` is on the clock of LiveInput::arrival_s.
  void Advance(double now_s);

  /// Restarts a face: its neutral face is learned from the frames of the next seconds.
  void NeutralNow(std::size_t face);

  /// Drops what comes in until it is called with false.
  void Pause(bool paused);

  /// Marks a moment in a face's recording, if there is one.
  void Mark(std::size_t face, const std::string& label);

  /// Restarts a face with another performer, or other settings. Throws as AddFace does; then nothing changes.
  void SwitchPerformer(std::size_t face, const LiveSetup& setup);

  /// Starts to record the input and the output of a face (LiveRecording), and resets its filters, so that a
  /// causal solve of the recorded input gives the recorded output. `place` is a path without an ending.
  /// Throws InputError where a file cannot be written, or exists.
  void StartRecording(std::size_t face, const std::string& place);
  void StopRecording(std::size_t face);
  bool IsRecording(std::size_t face) const;

  /// Why the face's last recording ended by itself: a file, or one of the next part, could not be written.
  /// The face continues without it. Empty if it did not end by itself.
  const std::optional<Problem>& RecordingFault(std::size_t face) const;

  const LiveStatistics& Statistics(std::size_t face) const;

  /// Adds the time from a frame's arrival to sending the result to the statistics.
  void AddLatency(std::size_t face, double seconds);

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace mien
