#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/fqendpoints.h"
#include "generators/fqjaehnedispatcher.h"
#include "generators/fqjaehnegen.h"
#include "generators/fqsdispatcher.h"
#include "ipp/ippjaehne.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

std::vector<Ipp8u> Plate(int w, int h, int step) {
  std::vector<Ipp8u> img(static_cast<std::size_t>(step) * h, 0xAB);
  EXPECT_EQ(ippiImageJaehne_8u_C3R(img.data(), step, {w, h}), ippStsNoErr);
  return img;
}

TEST(Jaehne, UnresolvedNamesFallBackOnTheBuiltIns) {
  // Nothing in the test process exports the primitives by their C names.
  EXPECT_EQ(GetIPPIProcAddress("ippiImageJaehne_8u_C3R"), nullptr);
  EXPECT_EQ(GetIPPSProcAddress("ippsPolarToCart_64f"), nullptr);
  // Each loader answers only for its own family.
  EXPECT_EQ(GetIPPIProcAddress("malloc"), nullptr);
  EXPECT_EQ(GetIPPSProcAddress("ippiImageJaehne_8u_C3R"), nullptr);
  Fqjaehnedispatcher::Initialize();
  Fqjaehnedispatcher::Initialize();
  Fqsdispatcher::Initialize();
  EXPECT_EQ(ippiImageJaehne_8u_C3R, &ipp_builtin::ippiImageJaehne_8u_C3R);
  EXPECT_EQ(ippsPolarToCart_64f, &ipp_builtin::ippsPolarToCart_64f);
}

// The centre pixel is mid grey (a single pixel too).
TEST(Jaehne, OddSizesAreCentredAndSymmetric) {
  for (auto [w, h] : {std::pair{1, 1}, std::pair{7, 5}, std::pair{33, 17}, std::pair{101, 61}}) {
    const int step = 3 * w + 5;
    const auto img = Plate(w, h, step);
    auto at = [&](int x, int y, int c) { return img[static_cast<std::size_t>(y) * step + 3 * x + c]; };
    EXPECT_EQ(at(w / 2, h / 2, 0), 127) << w << "x" << h;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        ASSERT_EQ(at(x, y, 0), at(w - 1 - x, y, 0)) << x << "," << y;
        ASSERT_EQ(at(x, y, 0), at(x, h - 1 - y, 0)) << x << "," << y;
        ASSERT_EQ(at(x, y, 0), at(x, y, 1));
        ASSERT_EQ(at(x, y, 0), at(x, y, 2));
      }
    for (int y = 0; y < h; ++y) // the padding stays
      for (int b = 3 * w; b < step; ++b) ASSERT_EQ(img[static_cast<std::size_t>(y) * step + b], 0xAB);
  }
}

TEST(Jaehne, RingsFollowTheHeightAlone) {
  // 8 x 2: cx = 3.5, cy = 0.5, q = 8. Pixel (0, 0): a = 2 pi (12.25 + 0.25) / 8.
  const auto img = Plate(8, 2, 24);
  const double a = 2.0 * 3.14159265358979323846 * 12.5 / 8.0;
  EXPECT_EQ(img[0], static_cast<Ipp8u>((std::sin(a) + 1.0) * 127.99999));
  // Where sin a = 1 (r^2 = H) the sample is 255, not 256 wrapped to 0.
  const auto peak = Plate(9, 9, 27); // centre (4, 4); (1, 4) has r^2 = 9
  EXPECT_EQ(peak[4 * 27 + 3 * 1], 255);
}

TEST(Jaehne, ErrorsWriteNothing) {
  std::vector<Ipp8u> img(30, 9);
  EXPECT_EQ(ippiImageJaehne_8u_C3R(nullptr, 30, {1, 1}), ippStsNullPtrErr);
  EXPECT_EQ(ippiImageJaehne_8u_C3R(img.data(), 0, {1, 1}), ippStsStepErr);
  EXPECT_EQ(ippiImageJaehne_8u_C3R(img.data(), 30, {0, 1}), ippStsSizeErr);
  EXPECT_EQ(ippiImageJaehne_8u_C3R(img.data(), 30, {1, -1}), ippStsSizeErr);
  EXPECT_EQ(ippiImageJaehne_8u_C3R(nullptr, 0, {0, 0}), ippStsNullPtrErr); // checked in that order
  EXPECT_EQ(ippiImageJaehne_8u_C3R(img.data(), -3, {0, 0}), ippStsStepErr);
  EXPECT_EQ(img, std::vector<Ipp8u>(30, 9));
}

TEST(Jaehne, PolarToCart) {
  const double magn[3] = {1.0, 2.0, 0.5}, phase[3] = {0.0, 3.14159265358979323846 / 2, -1.0};
  double re[3], im[3];
  ASSERT_EQ(ippsPolarToCart_64f(magn, phase, re, im, 3), ippStsNoErr);
  for (int i = 0; i < 3; ++i) {
    EXPECT_DOUBLE_EQ(re[i], magn[i] * std::cos(phase[i]));
    EXPECT_DOUBLE_EQ(im[i], magn[i] * std::sin(phase[i]));
  }
  EXPECT_EQ(ippsPolarToCart_64f(magn, nullptr, re, im, 3), ippStsNullPtrErr);
  EXPECT_EQ(ippsPolarToCart_64f(magn, phase, re, im, 0), ippStsSizeErr);
}

TEST(Jaehne, GeneratorSendsTheSamePlateEveryTick) {
  test::GenChain<TFQJaehneGen> chain(21, 15);
  const auto frames = chain.Frames(3);
  ASSERT_EQ(frames[0].GetFormat(), vf24Bit);
  const auto expected = Plate(21, 15, 63);
  EXPECT_EQ(test::CountPixels(frames[0],
                              [&](const auto& px, int x, int y) {
                                return std::equal(px.begin(), px.end(), &expected[y * 63 + 3 * x]);
                              }),
            21 * 15);
  EXPECT_TRUE(test::SameFrame(frames[0], frames[1]));
  EXPECT_TRUE(test::SameFrame(frames[0], frames[2]));
}

} // namespace
} // namespace framquist
