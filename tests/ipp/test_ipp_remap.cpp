#include "ipptest.h"

#include "ipp/ippremap.h"

#include <cmath>
#include <limits>

namespace fqipptest {
namespace {

using RemapFn = IppStatus (*)(const Ipp8u*, IppiSize, int, IppiRect, const Ipp32f*, int, const Ipp32f*, int,
                              Ipp8u*, int, IppiSize, int);

struct Layout {
  const char* name;
  int pixelBytes, channels; // channels written: AC4 leaves the fourth alone
  RemapFn remap;
};

const Layout kLayouts[] = {
    {"C1", 1, 1, ippiRemap_8u_C1R},
    {"C3", 3, 3, ippiRemap_8u_C3R},
    {"C4", 4, 4, ippiRemap_8u_C4R},
    {"AC4", 4, 3, ippiRemap_8u_AC4R},
};
const int kModes[] = {IPPI_INTER_NN, IPPI_INTER_LINEAR, IPPI_INTER_CUBIC};

// Coordinate tables for a destination ROI, with padded rows.
struct Maps {
  int step = 0;
  std::vector<Ipp32f> x, y;
  Ipp32f& at(std::vector<Ipp32f>& m, int i, int j) { return m[static_cast<std::size_t>(j) * (step / 4) + i]; }
};

// Mostly gentle displacements (as a lens or ripple makes), with coordinates
// on the edges, beyond them, on whole pixels, and NaN mixed in.
Maps makeMaps(IppiSize dst, IppiSize src, std::mt19937& rng) {
  Maps m;
  m.step = 4 * (dst.width + static_cast<int>(rng() % 3));
  m.x.assign(static_cast<std::size_t>(m.step / 4) * dst.height, -7.0f);
  m.y = m.x;
  std::uniform_real_distribution<float> jitter(-3.0f, 3.0f),
      anywhere(-2.0f, 2.0f + std::max(src.width, src.height));
  for (int j = 0; j < dst.height; ++j)
    for (int i = 0; i < dst.width; ++i) {
      float& x = m.at(m.x, i, j);
      float& y = m.at(m.y, i, j);
      const unsigned kind = rng() % 8;
      if (kind == 0) {
        x = anywhere(rng), y = anywhere(rng);
      } else if (kind == 1) {
        x = static_cast<float>(rng() % (src.width + 2)) - 1,
        y = static_cast<float>(rng() % (src.height + 2)) - 1;
      } else if (kind == 2) {
        x = static_cast<float>(src.width - 1), y = static_cast<float>(rng() % 2 ? 0 : src.height - 1);
      } else if (kind == 3) {
        x = std::numeric_limits<float>::quiet_NaN(), y = 1.0f;
      } else {
        x = i + jitter(rng), y = j + jitter(rng);
      }
    }
  return m;
}

void expectRemapMatches(IppTarget target, const Layout& l, const Image& src, const Image& dst,
                        IppiRect srcRoi, const Maps& maps, int mode, const std::string& what) {
  expectMatchesReference(
      target, src, dst,
      [&](Image& s, Image& d) {
        return l.remap(s.at(), s.roi, s.step, srcRoi, maps.x.data(), maps.step, maps.y.data(), maps.step,
                       d.at(), d.step, d.roi, mode);
      },
      what + " mode " + std::to_string(mode), 0, l.channels);
}

using RemapTarget = PerTarget;

TEST_P(RemapTarget, MatchesReference) {
  std::mt19937 rng(11);
  std::vector<IppiSize> sizes;
  for (IppiSize s : testSizes())
    if (s.width % 5 == 0 || s.width < 12 || s.width > 90) sizes.push_back(s);
  for (IppiSize roi : sizes)
    for (const Layout& l : kLayouts)
      for (int mode : kModes)
        for (bool padded : {false, true}) {
          const Image src = makeImage(l.pixelBytes, roi, padded, rng);
          const Image dst = makeImage(l.pixelBytes, roi, padded, rng);
          Maps maps = makeMaps(roi, roi, rng);
          // Now and then only part of the source may be read, partly off the image.
          IppiRect srcRoi{0, 0, roi.width, roi.height};
          if (padded && roi.width >= 4) srcRoi = {roi.width / 4 - 1, roi.height / 3, roi.width, roi.height};
          expectRemapMatches(GetParam(), l, src, dst, srcRoi, maps, mode, describe(l.name, roi, padded));
          if (HasFatalFailure()) return;
        }
}

// Sources of a few bytes, and narrow source ROIs at the right and bottom
// edges of the image, under a wide destination: the vector kernels read
// whole words and must neither read past the last usable byte nor take a
// neighbour from outside the ROI. Coordinates crowd the ROI's last pixels
// and edges, with whole, fractional and just-outside values.
TEST_P(RemapTarget, SmallSourcesAndNarrowRois) {
  std::mt19937 rng(5);
  const IppiSize dstRoi{37, 3};
  for (const Layout& l : kLayouts)
    for (int mode : kModes)
      for (int w = 1; w <= 6; ++w)
        for (int h = 1; h <= 3; ++h)
          for (int roiW : {1, 2, 3, 4, 5}) {
            const bool padded = roiW % 2 == 0;
            const Image src = makeImage(l.pixelBytes, {w + roiW, h}, padded, rng);
            const Image dst = makeImage(l.pixelBytes, dstRoi, padded, rng);
            // The ROI ends at the image's last column and row, or the whole image.
            const IppiRect srcRoi = roiW == 5 ? IppiRect{0, 0, w + roiW, h} : IppiRect{w, h - 1, roiW, 4};
            const float left = static_cast<float>(srcRoi.x), right = static_cast<float>(w + roiW - 1);
            const float top = static_cast<float>(srcRoi.y), bottom = static_cast<float>(h - 1);
            std::uniform_real_distribution<float> near(-0.75f, 0.75f);
            Maps maps;
            maps.step = 4 * dstRoi.width;
            maps.x.resize(static_cast<std::size_t>(dstRoi.width) * dstRoi.height);
            maps.y = maps.x;
            for (std::size_t i = 0; i < maps.x.size(); ++i) {
              const int k = static_cast<int>(rng() % 4);
              maps.x[i] = (k == 0 ? left : right) + (k < 2 ? 0.0f : near(rng));
              maps.y[i] = (rng() % 2 ? top : bottom) + (k == 3 ? near(rng) : 0.0f);
            }
            expectRemapMatches(GetParam(), l, src, dst, srcRoi, maps, mode,
                               describe(l.name, src.roi, padded) + " roi width " + std::to_string(roiW));
            if (HasFatalFailure()) return;
          }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(RemapTarget);

// Runs one C1 remap of a 4x3 source on every target and returns the
// destination row (width 1 per map entry), starting from 200s.
std::vector<std::vector<Ipp8u>> remapC1(const std::vector<Ipp8u>& src, IppiSize size, std::vector<float> xs,
                                        std::vector<float> ys, int mode, IppiRect srcRoi) {
  std::vector<std::vector<Ipp8u>> out;
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::vector<Ipp8u> dst(xs.size(), 200);
    const int n = static_cast<int>(xs.size());
    EXPECT_EQ(ippiRemap_8u_C1R(src.data(), size, size.width, srcRoi, xs.data(), 4 * n, ys.data(), 4 * n,
                               dst.data(), n, {n, 1}, mode),
              ippStsNoErr);
    out.push_back(dst);
  }
  return out;
}

TEST(Remap, SamplesAsDocumented) {
  // Rows: 0 10 20 30 / 40 50 60 70 / 80 90 100 110 (linear in x and y).
  const std::vector<Ipp8u> src = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110};
  const IppiSize size{4, 3};
  const IppiRect all{0, 0, 4, 3};
  const std::vector<float> xs = {0.0f, 1.5f, 2.25f, 3.0f, -0.01f, 3.01f, 1.0f, 0.5f};
  const std::vector<float> ys = {0.0f, 0.5f, 1.0f, 2.0f, 1.0f, 1.0f, 2.01f, 0.5f};
  // Nearest: halves round up; outside coordinates keep 200.
  for (const auto& d : remapC1(src, size, xs, ys, IPPI_INTER_NN, all))
    EXPECT_EQ(d, (std::vector<Ipp8u>{0, 60, 60, 110, 200, 200, 200, 50}));
  // Linear: exact on linear data, rounded to nearest (2.25 -> 62.5 -> 63).
  for (const auto& d : remapC1(src, size, xs, ys, IPPI_INTER_LINEAR, all))
    EXPECT_EQ(d, (std::vector<Ipp8u>{0, 35, 63, 110, 200, 200, 200, 25}));
  // A cubic through samples of a plane is the plane (edges repeat, so not
  // at the border here: x in 1..2, y in 1).
  for (const auto& d : remapC1(src, size, {1.5f, 1.25f}, {1.0f, 1.0f}, IPPI_INTER_CUBIC, all))
    EXPECT_EQ(d, (std::vector<Ipp8u>{55, 53}));
  // Only srcRoi is read: column 3 is off limits, and the edge of the ROI
  // repeats for the second neighbour.
  for (const auto& d :
       remapC1(src, size, {3.0f, 2.0f, 2.0f}, {0.0f, 0.0f, 0.5f}, IPPI_INTER_LINEAR, {0, 0, 3, 3}))
    EXPECT_EQ(d, (std::vector<Ipp8u>{200, 20, 40}));
  // Cubics through a bump overshoot above 255 and below 0.
  for (const auto& d : remapC1({0, 255, 255, 0}, {4, 1}, {1.5f}, {0.0f}, IPPI_INTER_CUBIC, {0, 0, 4, 1}))
    EXPECT_EQ(d[0], 255);
  for (const auto& d : remapC1({255, 0, 0, 255}, {4, 1}, {1.5f}, {0.0f}, IPPI_INTER_CUBIC, {0, 0, 4, 1}))
    EXPECT_EQ(d[0], 0);
}

TEST(Remap, Ac4KeepsAlphaAndSmoothEdgeIsAccepted) {
  const std::vector<Ipp8u> src = {1, 2, 3, 4, 5, 6, 7, 8};
  const float xs[2] = {1.0f, 0.0f}, ys[2] = {0.0f, 0.0f};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::vector<Ipp8u> dst(8, 99);
    ASSERT_EQ(ippiRemap_8u_AC4R(src.data(), {2, 1}, 8, {0, 0, 2, 1}, xs, 8, ys, 8, dst.data(), 8, {2, 1},
                                IPPI_INTER_LINEAR | IPPI_SMOOTH_EDGE),
              ippStsNoErr);
    EXPECT_EQ(dst, (std::vector<Ipp8u>{5, 6, 7, 99, 1, 2, 3, 99}));
  }
}

TEST(Remap, Errors) {
  std::vector<Ipp8u> src(16, 1), dst(16, 7);
  const float m[4] = {0, 0, 0, 0};
  auto call = [&](const Ipp8u* s, IppiSize ss, int sstep, IppiRect roi, int mstep, IppiSize ds, int mode) {
    return ippiRemap_8u_C1R(s, ss, sstep, roi, m, mstep, m, mstep, dst.data(), 4, ds, mode);
  };
  EXPECT_EQ(call(nullptr, {4, 4}, 4, {0, 0, 4, 4}, 16, {4, 1}, IPPI_INTER_NN), ippStsNullPtrErr);
  EXPECT_EQ(call(src.data(), {0, 4}, 4, {0, 0, 4, 4}, 16, {4, 1}, IPPI_INTER_NN), ippStsSizeErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 4, {0, 0, 0, 4}, 16, {4, 1}, IPPI_INTER_NN), ippStsSizeErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 4, {0, 0, 4, 4}, 16, {4, 0}, IPPI_INTER_NN), ippStsSizeErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 3, {0, 0, 4, 4}, 16, {4, 1}, IPPI_INTER_NN), ippStsStepErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 4, {0, 0, 4, 4}, 12, {4, 1}, IPPI_INTER_NN), ippStsStepErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 4, {0, 0, 4, 4}, 16, {4, 1}, 3), ippStsInterpolationErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 4, {0, 0, 4, 4}, 16, {4, 1}, 8), ippStsInterpolationErr);
  EXPECT_EQ(call(src.data(), {4, 4}, 4, {4, 0, 2, 2}, 16, {4, 1}, IPPI_INTER_NN), ippStsNoOperation);
  EXPECT_EQ(dst, std::vector<Ipp8u>(16, 7));
}

} // namespace
} // namespace fqipptest
