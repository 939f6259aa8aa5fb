#include "ipptest.h"

#include "ipp/ippfilter.h"

namespace fqipptest {
namespace {

// A padded image whose ROI has a border of `border` pixels inside the
// allocation on every side.
Image bordered(IppiSize roi, int border, bool padded, std::mt19937& rng) {
  Image im = makeImage(4, {roi.width + 2 * border, roi.height + 2 * border}, padded, rng);
  im.x0 += border;
  im.y0 += border;
  im.roi = roi;
  return im;
}

using FilterTarget = PerTarget;

// kind 0: random bytes; 1 and 2, on some sizes: near-white and
// black-and-white sources, which drive the 5x5 sums to the top of their
// range, where they no longer fit 16 bits.
TEST_P(FilterTarget, MatchesReference) {
  std::mt19937 rng(5);
  for (IppiSize roi : testSizes())
    for (IppiMaskSize mask : {ippMskSize3x3, ippMskSize5x5})
      for (bool padded : {false, true})
        for (int kind = 0; kind < (roi.height > 2 && padded ? 3 : 1); ++kind) {
          Image src = bordered(roi, mask == ippMskSize3x3 ? 1 : 2, padded, rng);
          if (kind > 0)
            for (Ipp8u& v : src.data) v = static_cast<Ipp8u>(kind == 1 ? 255 - rng() % 3 : (rng() % 2) * 255);
          const Image dst = makeImage(4, roi, padded, rng);
          expectMatchesReference(
              GetParam(), src, dst,
              [&](Image& s, Image& d) {
                return ippiFilterGauss_8u_AC4R(s.at(), s.step, d.at(), d.step, roi, mask);
              },
              describe("FilterGauss", roi, padded) + " mask " + std::to_string(mask) + " kind " +
                  std::to_string(kind),
              0, 3);
          if (HasFatalFailure()) return;
        }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(FilterTarget);

// A single bright sample spreads as the documented kernel, rounded; flat
// areas stay flat; alpha is untouched.
TEST(FilterGauss, ImpulseGivesTheKernel) {
  const int k3[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};
  const int k5[5][5] = {
      {2, 7, 12, 7, 2}, {7, 31, 52, 31, 7}, {12, 52, 127, 52, 12}, {7, 31, 52, 31, 7}, {2, 7, 12, 7, 2}};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (int n : {3, 5}) {
      // 9x9 source, impulse 255 on the green channel in the centre, blue 100
      // everywhere; the 5x5 (or 7x7) ROI of a 9x9 image keeps the border.
      const int size = 9, border = n / 2, roiSide = size - 2 * border;
      std::vector<Ipp8u> src(size * size * 4, 0), dst(roiSide * roiSide * 4, 77);
      for (int i = 0; i < size * size; ++i) src[4 * i] = 100;
      src[(4 * size + 4) * 4 + 1] = 255;
      const IppiSize roi{roiSide, roiSide};
      ASSERT_EQ(ippiFilterGauss_8u_AC4R(src.data() + (border * size + border) * 4, size * 4, dst.data(),
                                        roiSide * 4, roi, n == 3 ? ippMskSize3x3 : ippMskSize5x5),
                ippStsNoErr);
      const int divisor = n == 3 ? 16 : 571;
      for (int y = 0; y < roiSide; ++y)
        for (int x = 0; x < roiSide; ++x) {
          const Ipp8u* px = &dst[(y * roiSide + x) * 4];
          const int dy = y + border - 4, dx = x + border - 4;
          int w = 0;
          if (dy >= -border && dy <= border && dx >= -border && dx <= border)
            w = n == 3 ? k3[dy + 1][dx + 1] : k5[dy + 2][dx + 2];
          EXPECT_EQ(px[0], 100) << ippTargetName(t);
          EXPECT_EQ(px[1], (255 * w + divisor / 2) / divisor)
              << ippTargetName(t) << " " << n << " at " << x << "," << y;
          EXPECT_EQ(px[2], 0);
          EXPECT_EQ(px[3], 77) << "alpha written";
        }
    }
  }
}

TEST(FilterGauss, OtherMasksAreRejected) {
  std::vector<Ipp8u> src(64, 1), dst(64, 0);
  EXPECT_EQ(ippiFilterGauss_8u_AC4R(src.data() + 20, 16, dst.data(), 16, {1, 1}, ippMskSize1x3),
            ippStsBadArgErr);
  EXPECT_EQ(ippiFilterGauss_8u_AC4R(nullptr, 16, dst.data(), 16, {1, 1}, ippMskSize3x3), ippStsNullPtrErr);
  for (Ipp8u v : dst) EXPECT_EQ(v, 0);
}

} // namespace
} // namespace fqipptest
