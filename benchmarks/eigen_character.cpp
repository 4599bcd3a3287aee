#include "benchmarks/eigen_character.h"

#include "benchmarks/matrix_vector.h"

#include <cmath>
#include <limits>

using Eigen::AngleAxisd;
using Eigen::Array3d;
using Eigen::Matrix3d;
using Eigen::Vector3d;

namespace benchmarks {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<int> ShapesOf(const VCharacterFace& character) {
  std::vector<int> shapes;
  for (int p = 0; p < character.mParts.GetCount(); ++p)
    shapes.push_back(character.mParts[p]->mShapes.GetCount());
  return shapes;
}

std::vector<const VCharacterFaceState*> TemplatesOf(const VCharacterFace& character) {
  std::vector<const VCharacterFaceState*> states;
  for (const auto& part : character.mTemplateStates)
    for (int t = 0; t < part.GetCount(); ++t) states.push_back(part[t]);
  return states;
}

std::vector<int> OwnExpressionsOf(const VCharacterFace& character) {
  std::vector<int> own;
  for (int e = 0; e < kExpressions; ++e)
    if (character.IsExpressionUsed(e)) own.push_back(e);
  return own;
}

std::vector<const VCharacterFaceState*> ExpressionsOf(const VCharacterFace& character) {
  std::vector<const VCharacterFaceState*> states;
  for (const int e : OwnExpressionsOf(character)) states.push_back(character.mExpressionStates[e]);
  return states;
}

EigenTransform LocalOf(const VCharacterFaceClusterState& cluster) {
  EigenTransform local{{cluster.mLocalT.x, cluster.mLocalT.y, cluster.mLocalT.z},
                       {},
                       {cluster.mLocalS.x, cluster.mLocalS.y, cluster.mLocalS.z}};
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) local.rotation(row, column) = cluster.mLocalR.m[column][row];
  return local;
}

/// The angles of Rz * Ry * Rx. (Eigen's own eulerAngles returns other angles for the same rotation.)
Vector3d AnglesOf(const Matrix3d& r) {
  return {std::atan2(r(2, 1), r(2, 2)), std::atan2(-r(2, 0), std::hypot(r(0, 0), r(1, 0))),
          std::atan2(r(1, 0), r(0, 0))};
}

EigenClusterPart::Offset Zero() { return {Vector3d::Zero(), Vector3d::Zero(), Array3d::Zero()}; }

EigenClusterPart::Offset OffsetOf(const EigenTransform& target, const EigenTransform& rest) {
  return {target.translation - rest.translation, AnglesOf(rest.rotation.transpose() * target.rotation),
          (target.scaling / rest.scaling).log()};
}

void Add(EigenClusterPart::Offset& sum, double weight, const EigenClusterPart::Offset& offset) {
  sum.translation += weight * offset.translation;
  sum.angles += weight * offset.angles;
  sum.logarithm += weight * offset.logarithm;
}

void Apply(EigenCluster& cluster, const EigenTransform& rest, const EigenClusterPart::Offset& sum,
           const EigenTransform& root) {
  cluster.local.translation = rest.translation + sum.translation;
  cluster.local.rotation = rest.rotation * (AngleAxisd(sum.angles.z(), Vector3d::UnitZ()) *
                                            AngleAxisd(sum.angles.y(), Vector3d::UnitY()) *
                                            AngleAxisd(sum.angles.x(), Vector3d::UnitX()))
                                               .toRotationMatrix();
  cluster.local.scaling = sum.logarithm.exp() * rest.scaling;
  cluster.global.translation =
      root.translation + root.rotation * (root.scaling * cluster.local.translation.array()).matrix();
  cluster.global.rotation = root.rotation * cluster.local.rotation;
  cluster.global.scaling = root.scaling * cluster.local.scaling;
}

const EigenTransform kRoot = {Vector3d::Zero(), Matrix3d::Identity(), Array3d::Ones()};

} // namespace

DefineStates::DefineStates(const VCharacterFace& character,
                           const std::vector<const VCharacterFaceState*>& states)
    : rows_(0), columns_(static_cast<int>(states.size())) {
  const std::vector<int> shapes = ShapesOf(character);
  for (const int count : shapes) rows_ += count;
  stride_ = (rows_ + 7) / 8 * 8;
  lines_.resize(static_cast<std::size_t>(stride_ / 8) * states.size());
  for (std::size_t k = 0, number = 0; k < states.size(); ++k, number = k * static_cast<std::size_t>(stride_))
    for (std::size_t p = 0; p < shapes.size(); ++p)
      for (int s = 0; s < shapes[p]; ++s, ++number)
        lines_[number / 8].numbers[number % 8] = states[k]->mWeights[p][s];
}

EigenCharacter::EigenCharacter(const VCharacterFace& character)
    : shapes(ShapesOf(character)), templates(character, TemplatesOf(character)),
      expressions(character, ExpressionsOf(character)), own(OwnExpressionsOf(character)) {
  for (int e = 0; e < kExpressions; ++e)
    through.col(e) = ToVector(GetGlobalFace()->mExpressions[e]->mTemplateState);
  for (const int e : own) through.col(e).setZero();
}

EigenWeights EigenCharacter::NoWeights() const { return {shapes, Eigen::VectorXd::Constant(15 * 500, kNaN)}; }

void EigenCharacter::TemplatesToCharacter(EigenWeights& result, const TemplateVector& weights) const {
  result.weights.setZero();
  EigenMatrixVector(result.weights.data(), templates.Data(), templates.Rows(), templates.Columns(),
                    templates.Stride(), weights.data());
}

void EigenCharacter::ActorToCharacter(EigenWeights& result, const TemplateVector& weights,
                                      const Eigen::Vector<double, kExpressions>& expression_weights) const {
  TemplatesToCharacter(result, weights + through * expression_weights);
  const Eigen::Map<const Eigen::MatrixXd, Eigen::Aligned64, Eigen::OuterStride<>> states(
      expressions.Data(), expressions.Rows(), expressions.Columns(),
      Eigen::OuterStride<>(expressions.Stride()));
  const Eigen::Matrix<double, Eigen::Dynamic, 1, 0, kExpressions, 1> own_weights = expression_weights(own);
  result.weights.head(expressions.Rows()).noalias() += states * own_weights;
}

EigenClusterPart::EigenClusterPart(const VCharacterFacePartCluster& part) {
  const auto& clusters = part.mRestClusters.mClusters;
  for (int c = 0; c < clusters.GetCount(); ++c) {
    rest.push_back(LocalOf(*clusters[c]));
    targets.emplace_back();
    offsets.emplace_back();
    for (int s = 0; s < part.mShapes.GetCount(); ++s) {
      targets.back().push_back(LocalOf(*part.mShapeClusters[s]->mClusters[c]));
      offsets.back().push_back(OffsetOf(targets.back().back(), rest.back()));
    }
  }
}

EigenClusterSet EigenClusterPart::NoClusters() const {
  const EigenTransform nothing = {Vector3d::Constant(kNaN), Matrix3d::Constant(kNaN),
                                  Array3d::Constant(kNaN)};
  return EigenClusterSet(rest.size(), {nothing, nothing});
}

void EigenClusterPart::Solve(EigenClusterSet& result, const double* weights) const {
  for (std::size_t c = 0; c < rest.size(); ++c) {
    Offset sum = Zero();
    for (std::size_t s = 0; s < targets[c].size(); ++s)
      Add(sum, weights[s], OffsetOf(targets[c][s], rest[c]));
    Apply(result[c], rest[c], sum, kRoot);
  }
}

void EigenClusterPart::SolveFromOffsets(EigenClusterSet& result, const double* weights) const {
  for (std::size_t c = 0; c < rest.size(); ++c) {
    Offset sum = Zero();
    for (std::size_t s = 0; s < offsets[c].size(); ++s) Add(sum, weights[s], offsets[c][s]);
    Apply(result[c], rest[c], sum, kRoot);
  }
}

TemplateVector ToVector(const VFaceTemplateState& templates) {
  TemplateVector weights;
  Eigen::Index i = 0;
  for (int p = 0; p < 9; ++p)
    for (int j = 0; j < GetGlobalFace()->mParts[p].mTemplates.GetCount(); ++j)
      weights[i++] = templates.mParts[p].mWeights[j];
  return weights;
}

TemplateVector ToVector(const EigenFace& face, const TemplateWeights& templates) {
  TemplateVector weights;
  Eigen::Index i = 0;
  for (int p = 0; p < 9; ++p) {
    weights.segment(i, face.template_counts[p]) = templates.col(p).head(face.template_counts[p]);
    i += face.template_counts[p];
  }
  return weights;
}

} // namespace benchmarks
