#include "ipptest.h"

#include "ipp/ippthreshold.h"

#include <array>

namespace fqipptest {
namespace {

struct Layout {
  const char* name;
  int pixelBytes;
  bool ac4;
};
const Layout kLayouts[] = {{"C3", 3, false}, {"AC4", 4, true}};

enum Rule { kBoth, kUpper, kLower };

struct Levels {
  Ipp8u tLT[3], vLT[3], tGT[3], vGT[3];
};

IppStatus threshold(const Layout& l, Rule rule, const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi,
                    const Levels& v) {
  switch (rule) {
  case kBoth:
    return l.ac4 ? ippiThreshold_LTValGTVal_8u_AC4R(s, sStep, d, dStep, roi, v.tLT, v.vLT, v.tGT, v.vGT)
                 : ippiThreshold_LTValGTVal_8u_C3R(s, sStep, d, dStep, roi, v.tLT, v.vLT, v.tGT, v.vGT);
  case kUpper:
    return l.ac4 ? ippiThreshold_GTVal_8u_AC4R(s, sStep, d, dStep, roi, v.tGT, v.vGT)
                 : ippiThreshold_GTVal_8u_C3R(s, sStep, d, dStep, roi, v.tGT, v.vGT);
  default:
    return l.ac4 ? ippiThreshold_LTVal_8u_AC4R(s, sStep, d, dStep, roi, v.tLT, v.vLT)
                 : ippiThreshold_LTVal_8u_C3R(s, sStep, d, dStep, roi, v.tLT, v.vLT);
  }
}

Levels randomLevels(std::mt19937& rng) {
  Levels v{};
  for (int c = 0; c < 3; ++c) {
    v.tLT[c] = static_cast<Ipp8u>(rng());
    v.vLT[c] = static_cast<Ipp8u>(rng());
    v.tGT[c] = static_cast<Ipp8u>(rng()); // may cross the lower level
    v.vGT[c] = static_cast<Ipp8u>(rng());
  }
  return v;
}

using ThresholdTarget = PerTarget;

TEST_P(ThresholdTarget, MatchesReference) {
  std::mt19937 rng(21);
  for (IppiSize roi : testSizes())
    for (const Layout& l : kLayouts)
      for (Rule rule : {kBoth, kUpper, kLower})
        for (bool padded : {false, true}) {
          const Image src = makeImage(l.pixelBytes, roi, padded, rng);
          const Image dst = makeImage(l.pixelBytes, roi, padded, rng);
          const Levels v = randomLevels(rng);
          const std::string what = describe(l.name, roi, padded) + " rule " + std::to_string(rule);
          expectMatchesReferenceOutAndInPlace(
              GetParam(), src, dst,
              [&](Image& s, Image& d) {
                return threshold(l, rule, s.at(), s.step, d.at(), d.step, s.roi, v);
              },
              what, 0, 3);
          if (HasFatalFailure()) return;
        }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(ThresholdTarget);

// One pixel per interesting case, worked by hand, on every target:
// thresholds differ per channel, comparisons are strict, and where the
// levels cross the lower rule is tested first.
TEST(Threshold, HandWorkedPerChannelStrictAndCrossing) {
  const Ipp8u tLT[3] = {10, 20, 200}, vLT[3] = {1, 2, 3};
  const Ipp8u tGT[3] = {100, 150, 100}, vGT[3] = {111, 102, 103};
  // channel 2: lower level 200 above upper 100, so 150 is "below" and 250 "above".
  const std::array<Ipp8u, 12> src = {9, 20, 150, 10, 151, 250, 100, 19, 199, 101, 150, 200};
  const std::array<Ipp8u, 12> both = {1, 20, 3, 10, 102, 103, 100, 2, 3, 111, 150, 103};
  const std::array<Ipp8u, 12> upper = {9, 20, 103, 10, 102, 103, 100, 19, 103, 111, 150, 103};
  const std::array<Ipp8u, 12> lower = {1, 20, 3, 10, 151, 250, 100, 2, 3, 101, 150, 200};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::array<Ipp8u, 12> d{};
    ASSERT_EQ(ippiThreshold_LTValGTVal_8u_C3R(src.data(), 12, d.data(), 12, {4, 1}, tLT, vLT, tGT, vGT),
              ippStsNoErr);
    EXPECT_EQ(d, both) << ippTargetName(t);
    ASSERT_EQ(ippiThreshold_GTVal_8u_C3R(src.data(), 12, d.data(), 12, {4, 1}, tGT, vGT), ippStsNoErr);
    EXPECT_EQ(d, upper) << ippTargetName(t);
    ASSERT_EQ(ippiThreshold_LTVal_8u_C3R(src.data(), 12, d.data(), 12, {4, 1}, tLT, vLT), ippStsNoErr);
    EXPECT_EQ(d, lower) << ippTargetName(t);
  }
}

TEST(Threshold, ErrorsWriteNothing) {
  const Levels v{};
  for (const Layout& l : kLayouts)
    for (Rule rule : {kBoth, kUpper, kLower})
      expectArgumentErrors(
          l.pixelBytes, l.pixelBytes,
          [&](const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi) {
            return threshold(l, rule, s, sStep, d, dStep, roi, v);
          },
          std::string(l.name) + " rule " + std::to_string(rule));
  Ipp8u px[3] = {};
  EXPECT_EQ(ippiThreshold_LTVal_8u_C3R(px, 3, px, 3, {1, 1}, nullptr, v.vLT), ippStsNullPtrErr);
  EXPECT_EQ(ippiThreshold_GTVal_8u_AC4R(px, 4, px, 4, {1, 1}, v.tGT, nullptr), ippStsNullPtrErr);
}

} // namespace
} // namespace fqipptest
