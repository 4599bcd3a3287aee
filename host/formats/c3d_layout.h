#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_header.h"
#include "host/formats/c3d_parameters.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mien::c3d {

/// Where a file's positions are, and how they are encoded.
struct Layout {
  std::uint64_t points = 0; ///< per frame
  std::uint64_t analog = 0; ///< numbers per frame, behind its points
  std::uint64_t frames = 0;
  std::uint64_t block = 0; ///< of the first frame, numbered from 1
  bool real = false;       ///< floats; otherwise 16-bit integers

  /// The length, in the file's unit, of a residual of 1 and, in a file of integers, of a coordinate of 1; 0
  /// where the file has no scale for its kind of numbers.
  double scale = 0;

  std::uint64_t FrameSize() const { return (points * 4 + analog) * (real ? 4 : 2); }
  std::uint64_t Begin() const { return (block - 1) * kBlock; }

  /// How many whole frames a file of `size` bytes has room for.
  std::uint64_t Room(std::size_t size) const { return Begin() < size ? (size - Begin()) / FrameSize() : 0; }

  /// Behind the last frame, which must be within the file.
  std::uint64_t End() const { return Begin() + frames * FrameSize(); }
};

/// Header and parameters give most of it twice. Where they disagree, those values count with which the data
/// fill the file. The layout has at least one frame, and all frames are within the file. `notes` get choices
/// and missing values. Throws InputError where there are no points or no frames, and where floats and integers
/// cannot be distinguished.
Layout FindLayout(const Header& header, const Parameters& parameters, std::vector<Note>& notes);

} // namespace mien::c3d
