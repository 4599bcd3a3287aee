#pragma once

#include "host/animation/animation.h"
#include "host/character/character.h"
#include "host/solve/character_solver.h"
#include "host/solve/solve_shapes.h"

#include <cstddef>

namespace mien {

/// Names the character and its shapes and clusters in a layout.
void SetCharacter(AnimationLayout& layout, const Character& character);

/// Fills in what the character makes of a solved take, whose templates are those of TemplateColumns: its
/// shapes and clusters. `expressions` is added to every frame. `fitted` are weights of shapes that take the
/// place of those from templates; null for none. Throws as CharacterSolver does.
void SolveCharacter(Animation& animation, const Character& character,
                    const ExpressionWeights& expressions = {}, const FittedShapes* fitted = nullptr,
                    std::size_t threads = 1);

} // namespace mien
