#pragma once

#include "mien/base/export.h"
#include "mien/face/template_state.h"

/// A named combination of template weights over the whole face.
class MIEN_API VFaceExpression {
public:
  VFaceExpression() = default;
  VFaceExpression(const VFaceExpression&) = default;
  VFaceExpression& operator=(const VFaceExpression&) = default;
  virtual ~VFaceExpression();

  char mName[256] = {};         ///< Unique in the catalogue, whatever the case of its letters.
  char mRetrieveName[256] = {}; ///< A second name, set and looked up by the host; the library only copies it.
  VFaceTemplateState mTemplateState; ///< The weights that make up the expression.
  bool mFlag = false;                ///< The host's; the library only copies it.
};
