#include "host/wire/phone_datagram_reader.h"

#include "host/base/text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <system_error>
#include <utility>

namespace mien {

namespace {

constexpr double kRadians = std::numbers::pi / 180;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Angles = std::array<double, 3>; // about x, y, z, in degrees

bool AreFinite(const Angles& angles) {
  return std::isfinite(angles[0]) && std::isfinite(angles[1]) && std::isfinite(angles[2]);
}

/// The eyes' angles stay unknown until both are.
struct Pose {
  Angles head = {kNaN, kNaN, kNaN}, left = head, right = head;

  void MoveTo(LiveInput& input) const {
    if (AreFinite(head))
      input.head =
          HeadAngles{.yaw = head[1] * kRadians, .pitch = head[0] * kRadians, .roll = head[2] * kRadians};
    if (AreFinite(left) && AreFinite(right))
      input.eyes = Eyes{EyeAngles{.yaw = left[1] * kRadians, .pitch = left[0] * kRadians},
                        EyeAngles{.yaw = right[1] * kRadians, .pitch = right[0] * kRadians}};
  }
};

Angles ReadVector(JsonCursor& json, std::string& key) {
  Angles angles = {kNaN, kNaN, kNaN};
  for (json.BeginObject(); json.NextKey(key);)
    if (key.size() == 1 && ToLower(key[0]) >= 'x' && ToLower(key[0]) <= 'z')
      angles[static_cast<std::size_t>(ToLower(key[0]) - 'x')] = json.Number();
    else
      json.Skip();
  return angles;
}

/// A number that a text is, and nothing else; NaN otherwise.
double NumberOf(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : kNaN;
}

/// The first three numbers of a list with commas.
Angles NumbersOf(std::string_view text) {
  Angles numbers = {kNaN, kNaN, kNaN};
  for (double& number : numbers) {
    const std::size_t comma = text.find(',');
    number = NumberOf(text.substr(0, comma));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  return numbers;
}

} // namespace

void PhoneDatagramReader::ReadPacket(std::string_view packet) {
  const auto face = FaceOf("", LiveKind::Weights, NamedWeights::Names());
  if (!face) return;
  LiveInput& input = Start(*face);
  input.weights.assign(kArkitNames.size(), kNaN);
  const std::size_t first = packet.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos && packet[first] == '{')
    ReadJson(input, packet);
  else
    ReadText(input, packet);
}

void PhoneDatagramReader::ReadJson(LiveInput& input, std::string_view packet) {
  JsonCursor json(packet);
  Pose pose;
  bool has_weights = false;
  for (json.BeginObject(); json.NextKey(key_);) {
    if (EqualIgnoringCase(key_, "Timestamp")) {
      const double ms = json.Number();
      if (std::isfinite(ms)) input.source_s = ms / 1000;
    } else if (EqualIgnoringCase(key_, "FaceFound")) {
      input.lost = !json.Boolean();
    } else if (EqualIgnoringCase(key_, "Rotation")) {
      pose.head = ReadVector(json, key_);
    } else if (EqualIgnoringCase(key_, "EyeLeft")) {
      pose.left = ReadVector(json, key_);
    } else if (EqualIgnoringCase(key_, "EyeRight")) {
      pose.right = ReadVector(json, key_);
    } else if (EqualIgnoringCase(key_, "BlendShapes")) {
      has_weights = true;
      ReadJsonWeights(input, json);
    } else {
      json.Skip();
    }
  }
  if (!json.IsAtEnd()) return Fault("not JSON, or cut short");
  if (!has_weights && !input.lost) return Fault("JSON without weights");
  pose.MoveTo(input);
  Emit();
}

void PhoneDatagramReader::ReadJsonWeights(LiveInput& input, JsonCursor& json) {
  for (json.BeginArray(); json.NextElement();) {
    name_.clear();
    double weight = kNaN;
    for (json.BeginObject(); json.NextKey(key_);)
      if (EqualIgnoringCase(key_, "k"))
        json.Text(name_);
      else if (EqualIgnoringCase(key_, "v"))
        weight = json.Number();
      else
        json.Skip();
    if (!json.HasFailed()) SetWeight(input, name_, weight);
  }
}

void PhoneDatagramReader::ReadText(LiveInput& input, std::string_view packet) {
  Pose pose;
  bool has_weights = false;
  while (!packet.empty()) {
    const std::size_t bar = packet.find('|');
    std::string_view item = packet.substr(0, bar);
    packet.remove_prefix(bar == std::string_view::npos ? packet.size() : bar + 1);
    if (item.starts_with('=')) item.remove_prefix(1);
    if (const std::size_t hash = item.find('#'); hash != std::string_view::npos) {
      const std::string_view what = item.substr(0, hash);
      for (const auto& [name, angles] : {std::pair("head", &pose.head), std::pair("leftEye", &pose.left),
                                         std::pair("rightEye", &pose.right)})
        if (EqualIgnoringCase(what, name)) *angles = NumbersOf(item.substr(hash + 1));
      continue;
    }
    // The last hyphen separates; one before it is the sign of the value.
    std::size_t hyphen = item.rfind('-');
    if (hyphen == std::string_view::npos) continue;
    if (hyphen > 0 && item[hyphen - 1] == '-') --hyphen;
    const double hundredths = NumberOf(item.substr(hyphen + 1));
    if (std::isnan(hundredths)) continue;
    has_weights = true;
    SetWeight(input, item.substr(0, hyphen), hundredths / 100);
  }
  if (!has_weights) return Fault("text without weights");
  pose.MoveTo(input);
  Emit();
}

void PhoneDatagramReader::SetWeight(LiveInput& input, std::string_view name, double weight) {
  if (const auto known = names_.Find(name))
    input.weights[*known] = weight;
  else
    Fault("weights with names other than the 52");
}

} // namespace mien
