#pragma once

#include "host/animation/animation.h"
#include "host/character/character.h"
#include "host/solve/character_solver.h"

namespace mien {

/// Fills in what the character makes of a solved take: its shapes and clusters. `expressions` is added to
/// every frame. Throws as CharacterSolver does.
void SolveCharacter(Animation& animation, const Character& character,
                    const ExpressionWeights& expressions = {});

} // namespace mien
