#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"
#include "mien/face/part_template.h"

extern template class MIEN_API VArrayTemplate<VFacePartTemplate*, 16>;

/// One region of the face: its named points with their rest pose, its named holders, and its templates.
///
/// Points are in the part's template space. A part owns its templates and deletes them; a copy shares them
/// with its source, so at most one of the two may be destroyed while both list them: clear `mTemplates` of
/// the other first.
class MIEN_API VFacePart {
public:
  VFacePart() = default;
  VFacePart(const VFacePart&) = default;
  VFacePart& operator=(const VFacePart&) = default;
  virtual ~VFacePart();

  /// Exact, case-sensitive; the first match, or -1. `name` must not be null.
  int PointIndexByName(const char* name) const;
  int HolderIndexByName(const char* name) const;
  int TemplateIndexByName(const char* name) const; ///< By `mName`, not by title.

  char mName[256] = {};         ///< "LeftEye"
  char mTitle[256] = {};        ///< "Left Eye (Open)"
  VgeTVector mDefaultPoints[7]; ///< The rest pose.
  VArrayTemplate<VFacePartTemplate*, 16>
      mTemplates;      ///< In their fixed order; at most 25 have a weight. Owned.
  VgeTVector mCenter;  ///< Where the part sits on the reference face.
  VgeSVector mScale;   ///< From template space to reference-face units, per axis.
  int mPointCount = 0; ///< 1 to 7 once the face has filled the part.
  char mPointNames[7][256] = {};
  int mHolderCount = 0; ///< 1 to 5 once the face has filled the part.
  char mHolderNames[5][256] = {};
};
