#include "benchmarks/face_and_actor.h"

#include "benchmarks/compare.h"
#include "benchmarks/whole_frames.h"
#include "mien/batch/face_batch.h"
#include "mien/batch/frame_solves.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace benchmarks {
namespace {

/// What both forms of the library read and write.
mien::FaceBatchInput Input(std::size_t frames, const double* positions) {
  return {.frames = frames,
          .markers = {positions, kNumbers},
          .head_markers = {positions + 3 * kMarkers, kNumbers},
          .heads = {}};
}
mien::FaceBatchOutput Output(double* weights) {
  return {.heads = {}, .head_valid = nullptr, .points = {}, .weights = {weights, kTemplates}};
}

/// The library's form, with the widest vectors.
class MienWholeFrames : public WholeFrames {
public:
  explicit MienWholeFrames(const Performer& performer)
      : batch_(performer.actor, *GetGlobalFace(), performer.reference) {}
  void Solve(std::size_t frames, const double* positions, double* weights) override {
    batch_.Solve(Input(frames, positions), Output(weights));
  }

private:
  mien::FaceBatch batch_;
};

/// The same for each width.
class LanesWholeFrames : public WholeFrames {
public:
  LanesWholeFrames(const Performer& performer, const mien::detail::batch::FrameSolves& solves)
      : constants_(performer.actor, *GetGlobalFace(), performer.reference), solves_(solves) {}
  void Solve(std::size_t frames, const double* positions, double* weights) override {
    solves_.solve(constants_, Input(frames, positions), Output(weights));
  }

private:
  mien::detail::batch::FaceConstants constants_;
  const mien::detail::batch::FrameSolves& solves_;
};

/// The frames of the take again and again, as a program that reads a recording has them, and their weights.
struct Recording {
  Recording(const Performer& performer, std::size_t frame_count)
      : frames(frame_count), positions(frames * kNumbers), weights(frames * kTemplates) {
    double* number = positions.data();
    for (std::size_t f = 0; f < frames; ++f) {
      const VFaceMarkerSetState& set = performer.frames[f % kFrames];
      const auto add = [&number](const VgeTVector& p) { *number++ = p.x, *number++ = p.y, *number++ = p.z; };
      for (int k = 0; k < kMarkers; ++k) add(set.mPositions[k]);
      for (const VgeTVector& p : set.mRBPositions) add(p);
    }
  }

  std::size_t frames;
  std::vector<double> positions, weights;
};

/// Adds a form of whole frames: all of a recording in one call, timed per frame.
void AddWholeFrames(const std::string& operation, const char* column, const Performer& performer,
                    const std::shared_ptr<Recording>& recording, std::shared_ptr<WholeFrames> form) {
  const std::string name = operation + "/" + column;
  form->Solve(recording->frames, recording->positions.data(), recording->weights.data());
  std::array<double, kTemplates> single;
  DemandAgreement(
      name,
      [&](int f) -> auto& {
        auto weight = single.begin();
        for (int p = 0; p < 9; ++p)
          weight = std::copy_n(performer.weights[f].mParts[p].mWeights,
                               GetGlobalFace()->mParts[p].mTemplates.GetCount(), weight);
        return single;
      },
      [&](int f) { // the last frames: the first ones of a short recording
        std::array<double, kTemplates> weights;
        const std::size_t first = recording->frames - kFrames;
        std::copy_n(&recording->weights[(first + static_cast<std::size_t>(f)) * kTemplates], kTemplates,
                    weights.begin());
        return weights;
      });
  benchmark::RegisterBenchmark(name.c_str(), [recording, form](benchmark::State& state) {
    while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(recording->frames))) {
      form->Solve(recording->frames, recording->positions.data(), recording->weights.data());
      benchmark::ClobberMemory();
    }
  });
}

void CompareWholeFrames(const Performer& performer) {
  constexpr std::size_t kBeyondTheCaches =
      (std::size_t{64} << 20) / sizeof(double) / kNumbers / kFrames * kFrames;
  const auto take = std::make_shared<Recording>(performer, kFrames);
  const auto long_take = std::make_shared<Recording>(performer, kBeyondTheCaches);
  for (const auto& [operation, recording] :
       {std::pair("whole frame, batch", take), std::pair("whole frame, batch, 64 MB", long_take)}) {
    const auto add = [&](const char* column, std::shared_ptr<WholeFrames> form) {
      AddWholeFrames(operation, column, performer, recording, std::move(form));
    };
    add("mien", std::make_shared<MienWholeFrames>(performer));
    add("eigen", EigenWholeFrames(performer));
#if defined(MIEN_BENCHMARKS_NATIVE)
    add("native", NativeEigenWholeFrames(performer));
#endif
  }
  std::size_t lanes = 1;
  for (const mien::detail::batch::FrameSolves& solves : mien::detail::batch::AllFrameSolves()) {
    AddWholeFrames("whole frame, lanes of " + std::to_string(lanes), "mien", performer, take,
                   std::make_shared<LanesWholeFrames>(performer, solves));
    lanes *= 2;
  }
}

} // namespace

void CompareFaceAndActor(Mien& mien, Plain& plain) {
  Mien* const m = &mien;
  Plain* const e = &plain;

  // First, because it computes the heads of the frames, which the other solves need.
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

  // Including the update of the head markers; otherwise every frame would be the same.
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
  CompareWholeFrames(mien);
}

} // namespace benchmarks
