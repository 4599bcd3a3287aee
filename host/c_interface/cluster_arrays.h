#pragma once

#include "host/c_interface/mien_host.h"
#include "host/character/character.h"

#include <cstddef>

namespace mien {

/// The three arrays of a transform, in the order in which the header has them.
enum class ClusterValues { Translations, Rotations, Scales };

/// A view of the clusters of all frames.
mien_array ViewOfClusters(const ClusterTransform* first, std::size_t frames, std::size_t clusters,
                          ClusterValues values);

/// The same of one frame, without an axis of frames.
mien_array ViewOfClusters(const ClusterTransform* first, std::size_t clusters, ClusterValues values);

} // namespace mien
