#include "host/c_interface/cluster_arrays.h"

#include "host/c_interface/array.h"

namespace mien {

mien_array ViewOfClusters(const ClusterTransform* first, std::size_t frames, std::size_t clusters,
                          ClusterValues values) {
  const ArrayAxis frame = {frames, clusters * sizeof(ClusterTransform)},
                  cluster = {clusters, sizeof(ClusterTransform)}, row = {3, sizeof(double)},
                  column = {3, 4 * sizeof(double)};
  const bool any = first && frames * clusters > 0;
  switch (values) {
  case ClusterValues::Translations:
    return ViewOf(any ? &first->translation.x : nullptr, {frame, cluster, row});
  case ClusterValues::Rotations: // m[column][row]
    return ViewOf(any ? &first->rotation.m[0][0] : nullptr, {frame, cluster, row, column});
  case ClusterValues::Scales:
    break;
  }
  return ViewOf(any ? &first->scale.x : nullptr, {frame, cluster, row});
}

mien_array ViewOfClusters(const ClusterTransform* first, std::size_t clusters, ClusterValues values) {
  mien_array view = ViewOfClusters(first, 1, clusters, values);
  --view.dimensions;
  for (int i = 0; i < 4; ++i) {
    view.shape[i] = i < view.dimensions ? view.shape[i + 1] : 0;
    view.strides[i] = i < view.dimensions ? view.strides[i + 1] : 0;
  }
  return view;
}

} // namespace mien
