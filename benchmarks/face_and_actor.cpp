#include "benchmarks/face_and_actor.h"

#include "benchmarks/compare.h"

#include <cstring>

namespace benchmarks {

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
}

} // namespace benchmarks
