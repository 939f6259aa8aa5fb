#include "ipptest.h"

#include "ipp/ippgamma.h"

#include <algorithm>
#include <array>

namespace fqipptest {
namespace {

using GammaFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);

struct Form {
  const char* name;
  int pixelBytes;
  GammaFn fn;
};
const Form kForms[] = {{"Fwd C3", 3, ippiGammaFwd_8u_C3R},
                       {"Fwd AC4", 4, ippiGammaFwd_8u_AC4R},
                       {"Inv C3", 3, ippiGammaInv_8u_C3R},
                       {"Inv AC4", 4, ippiGammaInv_8u_AC4R}};

using GammaTarget = PerTarget;

TEST_P(GammaTarget, MatchesReference) {
  std::mt19937 rng(17);
  std::vector<IppiSize> sizes = testSizes();
  sizes.push_back({2100, 2}); // AC4 is worked in spans of 1024 pixels
  for (IppiSize roi : sizes)
    for (const Form& f : kForms)
      for (bool padded : {false, true}) {
        const Image src = makeImage(f.pixelBytes, roi, padded, rng);
        const Image dst = makeImage(f.pixelBytes, roi, padded, rng);
        expectMatchesReferenceOutAndInPlace(
            GetParam(), src, dst,
            [&](Image& s, Image& d) { return f.fn(s.at(), s.step, d.at(), d.step, s.roi); },
            describe(f.name, roi, padded), 0, 3);
        if (HasFatalFailure()) return;
      }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(GammaTarget);

// Every byte value through one 256-pixel row: the ends are fixed, the
// values checked by hand against the BT.709 curve, and forward then
// inverse comes back within 1.
TEST(Gamma, CurveValuesAndRoundTrip) {
  std::array<Ipp8u, 768> ramp{}, fwd{}, back{};
  for (int v = 0; v < 256; ++v) ramp[3 * v] = ramp[3 * v + 1] = ramp[3 * v + 2] = static_cast<Ipp8u>(v);
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    ASSERT_EQ(ippiGammaFwd_8u_C3R(ramp.data(), 768, fwd.data(), 768, {256, 1}), ippStsNoErr);
    ASSERT_EQ(ippiGammaInv_8u_C3R(fwd.data(), 768, back.data(), 768, {256, 1}), ippStsNoErr);
    const char* name = ippTargetName(t);
    EXPECT_EQ(fwd[0], 0) << name;
    EXPECT_EQ(fwd[3 * 255], 255) << name;
    EXPECT_EQ(fwd[3 * 2], 9) << name;     // 4.5 * 2 = 9, linear part
    EXPECT_EQ(fwd[3 * 128], 180) << name; // 1.099 * (128/255)^0.45 - 0.099 = 0.7069 -> 180.3
    EXPECT_EQ(fwd[3 * 64], 125) << name;  // 0.4910 -> 125.2
    for (int v = 0; v < 256; ++v) {
      EXPECT_NEAR(back[3 * v], v, 1) << name << " byte " << v;
      ASSERT_EQ(fwd[3 * v], fwd[3 * v + 2]) << "channels differ at " << v;
      ASSERT_GE(fwd[3 * v], fwd[3 * std::max(v - 1, 0)]) << "not monotonic at " << v;
    }
    std::array<Ipp8u, 768> inv{};
    ASSERT_EQ(ippiGammaInv_8u_C3R(ramp.data(), 768, inv.data(), 768, {256, 1}), ippStsNoErr);
    EXPECT_EQ(inv[0], 0) << name;
    EXPECT_EQ(inv[3 * 255], 255) << name;
    EXPECT_EQ(inv[3 * 9], 2) << name;     // 9/255/4.5*255 = 2
    EXPECT_EQ(inv[3 * 180], 128) << name; // ((0.7059 + 0.099) / 1.099)^(1/0.45) * 255 = 127.6
  }
}

TEST(Gamma, ErrorsWriteNothing) {
  for (const Form& f : kForms) expectArgumentErrors(f.pixelBytes, f.pixelBytes, f.fn, f.name);
}

} // namespace
} // namespace fqipptest
