#pragma once

#include "host/batch/batch_line.h"

#include <string>
#include <vector>

namespace mien {

/// A file that a line writes.
struct LineOutput {
  std::string path;
  std::size_t line = 0; ///< its number
  std::string place;    ///< in the manifest, for messages
};

/// Throws InputError, with all places, where two of the outputs are one file, and where an output is a take of
/// the batch. `file` is the manifest's name; if it is empty, a pattern found the takes, and they are named in
/// place of lines. Links between files are not followed, those between folders are.
void CheckOutputs(const std::vector<LineOutput>& outputs, const std::vector<BatchLine>& lines,
                  const std::string& file);

} // namespace mien
