#include "mien/base/elementary_formulas.h"

#include "tests/random.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <vector>

using mien::detail::Lanes, mien::detail::Load, mien::detail::Store, mien::detail::kLanes;

namespace {

/// e^x, and the sine and cosine of x degrees.
struct Values {
  std::vector<double> exp, sine, cosine;
};

template <class Real>
MIEN_IN_LANES void Compute(Values& values, const std::vector<double>& xs) {
  using mien::detail::Exp, mien::detail::SineAndCosineOfDegrees;
  for (std::size_t i = 0; i + kLanes<Real> <= xs.size(); i += kLanes<Real>) {
    const auto x = Load<Real>(&xs[i]);
    const auto [sine, cosine] = SineAndCosineOfDegrees(x);
    Store(&values.exp[i], Exp(x));
    Store(&values.sine[i], sine);
    Store(&values.cosine[i], cosine);
  }
}

using Computation = void(Values& values, const std::vector<double>& xs);

void ByOne(Values& values, const std::vector<double>& xs) { Compute<double>(values, xs); }
#if defined(__GNUC__)
void ByTwo(Values& values, const std::vector<double>& xs) { Compute<Lanes<2>>(values, xs); }
#if defined(__x86_64__)
[[gnu::target("avx2")]] void ByFour(Values& values, const std::vector<double>& xs) {
  Compute<Lanes<4>>(values, xs);
}
[[gnu::target("avx512f")]] void ByEight(Values& values, const std::vector<double>& xs) {
  Compute<Lanes<8>>(values, xs);
}
#endif
#endif

std::span<Computation* const> Computations() {
  static constexpr Computation* kComputations[] = {
    ByOne,
#if defined(__GNUC__)
    ByTwo,
#if defined(__x86_64__)
    ByFour,
    ByEight,
#endif
#endif
  };
  return mien::detail::Runnable(kComputations);
}

bool SameBits(double a, double b) {
  return std::isnan(a) ? std::isnan(b) : std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// Every variant gives what the functions of one double give.
void ExpectTheBitsOfOneDouble(const std::vector<double>& xs) {
  ASSERT_EQ(xs.size() % 8, 0U);
  for (std::size_t variant = 0; variant < Computations().size(); ++variant) {
    Values values;
    for (auto* const of_values : {&values.exp, &values.sine, &values.cosine})
      of_values->assign(xs.size(), 0.5);
    Computations()[variant](values, xs);
    for (std::size_t i = 0; i < xs.size(); ++i) {
      const auto [sine, cosine] = mien::SineAndCosineOfDegrees(xs[i]);
      ASSERT_TRUE(SameBits(values.exp[i], mien::Exp(xs[i]))) << "exp " << xs[i] << ", variant " << variant;
      ASSERT_TRUE(SameBits(values.sine[i], sine)) << "sine of " << xs[i] << ", variant " << variant;
      ASSERT_TRUE(SameBits(values.cosine[i], cosine)) << "cosine of " << xs[i] << ", variant " << variant;
    }
  }
}

} // namespace

TEST(ElementaryFormulas, HaveAVariantForEveryWidthOfThisProcessor) {
#if defined(__x86_64__)
  EXPECT_EQ(Computations().size(),
            2U + (__builtin_cpu_supports("avx2") ? 1 : 0) + (__builtin_cpu_supports("avx512f") ? 1 : 0));
#else
  EXPECT_GE(Computations().size(), 1U);
#endif
}

TEST(ElementaryFormulas, LanesHaveTheBitsOfOneDouble) {
  tests::Random random(1);
  std::vector<double> xs;
  for (const double range : {1e-300, 1e-3, 1.0, 50.0, 360.0, 760.0, 1e5, 1e10, 1e20})
    for (int i = 0; i < 4000; ++i) xs.push_back(random.Between(-range, range));
  ExpectTheBitsOfOneDouble(xs);
}

// Beside each other, so that special lanes do not change ordinary ones.
TEST(ElementaryFormulas, LanesHaveTheBitsOfOneDoubleForHardNumbers) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double hard[] = {0.0,
                         -0.0,
                         std::nan(""),
                         kInfinity,
                         -kInfinity,
                         5e-324,
                         -5e-324,
                         1e-310,
                         0x1p-900,
                         0x1.fffffffffffffp-901,
                         -0x1p-900,
                         1e9,
                         999999999.5,
                         -1e9,
                         1e300,
                         -1e300,
                         709.7,
                         709.79,
                         710,
                         -708.3,
                         -708.5,
                         -744.5,
                         -745.13,
                         -745.14,
                         -745.2,
                         745.99,
                         746,
                         -746,
                         -745.99,
                         90,
                         -90,
                         180,
                         270,
                         360,
                         45,
                         -45,
                         44.99999999999999,
                         135,
                         1e308,
                         -1e308,
                         1,
                         -1,
                         0.5};
  tests::Random random(2);
  std::vector<double> xs;
  for (int i = 0; i < 40000; ++i)
    xs.push_back(
        random.Between(0, 3) < 1
            ? random.Between(-400, 400)
            : hard[static_cast<std::size_t>(random.Between(0, static_cast<double>(std::size(hard))))]);
  ExpectTheBitsOfOneDouble(xs);
}

TEST(ElementaryFormulas, LanesHaveTheBitsOfOneDoubleForAnyBits) {
  tests::Random random(3);
  std::vector<double> xs;
  for (int i = 0; i < 40000; ++i) {
    const auto high = static_cast<std::uint64_t>(random.Between(0, 0x1p32)),
               low = static_cast<std::uint64_t>(random.Between(0, 0x1p32));
    xs.push_back(std::bit_cast<double>(high << 32 | low));
  }
  ExpectTheBitsOfOneDouble(xs);
}
