#pragma once

#include "benchmarks/eigen_solves.h"
#include "benchmarks/performer.h"

#include <limits>

namespace benchmarks {

/// Inputs and results of one form.
struct Mien : Performer {
  const VFace& face = *GetGlobalFace();
  VFaceState points;
  VFaceTemplateState template_weights;
  VFaceMarkerSetState head_space;
};

/// The results are NaN until they are written: a form that leaves something out cannot agree.
struct Plain {
  explicit Plain(const Performer& performer)
      : face(FromMien(performer.catalogue)), actor(FromMien(performer.actor)),
        reference(FromMien(performer.reference)) {
    for (int f = 0; f < kFrames; ++f) {
      frames[f] = FromMien(performer.frames[f]);
      frames[f].head.matrix().setConstant(kNaN);
      frames[f].rigid_body.matrix().setConstant(kNaN);
      blends[f] = Eigen::Vector3d(performer.blends[f].mWeights);
      expression_weights[f] = Eigen::Vector<double, kExpressions>(performer.expression_weights[f].mWeights);
    }
    for (int f = 0; f < kFrames + 2; ++f) {
      faces[f] = FromMien(performer.faces[f]);
      weights[f] = FromMien(performer.weights[f]);
    }
    for (int k = 0; k < kExpressions; ++k)
      expressions[k] = FromMien(performer.catalogue.mExpressions[k]->mTemplateState);
    points.points.setConstant(kNaN);
    template_weights.setConstant(kNaN);
    for (Eigen::Vector3d& position : head_space.positions) position.setConstant(kNaN);
  }

  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

  EigenFace face;
  EigenActor actor;
  EigenFrame reference;
  EigenFrame frames[kFrames];
  EigenPose faces[kFrames + 2];
  TemplateWeights weights[kFrames + 2];
  Eigen::Vector3d blends[kFrames];
  Eigen::Vector<double, kExpressions> expression_weights[kFrames];
  TemplateWeights expressions[kExpressions];
  EigenPose points;
  TemplateWeights template_weights;
  EigenFrame head_space;
};

} // namespace benchmarks
