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

/// One face of a stream, from its source's input to the output. Causal solves of takes use the same class, so
/// the results are equal, to the bit.
///
/// A frame without any usable marker or weight, or one that the source reports as lost, is a frame without
/// the face: the last result is held, fades to rest and returns as described at Presence, with
/// CausalSettings::face_hold_s and face_fade_s. While the face is lost, nothing else changes.
///
/// With CausalSettings::output_rate, frames come out at first time + n / rate. Each lies on the straight line
/// between the two frames around it (the head turns evenly), and so comes out with the later one: at most one
/// frame of the source late. Where two frames are more than a second apart, nothing comes out between them.
///
/// Solving a frame allocates nothing once the face is learned and each set of visible head markers has
/// occurred.
class LiveFace {
public:
  static constexpr std::size_t kMostNames = 4096;
  static constexpr std::size_t kLongestName = 255; ///< bytes
  static constexpr double kMostOutput_hz = 1000;

  /// Throws InputError for more names than kMostNames, for a setup that does not fit the names, and as
  /// LearnFace does.
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

  // For drawing the face. Valid until the face learns again.
  const Performer* PerformerInUse() const {
    return performer_ ? &*performer_ : nullptr;
  } ///< null for weights
  const NeutralPose* Neutral() const {
    return markers_ ? &markers_->Neutral() : nullptr;
  }                                                                          ///< null: not known
  const Character* CharacterInUse() const { return setup_.character.get(); } ///< null without one
  bool MayShowEyes() const { return solved_.has_eyes || !markers_; } ///< false: no frame will have them

  /// Which of the source's markers the solve uses (indices). Valid until the face learns again; null until
  /// the neutral face is known, and for weights.
  const std::vector<std::size_t>* UsedMarkers() const { return markers_ ? &markers_->Used() : nullptr; }

  /// The take that the face was learned from; null if there was none.
  const Take* LearnedFrom() const { return learned_from_.get(); }

  /// Receives a frame, and returns the usable part of it: positions beyond a kilometre, weights beyond a
  /// million, and angles beyond half a turn (for the eyes, a quarter) are missing; `lost` is set if nothing
  /// is left. Valid until the next call.
  const LiveInput& Receive(const LiveInput& input);

  /// Solves the received frame. `frame` and `time_s` are greater than those of the previous one. `output`
  /// gets each result, which is valid during the call.
  void Solve(std::int64_t frame, double time_s, const std::function<void(const LiveOutput&)>& output);

  /// Learns the neutral face again, from the next frames. For weights, the same as Restart.
  void Learn();

  /// Forgets earlier frames, but not the neutral face. If it is being learned, learning starts again.
  void Restart();

  /// The count of invalid positions and weights in all frames so far: infinite or too large ones.
  std::size_t UnusableNumbers() const { return unusable_; }

  /// How often the frames for learning did not determine a face, so that others were used.
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
