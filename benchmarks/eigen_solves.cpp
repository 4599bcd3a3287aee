#include "benchmarks/eigen_solves.h"

#include <algorithm>
#include <cmath>
#include <iterator>

using Eigen::Affine3d;
using Eigen::Isometry3d;
using Eigen::Matrix3d;
using Eigen::Quaterniond;
using Eigen::Vector3d;
using Eigen::Vector4d;

namespace benchmarks {
namespace {

Affine3d InverseOfOrthogonalAxes(const Affine3d& transform) {
  const Matrix3d axes = transform.linear();
  const Matrix3d inverse =
      (axes.array().rowwise() / axes.colwise().squaredNorm().array()).matrix().transpose();
  Affine3d result = Affine3d::Identity();
  result.linear() = inverse;
  result.translation() = -(inverse * transform.translation());
  return result;
}

struct TriangleFrame {
  Isometry3d frame = Isometry3d::Identity();
  double area = 0, quality = 0;
};

TriangleFrame FrameOf(const Vector3d& p0, const Vector3d& p1, const Vector3d& p2) {
  TriangleFrame result;
  result.frame.translation() = (p0 + p1 + p2) / 3.0;
  const Vector3d e1 = p1 - p0, e2 = p2 - p0;
  const Vector3d normal = e1.cross(e2);
  const double twice_area = normal.norm();
  if (!(twice_area > 0)) return result;

  const Vector3d x = e1.normalized(), z = normal.normalized();
  result.frame.linear() << x, z.cross(x), z;
  double sides[] = {e1.norm(), e2.norm(), (p2 - p1).norm()};
  std::sort(std::begin(sides), std::end(sides));
  result.area = twice_area / 2;
  result.quality = twice_area / (sides[1] * sides[2]);
  return result;
}

double Clamp01(double x) { return std::clamp(x, 0.0, 1.0); }

double RampUp(double s, double rest, double full) {
  return s > rest ? Clamp01((s - rest) / (full - rest)) : 0.0;
}

double ProjectedFraction(const Vector3d& moved, const Vector3d& full) {
  const double squared_length = full.squaredNorm();
  return squared_length == 0 ? 0 : moved.dot(full) / squared_length;
}

double Width(const PartPose& p) { return std::abs(p(0, 0) - p(0, 1)) + std::abs(p(0, 1) - p(0, 2)); }

double HeightOver(const PartPose& p, int point, int base) { return p(1, point) - p(1, base); }

} // namespace

void EigenActor::UpdateHeadMarkers(const EigenFrame& frame) {
  std::copy(std::begin(frame.head_positions), std::end(frame.head_positions), head_markers);
}

void EigenActor::SolveRigidBody(EigenFrame& frame) const {
  constexpr double kSineOf10Degrees = 0.17364817766693033;
  int count = 0;
  Vector3d translation = Vector3d::Zero();
  Vector4d rotation = Vector4d::Zero();
  for (const Triangle& triangle : triangles) {
    if (!(triangle.quality > kSineOf10Degrees)) continue;
    const TriangleFrame current =
        FrameOf(head_markers[triangle.i], head_markers[triangle.j], head_markers[triangle.k]);
    if (!(current.quality > kSineOf10Degrees)) continue;

    ++count;
    const Isometry3d motion = current.frame * triangle.inverse;
    translation += motion.translation();
    Vector4d q = Quaterniond(motion.linear()).coeffs() * current.area;
    if (q.dot(rotation) < 0) q = -q;
    rotation += q;
  }
  frame.rigid_body_valid = count > 0;
  frame.rigid_body = Isometry3d::Identity();
  if (count > 0) {
    frame.rigid_body.linear() = Quaterniond(rotation).normalized().toRotationMatrix();
    frame.rigid_body.translation() = translation / count;
  }
}

void EigenActor::SolveHead(EigenFrame& frame, const EigenFrame& reference) {
  UpdateHeadMarkers(frame);
  SolveRigidBody(frame);
  frame.head = frame.rigid_body * (reference.rigid_body.inverse() * reference.head);
}

void EigenActor::ActorToFace(EigenPose& result, const Affine3d& head, const Vector3d* positions,
                             const EigenFace& face) const {
  result.head = head;
  result.points = face.rest;
  const Affine3d to_head = InverseOfOrthogonalAxes(head);
  for (int p = 0; p < 9; ++p) {
    const Affine3d to_volume = InverseOfOrthogonalAxes(parts[p].volume);
    auto points = result.points.middleCols<7>(7 * p);
    for (const Entry& entry : parts[p].entries) {
      const Vector3d displacement = to_volume * (to_head * positions[entry.marker]) - entry.rest;
      for (int j = 0; j < 7; ++j)
        if (entry.weights[j] != 0) points.col(j) += entry.weights[j] * displacement;
    }
  }

  constexpr int kUpper = 1, kOut = 2, kLower = 3, kClose = 0, kSquint = 1, kWideOpen = 2;
  for (const int eye : {4, 3}) {
    const auto rest = face.rest.middleCols<7>(7 * eye);
    const auto& templates = face.templates[eye];
    auto points = result.points.middleCols<7>(7 * eye);
    const double squinted = templates[kSquint](1, kLower);
    const double upper =
        std::clamp(points(1, kUpper), templates[kClose](1, kUpper), templates[kWideOpen](1, kUpper));
    const double lower = std::clamp(points(1, kLower), -1.0, squinted);
    points.col(kUpper) << rest(0, kUpper), upper, rest(2, kUpper);
    points.col(kLower) << rest(0, kLower), lower, rest(2, kLower);
    const double t = (lower + 1) / (squinted + 1);
    points.col(kOut) = rest.col(kOut) + t * (templates[kSquint].col(kOut) - rest.col(kOut));
  }

  result.chin_measured = has_chin;
  if (!has_chin) {
    const auto lower_lip = [](const FacePoints& points) -> Vector3d {
      return (points.col(4) + points.col(5)) / 2;
    };
    result.points.col(6) = face.rest.col(6) + lower_lip(result.points) - lower_lip(face.rest);
  }
}

void ToHeadSpace(EigenFrame& result, const EigenFrame& source, int count) {
  const Affine3d to_head = InverseOfOrthogonalAxes(source.head);
  for (int k = 0; k < count; ++k) result.positions[k] = to_head * source.positions[k];
}

void EigenFace::TemplateToFace(EigenPose& result, const TemplateWeights& weights) const {
  result.points = rest;
  result.chin_measured = false;
  for (int p = 0; p < 9; ++p) {
    const PartPose part_rest = rest.middleCols<7>(7 * p);
    for (int j = 0; j < template_counts[p]; ++j)
      result.points.middleCols<7>(7 * p) += weights(j, p) * (templates[p][j] - part_rest);
  }
}

void EigenFace::SetToRest(EigenPose& result) const { result.points = rest; }

void EigenFace::BlendFaces(EigenPose& result, const EigenPose* three_sources, const Vector3d& weights) const {
  result.points = rest;
  result.chin_measured = false;
  for (int i = 0; i < 3; ++i)
    if (weights[i] != 0) result.points += weights[i] * (three_sources[i].points - rest);
}

void EigenFace::BlendWeights(TemplateWeights& result, const TemplateWeights* three_sources,
                             const Vector3d& weights) const {
  result.setZero();
  for (int i = 0; i < 3; ++i)
    if (weights[i] != 0) result += weights[i] * three_sources[i];
}

void EigenFace::ExpressionsToTemplate(const TemplateWeights (&expressions)[kExpressions],
                                      TemplateWeights& result,
                                      const Eigen::Vector<double, kExpressions>& weights) const {
  result.setZero();
  for (int k = 0; k < kExpressions; ++k)
    for (int p = 0; p < 9; ++p)
      result.col(p).head(template_counts[p]) += weights[k] * expressions[k].col(p).head(template_counts[p]);
}

void EigenFace::FaceToTemplate(TemplateWeights& result, const EigenPose& pose) const {
  result.setZero();
  SolveMouth(result, pose);
  for (const int part : {2, 1}) SolveBrow(part, result, pose);
  for (const int part : {4, 3}) SolveEye(part, result, pose);
  for (const int part : {6, 5}) SolveCheek(part, result, pose);
  for (const int part : {8, 7}) SolveNostril(part, result, pose);
}

void EigenFace::SolveMouth(TemplateWeights& result, const EigenPose& pose) const {
  enum { Open, Whistle, CornersUpR, CornersUpL, CornersDownR, CornersDownL, Square };
  const PartPose mouth_rest = rest.leftCols<7>();
  PartPose left = pose.points.leftCols<7>();
  auto weights = result.col(0);

  const auto opened = [&](int point) {
    return ProjectedFraction(left.col(point) - mouth_rest.col(point),
                             templates[0][Open].col(point) - mouth_rest.col(point));
  };
  const double open = std::max(0.0, pose.chin_measured ? opened(6) : 0.5 * (opened(5) + opened(4)));
  weights[Open] = std::min(open, 1.0);
  left -= open * (templates[0][Open] - mouth_rest);

  const auto parted = [&](int upper, int lower) {
    const double rest_gap = HeightOver(mouth_rest, upper, lower);
    return std::max(0.0, (HeightOver(left, upper, lower) - rest_gap) /
                             (HeightOver(templates[0][Square], upper, lower) - rest_gap));
  };
  weights[Square] = Clamp01(0.5 * (parted(1, 5) + parted(2, 4)));
  left -= weights[Square] * (templates[0][Square] - mouth_rest);

  const double full = Width(templates[0][Whistle]), at_rest = Width(mouth_rest), width = Width(left);
  weights[Whistle] = at_rest > width ? 1 - (width - full) / (at_rest - full) : 0.0;
  left -= weights[Whistle] * (templates[0][Whistle] - mouth_rest);

  const auto solve_corner = [&](int corner, int lip, int up, int down) {
    const double base = HeightOver(mouth_rest, corner, lip);
    const double raised =
        (HeightOver(left, corner, lip) - base) / (HeightOver(templates[0][up], corner, lip) - base);
    weights[up] = Clamp01(raised);
    weights[down] = Clamp01(-raised);
  };
  solve_corner(3, 2, CornersUpR, CornersDownR);
  solve_corner(0, 1, CornersUpL, CornersDownL);
}

void EigenFace::SolveBrow(int part, TemplateWeights& result, const EigenPose& pose) const {
  enum { Up, Down };
  const auto brow = pose.points.middleCols<3>(7 * part);
  const double from_rest = (brow - rest.middleCols<3>(7 * part)).colwise().norm().sum();
  const double from_up = (templates[part][Up].col(1) - brow.col(1)).norm();
  const double from_down = (templates[part][Down].col(0) - brow.col(0)).norm();
  const double up = from_rest / (from_rest + from_up), down = from_rest / (from_rest + from_down);
  result(Up, part) = up;
  result(Down, part) = down - 1.125 * (up - down);
}

void EigenFace::SolveEye(int part, TemplateWeights& result, const EigenPose& pose) const {
  enum { Close, Squint, WideOpen };
  constexpr int kUpper = 1, kLower = 3;
  const auto height = [part](const FacePoints& points, int point) { return points(1, 7 * part + point); };
  const double upper = height(pose.points, kUpper), upper_rest = height(rest, kUpper);
  const double lower = height(pose.points, kLower), lower_rest = height(rest, kLower);
  const double closed = templates[part][Close](1, kUpper), squinted = templates[part][Squint](1, kLower);
  result(WideOpen, part) = RampUp(upper, upper_rest, templates[part][WideOpen](1, kUpper));
  result(Close, part) = Clamp01((upper - upper_rest) / (closed - upper_rest));
  result(Squint, part) = Clamp01((lower - lower_rest) / (squinted - lower_rest));
}

void EigenFace::SolveCheek(int part, TemplateWeights& result, const EigenPose& pose) const {
  enum { Up, Out };
  const int upper = 7 * part, lower = 7 * part + 1;
  result(Up, part) = RampUp(pose.points(1, upper), rest(1, upper), templates[part][Up](1, 0));
  result(Out, part) = RampUp(pose.points(2, lower), rest(2, lower), templates[part][Out](2, 1));
}

void EigenFace::SolveNostril(int part, TemplateWeights& result, const EigenPose& pose) const {
  result(0, part) = RampUp(pose.points(1, 7 * part), rest(1, 7 * part), templates[part][0](1, 0));
}

namespace {

Vector3d FromMien(const VgeTVector& v) { return {v.x, v.y, v.z}; }

PartPose FromMien(const VgeTVector (&points)[7]) {
  PartPose pose;
  for (int j = 0; j < 7; ++j) pose.col(j) = FromMien(points[j]);
  return pose;
}

} // namespace

Affine3d FromMien(const VgeAMatrix& transform) {
  Affine3d result;
  result.matrix() = Eigen::Map<const Eigen::Matrix4d>(&transform.m[0][0]);
  return result;
}

EigenFrame FromMien(const VFaceMarkerSetState& set) {
  EigenFrame frame;
  for (int k = 0; k < 225; ++k) frame.positions[k] = FromMien(set.mPositions[k]);
  for (int r = 0; r < kHeadMarkers; ++r) frame.head_positions[r] = FromMien(set.mRBPositions[r]);
  frame.head = FromMien(set.mTransform);
  frame.rigid_body.matrix() = FromMien(set.mRBTransform).matrix();
  frame.rigid_body_valid = set.mRBValid != 0;
  return frame;
}

EigenPose FromMien(const VFaceState& state) {
  EigenPose pose;
  for (int p = 0; p < 9; ++p) pose.points.middleCols<7>(7 * p) = FromMien(state.mParts[p].mPoints);
  pose.head = FromMien(state.mGlobal);
  pose.chin_measured = state.mValid;
  return pose;
}

TemplateWeights FromMien(const VFaceTemplateState& state) {
  TemplateWeights weights;
  for (int p = 0; p < 9; ++p)
    for (int j = 0; j < 25; ++j) weights(j, p) = state.mParts[p].mWeights[j];
  return weights;
}

EigenFace FromMien(const VFace& face) {
  EigenFace result;
  for (int p = 0; p < 9; ++p) {
    const VFacePart& part = face.mParts[p];
    result.rest.middleCols<7>(7 * p) = FromMien(part.mDefaultPoints);
    result.template_counts[p] = part.mTemplates.GetCount();
    for (int j = 0; j < result.template_counts[p]; ++j)
      result.templates[p][j] = FromMien(part.mTemplates[j]->mPoints);
  }
  return result;
}

EigenActor FromMien(const VActorFace& actor) {
  EigenActor result;
  for (int p = 0; p < 9; ++p) {
    const VActorFacePart& part = actor.mParts[p];
    result.parts[p].volume = FromMien(part.mMarkerSet.mTransform);
    for (const auto& group : part.mGroups)
      for (int i = 0; i < group.GetCount(); ++i) {
        const int k = group[i]->mMarker->mIndex;
        EigenActor::Entry entry{k, FromMien(part.mMarkerSet.mPositions[k]), {}};
        std::copy(std::begin(group[i]->mWeights), std::end(group[i]->mWeights), entry.weights);
        result.parts[p].entries.push_back(entry);
      }
  }
  result.has_chin = actor.mParts[0].mGroups[4].GetCount() > 0;

  const int n = actor.mRBMarkers.GetCount();
  int t = 0;
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j)
      for (int k = j + 1; k < n; ++k, ++t) {
        EigenActor::Triangle triangle{i, j, k, Isometry3d::Identity(), actor.mRBTPI[t]->mQuality};
        triangle.inverse.matrix() = FromMien(actor.mRBTPI[t]->mInverse).matrix();
        result.triangles.push_back(triangle);
      }
  return result;
}

} // namespace benchmarks
