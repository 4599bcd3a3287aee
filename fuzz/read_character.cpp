// Any bytes are either a character that keeps a character's promises, reads back as it was written and can be solved,
// or an InputError.

#include "host/base/error.h"
#include "host/character/character_file.h"
#include "host/solve/character_solver.h"
#include "mien/base/bounded_text.h"
#include "mien/face/face.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using mien::Character;
using mien::ClusterTransform;
using mien::ShapeWeights;

constexpr double kTolerance = 1e-9; // of rotations, which are written as degrees

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsName(const std::string& name) { return !name.empty() && name.size() <= Character::kLongestName; }

void RequireNames(const std::vector<std::string>& names) {
  Require(std::all_of(names.begin(), names.end(), IsName));
  Require(std::set<std::string>(names.begin(), names.end()).size() == names.size());
}

void RequireValid(const ClusterTransform& transform) {
  const auto& [t, r, s] = transform;
  for (const double value : {t.x, t.y, t.z, s.x, s.y, s.z}) Require(std::isfinite(value));
  for (const double factor : {s.x, s.y, s.z}) Require(factor != 0);
  for (int a = 0; a < 3; ++a)
    for (int b = 0; b < 3; ++b) {
      double dot = 0;
      for (int row = 0; row < 3; ++row) dot += r.m[a][row] * r.m[b][row];
      Require(std::fabs(dot - (a == b ? 1 : 0)) < kTolerance);
    }
}

void RequireSameSigns(const VgeSVector& a, const VgeSVector& b) {
  Require((a.x < 0) == (b.x < 0) && (a.y < 0) == (b.y < 0) && (a.z < 0) == (b.z < 0));
}

void RequireValid(const ShapeWeights& weights, const std::set<std::string>& shapes) {
  std::set<std::string> named;
  for (const auto& [shape, weight] : weights)
    Require(shapes.contains(shape) && std::isfinite(weight) && named.insert(shape).second);
}

void RequireValid(const Character& character) {
  Require(!character.name.empty());
  Require(!character.parts.empty() && character.parts.size() <= Character::kMostParts);
  const std::vector<std::string> shapes = character.Shapes();
  RequireNames(shapes);
  const std::set<std::string> known(shapes.begin(), shapes.end());
  std::vector<std::string> parts;
  for (const Character::Part& part : character.parts) {
    parts.push_back(part.name);
    Require(part.shapes.size() <= Character::kMostShapesInAPart);
    RequireValid(part.root);
    std::vector<std::string> clusters, poses;
    for (const Character::Cluster& cluster : part.clusters) {
      clusters.push_back(cluster.name);
      RequireValid(cluster.rest);
    }
    RequireNames(clusters);
    for (const Character::Pose& pose : part.poses) {
      poses.push_back(pose.shape);
      Require(std::find(part.shapes.begin(), part.shapes.end(), pose.shape) != part.shapes.end());
      Require(pose.clusters.size() == part.clusters.size());
      for (std::size_t c = 0; c < pose.clusters.size(); ++c) {
        RequireValid(pose.clusters[c]);
        RequireSameSigns(pose.clusters[c].scale, part.clusters[c].rest.scale);
      }
    }
    RequireNames(poses);
  }
  RequireNames(parts);
  for (std::size_t p = 0; p < character.templates.size(); ++p) {
    Require(character.templates[p].size() ==
            static_cast<std::size_t>(GetGlobalFace()->mParts[p].mTemplates.GetCount()));
    for (const ShapeWeights& weights : character.templates[p]) RequireValid(weights, known);
  }
  Require(character.expressions.size() <= Character::kMostExpressions);
  for (std::size_t e = 0; e < character.expressions.size(); ++e) {
    const Character::Expression& expression = character.expressions[e];
    Require(IsName(expression.name));
    for (std::size_t other = 0; other < e; ++other)
      Require(!mien::EqualIgnoringCase(expression.name.c_str(), character.expressions[other].name.c_str()));
    for (const VFacePartTemplateState& part : expression.templates.mParts)
      for (const double weight : part.mWeights) Require(std::isfinite(weight));
    RequireValid(expression.shapes, known);
  }
  if (character.range)
    Require(std::isfinite(character.range->least) && std::isfinite(character.range->most) &&
            character.range->least <= character.range->most);
}

// --- What is written reads back.

void RequireSame(const ClusterTransform& a, const ClusterTransform& b) {
  Require(a.translation == b.translation && a.scale == b.scale);
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      Require(std::fabs(a.rotation.m[column][row] - b.rotation.m[column][row]) < kTolerance);
}

void RequireSame(const Character::Part& a, const Character::Part& b) {
  Require(a.name == b.name && a.shapes == b.shapes);
  RequireSame(a.root, b.root);
  Require(a.clusters.size() == b.clusters.size() && a.poses.size() == b.poses.size());
  for (std::size_t c = 0; c < a.clusters.size(); ++c) {
    Require(a.clusters[c].name == b.clusters[c].name);
    RequireSame(a.clusters[c].rest, b.clusters[c].rest);
  }
  for (std::size_t s = 0; s < a.poses.size(); ++s) {
    Require(a.poses[s].shape == b.poses[s].shape);
    for (std::size_t c = 0; c < a.clusters.size(); ++c)
      RequireSame(a.poses[s].clusters.at(c), b.poses[s].clusters.at(c));
  }
}

void RequireSame(const Character& a, const Character& b) {
  Require(a.name == b.name && a.templates == b.templates);
  Require(a.range.has_value() == b.range.has_value());
  if (a.range) Require(a.range->least == b.range->least && a.range->most == b.range->most);
  Require(a.parts.size() == b.parts.size() && a.expressions.size() == b.expressions.size());
  for (std::size_t p = 0; p < a.parts.size(); ++p) RequireSame(a.parts[p], b.parts[p]);
  for (std::size_t e = 0; e < a.expressions.size(); ++e) {
    const Character::Expression &one = a.expressions[e], &other = b.expressions[e];
    Require(one.name == other.name && one.shapes == other.shapes);
    for (int p = 0; p < 9; ++p)
      Require(std::ranges::equal(one.templates.mParts[p].mWeights, other.templates.mParts[p].mWeights));
  }
}

// --- It can be solved.

/// The largest magnitude among the numbers that the solve of a frame of weights of at most 1 multiplies and adds.
double LargestNumber(const Character& character) {
  double largest = 1;
  const auto take = [&](double value) { largest = std::max(largest, std::fabs(value)); };
  const auto take_weights = [&](const ShapeWeights& weights) {
    for (const auto& [shape, weight] : weights) take(weight);
  };
  const auto take_transform = [&](const ClusterTransform& transform) {
    const auto& [t, r, s] = transform;
    for (const double value : {t.x, t.y, t.z, s.x, s.y, s.z, 1 / s.x, 1 / s.y, 1 / s.z}) take(value);
  };
  for (const auto& part : character.templates)
    for (const ShapeWeights& weights : part) take_weights(weights);
  for (const Character::Expression& expression : character.expressions) {
    take_weights(expression.shapes);
    for (const VFacePartTemplateState& part : expression.templates.mParts)
      for (const double weight : part.mWeights) take(weight);
  }
  if (character.range) take(character.range->least), take(character.range->most);
  for (const Character::Part& part : character.parts) {
    take_transform(part.root);
    for (const Character::Cluster& cluster : part.clusters) take_transform(cluster.rest);
    for (const Character::Pose& pose : part.poses)
      for (const ClusterTransform& target : pose.clusters) take_transform(target);
  }
  return largest;
}

/// Whatever the character, the solve ends and writes within its bounds. Where its numbers are such that no product and
/// no sum overflows, shape weights are finite; within the range if there is one; and at rest the clusters are where the
/// rest pose has them.
void RequireSolves(const Character& character) {
  const bool moderate = LargestNumber(character) < 1e30;
  VFaceTemplateState templates;
  for (VFacePartTemplateState& part : templates.mParts)
    for (double& weight : part.mWeights) weight = 1;
  mien::ExpressionWeights all;
  for (const Character::Expression& expression : character.expressions)
    all.emplace_back(expression.name, 0.5);
  {
    mien::CharacterSolver solver(character, all);
    const VCharacterFaceState& state = solver.Solve(templates);
    for (std::size_t p = 0; p < character.parts.size(); ++p)
      for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s) {
        const double weight = state.mWeights[p][s];
        if (moderate) Require(std::isfinite(weight));
        if (character.range && !std::isnan(weight))
          Require(weight >= character.range->least && weight <= character.range->most);
      }
  }
  if (!moderate || (character.range && (character.range->least > 0 || character.range->most < 0)))
    return; // no weight is 0 then
  mien::CharacterSolver solver(character);
  const VCharacterFaceState& at_rest = solver.Solve({});
  for (std::size_t p = 0; p < character.parts.size(); ++p)
    for (std::size_t c = 0; c < character.parts[p].clusters.size(); ++c) {
      const VCharacterFaceClusterState& cluster = *at_rest.mClusters[p].mClusters[static_cast<int>(c)];
      RequireSame({cluster.mLocalT, cluster.mLocalR, cluster.mLocalS}, character.parts[p].clusters[c].rest);
      RequireValid({cluster.mGlobalT, cluster.mGlobalR, cluster.mGlobalS});
    }
}

std::string Written(const Character& character) {
  std::ostringstream out;
  mien::WriteCharacter(character, out);
  return out.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const Character character =
        mien::ReadCharacter(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    RequireValid(character);
    try {
      RequireSame(mien::ReadCharacter(Written(character), "written"), character);
      RequireSolves(character);
    } catch (const mien::InputError&) {
      Require(false);
    }                                  // what was read can be written, read again and solved
  } catch (const mien::InputError&) {} // the input is at fault, and says so
  Require(GetGlobalFace()->mExpressions.GetCount() == 0); // nobody writes into the process-wide face
  return 0;
}
