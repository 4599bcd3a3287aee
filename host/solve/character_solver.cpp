#include "host/solve/character_solver.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

namespace mien {

namespace {

void SetLocal(VCharacterFaceClusterState& to, const ClusterTransform& from) {
  to.mLocalT = from.translation;
  to.mLocalR = from.rotation;
  to.mLocalS = from.scale;
}

} // namespace

CharacterSolver::CharacterSolver(const Character& character, const ExpressionWeights& expressions)
    : range_(character.range), gaze_(GazeShapesOf(character)) {
  for (const Character::Expression& expression : character.expressions) {
    const int e = face_->CreateExpression(expression.name.c_str());
    face_->mExpressions[e]->mTemplateState.Copy(expression.templates);
  }
  for (const auto& [name, weight] : expressions) {
    const int e = face_->ExpressionIndexByName(name.c_str());
    if (e < 0) {
      std::vector<std::string> known;
      for (const Character::Expression& expression : character.expressions) known.push_back(expression.name);
      throw InputError(Code::NotFound, character.file, "/expressions",
                       fmt::format("there is no expression {}", Quoted(name)),
                       known.empty() ? "add it to a character file, which mien character save writes"
                                     : fmt::format("name one of: {}", fmt::join(known, ", ")));
    }
    expressions_.mWeights[e] += weight;
  }
  character_ = std::make_unique<VCharacterFace>(*face_); // with a define state for the expressions above
  AddParts(character);
  AddDefinitions(character);
  shapes_.emplace(*character_, *face_);
}

// Each pointer belongs, from the moment it is added, to a list that is destroyed with the face or the state.
void CharacterSolver::AddParts(const Character& character) {
  for (std::size_t p = 0; p < character.parts.size(); ++p) {
    const Character::Part& part = character.parts[p];
    VCharacterFacePartCluster* cluster_part = nullptr;
    if (part.clusters.empty())
      character_->mParts.Add(new VCharacterFacePart(part.name));
    else
      character_->mParts.Add(cluster_part = new VCharacterFacePartCluster(part.name));
    VCharacterFacePart& added = *character_->mParts[static_cast<int>(p)];
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
      define(*character_->mTemplateStates[f][static_cast<int>(t)], character.templates[f][t]);
  for (std::size_t e = 0; e < character.expressions.size(); ++e)
    define(*character_->mExpressionStates[static_cast<int>(e)], character.expressions[e].shapes);
}

void CharacterSolver::UseFitted(const std::vector<std::string>& names) {
  fitted_.clear();
  shapes_->Solve(*state_, VFaceTemplateState(), expressions_);
  for (int p = 0; p < character_->mParts.GetCount(); ++p)
    for (int s = 0; s < character_->mParts[p]->mShapes.GetCount(); ++s) {
      const auto meaning = FindArkitName(character_->mParts[p]->mShapes[s]->GetLabel());
      if (!meaning) continue;
      const auto name = std::find(names.begin(), names.end(), kArkitNames[meaning->name]);
      if (name != names.end())
        fitted_.push_back({.part = static_cast<std::size_t>(p),
                           .shape = static_cast<std::size_t>(s),
                           .fitted = static_cast<std::size_t>(name - names.begin()),
                           .expressions = state_->mWeights[p][s]});
    }
}

const VCharacterFaceState& CharacterSolver::Solve(const VFaceTemplateState& templates, const Eyes* eyes,
                                                  std::span<const double> fitted) {
  shapes_->Solve(*state_, templates, expressions_);
  for (const FittedShape& shape : fitted_)
    state_->mWeights[shape.part][shape.shape] = fitted[shape.fitted] + shape.expressions;
  if (eyes)
    for (const GazeShape& shape : gaze_) {
      double angle = 0;
      for (std::size_t eye = 0; eye < 2; ++eye)
        angle += shape.eyes[eye] * (shape.is_vertical ? (*eyes)[eye].pitch : (*eyes)[eye].yaw);
      const double weight = angle / shape.full;
      if (weight > 0) state_->mWeights[shape.part][shape.shape] += weight;
    }
  if (range_)
    for (int p = 0; p < character_->mParts.GetCount(); ++p)
      for (int s = 0; s < character_->mParts[p]->mShapes.GetCount(); ++s) {
        double& weight = state_->mWeights[p][s];
        weight = std::clamp(weight, range_->least, range_->most);
      }
  character_->Character2ClusterSolve(state_->mClusters, *state_);
  return *state_;
}

} // namespace mien
