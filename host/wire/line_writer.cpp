#include "host/wire/line_writer.h"

#include "host/base/json_text.h"
#include "host/base/number_text.h"
#include "host/base/rotation.h"
#include "host/base/text.h"
#include "host/weights/head_angles.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace mien {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

/// JSON has no infinity and no NaN.
void AppendJsonNumber(std::string& line, double number) {
  if (std::isfinite(number))
    AppendNumber(line, number);
  else
    line += "null";
}

void AppendMember(std::string& line, std::string_view key, double number) {
  line += key;
  AppendJsonNumber(line, number);
}

} // namespace

LineWriter::LineWriter(const AnimationLayout& layout, std::string_view face, bool clusters)
    : has_shapes_(!layout.shapes.empty()), start_("{\"face\":" + PrintableJson(JsonValue(face).Text())) {
  for (const std::string& name : layout.WeightNames(has_shapes_ ? WeightKind::Shapes : WeightKind::Templates))
    names_.push_back(PrintableJson(JsonValue(name).Text()) + ":");
  if (!clusters) return;
  for (const ClusterColumn& column : layout.clusters)
    clusters_.push_back({.start = "{\"part\":" + PrintableJson(JsonValue(column.part).Text()) +
                                  ",\"cluster\":" + PrintableJson(JsonValue(column.name).Text())});
}

void LineWriter::AppendTransform(const ClusterTransform& transform, VgeQuaternion& before) {
  const auto& [translation, rotation, scale] = transform;
  before = QuaternionNear(before, rotation);
  line_ += "{\"translation\":";
  AppendJsonNumbers(line_, std::array{translation.x, translation.y, translation.z});
  line_ += ",\"rotation\":";
  AppendJsonNumbers(line_, std::array{before.x, before.y, before.z, before.w});
  line_ += ",\"scale\":";
  AppendJsonNumbers(line_, std::array{scale.x, scale.y, scale.z});
  line_ += '}';
}

void LineWriter::AppendClusters(const LiveOutput& output) {
  line_ += ",\"clusters\":[";
  for (std::size_t c = 0; c < clusters_.size(); ++c) {
    if (c > 0) line_ += ',';
    line_ += clusters_[c].start;
    line_ += ",\"local\":";
    AppendTransform(output.local[c], clusters_[c].before[0]);
    line_ += ",\"global\":";
    AppendTransform(output.global[c], clusters_[c].before[1]);
    line_ += '}';
  }
  line_ += ']';
}

void LineWriter::Write(const LiveOutput& output, const Send& send) {
  line_ = start_;
  line_ += ",\"frame\":" + std::to_string(output.frame);
  AppendMember(line_, ",\"time\":", output.time_s);
  if (output.timecode) line_ += ",\"timecode\":\"" + output.timecode->At(output.time_s) + '"';
  if (output.learning) line_ += ",\"learning\":true";
  if (!output.face_seen) line_ += ",\"seen\":false";
  line_ += ",\"weights\":{";
  const std::vector<double>& weights = has_shapes_ ? output.shapes : output.weights;
  for (std::size_t i = 0; i < names_.size() && i < weights.size(); ++i) {
    if (i > 0) line_ += ',';
    line_ += names_[i];
    AppendJsonNumber(line_, weights[i]);
  }
  const HeadAngles head = AnglesOf(RotationOf(output.head_motion));
  AppendMember(line_, "},\"head\":{\"yaw\":", head.yaw * kDegrees);
  AppendMember(line_, ",\"pitch\":", head.pitch * kDegrees);
  AppendMember(line_, ",\"roll\":", head.roll * kDegrees);
  AppendMember(line_, "},\"place\":[", output.head_motion.m[3][0]);
  AppendMember(line_, ",", output.head_motion.m[3][1]);
  AppendMember(line_, ",", output.head_motion.m[3][2]);
  line_ += ']';
  if (output.eyes) {
    const auto& [left, right] = *output.eyes;
    AppendMember(line_, ",\"eyes\":[{\"yaw\":", left.yaw * kDegrees);
    AppendMember(line_, ",\"pitch\":", left.pitch * kDegrees);
    AppendMember(line_, "},{\"yaw\":", right.yaw * kDegrees);
    AppendMember(line_, ",\"pitch\":", right.pitch * kDegrees);
    line_ += "}]";
  }
  if (!clusters_.empty()) AppendClusters(output);
  line_ += "}\n";
  send(line_);
}

} // namespace mien
