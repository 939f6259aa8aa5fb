#include "ipptest.h"

#include "ipp/ippmulcscale.h"

#include <array>
#include <cmath>

namespace fqipptest {
namespace {

using ValueFn = IppStatus (*)(const Ipp8u*, Ipp8u*, int, IppiSize);

IppStatus mulC1(const Ipp8u* v, Ipp8u* d, int step, IppiSize roi) {
  return ippiMulCScale_8u_C1IR(*v, d, step, roi);
}

struct Form {
  const char* name;
  int pixelBytes;
  ValueFn fn;
};
const Form kForms[] = {
    {"MulCScale C1", 1, mulC1},
    {"MulCScale C3", 3, ippiMulCScale_8u_C3IR},
    {"MulCScale C4", 4, ippiMulCScale_8u_C4IR},
};

using MulCScaleTarget = PerTarget;

TEST_P(MulCScaleTarget, MatchesReference) {
  std::mt19937 rng(31);
  for (IppiSize roi : testSizes())
    for (bool padded : {false, true})
      for (const Form& f : kForms) {
        const Image im = makeImage(f.pixelBytes, roi, padded, rng);
        // The ends of the range besides random factors: 0 clears, 255 keeps.
        const std::array<Ipp8u, 4> value = {static_cast<Ipp8u>(rng()), 0, 255, static_cast<Ipp8u>(rng())};
        expectMatchesReference(
            GetParam(), im, im, [&](Image&, Image& d) { return f.fn(value.data(), d.at(), d.step, roi); },
            describe(f.name, roi, padded), 0, f.pixelBytes);
        if (HasFatalFailure()) return;
      }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(MulCScaleTarget);

// Every sample against every factor, on every target, against the
// rounded quotient computed in floating point; each channel takes its own
// factor.
TEST(MulCScale, RoundsToNearestPerChannel) {
  const Ipp8u v3[3] = {255, 0, 128}, v4[4] = {0, 128, 255, 64};
  std::array<Ipp8u, 256> row{};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (int v = 0; v < 256; ++v) {
      for (int s = 0; s < 256; ++s) row[s] = static_cast<Ipp8u>(s);
      ASSERT_EQ(ippiMulCScale_8u_C1IR(static_cast<Ipp8u>(v), row.data(), 256, {256, 1}), ippStsNoErr);
      for (int s = 0; s < 256; ++s)
        ASSERT_EQ(row[s], std::lround(s * v / 255.0)) << ippTargetName(t) << " " << s << " * " << v;
    }
    std::array<Ipp8u, 6> c3 = {200, 200, 200, 3, 3, 3};
    ASSERT_EQ(ippiMulCScale_8u_C3IR(v3, c3.data(), 6, {2, 1}), ippStsNoErr);
    EXPECT_EQ(c3, (std::array<Ipp8u, 6>{200, 0, 100, 3, 0, 2})) << ippTargetName(t);
    std::array<Ipp8u, 8> c4 = {255, 255, 255, 255, 10, 10, 10, 10};
    ASSERT_EQ(ippiMulCScale_8u_C4IR(v4, c4.data(), 8, {2, 1}), ippStsNoErr);
    EXPECT_EQ(c4, (std::array<Ipp8u, 8>{0, 128, 255, 64, 0, 5, 10, 3})) << ippTargetName(t);
  }
}

TEST(MulCScale, ErrorsWriteNothing) {
  const Ipp8u value[4] = {1, 2, 3, 4};
  std::array<Ipp8u, 4> pixel = {9, 9, 9, 9};
  for (const Form& f : kForms) {
    expectArgumentErrors(
        0, f.pixelBytes,
        [&](const Ipp8u*, int, Ipp8u* d, int step, IppiSize roi) { return f.fn(value, d, step, roi); },
        f.name);
    // The one-channel form takes its factor, not a pointer.
    if (f.pixelBytes > 1) {
      EXPECT_EQ(f.fn(nullptr, pixel.data(), 4, {1, 1}), ippStsNullPtrErr) << f.name;
    }
  }
  EXPECT_EQ(pixel, (std::array<Ipp8u, 4>{9, 9, 9, 9}));
}

} // namespace
} // namespace fqipptest
