#pragma once

/// @file
/// How the functions of elementary.h compute, for one double or for several at once with the same bits
/// (lanes.h). Not installed.
///
/// All work in the same way. The argument is reduced to a value near zero, where a short series is
/// sufficient. Terms of about the size of the result are kept as a sum of two doubles, the rounded value and
/// its rounding error, so that the last addition is nearly the only rounding that counts.
///
/// The coefficients are those of the Taylor series, each computed as a quotient of whole numbers. The first
/// omitted term is below 0.05 units in the last place of the result.

#include "mien/base/elementary.h"
#include "mien/base/lanes.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace mien::detail {

/// A constant as two doubles.
struct Double2 {
  double high, low;
};

// The high part of kLn2 ends in eleven zero bits, so that its product with an exponent is exact; that of
// kRadiansPerDegree has 26 bits, so that its product with a number of 26 bits is exact.
inline constexpr Double2 kLn2 = {0x1.62e42fefa3800p-1, 0x1.ef35793c76730p-45};
inline constexpr Double2 kRadiansPerDegree = {0x1.1df46a0000000p-6, 0x1.294e9c8ae0ec6p-33};

/// 1 / first!, 1 / (first + step)! and so on, with the i-th one multiplied by ratio to the power of i.
template <std::size_t Count>
constexpr std::array<double, Count> InverseFactorials(int first, int step, double ratio) {
  std::array<double, Count> coefficients{};
  double factorial = 1, sign = 1; // exact: 19! ends in 16 zero bits
  for (int n = 1; n <= first; ++n) factorial *= n;
  for (std::size_t i = 0; i < Count; ++i) {
    coefficients[i] = sign / factorial;
    sign *= ratio;
    for (int k = 1; k <= step; ++k) factorial *= first + static_cast<int>(i) * step + k;
  }
  return coefficients;
}

/// c[0] + c[1] x + c[2] x^2 and so on. Sums neighbours first, then pairs of them: in a chain from the last
/// coefficient to the first, each step would wait for the previous one.
template <class Real, std::size_t Count>
MIEN_IN_LANES Real Polynomial(const std::array<Real, Count>& c, const Real& x) {
  if constexpr (Count == 1) {
    return c[0];
  } else {
    std::array<Real, (Count + 1) / 2> pairs;
    for (std::size_t i = 0; i < Count / 2; ++i) pairs[i] = c[2 * i] + c[2 * i + 1] * x;
    if constexpr (Count % 2 == 1) pairs.back() = c.back();
    return Polynomial(pairs, x * x);
  }
}

template <const auto& Coefficients, std::size_t Pair, class Real>
MIEN_IN_LANES Real SumOfPair(const Real& x) {
  constexpr double kFirst = Coefficients[2 * Pair];
  if constexpr (2 * Pair + 1 == Coefficients.size()) {
    return kFirst;
  } else {
    constexpr double kSecond = Coefficients[2 * Pair + 1];
    return kFirst + kSecond * x;
  }
}

template <const auto& Coefficients, class Real, std::size_t... Pairs>
MIEN_IN_LANES Real Polynomial(const Real& x, std::index_sequence<Pairs...>) {
  return Polynomial(std::array<Real, sizeof...(Pairs)>{SumOfPair<Coefficients, Pairs>(x)...}, x * x);
}

/// The same of constants. They are template arguments, because GCC makes a vector of a constant that it only
/// learns from inlining lane by lane.
template <const auto& Coefficients, class Real>
MIEN_IN_LANES Real Polynomial(const Real& x) {
  return Polynomial<Coefficients>(x, std::make_index_sequence<(Coefficients.size() + 1) / 2>());
}

/// The first `count` of the 53 bits of x. Products are exact if the counts add up to at most 53.
template <class Real>
MIEN_IN_LANES Real FirstBits(const Real& x, int count) {
  return FromBits(BitsOf(x) & ~std::uint64_t{0} << (53 - count));
}

/// The rounding error of `sum` = a + b, where |a| >= |b| or a = 0.
template <class Real>
MIEN_IN_LANES Real LostInSum(const Real& a, const Real& b, const Real& sum) {
  return b - (sum - a);
}

/// Adding it to a number below 2^51 in size leaves no bits for a fraction: the number is rounded to a whole
/// number, which is then in the low bits.
inline constexpr double kRounder = 0x1.8p52;

/// exp x for |x| < 746. x = k ln 2 + r, |r| <= ln 2 / 2, and exp x = 2^k exp r.
template <class Real>
MIEN_IN_LANES Real ExpInRange(const Real& x) {
  constexpr double kPerLn2 = 0x1.71547652b82fep+0;
  const Real rounded = x * kPerLn2 + kRounder, k = rounded - kRounder;
  const Real r_high = x - k * kLn2.high, r_low = -k * kLn2.low; // r_high is exact
  const Real r = r_high + r_low, lost = LostInSum(r_high, r_low, r);

  static constexpr auto kSeries = InverseFactorials<12>(2, 1, 1);
  const Real sum = 1 + r;
  const Real rest = LostInSum(Real(1), r, sum) + ((lost + lost * r) + r * r * Polynomial<kSeries>(r));

  // In two steps: 2^k may be out of range even if the result is not. From here on, exponents are those of
  // the format, which are 1023 more.
  constexpr std::uint64_t kBias = 1023, kZero = std::bit_cast<std::uint64_t>(kRounder);
  const auto twice = BitsOf(rounded) - kZero + 2 * kBias, half = twice >> 1;
  return (sum + rest) * FromBits(half << 52) * FromBits((twice - half) << 52);
}

template <class Real>
struct SineAndCosineIn {
  Real sine, cosine;
};

/// Of an angle in degrees whose `size` modulo 360 degrees, below 1e9, is given. The angle minus a multiple of
/// 90 degrees, which is exact, is at most 45 degrees; in radians it is x.
template <class Real>
MIEN_IN_LANES SineAndCosineIn<Real> SineAndCosineInRange(const Real& degrees, const Real& size) {
  const Real quarters = size * (1.0 / 90) + kRounder;
  const Real r = size - 90 * (quarters - kRounder);

  const Real upper = FirstBits(r, 26);
  const Real x_high = upper * kRadiansPerDegree.high;
  const Real x_low =
      upper * kRadiansPerDegree.low + (r - upper) * (kRadiansPerDegree.high + kRadiansPerDegree.low);
  const Real x = x_high + x_low, lost = LostInSum(x_high, x_low, x);

  // The square and the cube of x in two parts each. The part from the first 17 bits is exact until the cube
  // is divided.
  const Real first = FirstBits(x, 17), x2 = x * x;
  const Real square = 0.5 * first * first, rest_of_square = 0.5 * (x - first) * (x + first);
  const Real cube = first * first * first * (1.0 / 6),
             rest_of_cube = (x - first) * (x2 + first * (x + first)) * (1.0 / 6);

  static constexpr auto kSine = InverseFactorials<7>(5, 2, -1);
  const Real sine_series = x * x2 * x2 * Polynomial<kSine>(x2);
  const Real sine = x + ((lost * (1 - 0.5 * x2) + (sine_series - rest_of_cube)) - cube);

  static constexpr auto kCosine = InverseFactorials<7>(4, 2, -1);
  const Real cosine_series = x2 * x2 * Polynomial<kCosine>(x2);
  const Real sum = 1 - square;
  const Real cosine =
      sum + (LostInSum(Real(1), -square, sum) + (cosine_series - (rest_of_square + lost * x)));

  // Turned further by whole quarters. 0 - x instead of -x: it never gives a negative zero.
  const auto quadrant = BitsOf(quarters);
  const auto odd = IsOdd(quadrant), second_half = IsOdd(quadrant >> 1),
             behind = IsOdd(quadrant ^ quadrant >> 1);
  const Real across = Choose(odd, cosine, sine), along = Choose(odd, sine, cosine);
  return {WithSignOf(Real(1), degrees) * Choose(second_half, 0 - across, across),
          Choose(behind, 0 - along, along)};
}

/// Below this size the rounding errors of products would underflow; the sine is SmallSine, the cosine 1.
inline constexpr double kSmallAngle = 0x1p-900;

template <class Real>
MIEN_IN_LANES Real SmallSine(const Real& degrees) {
  return degrees * (kRadiansPerDegree.high + kRadiansPerDegree.low);
}

// Formulas call these for any number type.
using mien::Exp;
using mien::SineAndCosineOfDegrees;

#if defined(__GNUC__)

/// Exp of each lane.
template <std::size_t N>
MIEN_IN_LANES Lanes<N> Exp(const Lanes<N>& x) {
  using Real = Lanes<N>;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const Real beyond = Choose(x < 0, Real(0), Choose(0 < x, Real(kInfinity), x)); // or NaN
  return Choose(Size(x) < 746, ExpInRange(x), beyond);
}

/// SineAndCosineOfDegrees of each lane.
template <std::size_t N>
MIEN_IN_LANES SineAndCosineIn<Lanes<N>> SineAndCosineOfDegrees(const Lanes<N>& degrees) {
  using Real = Lanes<N>;
  Real size = Size(degrees);
  const auto small = size < kSmallAngle; // of the angle, not of its remainder
  if (!AllHold(size < 1e9)) {
    double sizes[N];
    Store(sizes, size);
    for (double& of_lane : sizes)
      if (!(of_lane < 1e9)) of_lane = std::fmod(of_lane, 360); // also exact
    size = Load<Real>(sizes);
  }
  const auto [sine, cosine] = SineAndCosineInRange(degrees, size);
  return {Choose(small, SmallSine(degrees), sine), Choose(small, Real(1), cosine)};
}

#endif

} // namespace mien::detail
