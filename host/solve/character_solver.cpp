#include "host/solve/character_solver.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "mien/character/character_face.h"
#include "mien/face/face.h"

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

/// A face whose catalogue contains the character's expressions.
std::unique_ptr<VFace> FaceOf(const Character& character) {
  auto face = std::make_unique<VFace>();
  for (const Character::Expression& expression : character.expressions) {
    const int e = face->CreateExpression(expression.name.c_str());
    face->mExpressions[e]->mTemplateState.Copy(expression.templates);
  }
  return face;
}

/// The weight of every expression of the face.
std::vector<double> WeightsOf(const ExpressionWeights& expressions, const Character& character,
                              const VFace& face) {
  std::vector<double> weights(static_cast<std::size_t>(face.mExpressions.GetCount()));
  for (const auto& [name, weight] : expressions) {
    const int e = face.ExpressionIndexByName(name.c_str());
    if (e < 0) {
      std::vector<std::string> known;
      for (const Character::Expression& expression : character.expressions) known.push_back(expression.name);
      throw InputError(Code::NotFound, character.file, "/expressions",
                       fmt::format("there is no expression {}", Quoted(name)),
                       known.empty() ? "add it to a character file, which mien character save writes"
                                     : fmt::format("name one of: {}", fmt::join(known, ", ")));
    }
    weights[static_cast<std::size_t>(e)] += weight;
  }
  return weights;
}

// Each pointer belongs, from the moment it is added, to a list that is destroyed with the definition.
void AddParts(VCharacterFace& definition, const Character& character) {
  for (std::size_t p = 0; p < character.parts.size(); ++p) {
    const Character::Part& part = character.parts[p];
    VCharacterFacePartCluster* cluster_part = nullptr;
    if (part.clusters.empty())
      definition.mParts.Add(new VCharacterFacePart(part.name));
    else
      definition.mParts.Add(cluster_part = new VCharacterFacePartCluster(part.name));
    VCharacterFacePart& added = *definition.mParts[static_cast<int>(p)];
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
  }
}

void AddDefinitions(VCharacterFace& definition, const Character& character) {
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
      define(*definition.mTemplateStates[f][static_cast<int>(t)], character.templates[f][t]);
  for (std::size_t e = 0; e < character.expressions.size(); ++e)
    define(*definition.mExpressionStates[static_cast<int>(e)], character.expressions[e].shapes);
}

/// The part's clusters and their root, for the results.
void AddClusters(VCharacterFaceClusterSetState& set, const Character::Part& part) {
  for (std::size_t c = 0; c < part.clusters.size(); ++c) set.mClusters.Add(new VCharacterFaceClusterState);
  set.mRoot.mGlobalT = part.root.translation;
  set.mRoot.mGlobalR = part.root.rotation;
  set.mRoot.mGlobalS = part.root.scale;
}

} // namespace

CharacterSolver::CharacterSolver(const Character& character, const ExpressionWeights& expressions)
    : names_(character.Shapes()), range_(character.range), gaze_(GazeShapesOf(character)) {
  const std::unique_ptr<VFace> face = FaceOf(character);
  expressions_ = WeightsOf(expressions, character, *face);
  VCharacterFace definition(*face); // with a define state for the expressions
  AddParts(definition, character);
  AddDefinitions(definition, character);
  shapes_.emplace(definition, *face);
  clusters_.emplace(definition);

  frame_templates_.resize(Templates());
  frame_shapes_.resize(Shapes());
  shapes_before_ = {0};
  for (std::size_t p = 0; p < character.parts.size(); ++p) {
    const Character::Part& part = character.parts[p];
    shapes_before_.push_back(shapes_before_.back() + part.shapes.size());
    AddClusters(state_->mClusters[p], part);
  }
}

void CharacterSolver::UseFitted(const std::vector<std::string>& names) {
  fitted_.clear();
  fitted_names_ = names.size();
  const std::vector<double> no_templates(Templates());
  shapes_->Solve(frame_shapes_.data(), no_templates.data(), expressions_.data(), 0, 1);
  for (std::size_t s = 0; s < names_.size(); ++s) {
    const auto meaning = FindArkitName(names_[s]);
    if (!meaning) continue;
    const auto name = std::find(names.begin(), names.end(), kArkitNames[meaning->name]);
    if (name != names.end())
      fitted_.push_back({.shape = s,
                         .fitted = static_cast<std::size_t>(name - names.begin()),
                         .expressions = frame_shapes_[s]});
  }
}

void CharacterSolver::Adjust(double* shapes, const Eyes* eyes, const double* fitted) const {
  for (const FittedShape& shape : fitted_) shapes[shape.shape] = fitted[shape.fitted] + shape.expressions;
  if (eyes)
    for (const GazeShape& shape : gaze_) {
      double angle = 0;
      for (std::size_t eye = 0; eye < 2; ++eye)
        angle += shape.eyes[eye] * (shape.is_vertical ? (*eyes)[eye].pitch : (*eyes)[eye].yaw);
      const double weight = angle / shape.full;
      if (weight > 0) shapes[shapes_before_[shape.part] + shape.shape] += weight;
    }
  if (range_)
    for (std::size_t s = 0; s < Shapes(); ++s) shapes[s] = std::clamp(shapes[s], range_->least, range_->most);
}

void CharacterSolver::SolveShapes(std::span<double> shapes, const double* templates, const Eyes* eyes,
                                  const double* fitted) {
  if (shapes.empty()) return;
  const std::size_t frames = shapes.size() / Shapes();
  shapes_->Solve(shapes.data(), templates, expressions_.data(), 0, frames);
  for (std::size_t f = 0; f < frames; ++f)
    Adjust(shapes.data() + f * Shapes(), eyes ? eyes + f : nullptr, fitted + f * fitted_names_);
}

const VCharacterFaceClusterSetState* CharacterSolver::SolveClusters(const double* shapes) {
  for (std::size_t p = 0; p + 1 < shapes_before_.size(); ++p)
    clusters_->SolvePart(&state_->mClusters[p], shapes + shapes_before_[p], static_cast<int>(p));
  return state_->mClusters;
}

const VCharacterFaceState& CharacterSolver::Solve(const VFaceTemplateState& templates, const Eyes* eyes,
                                                  std::span<const double> fitted) {
  for (std::size_t t = 0; t < templates_.size(); ++t)
    frame_templates_[t] = templates.mParts[templates_[t].part].mWeights[templates_[t].slot];
  SolveShapes(frame_shapes_, frame_templates_.data(), eyes, fitted.data());
  for (std::size_t p = 0; p + 1 < shapes_before_.size(); ++p)
    std::copy(frame_shapes_.data() + shapes_before_[p], frame_shapes_.data() + shapes_before_[p + 1],
              state_->mWeights[p]);
  SolveClusters(frame_shapes_.data());
  return *state_;
}

} // namespace mien
