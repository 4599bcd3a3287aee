#pragma once

#include "mien/base/export.h"
#include "mien/base/geometry.h"

/// One elementary deformation of a part: where each of the part's points stands when it is fully applied.
class MIEN_API VFacePartTemplate {
public:
  /// Keeps both pointers; the texts must outlive the template (in the default face they are constants).
  VFacePartTemplate(const char* name, const char* title) : mName(name), mTitle(title) {}

  const char* GetName() const { return mName; }
  const char* GetTitle() const { return mTitle; }

  const char* mName;     ///< Identifies it within its part: "CornersUpR". Not owned.
  const char* mTitle;    ///< For display: "Corners UpR". Not owned.
  VgeTVector mPoints[7]; ///< In the part's template space; slots beyond the part's points as constructed.
};
