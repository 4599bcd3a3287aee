#pragma once

#include "host/batch/batch_line.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Sets the cost of each line: the bytes of its take, which reading, solving and writing take time in
/// proportion to, and an equal part for what every take takes besides. A take that is missing costs that alone.
void SetCosts(std::vector<BatchLine>& lines);

/// The lines in the order in which they are best begun: the most costly first, so that no large take is left
/// to a single processor in the end.
void SortByCost(std::vector<BatchLine>& lines);

/// The part of the lines that is shard `index` (from 1) of `count`, in their order. Every line is in exactly
/// one shard, and the costs of the shards are as equal as giving each line, the most costly first, to the
/// shard with the least gets them. The same lines with the same costs give the same shards, whatever is done
/// already.
std::vector<BatchLine> ShardOf(std::vector<BatchLine> lines, std::size_t index, std::size_t count);

} // namespace mien
