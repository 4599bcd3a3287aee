#pragma once

#include "host/base/long_vector.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/morph_targets.h"
#include "mien/base/geometry.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// Builds one more animation of a GLB, channel by channel. All curves have the same keys: one for each frame,
/// linear between them, the first at 0 s. The functions that give a frame's values are called only for frames
/// that have keys.
class GlbAnimation {
public:
  /// `times`: of the frames, in seconds and rising. A frame whose time equals the one before as a float has
  /// no key, since each key must be later than the last. The GLB must be one that can be appended to
  /// (glb_data.h), and outlive this.
  GlbAnimation(Glb& glb, std::span<const double> times);

  /// How many frames have no key.
  std::size_t LeftOutFrames() const { return frame_count_ - keys_.size(); }

  /// Whether nodes that have the same lists of targets and defaults have the same curve.
  enum class Curve { Shared, Own };

  /// Drives all morph targets that a node shows, which glTF makes one curve. For Curve::Shared, `weight` must
  /// depend on the lists of the node's targets and defaults alone. Throws InputError where the curve would not
  /// fit into a .glb.
  void AddWeights(const MorphNode& node,
                  const std::function<double(std::size_t frame, std::size_t target)>& weight,
                  Curve curve = Curve::Shared);

  /// Moves a node, which has no matrix.
  void AddTranslation(std::size_t node, const std::function<VgeTVector(std::size_t frame)>& translation);

  /// Turns a node, which has no matrix. `rotation` is proper.
  void AddRotation(std::size_t node, const std::function<VgeRMatrix(std::size_t frame)>& rotation);

  /// Moves, turns and scales a node, which has no matrix. The rotation of `transform` is proper.
  void AddTransform(std::size_t node, const std::function<ClusterTransform(std::size_t frame)>& transform);

  /// Appends the animation. At least one channel was added; nothing can be added from here on.
  void Finish(const std::string& name, nlohmann::ordered_json extras);

private:
  using Json = nlohmann::ordered_json;

  std::size_t AddWeightSampler(std::size_t targets,
                               const std::function<double(std::size_t frame, std::size_t target)>& weight);
  std::size_t AddSampler(std::size_t row_size, ElementType type,
                         const std::function<void(std::size_t frame, std::span<float> values)>& fill);
  void AddChannel(std::size_t node, const char* path, std::size_t sampler);

  Glb& glb_;
  std::size_t frame_count_;
  LongVector<std::size_t> keys_;     // frames
  LongVector<float> times_;          // s, from the first (size: keys)
  std::optional<std::size_t> input_; // the accessor of the times, once there is a curve
  std::map<std::pair<decltype(MorphNode::targets), decltype(MorphNode::defaults)>, std::size_t>
      weights_; // samplers by lists
  Json channels_ = Json::array(), samplers_ = Json::array();
};

} // namespace mien
