#include "host/animation/animation_json.h"

#include "host/base/json_text.h"
#include "host/base/long_vector.h"
#include "host/base/parallel.h"
#include "host/base/rotation.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace mien {

namespace {

void Append(std::string& text, const VgeTVector& v) { AppendJsonNumbers(text, std::array{v.x, v.y, v.z}); }
void Append(std::string& text, const VgeSVector& v) { AppendJsonNumbers(text, std::array{v.x, v.y, v.z}); }
void Append(std::string& text, const VgeQuaternion& q) {
  AppendJsonNumbers(text, std::array{q.x, q.y, q.z, q.w});
}

/// A list with a line per frame, which `append(text, frame)` writes. With one thread, it is called for one frame
/// after the other.
template <class Function>
void WriteFrames(std::ostream& out, std::size_t frames, std::size_t threads, const Function& append) {
  constexpr std::size_t kLinesAtOnce = 64, kTurns = 8; // turns of each thread before their lines are written
  std::vector<std::string> of_turns(std::max<std::size_t>(threads, 1) * kTurns);
  out << '[';
  for (std::size_t first = 0; first < frames; first += of_turns.size() * kLinesAtOnce) {
    const std::size_t turns = std::min(of_turns.size(), (frames - first + kLinesAtOnce - 1) / kLinesAtOnce);
    OnThreads(threads, turns, [&](std::size_t, std::size_t turn) {
      std::string& lines = of_turns[turn];
      lines.clear();
      const std::size_t from = first + turn * kLinesAtOnce;
      for (std::size_t f = from; f < std::min(from + kLinesAtOnce, frames); ++f) {
        lines += f == 0 ? "\n    " : ",\n    ";
        append(lines, f);
      }
    });
    for (std::size_t turn = 0; turn < turns; ++turn) out << of_turns[turn];
  }
  out << ']';
}

/// A member with a number per frame, written in pieces: a take can have millions of frames.
template <class Number>
void WriteNumbers(std::ostream& out, std::string_view key, const LongVector<Number>& numbers) {
  out << "  \"" << key << "\": [";
  std::string text;
  for (std::size_t f = 0; f < numbers.size(); ++f) {
    if (f > 0) text += ',';
    if constexpr (std::is_integral_v<Number>)
      text += std::to_string(numbers[f]);
    else
      text += JsonValue(numbers[f]).Text();
    if (text.size() < 1 << 16) continue;
    out << text;
    text.clear();
  }
  out << text << "],\n";
}

void WriteWeights(std::ostream& out, const std::vector<std::string>& names, const LongVector<double>& weights,
                  std::size_t frames, std::size_t threads) {
  out << "{\n    \"names\": " << JsonValue(names).Text() << ",\n    \"weights\": ";
  WriteFrames(out, frames, threads, [&](std::string& line, std::size_t f) {
    AppendJsonNumbers(line, weights.subspan(f * names.size(), names.size()));
  });
  out << "\n  }";
}

/// A list with a line per frame, in each a value per cluster, which `append(text, transform, cluster)`
/// writes.
template <class Function>
void WriteClusters(std::ostream& out, const Animation& animation,
                   const LongVector<ClusterTransform>& transforms, std::size_t threads,
                   const Function& append) {
  const std::size_t clusters = animation.layout.clusters.size();
  WriteFrames(out, animation.frames.size(), threads, [&](std::string& line, std::size_t f) {
    line.push_back('[');
    for (std::size_t c = 0; c < clusters; ++c) {
      if (c > 0) line.push_back(',');
      append(line, transforms[f * clusters + c], c);
    }
    line.push_back(']');
  });
}

void WriteTransforms(std::ostream& out, const Animation& animation,
                     const LongVector<ClusterTransform>& transforms, std::size_t threads) {
  out << "{ \"translation\": ";
  WriteClusters(
      out, animation, transforms, threads,
      [](std::string& line, const ClusterTransform& t, std::size_t) { Append(line, t.translation); });
  out << ",\n      \"rotation\": ";
  std::vector<VgeQuaternion> before(animation.layout.clusters.size(), VgeQuaternion(0, 0, 0, 1));
  WriteClusters(out, animation, transforms, 1,
                [&](std::string& line, const ClusterTransform& t, std::size_t c) {
                  before[c] = QuaternionNear(before[c], t.rotation);
                  Append(line, before[c]);
                });
  out << ",\n      \"scale\": ";
  WriteClusters(out, animation, transforms, threads,
                [](std::string& line, const ClusterTransform& t, std::size_t) { Append(line, t.scale); });
  out << " }";
}

} // namespace

void WriteAnimationJson(const Animation& animation, std::ostream& out, std::size_t threads) {
  const AnimationLayout& layout = animation.layout;
  const std::size_t frames = animation.frames.size();
  const auto member = [&out](std::string_view key, const JsonValue& value) {
    out << "  \"" << key << "\": " << value.Text() << ",\n";
  };
  out << "{\n";
  member("format", "mien animation 1");
  member("take", layout.take);
  member("performer", layout.performer);
  if (!layout.character.empty()) member("character", layout.character);
  member("rate", layout.rate.Hz());
  member("rate_fraction", JsonList({layout.rate.numerator, layout.rate.denominator}));
  if (layout.timecode) member("timecode", ToText(*layout.timecode));
  WriteNumbers(out, "frames", animation.frames);
  WriteNumbers(out, "times", animation.times);

  out << "  \"head\": {\n    \"rotation\": ";
  VgeQuaternion before(0, 0, 0, 1);
  WriteFrames(out, frames, 1, [&](std::string& line, std::size_t f) { // each from the one before
    before = QuaternionNear(before, RotationOf(animation.HeadMotion(f)));
    Append(line, before);
  });
  out << ",\n    \"translation\": ";
  WriteFrames(out, frames, threads, [&](std::string& line, std::size_t f) {
    const VgeAMatrix motion = animation.HeadMotion(f);
    Append(line, VgeTVector{motion.m[3][0], motion.m[3][1], motion.m[3][2]});
  });
  out << "\n  },\n";

  if (!animation.eyes.empty()) {
    out << "  \"eyes\": {\n    \"left\": ";
    for (const std::size_t eye : {0U, 1U}) {
      if (eye == 1) out << ",\n    \"right\": ";
      WriteFrames(out, frames, threads, [&](std::string& line, std::size_t f) {
        AppendJsonNumbers(line, std::array{animation.eyes[f][eye].yaw, animation.eyes[f][eye].pitch});
      });
    }
    out << "\n  },\n";
  }

  out << "  \"templates\": ";
  WriteWeights(out, layout.WeightNames(WeightKind::Templates), animation.weights, frames, threads);
  if (!layout.character.empty() || !layout.shapes.empty()) {
    out << ",\n  \"shapes\": ";
    WriteWeights(out, layout.shapes, animation.shape_weights, frames, threads);
    std::vector<JsonValue> clusters;
    for (const auto& [part, name] : layout.clusters)
      clusters.push_back(JsonObject({{"part", part}, {"cluster", name}}));
    out << ",\n  \"clusters\": {\n    \"names\": " << JsonList(clusters).Text() << ",\n    \"local\": ";
    WriteTransforms(out, animation, animation.local_clusters, threads);
    out << ",\n    \"global\": ";
    WriteTransforms(out, animation, animation.global_clusters, threads);
    out << "\n  }";
  }
  out << "\n}\n";
}

} // namespace mien
