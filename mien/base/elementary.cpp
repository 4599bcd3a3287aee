#include "mien/base/elementary.h"

#include "mien/base/elementary_formulas.h"

#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

static_assert(std::numeric_limits<double>::is_iec559, "the bits are those of IEEE 754");
static_assert(FLT_EVAL_METHOD == 0, "doubles are computed as doubles (on 32-bit x86: -msse2 -mfpmath=sse)");

namespace mien {

using namespace detail;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Constants as two doubles. The high parts are the nearest doubles.
constexpr Double2 kPi = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
constexpr Double2 kArcTangentOfQuarter = {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57};
constexpr Double2 kArcTangentOfHalf = {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56};

/// 1/3, 1/5, 1/7 and so on, with the i-th one multiplied by ratio to the power of i.
template <std::size_t Count>
constexpr std::array<double, Count> InverseOddNumbers(double ratio) {
  std::array<double, Count> coefficients{};
  double sign = 1;
  for (std::size_t i = 0; i < Count; ++i, sign *= ratio)
    coefficients[i] = sign / static_cast<double>(2 * i + 3);
  return coefficients;
}

/// The rounding error of `product` = a * b.
inline double LostInProduct(double a, double b, double product) {
  const double a1 = FirstBits(a, 26), a2 = a - a1, b1 = FirstBits(b, 26), b2 = b - b1;
  return ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2;
}

} // namespace

double Exp(double x) {
  if (!(std::abs(x) < 746)) return std::isnan(x) ? x : x > 0 ? kInfinity : 0;
  return ExpInRange(x);
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

  static constexpr auto kSeries = InverseOddNumbers<10>(1);
  const double s = f / (2 + f), s2 = s * s;
  const double series = s * (0.5 * f * f + 2 * s2 * Polynomial<kSeries>(s2));
  return sum + ((lost + scale * kLn2.low) + (series - 0.5 * (f - upper) * (f + upper)));
}

SineAndCosine SineAndCosineOfDegrees(double degrees) {
  double size = std::abs(degrees);
  if (size < kSmallAngle) return {SmallSine(degrees), 1};
  if (!(size < 1e9)) size = std::fmod(size, 360); // also exact
  const auto [sine, cosine] = SineAndCosineInRange(degrees, size);
  return {sine, cosine};
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

    static constexpr auto kSeries = InverseOddNumbers<9>(-1);
    const double u2 = u * u;
    angle = start.high + u;
    rest = LostInSum(start.high, u, angle) +
           (start.low + (remainder / along - u * u2 * Polynomial<kSeries>(u2)));
  }

  // From the nearer axis to the positive x axis.
  const double quarters = steep ? 1 : behind ? 2 : 0;
  const double axis = quarters * (kPi.high / 2), turn = steep == behind ? angle : -angle;
  const double sum = axis + turn;
  rest = LostInSum(axis, turn, sum) + (quarters * (kPi.low / 2) + (steep == behind ? rest : -rest));
  return std::copysign(sum + rest, y);
}

} // namespace mien
