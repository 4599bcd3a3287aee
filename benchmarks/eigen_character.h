#pragma once

// The character's solves in plain Eigen. Everything that depends only on the definition (which expressions
// the character has, how many templates there are) is known in advance.

#include "benchmarks/eigen_solves.h"
#include "mien/character/character_face.h"

#include <span>
#include <vector>

namespace benchmarks {

/// The weights of define states in one block, a column per state with the shapes of all parts below each
/// other. Columns are aligned to cache lines, which is fastest for products.
class DefineStates {
public:
  DefineStates(const VCharacterFace& character, const std::vector<const VCharacterFaceState*>& states);

  const double* Data() const { return lines_.data()->numbers; }
  int Rows() const { return rows_; }
  int Columns() const { return columns_; }
  int Stride() const { return stride_; }

private:
  struct alignas(64) CacheLine {
    double numbers[8] = {};
  };
  int rows_, columns_, stride_;
  std::vector<CacheLine> lines_;
};

/// The weights of the shapes of all parts, one part after the other.
struct EigenWeights {
  std::vector<int> shapes; ///< By part.
  Eigen::VectorXd weights;
};

/// The weights of all shapes in one of many frames.
struct FrameOfShapes {
  std::span<const double> shapes;
};

/// The weights of the default face's templates, one part after the other.
using TemplateVector = Eigen::Vector<double, 23>;

struct EigenTransform {
  Eigen::Vector3d translation;
  Eigen::Matrix3d rotation;
  Eigen::Array3d scaling;
};
struct EigenCluster {
  EigenTransform local, global;
};
using EigenClusterSet = std::vector<EigenCluster>;

struct EigenCharacter {
  explicit EigenCharacter(const VCharacterFace& character);

  /// Clears as many numbers of `result` as the library does, and sums.
  void TemplatesToCharacter(EigenWeights& result, const TemplateVector& templates) const;
  void ActorToCharacter(EigenWeights& result, const TemplateVector& templates,
                        const Eigen::Vector<double, kExpressions>& expressions) const;

  EigenWeights NoWeights() const; ///< NaN until they are written.

  std::vector<int> shapes; ///< By part.
  DefineStates templates, expressions;
  std::vector<int> own;                            ///< The expressions that are columns of `expressions`.
  Eigen::Matrix<double, 23, kExpressions> through; ///< The template weights of the other expressions.
};

/// A cluster part in which all shapes drive the clusters; its root is the identity.
struct EigenClusterPart {
  explicit EigenClusterPart(const VCharacterFacePartCluster& part);

  /// With the arithmetic of the library.
  void Solve(EigenClusterSet& result, const double* weights) const;
  /// With the offsets of all shapes kept from set-up.
  void SolveFromOffsets(EigenClusterSet& result, const double* weights) const;

  EigenClusterSet NoClusters() const; ///< NaN until they are written.

  struct Offset {
    Eigen::Vector3d translation, angles;
    Eigen::Array3d logarithm;
  };
  std::vector<EigenTransform> rest;                 ///< By cluster.
  std::vector<std::vector<EigenTransform>> targets; ///< By cluster and shape.
  std::vector<std::vector<Offset>> offsets;         ///< Likewise.
};

TemplateVector ToVector(const VFaceTemplateState& templates);
TemplateVector ToVector(const EigenFace& face, const TemplateWeights& templates);

} // namespace benchmarks
