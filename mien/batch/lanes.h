#pragma once

/// @file
/// One number of several frames at once, and the arithmetic of vectors and affine transforms with it. Not
/// installed.
///
/// The formulas of the batch solves are templates over their number: `Lanes<4>` computes four frames, `double`
/// one. Every operation rounds as it does for a `double`, so each frame has the same bits in any lane of any
/// width. Conditions become masks, and both sides of a condition are computed.

#include "mien/base/geometry.h"

#include <cmath>
#include <cstddef>
#include <cstring>

/// @def MIEN_LANES_INLINE
/// Makes a function a part of its callers. A function for which the compiler may use wide vectors can call no
/// other one with them.

/// @def MIEN_LANES_INLINE_LAMBDA
/// The same for a lambda, behind its parameters.

#if defined(__GNUC__)
#define MIEN_LANES_INLINE [[gnu::always_inline]] inline
#define MIEN_LANES_INLINE_LAMBDA __attribute__((always_inline)) // where GCC and Clang expect it
#else
#define MIEN_LANES_INLINE inline
#define MIEN_LANES_INLINE_LAMBDA
#endif

namespace mien::detail::batch {

// --- One frame.

MIEN_LANES_INLINE double Select(bool mask, double a, double b) { return mask ? a : b; }
MIEN_LANES_INLINE bool And(bool a, bool b) { return a && b; }
MIEN_LANES_INLINE double Sqrt(double x) { return std::sqrt(x); }
MIEN_LANES_INLINE double Abs(double x) { return std::fabs(x); }
MIEN_LANES_INLINE double Lane(double x, std::size_t) { return x; }

/// The number of frames in a `Number`.
template <class Number>
inline constexpr std::size_t kLanes = 1;

#if defined(__GNUC__)

// --- Several frames.

template <std::size_t Count>
struct VectorTypes {
  using Numbers [[gnu::vector_size(Count * sizeof(double))]] = double;
  using Bits [[gnu::vector_size(Count * sizeof(double))]] = long long;
};

template <std::size_t Count>
struct Lanes {
  using Vector = typename VectorTypes<Count>::Numbers;
  using Bits = typename VectorTypes<Count>::Bits;

  /// All bits of a lane, or none.
  struct Mask {
    Bits bits;
    MIEN_LANES_INLINE friend Mask And(const Mask& a, const Mask& b) { return {a.bits & b.bits}; }
  };

  Vector v;

  MIEN_LANES_INLINE Lanes() = default;
  /// The same number in all lanes.
  MIEN_LANES_INLINE Lanes(double x) : v(x - Vector{}) {}
  MIEN_LANES_INLINE explicit Lanes(const Vector& lanes) : v(lanes) {}

  MIEN_LANES_INLINE friend Lanes operator+(const Lanes& a, const Lanes& b) { return Lanes(a.v + b.v); }
  MIEN_LANES_INLINE friend Lanes operator-(const Lanes& a, const Lanes& b) { return Lanes(a.v - b.v); }
  MIEN_LANES_INLINE friend Lanes operator*(const Lanes& a, const Lanes& b) { return Lanes(a.v * b.v); }
  MIEN_LANES_INLINE friend Lanes operator/(const Lanes& a, const Lanes& b) { return Lanes(a.v / b.v); }
  MIEN_LANES_INLINE friend Lanes operator-(const Lanes& a) { return Lanes(-a.v); }
  MIEN_LANES_INLINE friend Mask operator<(const Lanes& a, const Lanes& b) { return {a.v < b.v}; }
  MIEN_LANES_INLINE friend Mask operator>(const Lanes& a, const Lanes& b) { return {a.v > b.v}; }
  MIEN_LANES_INLINE friend Mask operator>=(const Lanes& a, const Lanes& b) { return {a.v >= b.v}; }

  MIEN_LANES_INLINE friend Lanes Select(const Mask& mask, const Lanes& a, const Lanes& b) {
    return Lanes(mask.bits ? a.v : b.v);
  }
  MIEN_LANES_INLINE friend double Lane(const Lanes& a, std::size_t i) { return a.v[i]; }
  MIEN_LANES_INLINE friend Lanes Sqrt(const Lanes& a) {
    Lanes root;
    for (std::size_t i = 0; i < Count; ++i) root.v[i] = std::sqrt(a.v[i]); // becomes one instruction
    return root;
  }
  MIEN_LANES_INLINE friend Lanes Abs(const Lanes& a) {
    return Lanes(reinterpret_cast<Vector>(reinterpret_cast<Bits>(a.v) & 0x7fffffffffffffff));
  }
};

template <std::size_t Count>
inline constexpr std::size_t kLanes<Lanes<Count>> = Count;

#endif

/// The larger one; `a` unless `b` is larger, like std::max.
template <class T>
MIEN_LANES_INLINE T Max(const T& a, const T& b) {
  return Select(a < b, b, a);
}

/// The smaller one; `a` unless `b` is smaller, like std::min.
template <class T>
MIEN_LANES_INLINE T Min(const T& a, const T& b) {
  return Select(b < a, b, a);
}

// --- Numbers in memory.

/// Where the frames of one block are in an array of the caller: lane i is frame `frame[i]`. The lanes beyond
/// the last frame repeat it: they compute the same and write the same to the same place.
template <class T, class Number>
struct BlockRows {
  Number* frame[kLanes<T>];
  std::ptrdiff_t to_next_block; ///< From a lane's frame to its next one; 0 without a full next block.
  bool consecutive;             ///< One lane is beside the other in memory.

  MIEN_LANES_INLINE BlockRows(Number* first, std::ptrdiff_t frame_stride, std::size_t block,
                              std::size_t count)
      : to_next_block(block + 2 * kLanes<T> <= count ? frame_stride * static_cast<std::ptrdiff_t>(kLanes<T>)
                                                     : 0),
        consecutive(frame_stride == 1 && block + kLanes<T> <= count) {
    for (std::size_t i = 0; i < kLanes<T>; ++i)
      frame[i] =
          first + static_cast<std::ptrdiff_t>(block + i < count ? block + i : count - 1) * frame_stride;
  }
};

/// Fetches what is at `at` of the next block's frames. The processor finds such long steps too late by itself.
template <class T, class Number>
MIEN_LANES_INLINE void Prefetch([[maybe_unused]] const BlockRows<T, Number>& rows,
                                [[maybe_unused]] std::ptrdiff_t at) {
#if defined(__GNUC__)
  if (rows.consecutive) return;
  for (std::size_t i = 0; i < kLanes<T>; ++i) __builtin_prefetch(rows.frame[i] + at + rows.to_next_block);
#endif
}

#if defined(__GNUC__)

/// The numbers at `at` of the lanes from `Lane` on.
template <std::size_t Lane, std::size_t Count, class Row>
MIEN_LANES_INLINE Lanes<Count> Collect(const Row& frame, std::ptrdiff_t at) {
  if constexpr (Count == 2) {
    return Lanes<2>(typename Lanes<2>::Vector{frame[Lane][at], frame[Lane + 1][at]});
  } else { // from halves: GCC inserts the numbers one by one
    const auto low = Collect<Lane, Count / 2>(frame, at),
               high = Collect<Lane + Count / 2, Count / 2>(frame, at);
    if constexpr (Count == 4) return Lanes<4>(__builtin_shufflevector(low.v, high.v, 0, 1, 2, 3));
    if constexpr (Count == 8) return Lanes<8>(__builtin_shufflevector(low.v, high.v, 0, 1, 2, 3, 4, 5, 6, 7));
  }
}

/// The numbers at `at` of each lane's frame.
template <std::size_t Count, class Number>
MIEN_LANES_INLINE Lanes<Count> Load(const BlockRows<Lanes<Count>, Number>& rows, std::ptrdiff_t at) {
  if (!rows.consecutive) return Collect<0, Count>(rows.frame, at);
  Lanes<Count> lanes;
  std::memcpy(&lanes.v, rows.frame[0] + at, sizeof lanes.v);
  return lanes;
}

template <std::size_t Count>
MIEN_LANES_INLINE void Store(const BlockRows<Lanes<Count>, double>& rows, std::ptrdiff_t at,
                             const Lanes<Count>& value) {
  if (rows.consecutive) {
    std::memcpy(rows.frame[0] + at, &value.v, sizeof value.v);
    return;
  }
  for (std::size_t i = 0; i < Count; ++i) rows.frame[i][at] = value.v[i];
}

#endif

template <class Number>
MIEN_LANES_INLINE double Load(const BlockRows<double, Number>& rows, std::ptrdiff_t at) {
  return rows.frame[0][at];
}
MIEN_LANES_INLINE void Store(const BlockRows<double, double>& rows, std::ptrdiff_t at, double value) {
  rows.frame[0][at] = value;
}

// --- Vectors and affine transforms, in the order of mien/base/affine.h.

template <class T>
struct Vector3 {
  T x, y, z;
};

/// The same vector in all lanes.
template <class T>
MIEN_LANES_INLINE Vector3<T> InAllLanes(const VgeTVector& v) {
  return {v.x, v.y, v.z};
}

template <class T>
MIEN_LANES_INLINE Vector3<T> operator+(const Vector3<T>& a, const Vector3<T>& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
template <class T>
MIEN_LANES_INLINE Vector3<T> operator-(const Vector3<T>& a, const Vector3<T>& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
template <class T>
MIEN_LANES_INLINE Vector3<T> operator*(const Vector3<T>& v, const T& factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}
template <class T>
MIEN_LANES_INLINE Vector3<T> operator/(const Vector3<T>& v, const T& divisor) {
  return {v.x / divisor, v.y / divisor, v.z / divisor};
}
template <class T>
MIEN_LANES_INLINE T Dot(const Vector3<T>& a, const Vector3<T>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
template <class T>
MIEN_LANES_INLINE T Length(const Vector3<T>& v) {
  return Sqrt(Dot(v, v));
}
template <class T>
MIEN_LANES_INLINE Vector3<T> Cross(const Vector3<T>& a, const Vector3<T>& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
template <class Mask, class T>
MIEN_LANES_INLINE Vector3<T> Select(const Mask& mask, const Vector3<T>& a, const Vector3<T>& b) {
  return {Select(mask, a.x, b.x), Select(mask, a.y, b.y), Select(mask, a.z, b.z)};
}

/// v / length, where `length` is that of v, by one division and three products. Not defined where it is 0.
template <class T>
MIEN_LANES_INLINE Vector3<T> Unit(const Vector3<T>& v, const T& length) {
  return v * (T(1) / length);
}

/// The images of the three axes, and the translation.
template <class T>
struct Affine {
  Vector3<T> x, y, z, translation;
};

/// The same transform in all lanes.
template <class T>
MIEN_LANES_INLINE Affine<T> InAllLanes(const VgeAMatrix& a) {
  const auto column = [&a](int c) MIEN_LANES_INLINE_LAMBDA {
    return Vector3<T>{a.m[c][0], a.m[c][1], a.m[c][2]};
  };
  return {column(0), column(1), column(2), column(3)};
}

template <class T>
MIEN_LANES_INLINE Vector3<T> TransformDirection(const Affine<T>& a, const Vector3<T>& v) {
  return {a.x.x * v.x + a.y.x * v.y + a.z.x * v.z, a.x.y * v.x + a.y.y * v.y + a.z.y * v.z,
          a.x.z * v.x + a.y.z * v.y + a.z.z * v.z};
}
template <class T>
MIEN_LANES_INLINE Vector3<T> TransformPoint(const Affine<T>& a, const Vector3<T>& p) {
  return TransformDirection(a, p) + a.translation;
}
template <class T>
MIEN_LANES_INLINE Affine<T> Product(const Affine<T>& a, const Affine<T>& b) {
  return {TransformDirection(a, b.x), TransformDirection(a, b.y), TransformDirection(a, b.z),
          TransformPoint(a, b.translation)};
}
template <class T>
MIEN_LANES_INLINE Affine<T> InverseOfOrthogonalAxes(const Affine<T>& a) {
  const Vector3<T> x = a.x / Dot(a.x, a.x), y = a.y / Dot(a.y, a.y), z = a.z / Dot(a.z, a.z);
  Affine<T> inverse = {{x.x, y.x, z.x}, {x.y, y.y, z.y}, {x.z, y.z, z.z}, {}};
  const Vector3<T> moved = TransformDirection(inverse, a.translation);
  inverse.translation = {-moved.x, -moved.y, -moved.z};
  return inverse;
}

} // namespace mien::detail::batch
