// Every per-frame operation of the library beside the same arithmetic in plain Eigen, in one process.
//
// An operation is timed only after both forms have computed the same for every frame: the program ends with a
// message where they do not.

#include "benchmarks/eigen_solves.h"
#include "benchmarks/performer.h"
#include "benchmarks/table.h"

#include <benchmark/benchmark.h>

#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace benchmarks;

namespace {

// --- Agreement: the largest deviation of any number of a result, relative to the result's largest number.

class Deviation {
public:
  Deviation& Compare(double mien, double eigen) {
    const double difference = std::abs(mien - eigen);
    if (!(difference <= deviation_))
      deviation_ = difference >= 0 ? difference : kInfinity; // a NaN stays seen
    if (std::abs(mien) > magnitude_) magnitude_ = std::abs(mien);
    return *this;
  }
  Deviation& Compare(const VgeTVector& mien, const Eigen::Vector3d& eigen) {
    return Compare(mien.x, eigen.x()).Compare(mien.y, eigen.y()).Compare(mien.z, eigen.z());
  }
  template <int Mode>
  Deviation& Compare(const VgeAMatrix& mien, const Eigen::Transform<double, 3, Mode>& eigen) {
    for (int column = 0; column < 4; ++column)
      for (int row = 0; row < 4; ++row) Compare(mien.m[column][row], eigen(row, column));
    return *this;
  }
  Deviation& Compare(const VFaceMarkerSetState& mien, const EigenFrame& eigen) {
    for (int k = 0; k < kMarkers; ++k) Compare(mien.mPositions[k], eigen.positions[k]);
    return *this;
  }
  Deviation& Compare(const VFaceState& mien, const EigenPose& eigen) {
    for (int p = 0; p < 9; ++p)
      for (int j = 0; j < 7; ++j) Compare(mien.mParts[p].mPoints[j], eigen.points.col(7 * p + j));
    return Compare(mien.mValid, eigen.chin_measured);
  }
  Deviation& Compare(const VFaceTemplateState& mien, const TemplateWeights& eigen) {
    for (int p = 0; p < 9; ++p)
      for (int j = 0; j < 25; ++j) Compare(mien.mParts[p].mWeights[j], eigen(j, p));
    return *this;
  }
  double Relative() const { return deviation_ == 0 ? 0 : deviation_ / magnitude_; }

private:
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  double deviation_ = 0, magnitude_ = 0;
};

// --- Operations.

/// Times `run(frame)`, which answers its result, over the frames of the take again and again.
template <class Run>
void Register(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State& state) {
    int frame = 0;
    for (auto _ : state) {
      auto& result = run(frame);
      benchmark::DoNotOptimize(result);
      benchmark::ClobberMemory();
      frame = (frame + 1) % kFrames;
    }
  });
}

/// The two forms of an operation on one frame, each answering its result.
template <class MienForm, class EigenForm>
void Compare(const std::string& operation, MienForm mien, EigenForm eigen) {
  constexpr double kTolerance = 1e-9; // millions of roundings; the forms differ in some dozens
  for (int frame = 0; frame < kFrames; ++frame) {
    const auto& mien_result = mien(frame);
    const double deviation = Deviation().Compare(mien_result, eigen(frame)).Relative();
    if (!(deviation <= kTolerance)) {
      std::fprintf(stderr, "%s: the Eigen form deviates by %g (relative) in frame %d; nothing was timed\n",
                   operation.c_str(), deviation, frame);
      std::exit(1);
    }
  }
  Register(operation + "/mien", mien);
  Register(operation + "/eigen", eigen);
}

/// No operation can take less: it writes as many bytes as the result has, and reads them where they depend on
/// the frame.
template <class Run>
void Floor(const std::string& operation, Run run) {
  Register(operation + "/floor", run);
}

/// Inputs and results of one form.
struct Mien : Performer {
  const VFace& face = *GetGlobalFace();
  VFaceState points;
  VFaceTemplateState template_weights;
  VFaceMarkerSetState head_space;
};

/// The results are not a number until they are written: a form that leaves something out cannot agree.
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

void CompareAll(Mien& mien, Plain& plain) {
  Mien* const m = &mien;
  Plain* const e = &plain;

  // First of all, since it gives the frames the heads that the other solves work with.
  Compare(
      "ReferenceFromRBMarker",
      [m](int f) -> auto& {
        m->actor.ReferenceFromRBMarker(&m->frames[f], &m->reference);
        return m->frames[f].mTransform;
      },
      [e](int f) -> auto& {
        e->actor.SolveHead(e->frames[f], e->reference);
        return e->frames[f].head;
      });

  // With the head markers' update, without which every frame would be the same.
  Compare(
      "SolveRB",
      [m](int f) -> auto& {
        m->actor.UpdateRBMarkersState(&m->frames[f]);
        m->actor.SolveRB(&m->frames[f]);
        return m->frames[f].mRBTransform;
      },
      [e](int f) -> auto& {
        e->actor.UpdateHeadMarkers(e->frames[f]);
        e->actor.SolveRigidBody(e->frames[f]);
        return e->frames[f].rigid_body;
      });

  Compare(
      "Actor2FaceSolve",
      [m](int f) -> auto& {
        m->actor.Actor2FaceSolve(&m->points, &m->frames[f]);
        return m->points;
      },
      [e](int f) -> auto& {
        e->actor.ActorToFace(e->points, e->frames[f], e->face);
        return e->points;
      });
  Floor(
      "Actor2FaceSolve", [m](int f) -> auto& {
        std::memcpy(&m->points, &m->faces[f], sizeof m->points);
        return m->points;
      });

  Compare(
      "ComputeGlobalPosition",
      [m](int f) -> auto& {
        m->actor.ComputeGlobalPosition(&m->head_space, &m->frames[f], kMarkers);
        return m->head_space;
      },
      [e](int f) -> auto& {
        ToHeadSpace(e->head_space, e->frames[f], kMarkers);
        return e->head_space;
      });
  Floor(
      "ComputeGlobalPosition", [m](int f) -> auto& {
        std::memcpy(m->head_space.mPositions, m->frames[f].mPositions, kMarkers * sizeof(VgeTVector));
        return m->head_space;
      });

  Compare(
      "Face2TemplateSolve",
      [m](int f) -> auto& {
        m->face.Face2TemplateSolve(&m->template_weights, &m->faces[f]);
        return m->template_weights;
      },
      [e](int f) -> auto& {
        e->face.FaceToTemplate(e->template_weights, e->faces[f]);
        return e->template_weights;
      });
  Floor(
      "Face2TemplateSolve", [m](int) -> auto& {
        std::memset(static_cast<void*>(m->template_weights.mParts), 0, sizeof m->template_weights.mParts);
        return m->template_weights;
      });

  Compare(
      "Template2FaceSolve",
      [m](int f) -> auto& {
        m->face.Template2FaceSolve(&m->points, &m->weights[f]);
        return m->points;
      },
      [e](int f) -> auto& {
        e->face.TemplateToFace(e->points, e->weights[f]);
        return e->points;
      });
  Compare(
      "SetToDefaultState",
      [m](int) -> auto& {
        m->face.SetToDefaultState(&m->points);
        return m->points;
      },
      [e](int) -> auto& {
        e->face.SetToRest(e->points);
        return e->points;
      });
  Compare(
      "FaceStateBlend",
      [m](int f) -> auto& {
        m->face.FaceStateBlend(&m->points, &m->faces[f], &m->blends[f]);
        return m->points;
      },
      [e](int f) -> auto& {
        e->face.BlendFaces(e->points, &e->faces[f], e->blends[f]);
        return e->points;
      });
  for (const char* operation : {"Template2FaceSolve", "SetToDefaultState", "FaceStateBlend"})
    Floor(
        operation, [m](int f) -> auto& {
          std::memcpy(m->points.mParts, m->faces[f].mParts, sizeof m->points.mParts);
          return m->points;
        });

  Compare(
      "TemplateStateBlend",
      [m](int f) -> auto& {
        m->face.TemplateStateBlend(&m->template_weights, &m->weights[f], &m->blends[f]);
        return m->template_weights;
      },
      [e](int f) -> auto& {
        e->face.BlendWeights(e->template_weights, &e->weights[f], e->blends[f]);
        return e->template_weights;
      });
  Floor(
      "TemplateStateBlend", [m](int f) -> auto& {
        std::memcpy(m->template_weights.mParts, m->weights[f].mParts, sizeof m->template_weights.mParts);
        return m->template_weights;
      });

  Compare(
      "Expression2TemplateSolve",
      [m](int f) -> auto& {
        m->face.Expression2TemplateSolve(m->catalogue.mExpressions, &m->template_weights,
                                         &m->expression_weights[f]);
        return m->template_weights;
      },
      [e](int f) -> auto& {
        e->face.ExpressionsToTemplate(e->expressions, e->template_weights, e->expression_weights[f]);
        return e->template_weights;
      });
  Floor(
      "Expression2TemplateSolve", [m](int) -> auto& {
        std::memset(static_cast<void*>(m->template_weights.mParts), 0, sizeof m->template_weights.mParts);
        return m->template_weights;
      });

  Compare(
      "whole frame",
      [m](int f) -> auto& {
        m->actor.ReferenceFromRBMarker(&m->frames[f], &m->reference);
        m->actor.Actor2FaceSolve(&m->points, &m->frames[f]);
        m->face.Face2TemplateSolve(&m->template_weights, &m->points);
        return m->template_weights;
      },
      [e](int f) -> auto& {
        e->actor.SolveHead(e->frames[f], e->reference);
        e->actor.ActorToFace(e->points, e->frames[f], e->face);
        e->face.FaceToTemplate(e->template_weights, e->points);
        return e->template_weights;
      });
}

/// FNV-1a of the bits of all template weights of the take: the same in every build.
std::uint64_t Hash(const Performer& performer) {
  std::uint64_t hash = 14695981039346656037u;
  for (int f = 0; f < kFrames; ++f)
    for (const VFacePartTemplateState& part : performer.weights[f].mParts)
      for (const double weight : part.mWeights)
        for (const auto bits = std::bit_cast<std::uint64_t>(weight);
             const int shift : {0, 8, 16, 24, 32, 40, 48, 56})
          hash = (hash ^ ((bits >> shift) & 0xff)) * 1099511628211u;
  return hash;
}

} // namespace

int main(int argc, char** argv) {
  const auto mien = std::make_unique<Mien>();
  const auto plain = std::make_unique<Plain>(*mien);
  std::fprintf(stderr, "The take's template weights: %016" PRIx64 "\n", Hash(*mien));
  CompareAll(*mien, *plain);

  // Before the caller's own arguments, which therefore win.
  char repetitions[] = "--benchmark_repetitions=15",
       interleaving[] = "--benchmark_enable_random_interleaving=true", time[] = "--benchmark_min_time=0.05";
  std::vector<char*> arguments = {argv[0], repetitions, interleaving, time};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  Table table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
}
