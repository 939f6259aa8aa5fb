// labels: threaded
#include "ipptest.h"

#include "ipp/ippjaehne.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <numbers>
#include <vector>

namespace fqipptest {
namespace {

using ipp_builtin::ippsPolarToCart_64f;

struct Polar {
  std::vector<double> magn, phase, re, im;
};

Polar run(IppTarget t, Polar p) {
  TargetScope scope(t);
  EXPECT_EQ(ippsPolarToCart_64f(p.magn.data(), p.phase.data(), p.re.data(), p.im.data(),
                                static_cast<int>(p.magn.size())),
            ippStsNoErr);
  return p;
}

// Phases over several ranges, with the hard cases over-represented: doubles
// next to multiples of pi/2 (where the reduced angle nearly cancels), the
// edges of the fast path, and values that take the C library's path.
Polar randomPolar(int len, std::mt19937& rng) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  static constexpr double kSpecial[] = {0.0,     -0.0,     kInf,      -kInf,    std::nan(""), 4.9e-324,
                                        -1e-310, 131072.0, -131072.0, 131073.0, 1e300,        -2.5e-300};
  static constexpr double kScale[] = {1e-3, std::numbers::pi, std::numbers::pi, 1e3, 131072.0, 1e12};
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  Polar p{std::vector<double>(len), std::vector<double>(len), std::vector<double>(len),
          std::vector<double>(len)};
  for (int i = 0; i < len; ++i) {
    const unsigned pick = rng() % 8;
    if (pick < 6) {
      p.phase[i] = unit(rng) * kScale[pick];
    } else if (pick == 6) {
      const double near = static_cast<double>((rng() % 83444) * std::numbers::pi_v<long double> / 2);
      p.phase[i] = (rng() % 2 ? 1 : -1) * (rng() % 3 ? std::nextafter(near, rng() % 2 ? kInf : -kInf) : near);
    } else {
      p.phase[i] = kSpecial[rng() % std::size(kSpecial)];
    }
    p.magn[i] = rng() % 6 == 0 ? 0.0 : unit(rng) * std::ldexp(1.0, static_cast<int>(rng() % 40) - 20);
  }
  return p;
}

// Distance in units in the last place; NaN only matches NaN.
std::uint64_t ulps(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b) ? 0 : UINT64_MAX;
  auto key = [](double d) {
    const auto u = std::bit_cast<std::int64_t>(d);
    return static_cast<std::uint64_t>(u < 0 ? std::numeric_limits<std::int64_t>::min() - u : u);
  };
  return key(a) > key(b) ? key(a) - key(b) : key(b) - key(a);
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), [](double x, double y) {
    return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
  });
}

using PolarTarget = PerTarget;

// Within 2 ulp of the C library, on separate buffers and over the inputs.
TEST_P(PolarTarget, CloseToReference) {
  std::mt19937 rng(17);
  for (int len : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 33, 4095, 4097, 20011}) {
    const Polar in = randomPolar(len, rng);
    const Polar ref = run(IppTarget::Reference, in);
    const Polar fast = run(GetParam(), in);
    for (int i = 0; i < len; ++i) {
      ASSERT_LE(ulps(fast.re[i], ref.re[i]), 2u) << "re, magn " << in.magn[i] << " phase " << in.phase[i];
      ASSERT_LE(ulps(fast.im[i], ref.im[i]), 2u) << "im, magn " << in.magn[i] << " phase " << in.phase[i];
    }
    Polar alias = in;
    {
      TargetScope scope(GetParam());
      ASSERT_EQ(ippsPolarToCart_64f(alias.magn.data(), alias.phase.data(), alias.magn.data(),
                                    alias.phase.data(), len),
                ippStsNoErr);
    }
    EXPECT_TRUE(sameBits(alias.magn, fast.re) && sameBits(alias.phase, fast.im)) << "in place, " << len;
  }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(PolarTarget);

// The vector kernels share one algorithm, so every CPU gives the same bits;
// so does any split across threads.
TEST(Polar, SameBitsOnEveryTargetAndThreadCount) {
  std::mt19937 rng(3);
  const Polar in = randomPolar(100003, rng);
  const Polar portable = run(IppTarget::Portable, in);
  const int saved = ippGetNumThreads();
  ippSetNumThreads(3);
  const Polar threaded = run(IppTarget::Portable, in);
  ippSetNumThreads(saved);
  EXPECT_TRUE(sameBits(portable.re, threaded.re) && sameBits(portable.im, threaded.im));
  if (!targetAvailable(IppTarget::AVX2)) return;
  const Polar avx2 = run(IppTarget::AVX2, in);
  EXPECT_TRUE(sameBits(portable.re, avx2.re) && sameBits(portable.im, avx2.im));
}

TEST(Polar, ZeroPhaseKeepsItsSign) {
  for (IppTarget t : availableTargets()) {
    const Polar out = run(t, {{2.0, 2.0, -3.0}, {0.0, -0.0, 0.0}, {0, 0, 0}, {0, 0, 0}});
    EXPECT_TRUE(sameBits(out.re, {2.0, 2.0, -3.0}) && sameBits(out.im, {0.0, -0.0, -0.0}))
        << ippTargetName(t);
  }
}

TEST(Polar, ErrorsWriteNothing) {
  double magn[2] = {1, 2}, phase[2] = {0, 1}, re[2] = {5, 5}, im[2] = {5, 5};
  EXPECT_EQ(ippsPolarToCart_64f(nullptr, phase, re, im, 2), ippStsNullPtrErr);
  EXPECT_EQ(ippsPolarToCart_64f(magn, nullptr, re, im, 2), ippStsNullPtrErr);
  EXPECT_EQ(ippsPolarToCart_64f(magn, phase, nullptr, im, 2), ippStsNullPtrErr);
  EXPECT_EQ(ippsPolarToCart_64f(magn, phase, re, nullptr, 0), ippStsNullPtrErr); // pointers first
  EXPECT_EQ(ippsPolarToCart_64f(magn, phase, re, im, 0), ippStsSizeErr);
  EXPECT_EQ(ippsPolarToCart_64f(magn, phase, re, im, -1), ippStsSizeErr);
  EXPECT_TRUE(re[0] == 5 && re[1] == 5 && im[0] == 5 && im[1] == 5);
}

} // namespace
} // namespace fqipptest
