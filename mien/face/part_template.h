#pragma once

#include "mien/base/export.h"
#include "mien/base/geometry.h"

/// One elementary deformation of a part: the position of each of the part's points when it is fully applied.
class MIEN_API VFacePartTemplate {
public:
  /// Keeps both pointers: the texts must outlive the template. In the default face they are constants.
  VFacePartTemplate(const char* name, const char* title) : mName(name), mTitle(title) {}

  const char* GetName() const { return mName; }   ///< Returns `mName`.
  const char* GetTitle() const { return mTitle; } ///< Returns `mTitle`.

  /// Identifies the template within its part, for example "CornersUpR". Not owned.
  const char* mName;
  /// For display, for example "Corners UpR". Not owned.
  const char* mTitle;
  /// By point slot, in the part's template space. Slots beyond the part's points keep their initial values.
  VgeTVector mPoints[7];
};
