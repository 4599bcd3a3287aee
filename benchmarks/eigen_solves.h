#pragma once

// The per-frame operations in plain Eigen, as they would be written without the library. They have its shapes
// (nine parts, seven point slots, 25 weight slots, 225 marker slots, positions by marker index) and its
// arithmetic, and allocate nothing. Properties that cannot change between frames, such as which template is
// "Squint", are known in advance.

#include "benchmarks/performer.h"

#include <Eigen/Dense>
#include <Eigen/Geometry>

#include <vector>

namespace benchmarks {

using PartPose = Eigen::Matrix<double, 3, 7>;         ///< A column per point slot.
using FacePoints = Eigen::Matrix<double, 3, 9 * 7>;   ///< Part p has the columns 7 p to 7 p + 6.
using TemplateWeights = Eigen::Matrix<double, 25, 9>; ///< A column per part.

struct EigenPose {
  FacePoints points = FacePoints::Zero();
  Eigen::Affine3d head = Eigen::Affine3d::Identity();
  bool chin_measured = false;
};

struct EigenFrame {
  Eigen::Vector3d positions[225];
  Eigen::Vector3d head_positions[kHeadMarkers];
  Eigen::Affine3d head = Eigen::Affine3d::Identity();
  Eigen::Isometry3d rigid_body = Eigen::Isometry3d::Identity();
  bool rigid_body_valid = false;
};

/// The default face.
struct EigenFace {
  FacePoints rest;
  int template_counts[9];
  PartPose templates[9][7];

  void TemplateToFace(EigenPose& result, const TemplateWeights& weights) const;
  void SetToRest(EigenPose& result) const;
  void FaceToTemplate(TemplateWeights& result, const EigenPose& pose) const;
  void BlendFaces(EigenPose& result, const EigenPose* three_sources, const Eigen::Vector3d& weights) const;
  void BlendWeights(TemplateWeights& result, const TemplateWeights* three_sources,
                    const Eigen::Vector3d& weights) const;
  void ExpressionsToTemplate(const TemplateWeights (&expressions)[kExpressions], TemplateWeights& result,
                             const Eigen::Vector<double, kExpressions>& weights) const;

private:
  void SolveMouth(TemplateWeights& result, const EigenPose& pose) const;
  void SolveBrow(int part, TemplateWeights& result, const EigenPose& pose) const;
  void SolveEye(int part, TemplateWeights& result, const EigenPose& pose) const;
  void SolveCheek(int part, TemplateWeights& result, const EigenPose& pose) const;
  void SolveNostril(int part, TemplateWeights& result, const EigenPose& pose) const;
};

/// A performer after set-up.
struct EigenActor {
  struct Entry {
    int marker;
    Eigen::Vector3d rest; ///< In the part's volume.
    double weights[7];
  };
  struct Part {
    Eigen::Affine3d volume;
    std::vector<Entry> entries; ///< Of all groups, one group after the other.
  };
  struct Triangle {
    int i, j, k;
    Eigen::Isometry3d inverse;
    double quality;
  };

  Part parts[9];
  bool has_chin;
  Eigen::Vector3d head_markers[kHeadMarkers]; ///< In the latest frame.
  std::vector<Triangle> triangles;

  void UpdateHeadMarkers(const EigenFrame& frame);
  void SolveRigidBody(EigenFrame& frame) const;
  void SolveHead(EigenFrame& frame, const EigenFrame& reference);
  /// `positions`: by marker.
  void ActorToFace(EigenPose& result, const Eigen::Affine3d& head, const Eigen::Vector3d* positions,
                   const EigenFace& face) const;
  void ActorToFace(EigenPose& result, const EigenFrame& frame, const EigenFace& face) const {
    ActorToFace(result, frame.head, frame.positions, face);
  }
};

/// The positions of the first `count` slots in the frame of `source.head`.
void ToHeadSpace(EigenFrame& result, const EigenFrame& source, int count);

/// The same face, performer and inputs as the library's. None of this is timed.
Eigen::Affine3d FromMien(const VgeAMatrix& transform);
EigenFrame FromMien(const VFaceMarkerSetState& set);
EigenPose FromMien(const VFaceState& state);
TemplateWeights FromMien(const VFaceTemplateState& state);
EigenFace FromMien(const VFace& face);
EigenActor FromMien(const VActorFace& actor);

} // namespace benchmarks
