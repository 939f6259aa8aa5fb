#include "ipptest.h"

#include "ipp/ipppalette.h"

#include <cstring>

namespace fqipptest {
namespace {

std::vector<Ipp32u> randomTable(std::mt19937& rng) {
  std::vector<Ipp32u> t(256);
  for (auto& v : t) v = static_cast<Ipp32u>(rng());
  return t;
}

IppStatus palette(const Image& src, Image& dst, const std::vector<Ipp32u>& table, int bits) {
  return ippiLUTPalette_8u32u_C1R(src.at(), src.step, reinterpret_cast<Ipp32u*>(dst.at()), dst.step, src.roi,
                                  table.data(), bits);
}

using PaletteTarget = PerTarget;

TEST_P(PaletteTarget, MatchesReference) {
  std::mt19937 rng(3);
  for (IppiSize roi : testSizes())
    for (int bits : {8, 5, 1})
      for (bool padded : {false, true}) {
        const Image src = makeImage(1, roi, padded, rng);
        Image dst = makeImage(4, roi, padded, rng);
        const auto table = randomTable(rng);
        expectMatchesReference(
            GetParam(), src, dst, [&](Image& s, Image& d) { return palette(s, d, table, bits); },
            describe("LUTPalette", roi, padded) + " bits " + std::to_string(bits), 0, 4);
        if (HasFatalFailure()) return;
      }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(PaletteTarget);

// Every pixel is the whole entry its masked sample picks, alpha included.
TEST(Palette, PixelIsTheEntryOfTheLowBits) {
  std::vector<Ipp32u> table(256);
  for (int i = 0; i < 256; ++i) table[i] = 0x01000000u * static_cast<Ipp32u>(i) + static_cast<Ipp32u>(i);
  const Ipp8u src[5] = {0, 1, 0x80, 0xff, 0x13};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    Ipp32u dst[5];
    ASSERT_EQ(ippiLUTPalette_8u32u_C1R(src, 5, dst, 20, {5, 1}, table.data(), 8), ippStsNoErr);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(dst[i], table[src[i]]) << ippTargetName(t);
    ASSERT_EQ(ippiLUTPalette_8u32u_C1R(src, 5, dst, 20, {5, 1}, table.data(), 4), ippStsNoErr);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(dst[i], table[src[i] & 15]) << ippTargetName(t);
  }
}

TEST(Palette, BadArgumentsWriteNothing) {
  std::vector<Ipp32u> table(256, 7);
  Ipp8u src[4] = {};
  Ipp32u dst[4] = {1, 1, 1, 1};
  EXPECT_EQ(ippiLUTPalette_8u32u_C1R(src, 4, dst, 16, {4, 1}, nullptr, 8), ippStsNullPtrErr);
  EXPECT_EQ(ippiLUTPalette_8u32u_C1R(src, 4, dst, 16, {4, 1}, table.data(), 0), ippStsBadArgErr);
  EXPECT_EQ(ippiLUTPalette_8u32u_C1R(src, 4, dst, 16, {4, 1}, table.data(), 9), ippStsBadArgErr);
  EXPECT_EQ(ippiLUTPalette_8u32u_C1R(src, 4, dst, 12, {4, 1}, table.data(), 8), ippStsStepErr);
  EXPECT_EQ(ippiLUTPalette_8u32u_C1R(src, 4, dst, 16, {0, 1}, table.data(), 8), ippStsSizeErr);
  for (Ipp32u v : dst) EXPECT_EQ(v, 1u);
}

} // namespace
} // namespace fqipptest
