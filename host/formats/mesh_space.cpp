#include "host/formats/mesh_space.h"

#include "host/base/error.h"
#include "host/base/statistics.h"
#include "host/formats/mesh_mirror.h"
#include "host/takes/far_positions.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

namespace mien {
namespace {

constexpr std::size_t kForehead = 10, kNoseTip = 1, kChin = 152;
constexpr std::size_t kRightEyeCorner = 33, kLeftEyeCorner = 263;
constexpr std::size_t kRightSide = 234, kLeftSide = 454; // of the face, in front of the ears

// On the canonical face: millimetres, and the nose tip's distance in front of the sides as a part of the
// face's width.
constexpr double kEyeDistance = 88.918;
constexpr double kDepth = 0.6466;

double Distance(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

// What the coordinates of a take are multiplied by.
struct Factors {
  double x = 1, y = 1, z = 1;

  Point operator()(const Point& p) const { return {p.x * x, p.y * y, p.z * z}; }
};

// The median over the frames that have all of these points; nothing if no frame has.
template <typename Measure>
std::optional<double> MedianOf(const Take& take, const Factors& factors,
                               std::initializer_list<std::size_t> points, const Measure& measure) {
  std::vector<double> values;
  std::vector<Point> found(points.size());
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    std::size_t count = 0;
    for (const std::size_t point : points)
      if (const Point* const p = take.At(frame, point)) found[count++] = factors(*p);
    if (count == points.size()) values.push_back(measure(found));
  }
  if (values.empty()) return std::nullopt;
  return Median(values);
}

// Parts of the image are between 0 and 1, or a little outside where the face is cut. A tracker may go astray
// in some frames; of a long take, frames spread over it decide.
bool IsInPixels(const Take& take) {
  constexpr std::size_t kFrames = 1000;
  const std::size_t step = 1 + take.FrameCount() / kFrames;
  const auto is_part = [](double value) { return value >= -1 && value <= 2; };
  std::size_t parts = 0, count = 0;
  for (std::size_t frame = 0; frame < take.FrameCount(); frame += step)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (const Point* const p = take.At(frame, marker)) {
        ++count;
        if (is_part(p->x) && is_part(p->y)) ++parts;
      }
  return parts * 2 < count;
}

// How far the nose tip is in front of the sides, as a part of the face's width: the same at each turn to the
// side.
std::optional<double> DepthOf(const Take& take, const Factors& factors) {
  return MedianOf(take, factors, {kNoseTip, kRightSide, kLeftSide}, [](const std::vector<Point>& p) {
    const double width = std::hypot(p[2].x - p[1].x, p[2].y - p[1].y);
    return width > 0 ? ((p[1].z + p[2].z) / 2 - p[0].z) / width : 0;
  });
}

// The unit of z where x and y are in pixels.
double PixelDepth(Take& take, const MeshOptions& options) {
  const std::optional<double> depth = DepthOf(take, {});
  const auto is_a_face = [](double value) {
    return std::abs(value) > kDepth / 3 && std::abs(value) < kDepth * 3;
  };
  if (!depth || *depth == 0 || is_a_face(*depth)) return 1;
  if (options.image && is_a_face(*depth * options.image->width)) return options.image->width;
  take.notes.push_back(
      {Code::Assumed, "",
       fmt::format(
           "x and y are in pixels and z is not: the face is {:.3g} widths deep instead of {:.2g}; z is "
           "scaled to that",
           *depth, kDepth)});
  return kDepth / std::abs(*depth);
}

void NoteMissingDepth(Take& take) {
  bool is_flat = false;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (const Point* const p = take.At(frame, marker)) {
        if (p->z != 0) return;
        is_flat = true;
      }
  if (!is_flat) return;
  take.notes.push_back(
      {Code::Missing, "",
       "x, y and z are expected, and the landmarks have no depth (z): turns of the head will "
       "show up as expression"});
}

void NoteOrientation(Take& take, const Factors& factors) {
  const auto lower = MedianOf(take, factors, {kForehead, kChin},
                              [](const std::vector<Point>& p) { return p[0].y - p[1].y; });
  if (lower && *lower < 0)
    take.notes.push_back({Code::Doubtful, "",
                          "the chin is above the forehead: y down is expected, as in an image, or the video "
                          "is upside down"});
  const std::optional<double> depth = DepthOf(take, factors); // z points to the camera here
  if (depth && *depth > 0)
    take.notes.push_back({Code::Doubtful, "",
                          "the nose is behind the sides of the face: z that falls towards the camera is "
                          "expected"});
}

// Exchanges the points of both sides.
void ExchangeSides(Take& take) {
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    const Take::Row row = take.RowOf(frame);
    for (std::size_t i = 0; i < take.MarkerCount(); ++i)
      if (const std::size_t other = MirroredMeshPoint(i); i < other && other < take.MarkerCount()) {
        std::swap(row.positions[i], row.positions[other]);
        std::swap(row.origins[i], row.origins[other]);
      }
  }
}

} // namespace

std::optional<ImageSize> ParseImageSize(std::string_view text) {
  ImageSize size;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (double* const number : {&size.width, &size.height}) {
    unsigned pixels = 0;
    const auto [stop, error] = std::from_chars(at, end, pixels);
    if (error != std::errc() || pixels == 0) return std::nullopt;
    *number = pixels;
    at = stop;
    if (number == &size.width && (at == end || (*at++ | 0x20) != 'x')) return std::nullopt;
  }
  return at == end ? std::optional(size) : std::nullopt;
}

std::optional<double> ParseFaceWidth(std::string_view text) {
  constexpr double kNarrowest = 50, kWidest = 400;
  double width = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), width);
  const bool is_number = error == std::errc() && stop == text.data() + text.size();
  return is_number && width >= kNarrowest && width <= kWidest ? std::optional(width) : std::nullopt;
}

std::vector<std::string> MeshMarkers(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back(fmt::format("lm{}", i));
  return names;
}

void MeshToMillimetres(Take& take, const std::string& file, const MeshOptions& options) {
  take.axes = "+y up, along +z out of a face that looks at the camera";
  Factors factors;
  if (IsInPixels(take)) {
    take.unit = "px";
    factors = {1, -1, -PixelDepth(take, options)};
  } else {
    take.unit = "image widths";
    const ImageSize image = options.image.value_or(ImageSize{16, 9});
    if (!options.image)
      take.notes.push_back({Code::Assumed, "", "the image's size is unknown; taken as 16:9 (--image)"});
    factors = {image.width, -image.height, -image.width};
  }
  if (options.mirrored) {
    ExchangeSides(take);
    factors.x = -factors.x;
  }
  NoteMissingDepth(take);
  NoteOrientation(take, factors);

  const bool by_width = options.face_width_mm.has_value();
  const std::size_t right = by_width ? kRightSide : kRightEyeCorner;
  const std::size_t left = by_width ? kLeftSide : kLeftEyeCorner;
  const std::optional<double> distance = MedianOf(
      take, factors, {right, left}, [](const std::vector<Point>& p) { return Distance(p[0], p[1]); });
  if (!distance)
    take.notes.push_back(
        {Code::Missing, "",
         fmt::format("no frame has both points {} and {}, which give the scale", right, left)});
  const double scale = distance ? options.face_width_mm.value_or(kEyeDistance) / *distance : 1;
  if (!std::isfinite(scale))
    throw InputError(Code::InvalidValue, file, "",
                     fmt::format("the points {} and {}, which give the scale, are in one place", right, left),
                     "export the landmarks again");

  FarPositions far;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    const Take::Row row = take.RowOf(frame);
    for (std::size_t marker = 0; marker < row.positions.size(); ++marker) {
      Point& p = row.positions[marker]; // of a gap: no matter
      p = factors(p);
      p = {p.x * scale, p.y * scale, p.z * scale};
      if (IsWithinReach(p) || row.origins[marker] == Origin::None) continue;
      far.Add(take.markers[marker], "frame", take.frames[frame]);
      take.Clear(frame, marker);
    }
  }
  far.AppendTo(take.notes);
}

} // namespace mien
