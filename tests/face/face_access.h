#pragma once

#include "mien/face/face.h"

/// Gives tests access to VFace's private measures and region solves.
struct VFaceTestAccess {
  const VFace& face;

  double Face2TemplateAIAngle(const VFacePartState& a, const VFacePartState& b, int n, bool closed) const {
    return face.Face2TemplateAIAngle(&a, &b, n, closed);
  }
  double Face2TemplateAIDistance(const VFacePartState& a, const VFacePartState& b, int n,
                                 bool inverse) const {
    return face.Face2TemplateAIDistance(&a, &b, n, inverse);
  }
  double Face2TemplateAIDistanceAlongAxis(const VFacePartState& a, const VgeTVector& origin,
                                          const VgeTVector& axis, int n, bool inverse) const {
    return face.Face2TemplateAIDistanceAlongAxis(&a, origin, axis, n, inverse);
  }
  double Face2TemplateAIDistanceExclusive(const VFacePartState& a, const VFacePartState& b, int n,
                                          const bool* use, bool inverse) const {
    return face.Face2TemplateAIDistanceExclusive(&a, &b, n, use, inverse);
  }
  double Face2TemplateAIMouthSurface(const VFacePartState& a, const VFacePartState& b, int unused) const {
    return face.Face2TemplateAIMouthSurface(&a, &b, unused);
  }
  double Face2TemplateTriangleArea(const VgeTVector& p, const VgeTVector& q, const VgeTVector& r) const {
    return face.Face2TemplateTriangleArea(p, q, r);
  }

  void Face2TemplateSolveMouth(VFaceTemplateState* result, const VFaceState* state) const {
    face.Face2TemplateSolveMouth(result, state);
  }
  void Face2TemplateSolveMouth2(VFaceTemplateState* result, const VFaceState* state) const {
    face.Face2TemplateSolveMouth2(result, state);
  }
  void Face2TemplateSolveBrow(int part, VFaceTemplateState* result, const VFaceState* state) const {
    face.Face2TemplateSolveBrow(part, result, state);
  }
  void Face2TemplateSolveEye(int part, VFaceTemplateState* result, const VFaceState* state) const {
    face.Face2TemplateSolveEye(part, result, state);
  }
  void Face2TemplateSolveCheek(int part, VFaceTemplateState* result, const VFaceState* state) const {
    face.Face2TemplateSolveCheek(part, result, state);
  }
  void Face2TemplateSolveNostril(int part, VFaceTemplateState* result, const VFaceState* state) const {
    face.Face2TemplateSolveNostril(part, result, state);
  }
};
