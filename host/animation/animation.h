#pragma once

#include "host/base/face_parts.h"
#include "host/character/character.h"
#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"
#include "mien/base/geometry.h"
#include "mien/face/template_state.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// One cluster of one part of the character.
struct ClusterColumn {
  std::string part;
  std::string name;
};

/// A solved take: for each of its frames the template weights, where the head was, and what a character makes of it.
struct Animation {
  std::string take; ///< names, for titles
  std::string performer;
  std::string character; ///< empty without one
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame
  std::vector<std::int64_t> frames; ///< numbers, as in the take
  std::vector<double> times;        ///< seconds, as in the take: rising, not always from 0 (size: frames)

  std::vector<TemplateColumn> templates = TemplateColumns();
  std::vector<double>
      weights; ///< frame by frame, each in the order of `templates` (size: frames x templates)

  VgeAMatrix
      neutral_head; ///< from a face that looks along +z, x to its left, y up, to the neutral pose in the take
  std::vector<VgeAMatrix> heads; ///< the same for each frame (size: frames)

  std::vector<std::string> shapes;               ///< of the character, part by part
  std::vector<double> shape_weights;             ///< (size: frames x shapes)
  std::vector<ClusterColumn> clusters;           ///< of the character, part by part
  std::vector<ClusterTransform> rest_clusters;   ///< in their root (size: clusters)
  std::vector<ClusterTransform> local_clusters;  ///< in their root (size: frames x clusters)
  std::vector<ClusterTransform> global_clusters; ///< in the character's space (size: frames x clusters)

  double Weight(std::size_t frame, std::size_t column) const {
    return weights[frame * templates.size() + column];
  }
  double ShapeWeight(std::size_t frame, std::size_t shape) const {
    return shape_weights[frame * shapes.size() + shape];
  }

  /// Throws InputError where a number is infinite or no number, or would be in single precision, as files have it. `file`
  /// is the name for the message.
  void CheckFinite(const std::string& file) const;

  /// How far the head has gone from the neutral pose, in the axes of the neutral face: x to its left, y up, z out of it.
  VgeAMatrix HeadMotion(std::size_t frame) const;
};

} // namespace mien
