#include "mien/base/elementary.h"

#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

// All four work in the same way. The argument is reduced to a value near zero, where a short series is
// sufficient. Terms of about the size of the result are kept as a sum of two doubles, the rounded value and
// its rounding error, so that the last addition is nearly the only rounding that counts.
//
// The coefficients are those of the Taylor series, each computed as a quotient of whole numbers. The first
// omitted term is below 0.05 units in the last place of the result.

static_assert(std::numeric_limits<double>::is_iec559, "the bits are those of IEEE 754");
static_assert(FLT_EVAL_METHOD == 0, "doubles are computed as doubles (on 32-bit x86: -msse2 -mfpmath=sse)");

namespace mien {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Constants as two doubles. The high part of kLn2 ends in eleven zero bits, so that its product with an
// exponent is exact; that of kRadiansPerDegree has 26 bits, so that its product with a number of 26 bits is
// exact. The other high parts are the nearest doubles.
struct Double2 {
  double high, low;
};
constexpr Double2 kLn2 = {0x1.62e42fefa3800p-1, 0x1.ef35793c76730p-45};
constexpr Double2 kPi = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
constexpr Double2 kArcTangentOfQuarter = {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57};
constexpr Double2 kArcTangentOfHalf = {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56};
constexpr Double2 kRadiansPerDegree = {0x1.1df46a0000000p-6, 0x1.294e9c8ae0ec6p-33};

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

/// 1/3, 1/5, 1/7 and so on, with the i-th one multiplied by ratio to the power of i.
template <std::size_t Count>
constexpr std::array<double, Count> InverseOddNumbers(double ratio) {
  std::array<double, Count> coefficients{};
  double sign = 1;
  for (std::size_t i = 0; i < Count; ++i, sign *= ratio)
    coefficients[i] = sign / static_cast<double>(2 * i + 3);
  return coefficients;
}

/// c[0] + c[1] x + c[2] x^2 and so on. Sums neighbours first, then pairs of them: in a chain from the last
/// coefficient to the first, each step would wait for the previous one.
template <std::size_t Count>
inline double Polynomial(const std::array<double, Count>& c, double x) {
  if constexpr (Count == 1) {
    return c[0];
  } else {
    std::array<double, (Count + 1) / 2> pairs;
    for (std::size_t i = 0; i < Count / 2; ++i) pairs[i] = c[2 * i] + c[2 * i + 1] * x;
    if constexpr (Count % 2 == 1) pairs.back() = c.back();
    return Polynomial(pairs, x * x);
  }
}

/// The first `count` of the 53 bits of x. Products are exact if the counts add up to at most 53.
inline double FirstBits(double x, int count) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) & ~std::uint64_t{0} << (53 - count));
}

/// The rounding error of `sum` = a + b, where |a| >= |b| or a = 0.
inline double LostInSum(double a, double b, double sum) { return b - (sum - a); }

/// The rounding error of `product` = a * b.
inline double LostInProduct(double a, double b, double product) {
  const double a1 = FirstBits(a, 26), a2 = a - a1, b1 = FirstBits(b, 26), b2 = b - b1;
  return ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2;
}

/// 2 to the power of n, -1022 <= n <= 1023.
inline double PowerOfTwo(std::int64_t n) {
  return std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52);
}

/// Adding it to a number below 2^51 in size leaves no bits for a fraction: the number is rounded to a whole
/// number, which is then in the low bits.
constexpr double kRounder = 0x1.8p52;

} // namespace

// x = k ln 2 + r, |r| <= ln 2 / 2, and exp x = 2^k exp r.
double Exp(double x) {
  if (!(std::abs(x) < 746)) return std::isnan(x) ? x : x > 0 ? kInfinity : 0;
  constexpr double kPerLn2 = 0x1.71547652b82fep+0;
  const double k = (x * kPerLn2 + kRounder) - kRounder;
  const double r_high = x - k * kLn2.high, r_low = -k * kLn2.low; // r_high is exact
  const double r = r_high + r_low, lost = LostInSum(r_high, r_low, r);

  constexpr auto kSeries = InverseFactorials<12>(2, 1, 1);
  const double sum = 1 + r;
  const double rest = LostInSum(1, r, sum) + ((lost + lost * r) + r * r * Polynomial(kSeries, r));

  // In two steps: 2^k may be out of range even if the result is not.
  const auto exponent = static_cast<std::int64_t>(k), half = exponent / 2;
  return (sum + rest) * PowerOfTwo(half) * PowerOfTwo(exponent - half);
}

// x = 2^k (1 + f), with 1 + f between the roots of 1/2 and 2. With s = f / (2 + f), log(1 + f) is
//
//   log((1 + s) / (1 - s)) = 2 s + 2 (s^3/3 + s^5/5 + ...) = f - f^2/2 + s (f^2/2 + 2 (s^2/3 + s^4/5 + ...)),
//
// where f is exact and the quotient s occurs only in the small terms.
double Log(double x) {
  std::int64_t k = 0;
  if (!(x >= DBL_MIN && x < kInfinity)) {
    if (x == 0) return -kInfinity;
    if (x < 0) return kNaN;
    if (!(x < DBL_MIN)) return x; // infinity, NaN
    x *= 0x1p54, k = -54;
  }
  const auto bits = std::bit_cast<std::uint64_t>(x);
  constexpr std::uint64_t kRootOfHalf = 0x3fe6a09e667f3bcd;
  const std::uint64_t exponent = (bits - kRootOfHalf) & 0xfff0000000000000; // not shifted; two's complement
  k += static_cast<std::int64_t>(exponent) >> 52;
  const double f = std::bit_cast<double>(bits - exponent) - 1;

  const double upper = FirstBits(f, 26), square = 0.5 * upper * upper; // exact; the rest of f^2/2 comes later
  const double scale = static_cast<double>(k), whole = scale * kLn2.high, fraction = f - square;
  const double sum = whole + fraction;
  const double lost = LostInSum(f, -square, fraction) + LostInSum(whole, fraction, sum);

  constexpr auto kSeries = InverseOddNumbers<10>(1);
  const double s = f / (2 + f), s2 = s * s;
  const double series = s * (0.5 * f * f + 2 * s2 * Polynomial(kSeries, s2));
  return sum + ((lost + scale * kLn2.low) + (series - 0.5 * (f - upper) * (f + upper)));
}

// The angle minus a multiple of 90 degrees, which is exact, is at most 45 degrees; in radians it is x.
SineAndCosine SineAndCosineOfDegrees(double degrees) {
  double size = std::abs(degrees);
  if (size < 0x1p-900) { // rounding errors of products would underflow
    return {degrees * (kRadiansPerDegree.high + kRadiansPerDegree.low), 1};
  }
  if (!(size < 1e9)) size = std::fmod(size, 360); // also exact
  const double quarters = size * (1.0 / 90) + kRounder;
  const double r = size - 90 * (quarters - kRounder);

  const double upper = FirstBits(r, 26);
  const double x_high = upper * kRadiansPerDegree.high;
  const double x_low =
      upper * kRadiansPerDegree.low + (r - upper) * (kRadiansPerDegree.high + kRadiansPerDegree.low);
  const double x = x_high + x_low, lost = LostInSum(x_high, x_low, x);

  // The square and the cube of x in two parts each. The part from the first 17 bits is exact until the cube
  // is divided.
  const double first = FirstBits(x, 17), x2 = x * x;
  const double square = 0.5 * first * first, rest_of_square = 0.5 * (x - first) * (x + first);
  const double cube = first * first * first * (1.0 / 6),
               rest_of_cube = (x - first) * (x2 + first * (x + first)) * (1.0 / 6);

  constexpr auto kSine = InverseFactorials<7>(5, 2, -1);
  const double sine_series = x * x2 * x2 * Polynomial(kSine, x2);
  const double sine = x + ((lost * (1 - 0.5 * x2) + (sine_series - rest_of_cube)) - cube);

  constexpr auto kCosine = InverseFactorials<7>(4, 2, -1);
  const double cosine_series = x2 * x2 * Polynomial(kCosine, x2);
  const double sum = 1 - square;
  const double cosine = sum + (LostInSum(1, -square, sum) + (cosine_series - (rest_of_square + lost * x)));

  // Turned further by whole quarters. 0 - x instead of -x: it never gives a negative zero.
  const auto quadrant = std::bit_cast<std::uint64_t>(quarters) & 3;
  const bool odd = quadrant % 2 == 1;
  const double across = odd ? cosine : sine, along = odd ? sine : cosine;
  const double sign = std::copysign(1.0, degrees);
  return {sign * (quadrant >= 2 ? 0 - across : across), quadrant == 1 || quadrant == 2 ? 0 - along : along};
}

// The angle from the nearer axis is arctan t with t = small / large in [0, 1]. It is within 0.17 of arctan c
// for one of c = 0, 1/4, 1/2 or 1, and
//
//   arctan t = arctan c + arctan u,  u = (t - c) / (1 + c t) = (small - c large) / (large + c small).
double ArcTangent2(double y, double x) {
  if (std::isnan(x) || std::isnan(y)) return x + y;
  const bool steep = std::abs(y) > std::abs(x), behind = std::signbit(x);
  double small = std::abs(steep ? x : y), large = std::abs(steep ? y : x);
  if (large == 0) {
    large = 1;
  } else if (large == kInfinity) {
    small = small == kInfinity ? 1 : 0, large = 1;
  }

  double angle, rest = 0;
  if (small < large * 0x1p-30) {
    angle = small / large; // arctan t = t (1 - t^2/3 + ...)
  } else {
    if (!(large > 0x1p-500 && large < 0x1p500)) { // so that all products are in range
      const double scale = large < 1 ? 0x1p600 : 0x1p-600;
      small *= scale, large *= scale;
    }
    double c = 0;
    Double2 start = {0, 0};
    if (small > large * 0.125) c = 0.25, start = kArcTangentOfQuarter;
    if (small > large * 0.375) c = 0.5, start = kArcTangentOfHalf;
    if (small > large * 0.71875) c = 1, start = {kPi.high / 4, kPi.low / 4};
    const double across = small - c * large, more = c * small; // both exact
    const double along = large + more;
    const double u = across / along;
    // across - u along, corrected for the rounding errors of u and `along`
    const double product = u * along;
    const double remainder =
        (across - product) - LostInProduct(u, along, product) - u * LostInSum(large, more, along);

    constexpr auto kSeries = InverseOddNumbers<9>(-1);
    const double u2 = u * u;
    angle = start.high + u;
    rest = LostInSum(start.high, u, angle) +
           (start.low + (remainder / along - u * u2 * Polynomial(kSeries, u2)));
  }

  // From the nearer axis to the positive x axis.
  const double quarters = steep ? 1 : behind ? 2 : 0;
  const double axis = quarters * (kPi.high / 2), turn = steep == behind ? angle : -angle;
  const double sum = axis + turn;
  rest = LostInSum(axis, turn, sum) + (quarters * (kPi.low / 2) + (steep == behind ? rest : -rest));
  return std::copysign(sum + rest, y);
}

} // namespace mien
