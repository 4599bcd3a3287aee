#include "host/wire/tracker_packet_reader.h"

#include "host/wire/byte_reader.h"
#include "host/wire/sent_rotation.h"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <vector>

namespace mien {

namespace {

constexpr std::size_t kFaceBytes = 1785;
constexpr std::size_t kLandmarks = 66;

/// The number of a landmark among the 68.
constexpr std::size_t NumberOf(std::size_t point) {
  return point < 60 ? point : point < 63 ? point + 1 : point + 2;
}

const std::vector<std::string>& Names() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (std::size_t point = 0; point < kLandmarks; ++point)
      all.push_back(fmt::format("lm{}", NumberOf(point)));
    return all;
  }();
  return names;
}

using Face = std::array<Point, kLandmarks>;

Point MeanOf(const Face& face, std::size_t first, std::size_t last) {
  Point sum;
  const double share = 1 / static_cast<double>(last - first + 1);
  for (std::size_t i = first; i <= last; ++i)
    sum = {sum.x + share * face[i].x, sum.y + share * face[i].y, sum.z + share * face[i].z};
  return sum;
}

/// The factors of the axes, 1 or -1, with which the left eye is to the left, the brows are above the mouth, and
/// the nose is in front. Empty if that is not clear: the head is turned far away, or the points are not a face.
std::optional<std::array<double, 3>> SignsOf(const Face& face) {
  const Point right_eye = MeanOf(face, 36, 41), left_eye = MeanOf(face, 42, 47), brows = MeanOf(face, 17, 26),
              mouth = MeanOf(face, 48, 59), nose = face[30];
  const double width =
      std::hypot(left_eye.x - right_eye.x, left_eye.y - right_eye.y, left_eye.z - right_eye.z);
  const double steps[3] = {left_eye.x - right_eye.x, brows.y - mouth.y,
                           nose.z - (face[0].z + face[16].z) / 2};
  std::array<double, 3> signs{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    constexpr double kClear = 0.25; // of the distance of the eyes
    if (!(std::fabs(steps[axis]) > kClear * width)) return std::nullopt;
    signs[axis] = steps[axis] > 0 ? 1 : -1;
  }
  return signs;
}

} // namespace

void TrackerPacketReader::ReadPacket(std::string_view packet) {
  while (packet.size() >= kFaceBytes) {
    ReadFace(packet.substr(0, kFaceBytes));
    packet.remove_prefix(kFaceBytes);
  }
  if (!packet.empty()) Fault("cut short, or not a tracker's packet");
}

void TrackerPacketReader::ReadFace(std::string_view bytes) {
  ByteReader reader(bytes);
  const double time = reader.LittleDouble();
  id_ = fmt::format_int(std::bit_cast<std::int32_t>(reader.Little32())).str();
  reader.Skip(4 * sizeof(float)); // the image's size, how far the eyes are open
  const bool has_points = reader.Byte() != 0;
  reader.Skip(sizeof(float)); // how far the points are from the image's
  const auto number = [&reader] { return static_cast<double>(reader.LittleFloat()); };
  const double x = number(), y = number(), z = number(), w = number();
  const auto turn = SentRotation(x, y, z, w);
  reader.Skip(3 * sizeof(float)); // the same as angles
  Point place;
  place.x = number(), place.y = number(), place.z = number();
  constexpr std::size_t kConfidences = 68, kImagePoints = 68;
  reader.Skip((kConfidences + 2 * kImagePoints) * sizeof(float));

  const auto face = FaceOf(id_, LiveKind::Markers, Names());
  if (!face) return;
  LiveInput& input = Start(*face);
  if (std::isfinite(time)) input.source_s = time;
  input.lost = !has_points || !turn;
  if (has_points && !turn) Fault("a head without a rotation");
  if (input.lost) return Emit();

  Face points;
  for (Point& point : points) {
    const double own[] = {number(), number(), number()};
    const auto along = [&](int axis) {
      return turn->m[0][axis] * own[0] + turn->m[1][axis] * own[1] + turn->m[2][axis] * own[2];
    };
    point = {along(0) + place.x, along(1) + place.y, along(2) + place.z};
  }
  Stream& stream = streams_[*face];
  if (!stream.signs) stream.signs = SignsOf(points);
  const std::optional<double> scale = stream.scale.Of(points[36], points[45]);
  if (!stream.signs || !scale) {
    Fault("a face that does not show the axes yet");
    input.lost = true;
    return Emit();
  }
  const std::array<double, 3>& signs = *stream.signs;
  for (const Point& point : points) {
    const Point placed = {*scale * signs[0] * point.x, *scale * signs[1] * point.y,
                          *scale * signs[2] * point.z};
    if (std::isfinite(placed.x) && std::isfinite(placed.y) && std::isfinite(placed.z))
      input.markers.emplace_back(placed);
    else
      input.markers.emplace_back();
  }
  Emit();
}

} // namespace mien
