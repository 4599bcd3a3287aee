#pragma once

/// @file
/// Several doubles at once, one per lane, with the operators and functions of one double. A formula that is a
/// template of its number type gives each lane of Lanes<N> the bits that it gives a double: the operations
/// are those of IEEE 754, and a choice between two values takes the place of a branch. Not installed.
///
/// Every function that takes or returns Lanes is MIEN_IN_LANES: it becomes part of its caller, and so, in the
/// end, of a function compiled for a processor with vectors of that width ([[gnu::target("avx2")]]).

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

/// @def MIEN_IN_LANES
/// Stands before a function that is to become part of its caller.
#if defined(__GNUC__)
#define MIEN_IN_LANES [[gnu::always_inline]] inline
#else
#define MIEN_IN_LANES inline
#endif

namespace mien::detail {

/// Of the variants of a function for 1, 2, 4 (AVX2) and 8 lanes (AVX-512), those that this processor can run;
/// without GNU extensions there is only the first, on other processors than x86 the first two.
template <class Function, std::size_t Count>
std::span<Function* const> Runnable(Function* const (&variants)[Count]) {
  std::size_t runnable = Count;
#if defined(__GNUC__) && defined(__x86_64__)
  static_assert(Count == 4);
  __builtin_cpu_init(); // static constructors may call this before the runtime does
  if (!__builtin_cpu_supports("avx512f")) --runnable;
  if (!__builtin_cpu_supports("avx2")) --runnable;
#endif
  return {variants, runnable};
}

/// How many numbers a number type has.
template <class Real>
inline constexpr std::size_t kLanes = 1;

// --- One double.

/// Consecutive numbers at any address, one per lane.
template <class Real>
MIEN_IN_LANES Real Load(const double* from) {
  if constexpr (kLanes<Real> == 1)
    return *from;
  else
    return Real::From(from);
}

MIEN_IN_LANES void Store(double* to, double x) { *to = x; }

MIEN_IN_LANES std::uint64_t BitsOf(double x) { return std::bit_cast<std::uint64_t>(x); }
MIEN_IN_LANES double FromBits(std::uint64_t bits) { return std::bit_cast<double>(bits); }
MIEN_IN_LANES double Choose(bool condition, double yes, double no) { return condition ? yes : no; }

/// Whether the lowest bit is 1.
MIEN_IN_LANES bool IsOdd(std::uint64_t bits) { return bits % 2 == 1; }

// --- Several.

#if defined(__GNUC__)

template <std::size_t N>
struct VectorsOf;
template <>
struct VectorsOf<2> {
  using Numbers [[gnu::vector_size(16)]] = double;
  using InMemory [[gnu::vector_size(16), gnu::aligned(8), gnu::may_alias]] = double;
  using Bits [[gnu::vector_size(16)]] = std::uint64_t;
  using Conditions [[gnu::vector_size(16)]] = std::int64_t;
};
template <>
struct VectorsOf<4> {
  using Numbers [[gnu::vector_size(32)]] = double;
  using InMemory [[gnu::vector_size(32), gnu::aligned(8), gnu::may_alias]] = double;
  using Bits [[gnu::vector_size(32)]] = std::uint64_t;
  using Conditions [[gnu::vector_size(32)]] = std::int64_t;
};
template <>
struct VectorsOf<8> {
  using Numbers [[gnu::vector_size(64)]] = double;
  using InMemory [[gnu::vector_size(64), gnu::aligned(8), gnu::may_alias]] = double;
  using Bits [[gnu::vector_size(64)]] = std::uint64_t;
  using Conditions [[gnu::vector_size(64)]] = std::int64_t;
};

/// N whole numbers modulo 2^64.
template <std::size_t N>
struct LaneBits {
  typename VectorsOf<N>::Bits bits;

  MIEN_IN_LANES friend LaneBits operator+(const LaneBits& a, std::uint64_t b) { return {a.bits + b}; }
  MIEN_IN_LANES friend LaneBits operator-(const LaneBits& a, std::uint64_t b) { return {a.bits - b}; }
  MIEN_IN_LANES friend LaneBits operator-(const LaneBits& a, const LaneBits& b) { return {a.bits - b.bits}; }
  MIEN_IN_LANES friend LaneBits operator&(const LaneBits& a, std::uint64_t b) { return {a.bits & b}; }
  MIEN_IN_LANES friend LaneBits operator|(const LaneBits& a, const LaneBits& b) { return {a.bits | b.bits}; }
  MIEN_IN_LANES friend LaneBits operator^(const LaneBits& a, const LaneBits& b) { return {a.bits ^ b.bits}; }
  MIEN_IN_LANES friend LaneBits operator<<(const LaneBits& a, int count) { return {a.bits << count}; }
  MIEN_IN_LANES friend LaneBits operator>>(const LaneBits& a, int count) { return {a.bits >> count}; }
};

/// A condition per lane.
template <std::size_t N>
struct LaneConditions {
  typename VectorsOf<N>::Conditions conditions; ///< -1 if it holds, otherwise 0
};

/// N doubles.
template <std::size_t N>
struct Lanes {
  // Copying with memcpy instead, compilers split what is wider than 16 bytes.
  using InMemory = typename VectorsOf<N>::InMemory;

  typename VectorsOf<N>::Numbers numbers;

  Lanes() = default;
  /// The same number in all lanes.
  MIEN_IN_LANES Lanes(double x) : numbers(x - typename VectorsOf<N>::Numbers{}) {} // -0.0 stays -0.0
  MIEN_IN_LANES explicit Lanes(const typename VectorsOf<N>::Numbers& of_lanes) : numbers(of_lanes) {}
  /// N numbers at any address. (A reference to them would be one to an aligned vector.)
  MIEN_IN_LANES static Lanes From(const double* address) {
    Lanes lanes;
    lanes.numbers = *reinterpret_cast<const InMemory*>(address);
    return lanes;
  }

  MIEN_IN_LANES friend Lanes operator-(const Lanes& a) { return Lanes(-a.numbers); }
  MIEN_IN_LANES friend Lanes operator+(const Lanes& a, const Lanes& b) {
    return Lanes(a.numbers + b.numbers);
  }
  MIEN_IN_LANES friend Lanes operator-(const Lanes& a, const Lanes& b) {
    return Lanes(a.numbers - b.numbers);
  }
  MIEN_IN_LANES friend Lanes operator*(const Lanes& a, const Lanes& b) {
    return Lanes(a.numbers * b.numbers);
  }
  MIEN_IN_LANES friend LaneConditions<N> operator<(const Lanes& a, const Lanes& b) {
    return {a.numbers < b.numbers};
  }
};

template <std::size_t N>
inline constexpr std::size_t kLanes<Lanes<N>> = N;

template <std::size_t N>
MIEN_IN_LANES void Store(double* to, const Lanes<N>& x) {
  *reinterpret_cast<typename Lanes<N>::InMemory*>(to) = x.numbers;
}

template <std::size_t N>
MIEN_IN_LANES LaneBits<N> BitsOf(const Lanes<N>& x) {
  return {__builtin_bit_cast(typename VectorsOf<N>::Bits, x.numbers)};
}

template <std::size_t N>
MIEN_IN_LANES Lanes<N> FromBits(const LaneBits<N>& x) {
  return Lanes<N>(__builtin_bit_cast(typename VectorsOf<N>::Numbers, x.bits));
}

template <std::size_t N>
MIEN_IN_LANES Lanes<N> Choose(const LaneConditions<N>& condition, const Lanes<N>& yes, const Lanes<N>& no) {
  return Lanes<N>(condition.conditions ? yes.numbers : no.numbers);
}

template <std::size_t N>
MIEN_IN_LANES bool AllHold(const LaneConditions<N>& conditions) {
  std::int64_t all = -1;
  for (std::size_t lane = 0; lane < N; ++lane) all &= conditions.conditions[lane];
  return all != 0;
}

template <std::size_t N>
MIEN_IN_LANES LaneConditions<N> IsOdd(const LaneBits<N>& x) {
  return {(x.bits & 1) != 0};
}

#endif

// --- Any number type.

/// |x|
template <class Real>
MIEN_IN_LANES Real Size(const Real& x) {
  return FromBits(BitsOf(x) & 0x7fffffffffffffff);
}

/// `size` with the sign of `sign`.
template <class Real>
MIEN_IN_LANES Real WithSignOf(const Real& size, const Real& sign) {
  return FromBits((BitsOf(size) & 0x7fffffffffffffff) | (BitsOf(sign) & 0x8000000000000000));
}

} // namespace mien::detail
