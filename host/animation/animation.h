#pragma once

#include "host/animation/eye_angles.h"
#include "host/base/face_parts.h"
#include "host/base/long_vector.h"
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

/// The properties that all frames of an animation share and that are known before the first frame: the names
/// and order of a frame's numbers, and their reference.
struct AnimationLayout {
  std::string take;      ///< its name, for titles
  std::string performer; ///< its name, for titles
  std::string character; ///< its name, for titles; empty without one
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame
  double timecode_offset_s = 0;     ///< by which the first frame is later than that; less than a count

  std::vector<TemplateColumn> templates = TemplateColumns();
  std::vector<std::string> shapes;             ///< of the character, part by part
  std::vector<ClusterColumn> clusters;         ///< of the character, part by part
  std::vector<ClusterTransform> rest_clusters; ///< relative to their root (size: clusters)
  /// From a face that looks along +z, x to its left, y up, to the neutral pose in the take.
  VgeAMatrix neutral_head;

  /// The names of the templates, or those of the shapes.
  std::vector<std::string> WeightNames(WeightKind kind) const;

  /// The head's motion from the neutral pose, in the axes of the neutral face: x to its left, y up, z out of
  /// it. `head`: AnimationFrame::head.
  VgeAMatrix HeadMotion(const VgeAMatrix& head) const;
};

/// One frame of an animation: a view of numbers that are stored elsewhere. The layout defines their number
/// and order.
struct AnimationFrame {
  std::int64_t number = 0; ///< as in the take
  double time = 0;         ///< seconds, as in the take: rising, not always from 0
  /// From a face that looks along +z, x to its left, y up, to its position in the take.
  VgeAMatrix head = {};
  std::span<const double> weights = {};       ///< (size: templates)
  std::span<const double> shape_weights = {}; ///< (size: shapes)
  const Eyes* eyes = nullptr;                 ///< where they look; null where the take does not show it
  std::span<const ClusterTransform> local_clusters = {};  ///< relative to their root (size: clusters)
  std::span<const ClusterTransform> global_clusters = {}; ///< in the character's space (size: clusters)

  std::span<const double> WeightsOf(WeightKind kind) const {
    return kind == WeightKind::Templates ? weights : shape_weights;
  }
};

/// Throws InputError if a number of the frame is infinite or NaN, or would be in single precision, which
/// files use. `first_time` is the time of the animation's first frame; `file` is the name for the message.
void CheckFinite(const AnimationLayout& layout, const AnimationFrame& frame, double first_time,
                 const std::string& file);

/// A solved take: for each of its frames the template weights, the head, and the character's shapes and
/// clusters.
struct Animation {
  AnimationLayout layout;

  // Frame by frame; see AnimationFrame.
  LongVector<std::int64_t> frames;  ///< numbers
  LongVector<double> times;         ///< (size: frames)
  LongVector<double> weights;       ///< (size: frames x templates)
  LongVector<VgeAMatrix> heads;     ///< (size: frames)
  LongVector<Eyes> eyes;            ///< (size: frames, or 0 if the take does not show where the eyes look)
  LongVector<double> shape_weights; ///< (size: frames x shapes)
  LongVector<ClusterTransform> local_clusters;  ///< (size: frames x clusters)
  LongVector<ClusterTransform> global_clusters; ///< (size: frames x clusters)

  double Weight(std::size_t frame, std::size_t column) const {
    return weights[frame * layout.templates.size() + column];
  }
  double ShapeWeight(std::size_t frame, std::size_t shape) const {
    return shape_weights[frame * layout.shapes.size() + shape];
  }
  double WeightOf(WeightKind kind, std::size_t frame, std::size_t column) const {
    return kind == WeightKind::Templates ? Weight(frame, column) : ShapeWeight(frame, column);
  }

  /// A frame by its index. Valid until the animation changes.
  AnimationFrame Frame(std::size_t frame) const;

  VgeAMatrix HeadMotion(std::size_t frame) const { return layout.HeadMotion(heads[frame]); }

  /// Whether the head ever leaves the neutral pose: not where nothing is known about it.
  bool HeadMoves() const;

  /// CheckFinite of every frame.
  void CheckFinite(const std::string& file, std::size_t threads = 1) const;
};

} // namespace mien
