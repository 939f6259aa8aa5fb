#include "ipptest.h"

#include "ipp/ippalpha.h"

#include <cmath>

namespace fqipptest {
namespace {

using AlphaTarget = PerTarget;

TEST_P(AlphaTarget, MatchesReference) {
  std::mt19937 rng(9);
  for (IppiSize roi : testSizes())
    for (int type = 0; type < 12; ++type)
      for (bool padded : {false, true}) {
        const Image a = makeImage(4, roi, padded, rng);
        const Image b = makeImage(4, roi, padded, rng);
        const Image dst = makeImage(4, roi, padded, rng);
        const auto t = static_cast<IppiAlphaType>(type);
        const std::string what = describe("AlphaComp", roi, padded) + " type " + std::to_string(type);
        expectMatchesReference(
            GetParam(), a, dst,
            [&](Image& s, Image& d) {
              return ippiAlphaComp_8u_AC4R(s.at(), s.step, b.at(), b.step, d.at(), d.step, roi, t);
            },
            what, 0, 4);
        expectMatchesReference(
            GetParam(), a, b,
            [&](Image& s, Image& d) {
              return ippiAlphaComp_8u_AC4IR(s.at(), s.step, d.at(), d.step, roi, t);
            },
            what + " in place", 0, 4);
        if (HasFatalFailure()) return;
      }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(AlphaTarget);

// Every type against the documented formula in real numbers: the integer
// result is within one step of it (rounding of the premultiplied terms).
TEST(AlphaComp, FollowsTheDocumentedFormulas) {
  std::mt19937 rng(13);
  for (IppTarget target : availableTargets()) {
    TargetScope scope(target);
    for (int type = 0; type < 12; ++type)
      for (int i = 0; i < 2000; ++i) {
        Ipp8u a[4], b[4], d[4];
        for (int c = 0; c < 4; ++c) a[c] = static_cast<Ipp8u>(rng()), b[c] = static_cast<Ipp8u>(rng());
        if (i < 4) a[3] = i & 1 ? 255 : 0, b[3] = i & 2 ? 255 : 0; // the corners
        ASSERT_EQ(ippiAlphaComp_8u_AC4R(a, 4, b, 4, d, 4, {1, 1}, static_cast<IppiAlphaType>(type)),
                  ippStsNoErr);
        const double aA = a[3] / 255.0, aB = b[3] / 255.0;
        const bool premul = type >= 6;
        for (int c = 0; c < 4; ++c) {
          const double A = c == 3 ? 1.0 : a[c] / 255.0, B = c == 3 ? 1.0 : b[c] / 255.0;
          const double pA = premul && c < 3 ? A : aA * A, pB = premul && c < 3 ? B : aB * B;
          // Over, In, Out, ATop, Xor, Plus: pA and pB weighted.
          const double wA[6] = {1, aB, 1 - aB, aB, 1 - aB, 1}, wB[6] = {1 - aA, 0, 0, 1 - aA, 1 - aA, 1};
          const double v = pA * wA[type % 6] + pB * wB[type % 6];
          const double expected = std::min(255.0, v * 255.0);
          ASSERT_LE(std::abs(d[c] - expected), 2.0)
              << ippTargetName(target) << " type " << type << " channel " << c << " got " << int(d[c]);
        }
      }
  }
}

// With an opaque background, ATop keeps it opaque and is exact at the ends.
TEST(AlphaComp, ATopOverOpaqueFrame) {
  const Ipp8u fire[8] = {10, 20, 30, 255, 10, 20, 30, 0};
  Ipp8u frame[8] = {200, 100, 50, 255, 200, 100, 50, 255};
  ASSERT_EQ(ippiAlphaComp_8u_AC4IR(fire, 8, frame, 8, {2, 1}, ippAlphaATop), ippStsNoErr);
  const Ipp8u expected[8] = {10, 20, 30, 255, 200, 100, 50, 255};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(frame[i], expected[i]) << i;
  EXPECT_EQ(ippiAlphaComp_8u_AC4IR(fire, 8, frame, 8, {2, 1}, static_cast<IppiAlphaType>(12)),
            ippStsBadArgErr);
}

} // namespace
} // namespace fqipptest
