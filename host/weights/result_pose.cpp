#include "host/weights/result_pose.h"

#include "host/base/text.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace mien {
namespace {

constexpr std::size_t kRotation = 0, kLeftEye = 1, kRightEye = 2;
constexpr std::string_view kAngleKeys[] = {"rotation", "eyeleft", "eyeright"};
constexpr std::string_view kMatrixKeys[] = {"facialtransformationmatrixes", "facialtransformationmatrices",
                                            "facialtransformationmatrix"};

// A head as a matrix has it: turned, and where, in the matrix's own unit.
struct Placed {
  HeadAngles angles;
  Point place;
};

// Nothing if it is not a rotation and translation, with one scale.
std::optional<Placed> PlacedBy(const ResultPose& pose) {
  const std::vector<double>& m = pose.matrix;
  if (m.size() != 16 || !std::all_of(m.begin(), m.end(), [](double v) { return std::isfinite(v); }))
    return std::nullopt;
  const bool ends_rows = m[3] != 0 || m[7] != 0 || m[11] != 0,
             ends_columns = m[12] != 0 || m[13] != 0 || m[14] != 0;
  if (ends_rows && ends_columns) return std::nullopt;
  const bool by_rows = ends_rows || (!ends_columns && pose.in_rows);
  const auto at = [&](std::size_t row, std::size_t column) {
    return by_rows ? m[4 * row + column] : m[4 * column + row];
  };
  VgeTVector axes[3];
  for (std::size_t column = 0; column < 3; ++column)
    axes[column] = {at(0, column), at(1, column), at(2, column), 0};
  const double scale = Length(axes[0]);
  constexpr double kOff = 0.05; // of rounded elements
  if (!(scale > 0) || !(Dot(Cross(axes[0], axes[1]), axes[2]) > 0)) return std::nullopt;
  VgeRMatrix rotation;
  for (std::size_t a = 0; a < 3; ++a) {
    const VgeTVector& next = axes[(a + 1) % 3];
    if (std::fabs(Length(axes[a]) - scale) > kOff * scale ||
        std::fabs(Dot(axes[a], next)) > kOff * scale * scale)
      return std::nullopt;
    const VgeTVector unit = Unit(axes[a]);
    rotation.m[a][0] = unit.x, rotation.m[a][1] = unit.y, rotation.m[a][2] = unit.z;
  }
  return Placed{AnglesOf(rotation), {at(0, 3), at(1, 3), at(2, 3)}};
}

void SetMatrices(const std::vector<const ResultPose*>& poses, WeightTake& take) {
  constexpr double kNone = ResultPose::kNone, kMmPerCm = 10;
  std::optional<Point> first;
  std::size_t wrong = 0;
  double most = 0;
  for (const ResultPose* const pose : poses) {
    const std::optional<Placed> placed = PlacedBy(*pose);
    if (!pose->matrix.empty() && !placed) ++wrong;
    if (!placed) {
      take.heads.push_back({kNone, kNone, kNone});
      take.head_places.push_back({kNone, kNone, kNone});
      continue;
    }
    if (!first) first = placed->place;
    take.heads.push_back(placed->angles);
    take.head_places.push_back({(placed->place.x - first->x) * kMmPerCm,
                                (placed->place.y - first->y) * kMmPerCm,
                                (placed->place.z - first->z) * kMmPerCm});
    for (const double angle : {placed->angles.yaw, placed->angles.pitch, placed->angles.roll})
      most = std::max(most, std::fabs(angle));
  }
  if (wrong > 0)
    take.notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("in {} the head's matrix is not a rotation with a translation, and is ignored",
                     Count(wrong, "frame"))});
  if (!first) {
    take.heads.clear();
    take.head_places.clear();
    return;
  }
  take.angles = fmt::format(
      "of the head from matrices (largest {:.3g} degrees), its place in mm from the first frame's",
      most * 180 / std::numbers::pi);
}

void SetAngles(const std::vector<const ResultPose*>& poses, WeightTake& take) {
  constexpr double kRadians = std::numbers::pi / 180;
  double most = 0;
  const auto has = [&](std::size_t what) {
    return std::any_of(poses.begin(), poses.end(),
                       [&](const ResultPose* pose) { return !std::isnan(pose->angles[what][0]); });
  };
  const bool has_head = take.heads.empty() && has(kRotation), has_eyes = has(kLeftEye) && has(kRightEye);
  if (!has_head && !has_eyes) return;
  for (const ResultPose* const pose : poses) {
    const auto& [head, left, right] = pose->angles;
    if (has_head) take.heads.push_back({head[1] * kRadians, head[0] * kRadians, head[2] * kRadians});
    if (has_eyes)
      take.eyes.push_back({EyeAngles{.yaw = left[1] * kRadians, .pitch = left[0] * kRadians},
                           EyeAngles{.yaw = right[1] * kRadians, .pitch = right[0] * kRadians}});
    for (const auto& [used, angles] :
         {std::pair(has_head, &head), std::pair(has_eyes, &left), std::pair(has_eyes, &right)})
      if (used)
        for (const double angle : *angles) most = std::fmax(most, std::fabs(angle));
  }
  take.notes.push_back(
      {Code::Assumed, "",
       "of the angles of head and eyes, x is taken as pitch downward, y as yaw to the performer's left, z "
       "as roll towards the right shoulder"});
  if (take.angles.empty()) take.angles = fmt::format("degrees (largest {:.3g})", most);
}

} // namespace

void ResultPose::Read(std::string_view object, std::string_view member, double value) {
  if (member.size() != 1 || member[0] < 'x' || member[0] > 'z') return;
  if (object == "position") has_position = true;
  const auto found = std::find(std::begin(kAngleKeys), std::end(kAngleKeys), object);
  if (found != std::end(kAngleKeys))
    angles[static_cast<std::size_t>(found - std::begin(kAngleKeys))]
          [static_cast<std::size_t>(member[0] - 'x')] = value;
}

bool ResultPose::IsEmpty() const {
  return matrix.empty() &&
         std::all_of(angles.begin(), angles.end(), [](const auto& a) { return std::isnan(a[0]); });
}

bool IsMatrixKey(std::string_view key) {
  return std::find(std::begin(kMatrixKeys), std::end(kMatrixKeys), key) != std::end(kMatrixKeys);
}

void SetPoses(const std::vector<ResultPose>& poses, const std::vector<std::size_t>& order, WeightTake& take) {
  std::vector<const ResultPose*> sorted;
  for (std::size_t f = 0; f < poses.size(); ++f) sorted.push_back(&poses[order.empty() ? f : order[f]]);
  if (std::any_of(poses.begin(), poses.end(), [](const ResultPose& pose) { return !pose.matrix.empty(); }))
    SetMatrices(sorted, take);
  SetAngles(sorted, take);
  if (std::any_of(poses.begin(), poses.end(), [](const ResultPose& pose) { return pose.has_position; }))
    take.notes.push_back({Code::Ignored, "", "the head's Position, whose unit is not known, is ignored"});
}

} // namespace mien
