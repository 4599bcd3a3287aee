#pragma once

#include "mien/base/export.h"
#include "mien/face/template_state.h"

/// A named combination of template weights over the whole face.
class MIEN_API VFaceExpression {
public:
  /// Without names, all weights 0.
  VFaceExpression() = default;
  /// Copies all members.
  VFaceExpression(const VFaceExpression&) = default;
  /// Copies all members.
  VFaceExpression& operator=(const VFaceExpression&) = default;
  virtual ~VFaceExpression();

  /// Unique in the catalogue, ignoring the case of its letters.
  char mName[256] = {};
  /// A second name that the host sets and looks up. The library only copies it.
  char mRetrieveName[256] = {};
  /// The template weights that the expression consists of.
  VFaceTemplateState mTemplateState;
  /// For the host's use. The library only copies it.
  bool mFlag = false;
};
