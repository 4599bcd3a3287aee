#pragma once

#include "host/base/face_parts.h"
#include "host/character/character.h"
#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// One cluster of one part of the character.
struct ClusterColumn {
  std::string part;
  std::string name;
};

/// The two kinds of weights that an animation has: of the face's templates, and of a character's shapes.
enum class WeightKind { Templates, Shapes };

/// What holds for every frame of an animation, and is known before the first one: the names and the order of the numbers
/// that a frame has, and what they are measured from.
struct AnimationLayout {
  std::string take; ///< names, for titles
  std::string performer;
  std::string character; ///< empty without one
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame

  std::vector<TemplateColumn> templates = TemplateColumns();
  std::vector<std::string> shapes;             ///< of the character, part by part
  std::vector<ClusterColumn> clusters;         ///< of the character, part by part
  std::vector<ClusterTransform> rest_clusters; ///< in their root (size: clusters)
  VgeAMatrix
      neutral_head; ///< from a face that looks along +z, x to its left, y up, to the neutral pose in the take

  /// The names of the templates, or those of the shapes.
  std::vector<std::string> WeightNames(WeightKind kind) const;

  /// How far the head has gone from the neutral pose, in the axes of the neutral face: x to its left, y up, z out of it.
  /// `head` as AnimationFrame has it.
  VgeAMatrix HeadMotion(const VgeAMatrix& head) const;
};

/// One frame of an animation: a view of numbers that somebody else keeps. The layout says how many they are, and in which
/// order.
struct AnimationFrame {
  std::int64_t number = 0; ///< as in the take
  double time = 0;         ///< seconds, as in the take: rising, not always from 0
  VgeAMatrix head = {}; ///< from a face that looks along +z, x to its left, y up, to where it is in the take
  std::span<const double> weights = {};                   ///< (size: templates)
  std::span<const double> shape_weights = {};             ///< (size: shapes)
  std::span<const ClusterTransform> local_clusters = {};  ///< in their root (size: clusters)
  std::span<const ClusterTransform> global_clusters = {}; ///< in the character's space (size: clusters)

  std::span<const double> WeightsOf(WeightKind kind) const {
    return kind == WeightKind::Templates ? weights : shape_weights;
  }
};

/// Throws InputError where a number of the frame is infinite or no number, or would be in single precision, as files have
/// it. `first_time` is that of the animation's first frame; `file` is the name for the message.
void CheckFinite(const AnimationLayout& layout, const AnimationFrame& frame, double first_time,
                 const std::string& file);

/// A solved take: for each of its frames the template weights, where the head was, and what a character makes of it.
struct Animation {
  AnimationLayout layout;

  // Frame by frame; AnimationFrame says what each is.
  std::vector<std::int64_t> frames;              ///< numbers
  std::vector<double> times;                     ///< (size: frames)
  std::vector<double> weights;                   ///< (size: frames x templates)
  std::vector<VgeAMatrix> heads;                 ///< (size: frames)
  std::vector<double> shape_weights;             ///< (size: frames x shapes)
  std::vector<ClusterTransform> local_clusters;  ///< (size: frames x clusters)
  std::vector<ClusterTransform> global_clusters; ///< (size: frames x clusters)

  double Weight(std::size_t frame, std::size_t column) const {
    return weights[frame * layout.templates.size() + column];
  }
  double ShapeWeight(std::size_t frame, std::size_t shape) const {
    return shape_weights[frame * layout.shapes.size() + shape];
  }

  /// A frame by its index. Valid until the animation changes.
  AnimationFrame Frame(std::size_t frame) const;

  VgeAMatrix HeadMotion(std::size_t frame) const { return layout.HeadMotion(heads[frame]); }

  /// CheckFinite of every frame.
  void CheckFinite(const std::string& file) const;
};

} // namespace mien
