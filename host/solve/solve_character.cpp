#include "host/solve/solve_character.h"

#include "host/base/parallel.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace mien {

namespace {

/// `at`: the first of a frame's clusters.
void SetClusters(Animation& animation, std::size_t at, const Character& character,
                 const VCharacterFaceClusterSetState* sets) {
  for (std::size_t p = 0; p < character.parts.size(); ++p)
    for (int c = 0; c < sets[p].mClusters.GetCount(); ++c) {
      const VCharacterFaceClusterState& cluster = *sets[p].mClusters[c];
      animation.local_clusters[at] = {cluster.mLocalT, cluster.mLocalR, cluster.mLocalS};
      animation.global_clusters[at++] = {cluster.mGlobalT, cluster.mGlobalR, cluster.mGlobalS};
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
                    const FittedShapes* fitted, std::size_t threads) {
  const auto new_solver = [&] {
    auto solver = std::make_unique<CharacterSolver>(character, expressions);
    if (fitted) solver->UseFitted(fitted->names);
    return solver;
  };
  std::vector<std::unique_ptr<CharacterSolver>> solvers(std::max<std::size_t>(threads, 1)); // by thread
  solvers[0] = new_solver();
  SetCharacter(animation.layout, character);
  const std::size_t frames = animation.frames.size(), shapes = solvers[0]->Shapes(),
                    clusters = animation.layout.clusters.size();
  animation.shape_weights.clear();
  animation.shape_weights.extend(frames * shapes);
  animation.local_clusters.clear();
  animation.local_clusters.extend(frames * clusters);
  animation.global_clusters.clear();
  animation.global_clusters.extend(frames * clusters);

  constexpr std::size_t kBlock = 64; // whose weights stay in the cache
  OnThreads(threads, (frames + kBlock - 1) / kBlock, [&](std::size_t thread, std::size_t index) {
    if (!solvers[thread]) solvers[thread] = new_solver();
    CharacterSolver& solver = *solvers[thread];
    const std::size_t f = index * kBlock, count = std::min(kBlock, frames - f);
    const auto of_block = [&](const auto& values, std::size_t columns) {
      return values.subspan(f * columns, count * columns).data();
    };
    const std::span<double> block = animation.shape_weights.subspan(f * shapes, count * shapes);
    solver.SolveShapes(block, of_block(animation.weights, solver.Templates()),
                       animation.eyes.empty() ? nullptr : of_block(animation.eyes, 1),
                       fitted ? of_block(fitted->weights, fitted->names.size()) : nullptr);
    if (clusters > 0)
      for (std::size_t i = 0; i < count; ++i)
        SetClusters(animation, (f + i) * clusters, character,
                    solver.SolveClusters(block.data() + i * shapes));
  });
}

} // namespace mien
