#pragma once

#include "host/animation/animation.h"
#include "host/live/causal_settings.h"
#include "host/live/live_input.h"
#include "host/live/live_output.h"
#include "host/live/marker_solver.h"
#include "host/live/weight_solver.h"
#include "host/solve/character_solver.h"
#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What a face of a stream is solved with. The objects may be shared by many faces; they do not change.
struct LiveSetup {
  CausalSettings causal;
  std::shared_ptr<const Character> character; ///< null: templates, or the source's own shapes, come out
  ExpressionWeights expressions;              ///< of the character, added to every frame

  // LiveKind::Markers.
  std::shared_ptr<const Performer> performer; ///< without the ranges that are not to be applied
  /// What the face is learned from (LearnFace). Null: the performer's own neutral pose (LearnFaceOfPose), or
  /// without one the first CausalSettings::learn_s of the stream.
  std::shared_ptr<const Take> neutral_take;
  std::optional<FrameRange> neutral;       ///< of that take, the frames with the neutral face
  std::shared_ptr<const ShapeBasis> basis; ///< for ShapeSolver::Fit; null for the built-in ones

  // LiveKind::Weights.
  std::shared_ptr<const WeightMap>
      map;                          ///< from weights to templates; only read with a character, which needs it
  std::vector<Range> weight_ranges; ///< by the names of the weights
  bool swap_sides = false;          ///< exchange left and right
};

/// One face of a stream, from what its source delivers to what goes out. A take that is solved causally goes
/// through the same object, so the results are the same, to the bit.
///
/// A frame without any usable marker or weight, and one that the source calls lost, is a frame without the
/// face: the result of the last frame is held, and then fades to rest and comes back as Presence says, with
/// CausalSettings::face_hold_s and face_fade_s. While the face is lost, nothing else changes.
///
/// With CausalSettings::output_rate, frames come out at first time + n / rate. Each lies on the straight line
/// between the two frames around it (the head turns evenly), and so comes out with the later one: at most one
/// frame of the source late. Where two frames are more than a second apart, nothing comes out between them.
///
/// A frame allocates nothing once the face is learned and each set of seen head markers has occurred.
class LiveFace {
public:
  static constexpr std::size_t kMostNames = 4096;
  static constexpr std::size_t kLongestName = 255; ///< bytes
  static constexpr double kMostOutput_hz = 1000;

  /// Throws InputError for more names than kMostNames, for a setup that does not fit the names, and for what
  /// is learned from (LearnFace).
  LiveFace(const LiveSource& source, const LiveSetup& setup);
  ~LiveFace();
  LiveFace(const LiveFace&) = delete;
  LiveFace& operator=(const LiveFace&) = delete;

  /// The timecode of the first frame, for the layout.
  void SetTimecode(const std::optional<Timecode>& timecode) { layout_.timecode = timecode; }

  /// The names and order of the numbers that come out. The neutral head is known once the face is learned.
  const AnimationLayout& Layout() const { return layout_; }

  /// Whether the neutral face is being learned from the stream.
  bool IsLearning() const { return source_.kind == LiveKind::Markers && !markers_; }

  /// What the face was learned from; null where that was no take.
  const Take* LearnedFrom() const { return learned_from_.get(); }

  /// Takes a frame, and returns what of it can be used: `lost` is set where that is nothing, positions beyond
  /// a kilometre, weights beyond a million, and angles beyond half a turn (of the eyes: a quarter) are
  /// missing. Valid until the next call.
  const LiveInput& Receive(const LiveInput& input);

  /// Solves the frame that was received: `frame` and `time_s` are above those of the one before. `output`
  /// gets what comes out; each is valid until it returns.
  void Solve(std::int64_t frame, double time_s, const std::function<void(const LiveOutput&)>& output);

  /// Learns the neutral face again, from the frames to come. Nothing for weights, but what Restart does.
  void Learn();

  /// Forgets the frames before, but not the neutral face. One that is being learned is begun again.
  void Restart();

  /// Numbers in all frames so far that were no positions or weights: infinite, or more than a kilometre away.
  std::size_t UnusableNumbers() const { return unusable_; }

  /// Times that the frames to learn from did not determine a face, so that others were taken.
  std::size_t FailedLearnings() const { return failed_learnings_; }

private:
  void SetUpMarkers(LearnedFace learned);
  void SetUpCharacter(const std::vector<std::string>& fitted);
  void SizeOutput();
  bool ReceiveMarkers(const LiveInput& input);
  void ReceiveWeights(const LiveInput& input);
  void Collect(double time_s, std::int64_t frame);
  bool IsCollectedFull() const;
  void LearnNow();
  void Fade(bool seen, double elapsed_s);
  void SendAt(double time_s, std::int64_t frame, const LiveMoment& moment,
              const std::function<void(const LiveOutput&)>& output);
  void Resample(const std::function<void(const LiveOutput&)>& output);

  LiveSource source_;
  LiveSetup setup_;
  AnimationLayout layout_;
  std::optional<Performer> performer_; // that the stream's markers suffice for
  std::optional<MarkerSolver> markers_;
  std::optional<WeightSolver> weights_;
  std::optional<CharacterSolver> character_;
  Presence presence_;
  std::unique_ptr<Take> collected_;
  std::shared_ptr<const Take> learned_from_;

  LiveInput usable_;  // what can be used of the frame
  LiveMoment solved_; // the last frame with the face
  LiveMoment now_, before_, between_;
  bool has_before_ = false;
  std::optional<double> last_time_s_, last_solved_s_; // of any frame, and with the face
  std::optional<double> first_time_s_;                // of what comes out
  std::int64_t next_tick_ = 0;
  LiveOutput output_;
  std::size_t unusable_ = 0, failed_learnings_ = 0;
};

} // namespace mien
