#pragma once

#include "host/base/error.h"
#include "host/guess/marker_cloud.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A performer that was proposed for a take of unknown markers.
struct PerformerGuess {
  Performer performer; ///< without a neutral pose

  /// Markers that mirror each other, the left one first; from top to bottom.
  std::vector<std::pair<std::string, std::string>> pairs;

  /// Markers that the performer does not have; by name.
  std::vector<UnusedMarker> unused;

  /// What may be wrong, each with its reason; of Code::Doubtful. `place` is a marker or empty.
  std::vector<Note> doubts;
};

/// Proposes the markers of the head and of each holder from where a take's markers are on the face and how
/// they move. Their names and order, the take's axes and the way the face looks make no difference; names are
/// compared only to doubt which side is left.
///
/// 1. Groups of near markers are found (marker_cloud.h). The one that is a face (2 to 4) best is used.
/// 2. Its markers are freed of the head's motion (rigid_fit.h). Their places are the medians.
/// 3. The pose on the average face is found (face_pose.h).
/// 4. Each marker gets a region and a holder (marker_roles.h).
/// 5. Markers around that drive no part and hold still relative to the face are the head (head_choice.h).
///
/// Throws InputError of Code::Unsolvable for a take without a group of ten markers that is as large as a face
/// and that looks like one in a single way.
PerformerGuess GuessPerformer(const Take& take);

} // namespace mien
