#include "host/solve/solve_character.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace mien {

namespace {

void AddClusters(Animation& animation, const Character& character,
                 const VCharacterFaceClusterSetState* sets) {
  for (std::size_t p = 0; p < character.parts.size(); ++p)
    for (int c = 0; c < sets[p].mClusters.GetCount(); ++c) {
      const VCharacterFaceClusterState& cluster = *sets[p].mClusters[c];
      animation.local_clusters.push_back({cluster.mLocalT, cluster.mLocalR, cluster.mLocalS});
      animation.global_clusters.push_back({cluster.mGlobalT, cluster.mGlobalR, cluster.mGlobalS});
    }
}

} // namespace

void SetCharacter(AnimationLayout& layout, const Character& character) {
  layout.character = character.name;
  layout.shapes = character.Shapes();
  layout.clusters.clear();
  layout.rest_clusters.clear();
  for (const Character::Part& part : character.parts)
    for (const Character::Cluster& cluster : part.clusters) {
      layout.clusters.push_back({part.name, cluster.name});
      layout.rest_clusters.push_back(cluster.rest);
    }
}

void SolveCharacter(Animation& animation, const Character& character, const ExpressionWeights& expressions,
                    const FittedShapes* fitted) {
  CharacterSolver solver(character, expressions);
  if (fitted) solver.UseFitted(fitted->names);
  SetCharacter(animation.layout, character);
  const std::size_t frames = animation.frames.size(), shapes = solver.Shapes();
  animation.shape_weights.resize(frames * shapes);
  animation.local_clusters.clear();
  animation.local_clusters.reserve(frames * animation.layout.clusters.size());
  animation.global_clusters.clear();
  animation.global_clusters.reserve(frames * animation.layout.clusters.size());

  constexpr std::size_t kBlock = 64; // whose weights stay in the cache
  for (std::size_t f = 0; f < frames; f += kBlock) {
    const std::size_t count = std::min(kBlock, frames - f);
    const auto of_block = [&](const auto& values, std::size_t columns) {
      return values.subspan(f * columns, count * columns).data();
    };
    const std::span<double> block = animation.shape_weights.subspan(f * shapes, count * shapes);
    solver.SolveShapes(block, of_block(animation.weights, solver.Templates()),
                       animation.eyes.empty() ? nullptr : of_block(animation.eyes, 1),
                       fitted ? of_block(fitted->weights, fitted->names.size()) : nullptr);
    if (!animation.layout.clusters.empty())
      for (std::size_t i = 0; i < count; ++i)
        AddClusters(animation, character, solver.SolveClusters(block.data() + i * shapes));
  }
}

} // namespace mien
