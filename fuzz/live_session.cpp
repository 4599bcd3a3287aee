// Any sequence of calls with any numbers and names leaves a live session whole: only InputError is thrown, and only
// where the header says so, and what comes out is finite, in its sizes, and in the order of time.
//
// Frames come in runs of a moving face, so that a few bytes suffice to learn it; between and within them, positions,
// weights, times and timecodes are anything.

#include "host/live/live_session.h"

#include "host/base/error.h"
#include "host/character/character_file.h"
#include "tests/host/plain_face.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using mien::LiveInput;
using mien::LiveKind;
using mien::LiveOutput;
using mien::LiveSession;
using mien::LiveSetup;
using mien::LiveSource;

constexpr int kMostCalls = 200, kMostFrames = 1000, kLongestRun = 60;

void Require(bool holds) {
  if (!holds) std::abort();
}

mien::NeutralPose FaceWithIrises() {
  mien::NeutralPose face = tests::PlainFace();
  face["IrisL"] = {16, 48, 91};
  face["IrisR"] = {-16, 48, 91};
  return face;
}

mien::Performer PerformerWithIrises() {
  mien::Performer performer = tests::PlainPerformer();
  performer.irises = {{{"IrisL"}, {"IrisR"}}};
  return performer;
}

/// What does not change between sequences.
struct Fixed {
  std::shared_ptr<const mien::Character> arkit =
      std::make_shared<const mien::Character>(mien::LoadCharacter("arkit52"));
  std::shared_ptr<const mien::Character> puppet = std::make_shared<const mien::Character>(
      mien::LoadCharacter(MIEN_SAMPLES_FOLDER "/puppet.character.json"));
  std::shared_ptr<const mien::WeightMap> map =
      std::make_shared<const mien::WeightMap>(mien::LoadWeightMap("arkit52"));
  std::shared_ptr<const mien::Performer> learning =
      std::make_shared<const mien::Performer>(PerformerWithIrises());
  std::shared_ptr<const mien::Performer> at_rest = AtRest();
  std::string folder = MakeFolder();

  static std::shared_ptr<const mien::Performer> AtRest() {
    mien::Performer performer = PerformerWithIrises();
    performer.neutral = FaceWithIrises();
    performer.rigid = performer.head;
    return std::make_shared<const mien::Performer>(performer);
  }
  static std::string MakeFolder() {
    std::string name = std::filesystem::temp_directory_path() / "mien_fuzz_XXXXXX";
    Require(mkdtemp(name.data()) != nullptr);
    return name;
  }
  ~Fixed() { std::filesystem::remove_all(folder); }
};

/// Calls of a session, as bytes describe them.
class Calls {
public:
  Calls(FuzzedDataProvider& bytes, const Fixed& fixed)
      : bytes_(bytes), fixed_(fixed), session_([this](const LiveOutput& output) { Check(output); }) {}

  ~Calls() {
    for (const std::string& place : places_)
      for (const auto& part : {"", "-2", "-3", "-4", "-5"})
        for (const auto& ending : {".csv", ".out.csv", ".neutral.csv", ".events.csv"})
          std::filesystem::remove(place + part + ending);
  }

  void Make() {
    for (int call = 0; call < kMostCalls && frames_ < kMostFrames && bytes_.remaining_bytes() > 0; ++call) {
      switch (const int kind = bytes_.ConsumeIntegralInRange(0, 15)) {
      case 0:
        Run();
        break;
      case 1:
        Feed();
        break;
      case 2:
        now_s_ += bytes_.ConsumeBool() ? bytes_.ConsumeFloatingPointInRange(0.0, 3.0) : 0;
        session_.Advance(bytes_.ConsumeIntegralInRange(0, 15) == 0 ? Number() : now_s_);
        break;
      case 3:
        session_.Pause(bytes_.ConsumeBool());
        break;
      case 4:
        session_.AddLatency(Face(), Number());
        break;
      default:
        try {
          MayThrow(kind);
        } catch (const mien::InputError&) {} // the names, the setup, the place, or no such face
      }
    }
  }

private:
  void MayThrow(int kind) {
    switch (kind) {
    case 5:
    case 6:
    case 7: {
      LiveSetup setup = Setup();
      const LiveSource source = Source(!setup.performer);
      const std::size_t number = session_.AddFace(source, setup);
      faces_.push_back(
          {.number = number, .source = source, .has_rate = setup.causal.output_rate.has_value()});
      if (bytes_.ConsumeBool()) Record(number);
      break;
    }
    case 8:
      session_.NeutralNow(Face());
      break;
    case 9:
      session_.Mark(Face(), bytes_.ConsumeRandomLengthString(300));
      break;
    case 10: {
      const std::size_t face = Face();
      const LiveSetup setup = Setup();
      session_.SwitchPerformer(face, setup);
      for (Known& known : faces_)
        if (known.number == face) known.has_rate = setup.causal.output_rate.has_value();
      break;
    }
    case 11:
    case 12:
      Record(Face());
      break;
    case 13:
      session_.StopRecording(Face());
      break;
    case 14:
      session_.RemoveFace(Face());
      break;
    default: {
      const std::size_t face = Face();
      static_cast<void>(session_.Statistics(face).latency.Quantile(0.99));
      static_cast<void>(session_.RecordingFault(face));
      static_cast<void>(session_.Face(face).Neutral());
    }
    }
  }

  /// At a place that may be in use.
  void Record(std::size_t face) {
    places_.push_back(fixed_.folder + "/" + std::to_string(places_.size() % 8));
    session_.StartRecording(face, places_.back());
  }

  /// The number of a face, or one that is not used.
  std::size_t Face() {
    const auto index = bytes_.ConsumeIntegralInRange<std::size_t>(0, faces_.size());
    return index < faces_.size() ? faces_[index].number : 1000;
  }

  /// Any number, of every kind.
  double Number() {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr std::array kKinds = {0.0,   -0.0,   1.0,    1e6,    -1e6,      1e7,       1e300,
                                   1e308, -1e300, 5e-324, 1e-300, kInfinity, -kInfinity};
    const auto kind = bytes_.ConsumeIntegralInRange<std::size_t>(0, 2 * kKinds.size());
    if (kind < kKinds.size()) return kKinds[kind];
    if (kind == kKinds.size()) return std::nan("");
    return bytes_.ConsumeFloatingPointInRange(-200.0, 200.0);
  }

  LiveSetup Setup() {
    LiveSetup setup;
    mien::CausalSettings& causal = setup.causal;
    const int performer = bytes_.ConsumeIntegralInRange(0, 3);
    if (performer == 1) setup.performer = fixed_.learning;
    if (performer >= 2) setup.performer = fixed_.at_rest;
    const int character = bytes_.ConsumeIntegralInRange(0, 3);
    if (character == 1) setup.character = fixed_.arkit;
    if (character == 2) setup.character = fixed_.puppet;
    if (bytes_.ConsumeBool()) setup.map = fixed_.map;
    setup.swap_sides = bytes_.ConsumeBool();
    causal.gaze = bytes_.ConsumeBool();
    causal.learn_s = bytes_.ConsumeFloatingPointInRange(0.0, 0.5);
    causal.hold_s = bytes_.ConsumeFloatingPointInRange(0.0, 0.5);
    causal.fade_s = bytes_.ConsumeFloatingPointInRange(0.0, 0.5);
    causal.face_hold_s = bytes_.ConsumeFloatingPointInRange(0.0, 1.0);
    causal.face_fade_s = bytes_.ConsumeFloatingPointInRange(0.0, 1.0);
    if (bytes_.ConsumeBool()) causal.head_fit = mien::HeadFit::Markers;
    if (bytes_.ConsumeIntegralInRange(0, 7) == 0) causal.solver = mien::ShapeSolver::Fit;
    if (bytes_.ConsumeBool())
      causal.smooth = mien::OneEuroSettings{.cutoff_hz = bytes_.ConsumeFloatingPointInRange(0.01, 100.0),
                                            .beta = bytes_.ConsumeFloatingPointInRange(0.0, 100.0)};
    if (bytes_.ConsumeIntegralInRange(0, 3) == 0)
      causal.output_rate = mien::FrameRate{bytes_.ConsumeIntegralInRange<std::int64_t>(-1, 1100),
                                           bytes_.ConsumeIntegralInRange<std::int64_t>(1, 11)};
    return setup;
  }

  LiveSource Source(bool weights) {
    LiveSource source;
    source.name = bytes_.ConsumeRandomLengthString(20);
    source.kind = weights ? LiveKind::Weights : LiveKind::Markers;
    if (bytes_.ConsumeIntegralInRange(0, 3) == 0)
      for (int name = bytes_.ConsumeIntegralInRange(0, 8); name > 0; --name)
        source.names.push_back(bytes_.ConsumeRandomLengthString(300));
    if (weights)
      source.names.insert(source.names.end(), {"jawOpen", "eyeBlinkLeft", "eyeLookInRight", "custom"});
    else
      for (const auto& [name, place] : FaceWithIrises()) source.names.push_back(name);
    return source;
  }

  /// Frames at 60 per second of a face that moves.
  void Run() {
    const std::size_t face = Face();
    const int count = bytes_.ConsumeIntegralInRange(1, kLongestRun);
    const bool has_time = bytes_.ConsumeBool();
    for (int f = 0; f < count; ++f, ++frames_) {
      now_s_ += 1.0 / 60;
      LiveInput input;
      Usual(face, input);
      if (has_time) input.source_s = now_s_;
      session_.Feed(input);
    }
  }

  void Usual(std::size_t face, LiveInput& input) const {
    input.face = face;
    input.arrival_s = now_s_;
    const double phase = 0.1 * frames_;
    for (const Known& known : faces_) {
      if (known.number != face) continue;
      const mien::NeutralPose pose = FaceWithIrises();
      for (const std::string& name : known.source.names) {
        const auto place = pose.find(name);
        input.weights.push_back(0.5 + 0.5 * std::sin(phase));
        if (place == pose.end()) {
          input.markers.emplace_back();
          continue;
        }
        mien::Point p = place->second;
        if (!name.starts_with('H')) p.y -= 3 + 3 * std::sin(phase);
        p.x += 0.2 * p.z * std::sin(0.5 * phase);
        input.markers.emplace_back(p);
      }
    }
  }

  /// A frame with anything in it.
  void Feed() {
    ++frames_;
    LiveInput input;
    Usual(Face(), input);
    now_s_ += bytes_.ConsumeBool() ? 1.0 / 60 : 0;
    input.arrival_s = bytes_.ConsumeIntegralInRange(0, 7) == 0 ? Number() : now_s_;
    if (bytes_.ConsumeBool()) input.source_s = bytes_.ConsumeBool() ? Number() : now_s_;
    if (bytes_.ConsumeIntegralInRange(0, 3) == 0)
      input.timecode = mien::LiveTimecode{
          .count = bytes_.ConsumeIntegral<std::int64_t>(),
          .fraction = Number(),
          .rate = {bytes_.ConsumeIntegral<std::int64_t>() >> bytes_.ConsumeIntegralInRange(0, 63),
                   bytes_.ConsumeIntegralInRange<std::int64_t>(-1, 1001)},
          .drop = bytes_.ConsumeBool()};
    input.lost = bytes_.ConsumeIntegralInRange(0, 7) == 0;
    for (int change = bytes_.ConsumeIntegralInRange(0, 8); change > 0; --change) {
      const auto at = bytes_.ConsumeIntegralInRange<std::size_t>(0, 40);
      if (at < input.markers.size())
        input.markers[at] =
            bytes_.ConsumeBool() ? std::optional(mien::Point{Number(), Number(), Number()}) : std::nullopt;
      if (at < input.weights.size()) input.weights[at] = Number();
    }
    if (bytes_.ConsumeBool()) {
      const auto size = bytes_.ConsumeIntegralInRange<std::size_t>(0, 60);
      input.markers.resize(size);
      input.weights.resize(size);
    }
    if (bytes_.ConsumeBool()) input.head = mien::HeadAngles{Number(), Number(), Number()};
    if (bytes_.ConsumeBool()) input.head_place = mien::Point{Number(), Number(), Number()};
    if (bytes_.ConsumeBool())
      input.eyes = mien::Eyes{mien::EyeAngles{Number(), Number()}, mien::EyeAngles{Number(), Number()}};
    session_.Feed(input);
  }

  void Check(const LiveOutput& output) {
    const mien::AnimationLayout& layout = session_.Layout(output.face);
    Require(output.weights.size() == layout.templates.size() && output.shapes.size() == layout.shapes.size());
    Require(output.local.size() == layout.clusters.size() && output.global.size() == layout.clusters.size());
    const auto is_finite = [](double number) { return std::isfinite(number); };
    Require(std::all_of(output.weights.begin(), output.weights.end(), is_finite));
    Require(std::all_of(output.shapes.begin(), output.shapes.end(), is_finite));
    for (const VgeAMatrix* const m : {&output.head, &output.head_motion})
      for (const auto& column : m->m)
        for (const double number : column) Require(std::isfinite(number));
    for (const auto* const clusters : {&output.local, &output.global})
      for (const mien::ClusterTransform& cluster : *clusters)
        Require(std::isfinite(cluster.translation.x) && std::isfinite(cluster.rotation.m[0][0]) &&
                std::isfinite(cluster.scale.x));
    Require(output.presence >= 0 && output.presence <= 1 && std::isfinite(output.time_s) &&
            output.time_s >= 0);
    for (Known& known : faces_) {
      if (known.number != output.face) continue;
      Require(output.time_s > known.time_s);
      Require(known.has_rate || output.frame > known.frame);
      known.time_s = output.time_s;
      known.frame = output.frame;
    }
  }

  struct Known {
    std::size_t number = 0;
    LiveSource source;
    bool has_rate = false; // its frames are counted again from 1 when it restarts
    double time_s = -1;
    std::int64_t frame = 0;
  };

  FuzzedDataProvider& bytes_;
  const Fixed& fixed_;
  std::vector<Known> faces_;
  std::vector<std::string> places_;
  double now_s_ = 1000;
  int frames_ = 0;
  LiveSession session_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Fixed fixed;
  FuzzedDataProvider bytes(data, size);
  Calls(bytes, fixed).Make();
  return 0;
}
