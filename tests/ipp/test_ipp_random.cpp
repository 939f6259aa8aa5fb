#include "ipptest.h"

#include "ipp/ipprandom.h"

#include <cmath>
#include <numeric>

namespace fqipptest {
namespace {

using NoiseFn = IppStatus (*)(Ipp8u*, int, IppiSize, Ipp8u, Ipp8u, unsigned int*);

struct Layout {
  const char* name;
  int pixelBytes, channels; // channels noised: AC4 leaves the fourth alone
  NoiseFn uniform, gauss;
};

const Layout kLayouts[] = {
    {"C1", 1, 1, ippiAddRandUniform_Direct_8u_C1IR, ippiAddRandGauss_Direct_8u_C1IR},
    {"C3", 3, 3, ippiAddRandUniform_Direct_8u_C3IR, ippiAddRandGauss_Direct_8u_C3IR},
    {"C4", 4, 4, ippiAddRandUniform_Direct_8u_C4IR, ippiAddRandGauss_Direct_8u_C4IR},
    {"AC4", 4, 3, ippiAddRandUniform_Direct_8u_AC4IR, ippiAddRandGauss_Direct_8u_AC4IR},
};

struct Params {
  bool gauss;
  Ipp8u a, b; // low, high or mean, stdev
};

// Saturation from both sides, a single value, the full range and the
// defaults the components use.
const Params kParams[] = {{false, 0, 255}, {false, 3, 9}, {false, 200, 200}, {false, 40, 10},
                          {true, 0, 100},  {true, 7, 1},  {true, 255, 255},  {true, 30, 0}};

IppStatus noise(const Layout& l, const Params& p, Image& im, unsigned int* seed) {
  return (p.gauss ? l.gauss : l.uniform)(im.at(), im.step, im.roi, p.a, p.b, seed);
}

using RandomTarget = PerTarget;

// The draws, their order and the seed written back are the reference's on
// every target; nothing outside the ROI's noised channels changes.
TEST_P(RandomTarget, MatchesReference) {
  std::mt19937 rng(5);
  for (IppiSize roi : testSizes())
    for (const Layout& l : kLayouts)
      for (const Params& p : kParams)
        for (bool padded : {false, true}) {
          const Image im = makeImage(l.pixelBytes, roi, padded, rng);
          const unsigned int seed = static_cast<unsigned int>(rng());
          Image ref = im, fast = im;
          unsigned int refSeed = seed, fastSeed = seed;
          {
            TargetScope scope(IppTarget::Reference);
            ASSERT_EQ(noise(l, p, ref, &refSeed), ippStsNoErr);
          }
          {
            TargetScope scope(GetParam());
            ASSERT_EQ(noise(l, p, fast, &fastSeed), ippStsNoErr);
          }
          const std::string what = describe(l.name, roi, padded) + (p.gauss ? " gauss " : " uniform ") +
                                   std::to_string(p.a) + "," + std::to_string(p.b);
          expectOnlyRoiWritten(im, ref, 0, l.channels, what);
          ASSERT_TRUE(ref.data == fast.data) << what << ": " << firstMismatch(ref.data, fast.data, im.step);
          ASSERT_EQ(refSeed, fastSeed) << what;
          if (HasFatalFailure()) return;
        }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(RandomTarget);

// Degenerate ranges add a constant: Low = High = 0 nothing, 255
// saturates, a Gauss of stdev 0 its mean.
TEST(Random, FixedOffsetsAndSaturation) {
  std::mt19937 rng(9);
  const Image im = makeImage(3, {67, 5}, true, rng);
  for (const Params& p : {Params{false, 0, 0}, Params{false, 255, 255}, Params{true, 9, 0}}) {
    Image out = im;
    unsigned int seed = 1;
    ASSERT_EQ(noise(kLayouts[1], p, out, &seed), ippStsNoErr);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 67 * 3; ++x)
        ASSERT_EQ(out.sample(0, y, x), std::min(im.sample(0, y, x) + p.a, 255)) << p.gauss << " " << int(p.a);
  }
}

// Histogram, mean and standard deviation of the samples.
struct Stats {
  std::vector<int> counts = std::vector<int>(256);
  double mean = 0, sd = 0;
  explicit Stats(const std::vector<Ipp8u>& v) {
    double sum = 0, sq = 0;
    for (Ipp8u b : v) sum += b, sq += double(b) * b, ++counts[b];
    mean = sum / v.size();
    sd = std::sqrt(sq / v.size() - mean * mean);
  }
};

TEST(Random, DistributionsHaveTheirShape) {
  const IppiSize roi{256, 256};
  std::vector<Ipp8u> img(256 * 256, 0);
  unsigned int seed = 31192u * 65537u;
  ASSERT_EQ(ippiAddRandUniform_Direct_8u_C1IR(img.data(), 256, roi, 10, 20, &seed), ippStsNoErr);
  const Stats u(img);
  EXPECT_EQ(std::accumulate(u.counts.begin() + 10, u.counts.begin() + 21, 0), 65536) << "outside 10..20";
  for (int v = 10; v <= 20; ++v) EXPECT_NEAR(u.counts[v], 65536 / 11, 300) << v;

  // Bounds the other way round mean the same range.
  std::vector<Ipp8u> swapped(256 * 256, 0);
  unsigned int seed2 = 31192u * 65537u;
  ASSERT_EQ(ippiAddRandUniform_Direct_8u_C1IR(swapped.data(), 256, roi, 20, 10, &seed2), ippStsNoErr);
  EXPECT_TRUE(swapped == img);

  // Gauss on mid-grey: mean and spread as asked, symmetric.
  std::vector<Ipp8u> grey(256 * 256, 128);
  ASSERT_EQ(ippiAddRandGauss_Direct_8u_C1IR(grey.data(), 256, roi, 0, 20, &seed), ippStsNoErr);
  const Stats g(grey);
  EXPECT_NEAR(g.mean, 128, 0.5);
  EXPECT_NEAR(g.sd, 20, 0.5);
  // About 68 % within one standard deviation.
  int within = 0;
  for (int v = 108; v <= 148; ++v) within += g.counts[v];
  EXPECT_NEAR(within / 65536.0, 0.6827 + 0.0079, 0.01); // the rounded band holds a little more

  // A mean shifts it; the default stdev 100 on black brightens about half the samples.
  std::vector<Ipp8u> black(256 * 256, 0);
  ASSERT_EQ(ippiAddRandGauss_Direct_8u_C1IR(black.data(), 256, roi, 0, 100, &seed), ippStsNoErr);
  const Stats b(black);
  EXPECT_NEAR(b.counts[0] / 65536.0, 0.5 + 0.002, 0.01);
}

// The seed word is the whole state: equal seeds give equal noise, and one
// call over two rows equals two calls over a row each.
TEST(Random, SeedCarriesTheSequence) {
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::vector<Ipp8u> a(2 * 96, 50), b(2 * 96, 50), c(2 * 96, 50);
    unsigned int sa = 12345, sb = 12345, sc = 12346;
    ASSERT_EQ(ippiAddRandGauss_Direct_8u_C3IR(a.data(), 96, {32, 2}, 0, 30, &sa), ippStsNoErr);
    ASSERT_EQ(ippiAddRandGauss_Direct_8u_C3IR(b.data(), 96, {32, 1}, 0, 30, &sb), ippStsNoErr);
    ASSERT_EQ(ippiAddRandGauss_Direct_8u_C3IR(b.data() + 96, 96, {32, 1}, 0, 30, &sb), ippStsNoErr);
    ASSERT_EQ(ippiAddRandGauss_Direct_8u_C3IR(c.data(), 96, {32, 2}, 0, 30, &sc), ippStsNoErr);
    EXPECT_TRUE(a == b) << ippTargetName(t);
    EXPECT_EQ(sa, sb);
    EXPECT_NE(sa, 12345u);
    EXPECT_FALSE(a == c) << "a neighbouring seed gives other noise";
  }
}

TEST(Random, BadArgumentsChangeNothing) {
  std::vector<Ipp8u> img(64, 7);
  unsigned int seed = 99;
  EXPECT_EQ(ippiAddRandUniform_Direct_8u_C1IR(nullptr, 8, {8, 8}, 0, 9, &seed), ippStsNullPtrErr);
  EXPECT_EQ(ippiAddRandGauss_Direct_8u_C1IR(img.data(), 8, {8, 8}, 0, 9, nullptr), ippStsNullPtrErr);
  EXPECT_EQ(ippiAddRandUniform_Direct_8u_C3IR(img.data(), 24, {0, 2}, 0, 9, &seed), ippStsSizeErr);
  EXPECT_EQ(ippiAddRandGauss_Direct_8u_AC4IR(img.data(), 8, {4, 2}, 0, 9, &seed), ippStsStepErr);
  EXPECT_EQ(ippiAddRandUniform_Direct_8u_C4IR(img.data(), 0, {1, 1}, 0, 9, &seed), ippStsStepErr);
  EXPECT_EQ(seed, 99u);
  EXPECT_TRUE(std::all_of(img.begin(), img.end(), [](Ipp8u v) { return v == 7; }));
}

} // namespace
} // namespace fqipptest
