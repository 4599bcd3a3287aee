#include "host/animation/animation_json.h"

#include "host/base/rotation.h"
#include "host/base/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <iterator>
#include <string>
#include <vector>

namespace mien {

namespace {

using Text = fmt::memory_buffer;

void Append(Text& text, const VgeTVector& v) {
  fmt::format_to(std::back_inserter(text), "[{},{},{}]", v.x, v.y, v.z);
}
void Append(Text& text, const VgeSVector& v) {
  fmt::format_to(std::back_inserter(text), "[{},{},{}]", v.x, v.y, v.z);
}
void Append(Text& text, const VgeQuaternion& q) {
  fmt::format_to(std::back_inserter(text), "[{},{},{},{}]", q.x, q.y, q.z, q.w);
}

std::string Quoted(const std::string& text) {
  // The name of a take is that of its file, which may hold any bytes.
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// A list with a line per frame, which `append(text, frame)` writes.
template <class Function>
void WriteFrames(std::ostream& out, std::size_t frames, const Function& append) {
  Text line;
  out << '[';
  for (std::size_t f = 0; f < frames; ++f) {
    line.clear();
    fmt::format_to(std::back_inserter(line), "{}\n    ", f == 0 ? "" : ",");
    append(line, f);
    out.write(line.data(), static_cast<std::streamsize>(line.size()));
  }
  out << ']';
}

void WriteWeights(std::ostream& out, const std::vector<std::string>& names,
                  const std::vector<double>& weights, std::size_t frames) {
  std::vector<std::string> quoted;
  for (const std::string& name : names) quoted.push_back(Quoted(name));
  out << fmt::format("{{\n    \"names\": [{}],\n    \"weights\": ", fmt::join(quoted, ", "));
  WriteFrames(out, frames, [&](Text& line, std::size_t f) {
    const double* const row = weights.data() + f * names.size();
    fmt::format_to(std::back_inserter(line), "[{}]", fmt::join(row, row + names.size(), ","));
  });
  out << "\n  }";
}

/// A list with a line per frame, in each a value per cluster, which `append(text, transform, cluster)` writes.
template <class Function>
void WriteClusters(std::ostream& out, const Animation& animation,
                   const std::vector<ClusterTransform>& transforms, const Function& append) {
  const std::size_t clusters = animation.clusters.size();
  WriteFrames(out, animation.frames.size(), [&](Text& line, std::size_t f) {
    line.push_back('[');
    for (std::size_t c = 0; c < clusters; ++c) {
      if (c > 0) line.push_back(',');
      append(line, transforms[f * clusters + c], c);
    }
    line.push_back(']');
  });
}

void WriteTransforms(std::ostream& out, const Animation& animation,
                     const std::vector<ClusterTransform>& transforms) {
  out << "{ \"translation\": ";
  WriteClusters(out, animation, transforms,
                [](Text& line, const ClusterTransform& t, std::size_t) { Append(line, t.translation); });
  out << ",\n      \"rotation\": ";
  std::vector<VgeQuaternion> before(animation.clusters.size(), VgeQuaternion(0, 0, 0, 1));
  WriteClusters(out, animation, transforms, [&](Text& line, const ClusterTransform& t, std::size_t c) {
    before[c] = QuaternionNear(before[c], t.rotation);
    Append(line, before[c]);
  });
  out << ",\n      \"scale\": ";
  WriteClusters(out, animation, transforms,
                [](Text& line, const ClusterTransform& t, std::size_t) { Append(line, t.scale); });
  out << " }";
}

} // namespace

void WriteAnimationJson(const Animation& animation, std::ostream& out) {
  const std::size_t frames = animation.frames.size();
  out << "{\n  \"format\": \"mien animation 1\",\n";
  out << fmt::format("  \"take\": {},\n  \"performer\": {},\n", Quoted(animation.take),
                     Quoted(animation.performer));
  if (!animation.character.empty()) out << fmt::format("  \"character\": {},\n", Quoted(animation.character));
  out << fmt::format("  \"rate\": {},\n  \"rate_fraction\": [{}, {}],\n", animation.rate.Hz(),
                     animation.rate.numerator, animation.rate.denominator);
  if (animation.timecode) out << fmt::format("  \"timecode\": {},\n", Quoted(ToText(*animation.timecode)));
  out << fmt::format("  \"frames\": [{}],\n  \"times\": [{}],\n", fmt::join(animation.frames, ","),
                     fmt::join(animation.times, ","));

  out << "  \"head\": {\n    \"rotation\": ";
  VgeQuaternion before(0, 0, 0, 1);
  WriteFrames(out, frames, [&](Text& line, std::size_t f) {
    before = QuaternionNear(before, RotationOf(animation.HeadMotion(f)));
    Append(line, before);
  });
  out << ",\n    \"translation\": ";
  WriteFrames(out, frames, [&](Text& line, std::size_t f) {
    const VgeAMatrix motion = animation.HeadMotion(f);
    Append(line, VgeTVector{motion.m[3][0], motion.m[3][1], motion.m[3][2]});
  });
  out << "\n  },\n";

  std::vector<std::string> names;
  for (const TemplateColumn& column : animation.templates) names.push_back(column.name);
  out << "  \"templates\": ";
  WriteWeights(out, names, animation.weights, frames);
  if (!animation.character.empty()) {
    out << ",\n  \"shapes\": ";
    WriteWeights(out, animation.shapes, animation.shape_weights, frames);
    std::vector<std::string> clusters;
    for (const auto& [part, name] : animation.clusters)
      clusters.push_back(fmt::format("{{ \"part\": {}, \"cluster\": {} }}", Quoted(part), Quoted(name)));
    out << fmt::format(",\n  \"clusters\": {{\n    \"names\": [{}],\n    \"local\": ",
                       fmt::join(clusters, ", "));
    WriteTransforms(out, animation, animation.local_clusters);
    out << ",\n    \"global\": ";
    WriteTransforms(out, animation, animation.global_clusters);
    out << "\n  }";
  }
  out << "\n}\n";
}

} // namespace mien
