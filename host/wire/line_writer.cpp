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

LineWriter::LineWriter(const AnimationLayout& layout, std::string_view face)
    : has_shapes_(!layout.shapes.empty()), start_("{\"face\":" + PrintableJson(JsonValue(face).Text())) {
  for (const std::string& name : layout.WeightNames(has_shapes_ ? WeightKind::Shapes : WeightKind::Templates))
    names_.push_back(PrintableJson(JsonValue(name).Text()) + ":");
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
  line_ += "}\n";
  send(line_);
}

} // namespace mien
