#include "ipptest.h"

#include "ipp/ippcolortwist.h"

#include <array>
#include <limits>

namespace fqipptest {
namespace {

using Matrix = std::array<std::array<Ipp32f, 4>, 3>;

IppStatus twist(bool ac4, const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi, const Matrix& m) {
  const auto* t = reinterpret_cast<const Ipp32f(*)[4]>(m.data());
  return ac4 ? ippiColorTwist32f_8u_AC4R(s, sStep, d, dStep, roi, t)
             : ippiColorTwist32f_8u_C3R(s, sStep, d, dStep, roi, t);
}
IppStatus twist(bool ac4, const Image& src, Image& dst, const Matrix& m) {
  return twist(ac4, src.at(), src.step, dst.at(), dst.step, src.roi, m);
}

// Ordinary colour matrices, wild ones that saturate both ways, and ones
// whose results land on exact halves (ties).
Matrix randomMatrix(std::mt19937& rng, int kind) {
  std::uniform_real_distribution<float> small(-1.5f, 1.5f), wild(-400.0f, 400.0f);
  Matrix m{};
  for (auto& row : m)
    for (int j = 0; j < 4; ++j) {
      if (kind == 0)
        row[j] = j == 3 ? small(rng) * 64 : small(rng);
      else if (kind == 1)
        row[j] = wild(rng);
      else
        row[j] = static_cast<float>(static_cast<int>(rng() % 9) - 4) * 0.25f;
    }
  return m;
}

using TwistTarget = PerTarget;

TEST_P(TwistTarget, MatchesReference) {
  std::mt19937 rng(31);
  for (IppiSize roi : testSizes())
    for (bool ac4 : {false, true})
      for (bool padded : {false, true}) {
        const Image src = makeImage(ac4 ? 4 : 3, roi, padded, rng);
        const Image dst = makeImage(ac4 ? 4 : 3, roi, padded, rng);
        const int kind = static_cast<int>(rng() % 3);
        const Matrix m = randomMatrix(rng, kind);
        // In place, a row must be read before it is overwritten.
        expectMatchesReferenceOutAndInPlace(
            GetParam(), src, dst, [&](Image& s, Image& d) { return twist(ac4, s, d, m); },
            describe(ac4 ? "AC4" : "C3", roi, padded) + " kind " + std::to_string(kind), 0, 3);
        if (HasFatalFailure()) return;
      }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(TwistTarget);

// Identity, a channel swap, saturation, rounding of halves to even and
// NaN, worked by hand on a row long enough for the vector paths.
TEST(ColorTwist, HandWorked) {
  constexpr int kWidth = 37;
  std::mt19937 rng(2);
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (bool ac4 : {false, true}) {
      const std::string what = std::string(ippTargetName(t)) + (ac4 ? " AC4" : " C3");
      const Image src = makeImage(ac4 ? 4 : 3, {kWidth, 2}, true, rng);
      Image dst = makeImage(ac4 ? 4 : 3, src.roi, true, rng);
      auto each = [&](auto expected) {
        for (int y = 0; y < 2; ++y)
          for (int x = 0; x < kWidth; ++x)
            for (int c = 0; c < 3; ++c)
              ASSERT_EQ(dst.sample(x, y, c),
                        expected(src.sample(x, y, 0), src.sample(x, y, 1), src.sample(x, y, 2), c))
                  << what << " pixel " << x << "," << y << " byte " << c;
      };
      ASSERT_EQ(twist(ac4, src, dst, {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}}), ippStsNoErr);
      each([](int s0, int s1, int s2, int c) { return c == 0 ? s0 : c == 1 ? s1 : s2; });
      ASSERT_EQ(twist(ac4, src, dst, {{{0, 0, 1, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}}}), ippStsNoErr);
      each([](int s0, int s1, int s2, int c) { return c == 0 ? s2 : c == 1 ? s1 : s0; });
      ASSERT_EQ(twist(ac4, src, dst, {{{0, 0, 0, 300}, {-1, 0, 0, -0.4f}, {0, 0, 0, 0}}}), ippStsNoErr);
      each([](int, int, int, int c) { return c == 0 ? 255 : 0; }); // -s0 - 0.4 is below 0
      // 0.5 * s0 with s0 odd is an exact half: ties go to the even neighbour.
      const float nan = std::numeric_limits<float>::quiet_NaN();
      ASSERT_EQ(twist(ac4, src, dst, {{{0.5f, 0, 0, 0}, {0, 0, 0, 2.5f}, {nan, 0, 0, 0}}}), ippStsNoErr);
      each([](int s0, int, int, int c) {
        if (c == 1) return 2;
        if (c == 2) return 0;
        const int half = s0 / 2;
        return s0 % 2 == 0 ? half : (half % 2 == 0 ? half : half + 1);
      });
      // Results far beyond the int range still saturate; infinity times a
      // zero sample is NaN.
      const float inf = std::numeric_limits<float>::infinity();
      ASSERT_EQ(twist(ac4, src, dst, {{{1e30f, 0, 0, 0}, {-1e30f, 0, 0, 300}, {inf, 0, 0, 0}}}), ippStsNoErr);
      each([](int s0, int, int, int c) {
        if (c == 1) return s0 == 0 ? 255 : 0;
        return s0 == 0 ? 0 : 255;
      });
    }
  }
}

TEST(ColorTwist, ErrorsWriteNothing) {
  const Matrix m = {{{0.3f, 0.6f, 0.1f, 5}, {1, 1, 1, -20}, {-0.5f, 0.2f, 2, 1}}};
  for (bool ac4 : {false, true})
    expectArgumentErrors(
        ac4 ? 4 : 3, ac4 ? 4 : 3,
        [&](const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi) {
          return twist(ac4, s, sStep, d, dStep, roi, m);
        },
        ac4 ? "AC4" : "C3");
  std::array<Ipp8u, 3> px = {9, 9, 9};
  EXPECT_EQ(ippiColorTwist32f_8u_C3R(px.data(), 3, px.data(), 3, {1, 1}, nullptr), ippStsNullPtrErr);
  EXPECT_EQ(px, (std::array<Ipp8u, 3>{9, 9, 9}));
}

} // namespace
} // namespace fqipptest
