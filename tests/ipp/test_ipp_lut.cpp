#include "ipptest.h"

#include "ipp/ipplut.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace fqipptest {
namespace {

using Lut1Fn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s*, const Ipp32s*, int);
using Lut3Fn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s* [3], const Ipp32s* [3],
                             int[3]);
using Lut4Fn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s* [4], const Ipp32s* [4],
                             int[4]);

struct Mode {
  const char* name;
  Lut1Fn c1;
  Lut3Fn c3;
  Lut4Fn c4;
};

const Mode kModes[] = {
    {"step", ippiLUT_8u_C1R, ippiLUT_8u_C3R, ippiLUT_8u_C4R},
    {"linear", ippiLUT_Linear_8u_C1R, ippiLUT_Linear_8u_C3R, ippiLUT_Linear_8u_C4R},
    {"cubic", ippiLUT_Cubic_8u_C1R, ippiLUT_Cubic_8u_C3R, ippiLUT_Cubic_8u_C4R},
};

struct Curve {
  std::vector<Ipp32s> values, levels;
};

// Ascending levels that may start above 0, end below 255 or beyond it, and
// repeat; values overshooting 0..255 so saturation is exercised. Now and
// then the levels are shuffled.
Curve randomCurve(std::mt19937& rng) {
  Curve c;
  const int n = 2 + static_cast<int>(rng() % 9);
  int level = static_cast<int>(rng() % 40) - 10;
  for (int i = 0; i < n; ++i) {
    c.levels.push_back(level);
    c.values.push_back(static_cast<int>(rng() % 320) - 30);
    level += static_cast<int>(rng() % 70);
  }
  if (rng() % 5 == 0) std::shuffle(c.levels.begin(), c.levels.end(), rng);
  return c;
}

struct Curves {
  std::array<Curve, 4> c;
  const Ipp32s* values[4];
  const Ipp32s* levels[4];
  int n[4];
  // same: every channel the same curve (the fast kernels' one-table path).
  Curves(std::mt19937& rng, bool same) {
    for (int k = 0; k < 4; ++k) set(k, same && k > 0 ? c[0] : randomCurve(rng));
  }
  void set(int k, const Curve& curve) {
    c[k] = curve;
    values[k] = c[k].values.data();
    levels[k] = c[k].levels.data();
    n[k] = static_cast<int>(c[k].values.size());
  }
};

IppStatus run(const Mode& m, int pixelBytes, const Image& s, Image& d, Curves& cv) {
  switch (pixelBytes) {
  case 1:
    return m.c1(s.at(), s.step, d.at(), d.step, s.roi, cv.values[0], cv.levels[0], cv.n[0]);
  case 3:
    return m.c3(s.at(), s.step, d.at(), d.step, s.roi, cv.values, cv.levels, cv.n);
  default:
    return m.c4(s.at(), s.step, d.at(), d.step, s.roi, cv.values, cv.levels, cv.n);
  }
}

using LutTarget = PerTarget;

TEST_P(LutTarget, MatchesReference) {
  std::mt19937 rng(11);
  int i = 0;
  for (IppiSize roi : testSizes())
    for (int pixelBytes : {1, 3, 4})
      for (const Mode& m : kModes)
        for (bool padded : {false, true}) {
          Curves cv(rng, ++i % 3 == 0);
          const Image src = makeImage(pixelBytes, roi, padded, rng);
          const Image dst = makeImage(pixelBytes, roi, padded, rng);
          expectMatchesReferenceOutAndInPlace(
              GetParam(), src, dst, [&](Image& s, Image& d) { return run(m, pixelBytes, s, d, cv); },
              describe(m.name, roi, padded) + " C" + std::to_string(pixelBytes), 0, pixelBytes);
          if (HasFatalFailure()) return;
        }
}

// Colour curves that agree on all channels but the last (a common alpha
// case): the fast kernels must not take the one-table path. Each vector
// block sees every sample value in every channel.
TEST_P(LutTarget, LastChannelDiffering) {
  std::mt19937 rng(5);
  for (int pixelBytes : {3, 4})
    for (const Mode& m : kModes)
      for (IppiSize roi : {IppiSize{67, 3}, IppiSize{256, 2}})
        for (bool padded : {false, true}) {
          Curves cv(rng, true);
          cv.set(pixelBytes - 1, randomCurve(rng));
          Image src = makeImage(pixelBytes, roi, padded, rng);
          for (int y = 0; y < roi.height; ++y)
            for (int x = 0; x < roi.width * pixelBytes; ++x)
              src.sample(x / pixelBytes, y, x % pixelBytes) = static_cast<Ipp8u>(x * 7 + y);
          const Image dst = makeImage(pixelBytes, roi, padded, rng);
          expectMatchesReference(
              GetParam(), src, dst, [&](Image& s, Image& d) { return run(m, pixelBytes, s, d, cv); },
              describe(m.name, roi, padded) + " C" + std::to_string(pixelBytes), 0, pixelBytes);
          if (HasFatalFailure()) return;
        }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(LutTarget);

// Every sample value 0..255 once, through a one-channel curve, on every target.
std::vector<std::vector<Ipp8u>> rampThrough(Lut1Fn fn, std::vector<Ipp32s> values,
                                            std::vector<Ipp32s> levels) {
  std::vector<std::vector<Ipp8u>> outs;
  std::vector<Ipp8u> ramp(256);
  for (int s = 0; s < 256; ++s) ramp[s] = static_cast<Ipp8u>(s);
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::vector<Ipp8u> out(256, 0);
    EXPECT_EQ(fn(ramp.data(), 256, out.data(), 256, {256, 1}, values.data(), levels.data(),
                 static_cast<int>(values.size())),
              ippStsNoErr);
    outs.push_back(out);
  }
  return outs;
}

TEST(Lut, StepHoldsValueInsideLevelsAndCopiesOutside) {
  for (const auto& out : rampThrough(ippiLUT_8u_C1R, {7, 300, -5}, {10, 20, 30})) {
    for (int s = 0; s < 10; ++s) EXPECT_EQ(out[s], s);
    for (int s = 10; s < 20; ++s) EXPECT_EQ(out[s], 7);
    for (int s = 20; s < 30; ++s) EXPECT_EQ(out[s], 255) << "saturated";
    for (int s = 30; s < 256; ++s) EXPECT_EQ(out[s], s) << "the last level starts no interval";
  }
}

// The value of the straight line with its fraction dropped: (0, 255) to
// (256, 0) inverts every level exactly, and a rising line never rounds up.
TEST(Lut, LinearTakesTheFractionDown) {
  for (const auto& out : rampThrough(ippiLUT_Linear_8u_C1R, {255, 0}, {0, 256}))
    for (int s = 0; s < 256; ++s) EXPECT_EQ(out[s], 255 - s) << s;
  for (const auto& out : rampThrough(ippiLUT_Linear_8u_C1R, {0, 255}, {0, 256}))
    for (int s = 0; s < 256; ++s) EXPECT_EQ(out[s], s * 255 / 256) << s;
  for (const auto& out : rampThrough(ippiLUT_Linear_8u_C1R, {100, 0, 50}, {50, 60, 160})) {
    for (auto [s, v] : {std::pair{49, 49}, {50, 100}, {55, 50}, {60, 0}, {110, 25}, {160, 160}})
      EXPECT_EQ(out[s], v) << s;
  }
}

// Four points on a cubic give back that cubic between them; a straight line
// given as many points stays straight.
TEST(Lut, CubicReproducesCubicsAndLines) {
  // Levels chosen so the cubic's values at them are integers: y = s^3/16384.
  for (const auto& out : rampThrough(ippiLUT_Cubic_8u_C1R, {0, 2, 16, 54}, {0, 32, 64, 96}))
    for (int s = 0; s < 96; ++s)
      EXPECT_EQ(out[s], static_cast<int>(std::floor(s * s * s / 16384.0 + 0.5))) << s;
  for (const auto& out :
       rampThrough(ippiLUT_Cubic_8u_C1R, {10, 30, 50, 70, 90, 110}, {0, 40, 80, 120, 160, 200}))
    for (int s = 0; s < 200; ++s) EXPECT_EQ(out[s], static_cast<int>(std::floor(10 + s / 2.0 + 0.5))) << s;
}

TEST(Lut, FourChannelsEachThroughTheirOwnCurve) {
  const Ipp32s v0[] = {1, 1}, v1[] = {2, 2}, v2[] = {3, 3}, v3[] = {4, 4}, lv[] = {0, 256};
  const Ipp32s* values[4] = {v0, v1, v2, v3};
  const Ipp32s* levels[4] = {lv, lv, lv, lv};
  int n[4] = {2, 2, 2, 2};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::vector<Ipp8u> px(4 * 37, 200), out(px.size(), 0);
    ASSERT_EQ(ippiLUT_8u_C4R(px.data(), 4 * 37, out.data(), 4 * 37, {37, 1}, values, levels, n), ippStsNoErr);
    for (std::size_t i = 0; i < out.size(); ++i)
      ASSERT_EQ(out[i], i % 4 + 1) << ippTargetName(t) << " byte " << i;
  }
}

TEST(Lut, BadArgumentsWriteNothing) {
  const Ipp32s values[] = {0, 255}, levels[] = {0, 256};
  std::vector<Ipp8u> src(64, 9), dst(64, 77);
  EXPECT_EQ(ippiLUT_8u_C1R(src.data(), 8, dst.data(), 8, {8, 8}, values, levels, 1), ippStsLUTNofLevelsErr);
  EXPECT_EQ(ippiLUT_Linear_8u_C1R(src.data(), 8, dst.data(), 8, {8, 8}, values, levels, 0),
            ippStsLUTNofLevelsErr);
  EXPECT_EQ(ippiLUT_Cubic_8u_C1R(src.data(), 8, dst.data(), 8, {8, 8}, nullptr, levels, 2), ippStsNullPtrErr);
  EXPECT_EQ(ippiLUT_8u_C1R(src.data(), 8, dst.data(), 8, {0, 8}, values, levels, 2), ippStsSizeErr);
  EXPECT_EQ(ippiLUT_8u_C1R(src.data(), 7, dst.data(), 8, {8, 8}, values, levels, 2), ippStsStepErr);
  const Ipp32s* vs[3] = {values, values, values};
  const Ipp32s* ls[3] = {levels, levels, levels};
  int n[3] = {2, 2, 1};
  EXPECT_EQ(ippiLUT_8u_C3R(src.data(), 24, dst.data(), 24, {2, 2}, vs, ls, n), ippStsLUTNofLevelsErr);
  for (Ipp8u b : dst) ASSERT_EQ(b, 77);
}

} // namespace
} // namespace fqipptest
