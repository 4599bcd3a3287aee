#pragma once

/// @file
/// Several numbers that are calculated with at once, in the lanes of a processor's vectors: a template over
/// `Lanes` is one formula for every width. `double` is one lane. In each lane the bits are those of the same
/// steps with one number, except for the choice among several NaNs.
///
/// A comparison gives a mask, true or false in each lane: for `double` a bool.
///
/// The library has lanes of its own, which are not installed: the host uses what is.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// What is inlined is compiled for the processor of the function around it.
#if defined(__GNUC__)
#define MIEN_IN_LANES [[gnu::always_inline]] inline
#else
#define MIEN_IN_LANES inline
#endif

namespace mien {

#if defined(__GNUC__)
using TwoLanes [[gnu::vector_size(16)]] = double;
#if defined(__x86_64__)
using FourLanes [[gnu::vector_size(32)]] = double;
using EightLanes [[gnu::vector_size(64)]] = double;
#endif
#endif

template <class Lanes>
inline constexpr std::size_t kLanes = sizeof(Lanes) / sizeof(double);

template <class Lanes>
using MaskOf = decltype(Lanes() < Lanes());

template <class Lanes>
MIEN_IN_LANES Lanes Load(const double* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

template <class Lanes>
MIEN_IN_LANES void Store(double* to, const Lanes& lanes) {
  std::memcpy(to, &lanes, sizeof lanes);
}

/// The same number in every lane.
template <class Lanes>
MIEN_IN_LANES Lanes Broadcast(double number) {
  if constexpr (kLanes<Lanes> == 1)
    return number;
  else
    return Lanes{} + number; // no number but -0.0 changes
}

/// `a` where the mask is true, else `b`.
template <class Lanes>
MIEN_IN_LANES Lanes Select(const MaskOf<Lanes>& mask, const Lanes& a, const Lanes& b) {
  return mask ? a : b;
}

template <class Lanes>
MIEN_IN_LANES Lanes SquareRoot(const Lanes& of) {
  if constexpr (kLanes<Lanes> == 1) {
    return std::sqrt(of);
  } else {
    Lanes root;
    for (std::size_t i = 0; i < kLanes<Lanes>; ++i) root[i] = std::sqrt(of[i]);
    return root;
  }
}

template <class Lanes>
MIEN_IN_LANES Lanes Magnitude(const Lanes& of) {
  if constexpr (kLanes<Lanes> == 1) {
    return std::fabs(of);
  } else {
    MaskOf<Lanes> bits;
    std::memcpy(&bits, &of, sizeof bits);
    bits &= INT64_MAX; // without the sign
    Lanes magnitude;
    std::memcpy(&magnitude, &bits, sizeof bits);
    return magnitude;
  }
}

/// Whether a mask is true in any lane.
template <class Mask>
MIEN_IN_LANES bool Any(const Mask& mask) {
  if constexpr (std::is_same_v<Mask, bool>) {
    return mask;
  } else {
    std::int64_t any = 0;
    for (std::size_t i = 0; i < sizeof(Mask) / sizeof any; ++i) any |= mask[i];
    return any != 0;
  }
}

} // namespace mien
