#include "host/solve/solve_character.h"

namespace mien {

void SolveCharacter(Animation& animation, const Character& character, const ExpressionWeights& expressions,
                    const FittedShapes* fitted) {
  CharacterSolver solver(character, expressions);
  if (fitted) solver.UseFitted(fitted->names);
  const std::size_t frames = animation.frames.size();
  animation.layout.character = character.name;
  animation.layout.shapes = character.Shapes();
  animation.layout.clusters.clear();
  animation.layout.rest_clusters.clear();
  for (const Character::Part& part : character.parts)
    for (const Character::Cluster& cluster : part.clusters) {
      animation.layout.clusters.push_back({part.name, cluster.name});
      animation.layout.rest_clusters.push_back(cluster.rest);
    }
  animation.shape_weights.clear();
  animation.shape_weights.reserve(frames * animation.layout.shapes.size());
  animation.local_clusters.clear();
  animation.local_clusters.reserve(frames * animation.layout.clusters.size());
  animation.global_clusters.clear();
  animation.global_clusters.reserve(frames * animation.layout.clusters.size());

  VFaceTemplateState templates;
  for (std::size_t f = 0; f < frames; ++f) {
    for (std::size_t t = 0; t < animation.layout.templates.size(); ++t) {
      const auto& [part, slot, name] = animation.layout.templates[t];
      templates.mParts[part].mWeights[slot] = animation.Weight(f, t);
    }
    const VCharacterFaceState& state =
        solver.Solve(templates, animation.eyes.empty() ? nullptr : &animation.eyes[f],
                     fitted ? fitted->weights.subspan(f * fitted->names.size(), fitted->names.size())
                            : std::span<const double>());
    for (std::size_t p = 0; p < character.parts.size(); ++p) {
      const Character::Part& part = character.parts[p];
      animation.shape_weights.append(std::span(state.mWeights[p]).first(part.shapes.size()));
      for (std::size_t c = 0; c < part.clusters.size(); ++c) {
        const VCharacterFaceClusterState& cluster = *state.mClusters[p].mClusters[static_cast<int>(c)];
        animation.local_clusters.push_back({cluster.mLocalT, cluster.mLocalR, cluster.mLocalS});
        animation.global_clusters.push_back({cluster.mGlobalT, cluster.mGlobalR, cluster.mGlobalS});
      }
    }
  }
}

} // namespace mien
