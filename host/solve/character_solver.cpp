#include "host/solve/character_solver.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "mien/face/face.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace mien {

namespace {

bool solver_exists = false;

/// Leaves the process-wide face's catalogue empty.
void ClearExpressions() {
  solver_exists = false;
  auto& expressions = GetGlobalFace()->mExpressions;
  for (int e = 0; e < expressions.GetCount(); ++e) delete expressions[e];
  expressions.Clear();
}

void SetLocal(VCharacterFaceClusterState& to, const ClusterTransform& from) {
  to.mLocalT = from.translation;
  to.mLocalR = from.rotation;
  to.mLocalS = from.scale;
}

} // namespace

CharacterSolver::CharacterSolver(const Character& character, const ExpressionWeights& expressions)
    : range_(character.range) {
  VFace& face = *GetGlobalFace();
  if (solver_exists || face.mExpressions.GetCount() > 0)
    throw std::logic_error("another character is being solved, whose expressions the face has");
  solver_exists = true;
  try {
    for (const Character::Expression& expression : character.expressions) {
      const int e = face.CreateExpression(expression.name.c_str());
      face.mExpressions[e]->mTemplateState.Copy(expression.templates);
    }
    for (const auto& [name, weight] : expressions) {
      const int e = face.ExpressionIndexByName(name.c_str());
      if (e < 0) {
        std::vector<std::string> known;
        for (const Character::Expression& expression : character.expressions)
          known.push_back(expression.name);
        throw InputError(Code::NotFound, character.file, "/expressions",
                         fmt::format("there is no expression {}", Quoted(name)),
                         known.empty() ? "add it to a character file, which mien character save writes"
                                       : fmt::format("name one of: {}", fmt::join(known, ", ")));
      }
      expressions_.mWeights[e] += weight;
    }
    face_ = std::make_unique<VCharacterFace>(); // with a define state for the expressions above
    AddParts(character);
    AddDefinitions(character);
  } catch (...) {
    ClearExpressions();
    throw;
  }
}

CharacterSolver::~CharacterSolver() { ClearExpressions(); }

// Each pointer belongs, from the moment it is added, to a list that is destroyed with the face or the state.
void CharacterSolver::AddParts(const Character& character) {
  for (std::size_t p = 0; p < character.parts.size(); ++p) {
    const Character::Part& part = character.parts[p];
    VCharacterFacePartCluster* cluster_part = nullptr;
    if (part.clusters.empty())
      face_->mParts.Add(new VCharacterFacePart(part.name));
    else
      face_->mParts.Add(cluster_part = new VCharacterFacePartCluster(part.name));
    VCharacterFacePart& added = *face_->mParts[static_cast<int>(p)];
    for (const std::string& name : part.shapes) {
      auto* const shape = new VCharacterFaceShape;
      added.mShapes.Add(shape);
      shape->SetLabel(name.c_str());
    }
    if (!cluster_part) continue;

    cluster_part->mClusterSolveEnabled = true;
    for (const Character::Cluster& cluster : part.clusters) {
      auto* const rest = new VCharacterFaceClusterState;
      cluster_part->mRestClusters.mClusters.Add(rest);
      SetLocal(*rest, cluster.rest);
      state_->mClusters[p].mClusters.Add(new VCharacterFaceClusterState);
    }
    for (std::size_t s = 0; s < part.shapes.size(); ++s) {
      auto* const set =
          new VCharacterFaceClusterSetState(0); // of a shape that drives no clusters it stays empty
      cluster_part->mShapeClusters.Add(set);
      const auto pose =
          std::find_if(part.poses.begin(), part.poses.end(),
                       [&](const Character::Pose& driving) { return driving.shape == part.shapes[s]; });
      if (pose == part.poses.end()) continue;
      added.mShapes[static_cast<int>(s)]->mDrivesClusters = true;
      for (const ClusterTransform& target : pose->clusters) {
        auto* const cluster = new VCharacterFaceClusterState;
        set->mClusters.Add(cluster);
        SetLocal(*cluster, target);
      }
    }
    VCharacterFaceClusterState& root = state_->mClusters[p].mRoot;
    root.mGlobalT = part.root.translation;
    root.mGlobalR = part.root.rotation;
    root.mGlobalS = part.root.scale;
  }
}

void CharacterSolver::AddDefinitions(const Character& character) {
  std::map<std::string_view, std::pair<std::size_t, std::size_t>> places; // part and column by shape
  for (std::size_t p = 0; p < character.parts.size(); ++p)
    for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s)
      places[character.parts[p].shapes[s]] = {p, s};
  const auto define = [&](VCharacterFaceState& state, const ShapeWeights& weights) {
    for (const auto& [shape, weight] : weights) {
      const auto [part, column] = places.at(shape);
      state.mWeights[part][column] = weight;
    }
  };
  for (std::size_t f = 0; f < character.templates.size(); ++f)
    for (std::size_t t = 0; t < character.templates[f].size(); ++t)
      define(*face_->mTemplateStates[f][static_cast<int>(t)], character.templates[f][t]);
  for (std::size_t e = 0; e < character.expressions.size(); ++e)
    define(*face_->mExpressionStates[static_cast<int>(e)], character.expressions[e].shapes);
}

const VCharacterFaceState& CharacterSolver::Solve(const VFaceTemplateState& templates) {
  face_->Actor2CharacterSolve(*state_, templates, expressions_);
  if (range_)
    for (int p = 0; p < face_->mParts.GetCount(); ++p)
      for (int s = 0; s < face_->mParts[p]->mShapes.GetCount(); ++s) {
        double& weight = state_->mWeights[p][s];
        weight = std::clamp(weight, range_->least, range_->most);
      }
  face_->Character2ClusterSolve(state_->mClusters, *state_);
  return *state_;
}

} // namespace mien
