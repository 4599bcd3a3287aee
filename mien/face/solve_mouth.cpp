#include "mien/base/affine.h"
#include "mien/face/face.h"
#include "mien/face/limits.h"
#include "mien/face/pose.h"
#include "mien/face/slots.h"

#include <cmath>

using namespace mien;
using namespace mien::detail;
using namespace mien::detail::mouth;

// The mouth's templates move the same points, so they are measured one after another: measure one, subtract
// its share from the pose, measure the next on the remainder. Open, Square, Whistle, then the corners.

namespace {

/// How far `moved` has gone along `full`, as a fraction of it; 0 if `full` has length 0.
double ProjectedFraction(const VgeTVector& moved, const VgeTVector& full) {
  const double length = Length(full);
  return length == 0 ? 0 : Dot(Unit(full), moved) / length;
}

/// The path from the left corner over the upper lip, horizontally.
double Width(const VgeTVector* points) {
  return std::fabs(points[LeftMouth].x - points[LeftUpperMouth].x) +
         std::fabs(points[LeftUpperMouth].x - points[RightUpperMouth].x);
}

double HeightOver(const VgeTVector* points, Point point, Point base) {
  return points[point].y - points[base].y;
}

/// How far the jaw is open, at least 0 and not limited above.
double OpenAmount(const VFaceState& face, const VFacePart& definition) {
  const VgeTVector* const rest = definition.mDefaultPoints;
  const auto fraction = [&](Point point) {
    return ProjectedFraction(Difference(face.mParts[0].mPoints[point], rest[point]),
                             Difference(definition.mTemplates[Open]->mPoints[point], rest[point]));
  };
  const double amount =
      face.mValid ? fraction(ChinCenter) : 0.5 * (fraction(LeftLowerMouth) + fraction(RightLowerMouth));
  return amount > 0 ? amount : 0;
}

/// How far the lips part beyond the opening: the mean of the vertical gaps of the two sides.
double SquareAmount(const VgeTVector* points, const VFacePart& definition) {
  const VgeTVector* const rest = definition.mDefaultPoints;
  const VgeTVector* const square = definition.mTemplates[Square]->mPoints;
  const auto side = [&](Point upper, Point lower) {
    const double rest_gap = HeightOver(rest, upper, lower);
    const double fraction = ProjectedFraction({0, HeightOver(points, upper, lower) - rest_gap, 0},
                                              {0, HeightOver(square, upper, lower) - rest_gap, 0});
    return fraction > 0 ? fraction : 0;
  };
  return Clamp01NanToZero(0.5 *
                          (side(LeftUpperMouth, LeftLowerMouth) + side(RightUpperMouth, RightLowerMouth)));
}

/// How far the mouth is narrowed. Not limited: a mouth narrower than the template gives more than 1.
double WhistleAmount(const VgeTVector* points, const VFacePart& definition) {
  const double full = Width(definition.mTemplates[Whistle]->mPoints);
  const double rest = Width(definition.mDefaultPoints);
  const double width = Width(points);
  return rest > width ? 1 - (width - full) / (rest - full) : 0;
}

/// The height of a corner relative to the upper lip beside it. Down is measured on the span of the up
/// template too, not on the down template's own pose, so that the scale is the same on both sides of the rest
/// pose.
void SolveCorner(const VgeTVector* points, const VFacePart& definition, Point corner, Point lip,
                 Template up_template, double& up, double& down) {
  const double base = HeightOver(definition.mDefaultPoints, corner, lip);
  const double span = HeightOver(definition.mTemplates[up_template]->mPoints, corner, lip) - base;
  const double raised = (HeightOver(points, corner, lip) - base) / span;
  if (raised > 0) {
    up = Clamp01NanToZero(raised);
    down = 0;
  } else {
    up = 0;
    down = Clamp01NanToZero(-raised);
  }
}

} // namespace

void VFace::Face2TemplateSolveMouth2(VFaceTemplateState* result, const VFaceState* face) const {
  const VFacePart& definition = mParts[0];
  double* const weights = result->mParts[0].mWeights;
  VFacePartState left = face->mParts[0]; // the part of the pose that is not yet explained
  const auto take_out = [&](Template j, double amount) { AddDelta(left.mPoints, definition, j, -amount); };

  // An opening wider than the template is subtracted in full.
  const double open = OpenAmount(*face, definition);
  weights[Open] = Clamp01NanToZero(open);
  take_out(Open, open);

  weights[Square] = SquareAmount(left.mPoints, definition);
  take_out(Square, weights[Square]);

  weights[Whistle] = WhistleAmount(left.mPoints, definition);
  take_out(Whistle, weights[Whistle]);

  SolveCorner(left.mPoints, definition, RightMouth, RightUpperMouth, CornersUpR, weights[CornersUpR],
              weights[CornersDownR]);
  SolveCorner(left.mPoints, definition, LeftMouth, LeftUpperMouth, CornersUpL, weights[CornersUpL],
              weights[CornersDownL]);
}
