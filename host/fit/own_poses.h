#pragma once

#include "host/fit/lay_basis.h"
#include "host/performer/calibration.h"

#include <string>
#include <vector>

namespace mien {

/// Replaces what a basis says of a performer's shapes by what the performer's guided poses show (GuidedPoses).
///
/// A pose's points move from those of the pose of rest, without the rigid motion and, for landmarks of video,
/// the shift of an eye that the basis does not expect. A pose of one shape is that shape. A pose of several is
/// divided among them at each marker: between left and right by a smooth ramp of 10 mm to either side of the
/// middle, and among shapes of one side in the ratio in which the basis moves the marker.
///
/// Shapes that no pose shows keep the way in which the basis moves them, at the performer's amplitude: the
/// median ratio of the poses to the basis in the same region of the face (eyes, brows, the rest), 0.5 to 2.
///
/// Returns the shapes that poses replace. Poses without points of the markers, of another list, with a shape
/// that the basis lacks, or without a pose of rest replace nothing.
std::vector<std::string> UseOwnPoses(LaidBasis& basis, const std::vector<CalibrationRecord::Pose>& poses);

} // namespace mien
