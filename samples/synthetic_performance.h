#pragma once

// A synthetic performer and performance: template weights are chosen, a face follows
// them, markers follow the face, the head moves, the cameras have noise. Unlike for
// a recording, the correct result of these two takes is known.

#include "host/animation/animation.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <map>
#include <string>

namespace mien::samples {

/// The performance: 12 seconds at 30 Hz. First every template separately, left before right where there are
/// two; from frame 263 on speech, with blinks, a smile and raised brows. The eyes are open and the lips
/// together in more than half of the frames. `heads` is empty.
Animation KnownWeights();

/// How it is recorded. The noise is the same in both cases.
enum class Head { Moves, Still };

/// As a tracker of face landmarks records it: the markers lm0 to lm67, in the axes of ReadLandmarkCsv. The
/// face is lost in a few frames.
Take FilmLandmarks(Head head = Head::Moves);

/// As an optical system records it: 45 markers on the face and 5 on the head, in a room with z up, to
/// whose axes the performer is not aligned. A few markers have gaps.
Take FilmMarkers(Head head = Head::Moves);

/// As a web camera's face mesh has it: the markers lm0 to lm477, in millimetres, in the axes of ReadMeshCsv.
/// The points that landmarks478 names, the rest of the brows and the irises are on the face; the others are
/// on a surface around it, in no order, and follow the skull. The face is never lost.
Take FilmMesh(Head head = Head::Moves);

/// The performer for FilmMarkers. Its neutral pose is found in the take.
Performer MarkerPerformer();

/// The complete contents of the generated files of this folder, by name.
std::map<std::string, std::string> SampleFiles();

} // namespace mien::samples
