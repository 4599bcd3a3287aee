#pragma once

#include "host/animation/animation.h"
#include "host/animation/head_binding.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace mien {

/// A head, and what an animation does to its nodes in each frame. The functions take a frame by its index, and
/// refer to the animation, which must live on.
struct AnimatedHead { // NOLINT(bugprone-exception-escape): as Glb
  /// The morph targets of a node.
  struct Morphs {
    MorphNode node;
    /// The weights that drive the targets, each by itself; null where an avatar's expressions do.
    std::shared_ptr<const TargetDrivers> drivers;
    std::function<double(std::size_t frame, std::size_t target)> weight;
  };
  struct Turning {
    std::size_t node = 0;
    std::function<VgeRMatrix(std::size_t frame)> rotation; ///< of the node in its parent: proper
  };
  struct Moving {
    std::size_t node = 0;
    std::function<ClusterTransform(std::size_t frame)> transform; ///< of the node in its parent
  };

  Glb glb;                                 ///< what is to move has no matrix, and the head can be appended to
  WeightKind weights = WeightKind::Shapes; ///< that drive morph targets
  std::vector<Morphs> morphs;
  std::vector<Turning> turning;
  std::vector<Moving> moving;
  std::optional<std::size_t> head_node; ///< of `turning`, the one that turns with the performer's head
  HeadCoverage coverage;
};

/// BindHead determines what drives what. A cluster's motion from its rest moves its node from the node's own
/// rest. Morph targets that nothing drives keep their rest weights. Of `nodes`, the head turns as
/// the performer's head turned from the neutral pose, and each eye as it turned against the head, about the
/// scene's axes: the head has to look along +z in the scene. A VRM avatar's eyes turn within its ranges, and one
/// of VRM 0.x looks along -z.
///
/// Throws InputError as BindHead does, and if the head's data is not in the file or there are no frames.
AnimatedHead AnimateHead(const Animation& animation, Glb head, const HeadNodes& nodes);

/// The built-in head (host/face/face_glb.h), and beside it a node for each cluster. Its eyes turn where the
/// animation has them. `character` is the character of the animation; null without one. Of an animation without
/// frames, the head at rest.
AnimatedHead AnimateFace(const Animation& animation, const Character* character);

} // namespace mien
