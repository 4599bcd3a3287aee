#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"
#include "mien/face/part_template.h"

extern template class MIEN_API VArrayTemplate<VFacePartTemplate*, 16>;

/// One region of the face: its named points with their rest pose, its named holders, and its templates.
///
/// Points are in the part's template space. A part owns its templates and deletes them. A copy shares them
/// with its source, so only one of the two may be destroyed while both list them: clear `mTemplates` of the
/// other first.
class MIEN_API VFacePart {
public:
  /// An empty part; VFace fills it.
  VFacePart() = default;
  /// Shares the templates of the source.
  VFacePart(const VFacePart&) = default;
  /// Shares the templates of the source. Those listed before are not deleted.
  VFacePart& operator=(const VFacePart&) = default;
  /// Deletes the templates.
  virtual ~VFacePart();

  // --- Names. Lookups are exact and case-sensitive. They return the first match, or -1. No name may be null.

  /// The index of the point of this name, or -1.
  int PointIndexByName(const char* name) const;
  /// The index of the holder of this name, or -1.
  int HolderIndexByName(const char* name) const;
  /// The index of the template with this `mName` (not title), or -1.
  int TemplateIndexByName(const char* name) const;

  /// For example "LeftEye".
  char mName[256] = {};
  /// For display, for example "Left Eye (Open)".
  char mTitle[256] = {};
  /// The rest pose, by point slot.
  VgeTVector mDefaultPoints[7];
  /// In their fixed order. At most 25 have a weight. Owned.
  VArrayTemplate<VFacePartTemplate*, 16> mTemplates;
  /// The position of the part on the reference face.
  VgeTVector mCenter;
  /// From template space to reference-face units, per axis.
  VgeSVector mScale;
  /// 1 to 7 after VFace has filled the part.
  int mPointCount = 0;
  /// By point slot, for example "UpperEye".
  char mPointNames[7][256] = {};
  /// 1 to 5 after VFace has filled the part.
  int mHolderCount = 0;
  /// By marker group of the performer's part, for example "UpperEyeHolder".
  char mHolderNames[5][256] = {};
};
