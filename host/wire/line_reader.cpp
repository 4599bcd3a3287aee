#include "host/wire/line_reader.h"

#include "host/base/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <optional>
#include <utility>

namespace mien {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kRadians = std::numbers::pi / 180;
constexpr std::size_t kMostPoints = 1024, kMostWeights = 1024, kMostFacesALine = 16, kLongestName = 256;

bool IsFinite(const Point& point) {
  return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

/// "lm0" to "lm67", or of the mesh.
const std::vector<std::string>& LandmarkNames(std::size_t count) {
  static const std::vector<std::string> all[] = {MeshMarkers(68), MeshMarkers(468), MeshMarkers(478)};
  return all[count == 68 ? 0 : count == 468 ? 1 : 2];
}

bool IsLandmarkCount(std::size_t count) { return count == 68 || count == 468 || count == 478; }
bool IsMeshCount(std::size_t count) { return count == 468 || count == 478; }

Point ReadPoint(JsonCursor& json, std::string& key) {
  Point point = {kNaN, kNaN, kNaN};
  if (json.Peek() == 'n') {
    json.Number();
  } else if (json.Peek() == '[') {
    double* const numbers[] = {&point.x, &point.y, &point.z};
    std::size_t i = 0;
    for (json.BeginArray(); json.NextElement(); ++i) {
      const double number = json.Number();
      if (i < std::size(numbers)) *numbers[i] = number;
    }
  } else {
    for (json.BeginObject(); json.NextKey(key);)
      if (key == "x")
        point.x = json.Number();
      else if (key == "y")
        point.y = json.Number();
      else if (key == "z")
        point.z = json.Number();
      else
        json.Skip();
  }
  return point;
}

/// {"yaw", "pitch", "roll"} in degrees.
HeadAngles ReadAngles(JsonCursor& json, std::string& key) {
  HeadAngles angles;
  for (json.BeginObject(); json.NextKey(key);)
    if (key == "yaw")
      angles.yaw = json.Number() * kRadians;
    else if (key == "pitch")
      angles.pitch = json.Number() * kRadians;
    else if (key == "roll")
      angles.roll = json.Number() * kRadians;
    else
      json.Skip();
  return angles;
}

bool IsFinite(const HeadAngles& angles) {
  return std::isfinite(angles.yaw) && std::isfinite(angles.pitch) && std::isfinite(angles.roll);
}

} // namespace

LineReader::LineReader(OnFrame on_frame, const MeshOptions& mesh)
    : PacketReader(std::move(on_frame)), mesh_(mesh) {}

void LineReader::ReadPacket(std::string_view packet) {
  if (packet.find_first_not_of(" \t\r\n") == std::string_view::npos) return; // an empty line
  if (!ReadLine(packet)) return Fault("not JSON, or cut short");
  if (line_.lost) {
    // The face's markers or weights, whichever it has shown.
    for (std::size_t f = 0; f < Faces().size(); ++f)
      if (Faces()[f].name == line_.face) {
        LiveInput& input = Start(f);
        input.source_s = line_.time_s;
        input.lost = true;
        Emit();
      }
    return;
  }
  if (!line_.names.empty())
    if (Stream* const stream = StreamOf(line_.face)) stream->point_names = line_.names;
  if (line_.face_count == 0 && !line_.has_weights && line_.names.empty())
    Fault("a line without points or weights");
  for (std::size_t f = 0; f < line_.face_count; ++f)
    EmitPoints(line_.face_count == 1 ? line_.face : fmt::format("{}{}", line_.face, f), line_.faces[f]);
  if (line_.has_weights) EmitWeights();
}

bool LineReader::ReadLine(std::string_view packet) {
  line_.face.clear();
  line_.time_s.reset();
  line_.lost = line_.has_weights = false;
  line_.mm_per_unit = 1;
  line_.unit = Unit::Unstated;
  line_.names.clear();
  line_.face_count = line_.weight_count = 0;
  line_.head.reset();
  line_.place.reset();
  line_.eyes.reset();
  JsonCursor json(packet);
  for (json.BeginObject(); json.NextKey(key_);)
    if (!ReadMember(json)) json.Skip();
  return json.IsAtEnd();
}

// A branch for each member of the format.
bool LineReader::ReadMember(JsonCursor& json) {
  if (key_ == "face") {
    json.Text(line_.face);
  } else if (key_ == "time") {
    const double time = json.Number();
    if (std::isfinite(time)) line_.time_s = time;
  } else if (key_ == "timestamp_ms" || key_ == "timestampMs") {
    const double time = json.Number();
    if (std::isfinite(time)) line_.time_s = time / 1000;
  } else if (key_ == "lost") {
    line_.lost = json.Boolean();
  } else if (key_ == "unit") {
    json.Text(text_);
    line_.unit = text_ == "image" ? Unit::Image : Unit::Mm;
    line_.mm_per_unit = text_ == "m" ? 1000 : text_ == "cm" ? 10 : 1;
  } else if (key_ == "names") {
    for (json.BeginArray(); json.NextElement();) {
      json.Text(text_);
      if (line_.names.size() < kMostPoints) line_.names.emplace_back(Beginning(text_, kLongestName));
    }
  } else if (key_ == "points") {
    ReadPoints(json);
  } else if (key_ == "faceLandmarks" || key_ == "face_landmarks") {
    ReadFaces(json);
  } else if (key_ == "weights") {
    ReadWeights(json);
  } else if (key_ == "head" && json.Peek() == '{') {
    const HeadAngles angles = ReadAngles(json, key_);
    if (IsFinite(angles)) line_.head = angles;
  } else if (key_ == "place" && json.Peek() == '[') {
    const Point place = ReadPoint(json, key_);
    if (IsFinite(place)) line_.place = place;
  } else if (key_ == "eyes" && json.Peek() == '[') {
    std::vector<HeadAngles> eyes;
    for (json.BeginArray(); json.NextElement();) {
      const HeadAngles eye = ReadAngles(json, key_);
      if (eyes.size() < 2) eyes.push_back(eye);
    }
    if (eyes.size() == 2 && IsFinite(eyes[0]) && IsFinite(eyes[1]))
      line_.eyes = Eyes{EyeAngles{.yaw = eyes[0].yaw, .pitch = eyes[0].pitch},
                        EyeAngles{.yaw = eyes[1].yaw, .pitch = eyes[1].pitch}};
  } else {
    return false;
  }
  return true;
}

void LineReader::ReadPoints(JsonCursor& json) {
  if (line_.face_count == line_.faces.size()) line_.faces.emplace_back();
  std::vector<Point>& points = line_.faces[line_.face_count];
  points.clear();
  for (json.BeginArray(); json.NextElement();) {
    const Point point = ReadPoint(json, key_);
    if (points.size() < kMostPoints) points.push_back(point);
  }
  if (line_.face_count < kMostFacesALine) ++line_.face_count;
}

void LineReader::ReadFaces(JsonCursor& json) {
  const std::size_t before = line_.face_count;
  for (json.BeginArray(); json.NextElement();) ReadPoints(json);
  if (line_.face_count == before) line_.lost = true; // the list of faces is empty
}

void LineReader::ReadWeights(JsonCursor& json) {
  line_.has_weights = true;
  for (json.BeginObject(); json.NextKey(key_);) {
    const double weight = json.Number();
    if (line_.weight_count == kMostWeights) continue;
    if (line_.weight_count == line_.weights.size()) line_.weights.emplace_back();
    line_.weights[line_.weight_count].first = Beginning(key_, kLongestName);
    line_.weights[line_.weight_count++].second = weight;
  }
}

LineReader::Stream* LineReader::StreamOf(const std::string& face) {
  const auto found = streams_.find(face);
  if (found != streams_.end()) return &found->second;
  if (streams_.size() == kMostFaces) {
    Fault("more than 16 faces");
    return nullptr;
  }
  return &streams_[face];
}

LiveInput* LineReader::StartFace(const std::string& name, LiveKind kind,
                                 const std::vector<std::string>& names) {
  const auto face = FaceOf(name, kind, names);
  if (!face) return nullptr;
  LiveInput& input = Start(*face);
  input.source_s = line_.time_s;
  return &input;
}

void LineReader::EmitPoints(const std::string& name, const std::vector<Point>& points) {
  Stream* const stream = StreamOf(name);
  if (!stream) return;
  const bool are_landmarks = stream->point_names.empty() && IsLandmarkCount(points.size());
  const std::vector<std::string>& names = are_landmarks ? LandmarkNames(points.size()) : stream->point_names;
  if (names.empty()) return Fault("points without names that are not 68, 468 or 478");
  if (points.size() != names.size()) return Fault("the numbers of points and names differ");
  const bool in_image =
      line_.unit == Unit::Image || (line_.unit == Unit::Unstated && IsMeshCount(points.size()));

  Point scale = {line_.mm_per_unit, line_.mm_per_unit, line_.mm_per_unit};
  if (in_image) {
    const ImageSize image = mesh_.image.value_or(ImageSize{16, 9});
    const double aspect = image.height / image.width;
    const auto place = [&](std::size_t i) { return Point{points[i].x, points[i].y * aspect, points[i].z}; };
    constexpr std::size_t kRightCorner = 33, kLeftCorner = 263, kRightSide = 234,
                          kLeftSide = 454; // of the mesh
    if (!IsMeshCount(points.size())) return Fault("image positions of points other than 468 or 478");
    if (mesh_.face_width_mm) stream->scale.SetDistance(*mesh_.face_width_mm);
    const auto found = mesh_.face_width_mm ? stream->scale.Of(place(kRightSide), place(kLeftSide))
                                           : stream->scale.Of(place(kRightCorner), place(kLeftCorner));
    if (!found) return Fault("the size of the face is not known yet");
    scale = {*found, -*found * aspect, -*found};
  }
  LiveInput* const input = StartFace(name, LiveKind::Markers, names);
  if (!input) return;
  for (const Point& point : points) {
    const Point placed = {scale.x * point.x, scale.y * point.y, scale.z * point.z};
    if (IsFinite(placed))
      input->markers.emplace_back(placed);
    else
      input->markers.emplace_back();
  }
  Emit();
}

void LineReader::EmitWeights() {
  Stream* const stream = StreamOf(line_.face);
  if (!stream) return;
  if (stream->weight_names.empty())
    for (std::size_t i = 0; i < line_.weight_count; ++i)
      if (stream->weight_indices.emplace(line_.weights[i].first, stream->weight_names.size()).second)
        stream->weight_names.push_back(line_.weights[i].first);
  if (stream->weight_names.empty()) return Fault("a line without points or weights");
  LiveInput* const input = StartFace(line_.face, LiveKind::Weights, stream->weight_names);
  if (!input) return;
  input->weights.assign(stream->weight_names.size(), kNaN);
  for (std::size_t i = 0; i < line_.weight_count; ++i)
    if (const auto found = stream->weight_indices.find(line_.weights[i].first);
        found != stream->weight_indices.end())
      input->weights[found->second] = line_.weights[i].second;
    else
      Fault("weights that the face's first line lacks");
  input->head = line_.head;
  input->head_place = line_.place;
  input->eyes = line_.eyes;
  Emit();
}

} // namespace mien
