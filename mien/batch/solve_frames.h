#pragma once

/// @file
/// What FaceBatch does, for any width of vectors. Not installed.
///
/// A source file for wide vectors includes it after it allows the compiler to use them. All other headers come
/// before, since what they define also runs on processors without wide vectors.

#include "mien/batch/face_batch.h"
#include "mien/batch/face_constants.h"
#include "mien/batch/head.h"
#include "mien/batch/lanes.h"
#include "mien/batch/points.h"
#include "mien/batch/templates.h"

#include <cstddef>

namespace mien::detail::batch {

/// The number of templates of a part.
MIEN_LANES_INLINE constexpr int TemplatesOf(int p) {
  return (p < 8 ? FaceBatch::kFirstTemplate[p + 1] : FaceBatch::kTemplates) - FaceBatch::kFirstTemplate[p];
}

template <class T, class Number>
MIEN_LANES_INLINE Vector3<T> LoadPoint(const BlockRows<T, Number>& rows,
                                       const FramePoints<const double>& array, std::ptrdiff_t point) {
  const std::ptrdiff_t at = point * array.point_stride;
  return {Load(rows, at), Load(rows, at + array.axis_stride), Load(rows, at + 2 * array.axis_stride)};
}

/// The frame of the head in the block's frames, from wherever the input has it.
template <class T>
MIEN_LANES_INLINE Affine<T> HeadOf(const FaceConstants& constants, const FaceBatchInput& input,
                                   const FaceBatchOutput& output, std::size_t block) {
  const T zero(0), one(1);
  if (input.head_markers.first) {
    const BlockRows<T, const double> rows(input.head_markers.first, input.head_markers.frame_stride, block,
                                          input.frames);
    Vector3<T> markers[5];
    for (int i = 0; i < constants.head_markers; ++i) markers[i] = LoadPoint(rows, input.head_markers, i);
    const Head<T> head = SolveHead(constants, markers);
    if (output.head_valid) {
      for (std::size_t i = 0; i < kLanes<T> && block + i < input.frames; ++i)
        output.head_valid[block + i] = Lane(head.triangles, i) > 0;
    }
    return head.frame;
  }
  if (input.heads.first) {
    const BlockRows<T, const double> rows(input.heads.first, input.heads.frame_stride, block, input.frames);
    const auto column = [&](std::ptrdiff_t c) MIEN_LANES_INLINE_LAMBDA {
      const std::ptrdiff_t stride = input.heads.column_stride;
      return Vector3<T>{Load(rows, 4 * c * stride), Load(rows, (4 * c + 1) * stride),
                        Load(rows, (4 * c + 2) * stride)};
    };
    return {column(0), column(1), column(2), column(3)};
  }
  return {{one, zero, zero}, {zero, one, zero}, {zero, zero, one}, {zero, zero, zero}};
}

template <class T>
MIEN_LANES_INLINE void StoreHead(const FrameColumns<double>& heads, std::size_t block, std::size_t frames,
                                 const Affine<T>& head) {
  const BlockRows<T, double> rows(heads.first, heads.frame_stride, block, frames);
  const auto store = [&](std::ptrdiff_t c, const Vector3<T>& axis, double fourth) MIEN_LANES_INLINE_LAMBDA {
    Store(rows, 4 * c * heads.column_stride, axis.x);
    Store(rows, (4 * c + 1) * heads.column_stride, axis.y);
    Store(rows, (4 * c + 2) * heads.column_stride, axis.z);
    Store(rows, (4 * c + 3) * heads.column_stride, T(fourth));
  };
  store(0, head.x, 0), store(1, head.y, 0), store(2, head.z, 0), store(3, head.translation, 1);
}

template <class T>
MIEN_LANES_INLINE void StorePoints(const FramePoints<double>& array, std::size_t block, std::size_t frames,
                                   int p, const Points<T>& points) {
  const BlockRows<T, double> rows(array.first, array.frame_stride, block, frames);
  for (int j = 0; j < 7; ++j) {
    const std::ptrdiff_t at = (7 * p + j) * array.point_stride;
    Store(rows, at, points[j].x);
    Store(rows, at + array.axis_stride, points[j].y);
    Store(rows, at + 2 * array.axis_stride, points[j].z);
  }
}

template <class T>
MIEN_LANES_INLINE void SolveBlock(const FaceConstants& constants, const FaceBatchInput& input,
                                  const FaceBatchOutput& output, std::size_t block) {
  const Affine<T> head = HeadOf<T>(constants, input, output, block);
  if (output.heads.first) StoreHead(output.heads, block, input.frames, head);
  if (!output.points.first && !output.weights.first) return;

  const Affine<T> to_head = InverseOfOrthogonalAxes(head);
  const BlockRows<T, const double> markers(input.markers.first, input.markers.frame_stride, block,
                                           input.frames);
  T weights[FaceBatch::kTemplates];
  for (int p = 0; p < 9; ++p) {
    Points<T> points;
    SolvePoints(constants, p, to_head, markers, input.markers.point_stride, input.markers.axis_stride,
                points);
    if (output.points.first) StorePoints(output.points, block, input.frames, p, points);
    if (output.weights.first) SolveTemplates(constants, p, points, weights + FaceBatch::kFirstTemplate[p]);
  }
  if (!output.weights.first) return;
  const BlockRows<T, double> rows(output.weights.first, output.weights.frame_stride, block, input.frames);
  for (int c = 0; c < FaceBatch::kTemplates; ++c) Store(rows, c * output.weights.column_stride, weights[c]);
}

template <class T>
MIEN_LANES_INLINE void ResidualsOfBlock(const FaceConstants& constants, std::size_t frames,
                                        const FramePoints<const double>& points,
                                        const FrameColumns<const double>& weights,
                                        const FrameColumns<double>& residuals, std::size_t block) {
  const BlockRows<T, const double> point_rows(points.first, points.frame_stride, block, frames),
      weight_rows(weights.first, weights.frame_stride, block, frames);
  const BlockRows<T, double> residual_rows(residuals.first, residuals.frame_stride, block, frames);
  T of_frame[FaceBatch::kTemplates];
  for (int c = 0; c < FaceBatch::kTemplates; ++c) of_frame[c] = Load(weight_rows, c * weights.column_stride);
  for (int p = 0; p < 9; ++p) {
    const Part& part = constants.parts[p];
    T residual(0);
    if (part.first_entry < part.end_of_entries) {
      const int first = FaceBatch::kFirstTemplate[p];
      Points<T> given_back;
      PointsOfTemplates(part, constants.deltas + first, of_frame + first, TemplatesOf(p), given_back);
      const Affine<T> volume = InAllLanes<T>(part.volume);
      T squares(0);
      for (int j = 0; j < part.point_count; ++j) {
        const Vector3<T> off =
            TransformDirection(volume, LoadPoint(point_rows, points, 7 * p + j) - given_back[j]);
        squares = squares + Dot(off, off);
      }
      residual = Sqrt(squares / T(part.point_count));
    }
    Store(residual_rows, p * residuals.column_stride, residual);
  }
}

template <class T>
MIEN_LANES_INLINE void SolveFrames(const FaceConstants& constants, const FaceBatchInput& input,
                                   const FaceBatchOutput& output) {
  for (std::size_t block = 0; block < input.frames; block += kLanes<T>)
    SolveBlock<T>(constants, input, output, block);
}

template <class T>
MIEN_LANES_INLINE void
ResidualsOfFrames(const FaceConstants& constants, std::size_t frames, const FramePoints<const double>& points,
                  const FrameColumns<const double>& weights, const FrameColumns<double>& residuals) {
  for (std::size_t block = 0; block < frames; block += kLanes<T>)
    ResidualsOfBlock<T>(constants, frames, points, weights, residuals, block);
}

} // namespace mien::detail::batch
