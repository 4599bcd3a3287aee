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

/// Where a cluster stands in its parent; the character's own unit of length.
struct ClusterTransform {
  VgeTVector translation = {0, 0, 0};
  VgeRMatrix rotation; ///< proper
  VgeSVector scale;    ///< no component is 0
};

/// Weights by the names of shapes.
using ShapeWeights = std::vector<std::pair<std::string, double>>;

/// What is known of one character: its shapes and clusters, and what each template and each expression of the face does
/// to them.
struct Character {
  static constexpr std::size_t kMostParts = 15; ///< these four are what the library holds
  static constexpr std::size_t kMostShapesInAPart = 500;
  static constexpr std::size_t kMostExpressions = 99;
  static constexpr std::size_t kLongestName = 255; ///< bytes

  /// The clusters of each part times its poses, all parts together: each pose holds each cluster, so that a file of a few
  /// kilobytes could fill the memory. At this many the character and its solver take about 160 MB.
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
    std::vector<Pose> poses;         ///< of other shapes the clusters know nothing
  };

  struct Expression {
    std::string name;             ///< once in the character, whatever the case of its letters
    VFaceTemplateState templates; ///< what it is made of
    ShapeWeights shapes;          ///< what it produces; if nothing, its templates are used instead
  };

  struct Range {
    double least;
    double most;
  };

  std::string name;
  std::string file; ///< where it was read from, for messages
  std::vector<Part> parts;

  /// By part of the face and template: the shape weights that it produces at weight 1.
  std::array<std::vector<ShapeWeights>, 9> templates;
  std::vector<Expression> expressions;

  /// What every shape weight is limited to after the solve; without it, weights are what they come to.
  std::optional<Range> range;

  /// All shapes, part by part.
  std::vector<std::string> Shapes() const;
};

} // namespace mien
