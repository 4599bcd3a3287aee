#pragma once

// The layouts in which programs store the face mesh of web cameras, with a few frames each.

#include "host/animation/animation.h"
#include "host/takes/take.h"

#include <map>
#include <string>

namespace mien::samples {

/// A file for each layout by its name in the folder of samples, all with the same five frames of FilmMesh: at
/// rest, in a blink, at rest, with an open mouth, at rest; four a second. `known` has the weights of the whole
/// take, and "mesh/talk_phone.csv" too.
std::map<std::string, std::string> MeshFiles(const Take& mesh, const Animation& known);

} // namespace mien::samples
