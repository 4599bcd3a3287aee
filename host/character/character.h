#pragma once

#include "mien/base/geometry.h"
#include "mien/face/template_state.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// The transform of a cluster relative to its parent; in the character's own unit of length.
struct ClusterTransform {
  VgeTVector translation = {0, 0, 0};
  VgeRMatrix rotation; ///< proper
  VgeSVector scale;    ///< no component is 0
};

/// Weights by the names of shapes.
using ShapeWeights = std::vector<std::pair<std::string, double>>;

/// A character: its shapes and clusters, and what each template and each expression of the face does to them.
struct Character {
  static constexpr std::size_t kMostParts = 15; ///< these four are the library's limits
  static constexpr std::size_t kMostShapesInAPart = 500;
  static constexpr std::size_t kMostExpressions = 99;
  static constexpr std::size_t kLongestName = 255; ///< bytes

  /// The clusters of each part times its poses, all parts together: each pose holds each cluster, so that a
  /// file of a few kilobytes could fill the memory. At this many the character and its solver take about 175
  /// MB.
  static constexpr std::size_t kMostPosedClusters = 250000;

  struct Cluster {
    std::string name;
    ClusterTransform rest;
  };

  /// A shape that drives the clusters of its part.
  struct Pose {
    std::string shape;
    std::vector<ClusterTransform> clusters; ///< at weight 1 (size: the part's clusters)
  };

  struct Part {
    std::string name;
    std::vector<std::string> shapes; ///< each name once in the whole character
    ClusterTransform root;           ///< the clusters' parent, which does not move
    std::vector<Cluster> clusters;   ///< each name once in the part
    std::vector<Pose> poses;         ///< all other shapes do not move clusters
  };

  struct Expression {
    std::string name;             ///< unique in the character, ignoring case
    VFaceTemplateState templates; ///< the templates that it consists of
    ShapeWeights shapes;          ///< the weights that it produces; if empty, its templates are used instead
  };

  struct Range {
    double least;
    double most;
  };

  std::string name;
  std::string file; ///< the file that it was read from, for messages
  std::vector<Part> parts;

  /// By part of the face and template: the shape weights that the template produces at weight 1.
  std::array<std::vector<ShapeWeights>, 9> templates;
  std::vector<Expression> expressions;

  /// The limits of every shape weight after the solve; without it, weights are not limited.
  std::optional<Range> range;

  /// All shapes, part by part.
  std::vector<std::string> Shapes() const;
};

} // namespace mien
