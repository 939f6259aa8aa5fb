#include "ipptest.h"

#include <array>
#include <vector>

namespace fqipptest {
namespace {

using CopyFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);
using SetFn = IppStatus (*)(const Ipp8u*, Ipp8u*, int, IppiSize);

IppStatus setC1(const Ipp8u* v, Ipp8u* d, int step, IppiSize roi) { return ippiSet_8u_C1R(*v, d, step, roi); }

struct CopyCase {
  const char* name;
  int srcBytes, dstBytes, firstChannel, channels;
  CopyFn copy;
};
// C4CR and C1C4R are given pointers at the channel they copy, hence the offsets.
const CopyCase kCopies[] = {
    {"Copy C1", 1, 1, 0, 1, ippiCopy_8u_C1R},        {"Copy C3", 3, 3, 0, 3, ippiCopy_8u_C3R},
    {"Copy C4", 4, 4, 0, 4, ippiCopy_8u_C4R},        {"Copy AC4", 4, 4, 0, 3, ippiCopy_8u_AC4R},
    {"Copy C4CR.0", 4, 4, 0, 1, ippiCopy_8u_C4CR},   {"Copy C4CR.1", 4, 4, 1, 1, ippiCopy_8u_C4CR},
    {"Copy C4CR.2", 4, 4, 2, 1, ippiCopy_8u_C4CR},   {"Copy C4CR.3", 4, 4, 3, 1, ippiCopy_8u_C4CR},
    {"Copy C1C4R.0", 1, 4, 0, 1, ippiCopy_8u_C1C4R}, {"Copy C1C4R.1", 1, 4, 1, 1, ippiCopy_8u_C1C4R},
    {"Copy C1C4R.2", 1, 4, 2, 1, ippiCopy_8u_C1C4R}, {"Copy C1C4R.3", 1, 4, 3, 1, ippiCopy_8u_C1C4R},
};

struct SetCase {
  const char* name;
  int pixelBytes, channels;
  SetFn set;
};
const SetCase kSets[] = {
    {"Set C1", 1, 1, setC1},
    {"Set C3", 3, 3, ippiSet_8u_C3R},
    {"Set C4", 4, 4, ippiSet_8u_C4R},
    {"Set AC4", 4, 3, ippiSet_8u_AC4R},
};

using CopyTarget = PerTarget;

TEST_P(CopyTarget, MatchesReference) {
  std::mt19937 rng(5);
  for (IppiSize roi : testSizes())
    for (bool padded : {false, true}) {
      for (const CopyCase& c : kCopies) {
        const Image src = makeImage(c.srcBytes, roi, padded, rng);
        const Image dst = makeImage(c.dstBytes, roi, padded, rng);
        const int s0 = c.srcBytes == 4 && c.channels == 1 ? c.firstChannel : 0;
        expectMatchesReference(
            GetParam(), src, dst,
            [&](Image& s, Image& d) {
              return c.copy(s.at() + s0, s.step, d.at() + c.firstChannel, d.step, roi);
            },
            describe(c.name, roi, padded), c.firstChannel, c.channels);
      }
      for (const SetCase& c : kSets) {
        const Image dst = makeImage(c.pixelBytes, roi, padded, rng);
        const std::array<Ipp8u, 4> value = {static_cast<Ipp8u>(rng()), static_cast<Ipp8u>(rng()),
                                            static_cast<Ipp8u>(rng()), static_cast<Ipp8u>(rng())};
        expectMatchesReference(
            GetParam(), dst, dst, [&](Image&, Image& d) { return c.set(value.data(), d.at(), d.step, roi); },
            describe(c.name, roi, padded), 0, c.channels);
      }
      if (HasFatalFailure()) return;
    }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(CopyTarget);

// Worked examples on 2x2 four-channel images, on every target.
TEST(Copy, AlphaAndChannelForms) {
  using Px = std::array<Ipp8u, 16>;
  const Px src = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  const std::array<Ipp8u, 3> rgb = {7, 8, 9};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    Px dst{};
    ASSERT_EQ(ippiCopy_8u_AC4R(src.data(), 8, dst.data(), 8, {2, 2}), ippStsNoErr);
    EXPECT_EQ(dst, (Px{1, 2, 3, 0, 5, 6, 7, 0, 9, 10, 11, 0, 13, 14, 15, 0})) << ippTargetName(t);
    dst = Px{};
    ASSERT_EQ(ippiCopy_8u_C4CR(src.data() + 3, 8, dst.data() + 3, 8, {2, 2}), ippStsNoErr);
    EXPECT_EQ(dst, (Px{0, 0, 0, 4, 0, 0, 0, 8, 0, 0, 0, 12, 0, 0, 0, 16})) << ippTargetName(t);
    dst = src;
    ASSERT_EQ(ippiSet_8u_AC4R(rgb.data(), dst.data(), 8, {2, 2}), ippStsNoErr);
    EXPECT_EQ(dst, (Px{7, 8, 9, 4, 7, 8, 9, 8, 7, 8, 9, 12, 7, 8, 9, 16})) << ippTargetName(t);
  }
}

// C1C4R into buffers that end at the last byte written and start at the
// first pixel, with the source ending at its last sample, on every target:
// run under AddressSanitizer, any access beyond them fails.
TEST(Copy, C1C4RStaysInsideExactBuffers) {
  std::mt19937 rng(21);
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (int w = 1; w <= 70; ++w)
      for (int h : {1, 3})
        for (int ch = 0; ch < 4; ++ch) {
          const int srcStep = w + static_cast<int>(rng() % 3), dstStep = 4 * w + static_cast<int>(rng() % 5);
          std::vector<Ipp8u> src(static_cast<std::size_t>((h - 1) * srcStep + w));
          std::vector<Ipp8u> dst(static_cast<std::size_t>(ch + (h - 1) * dstStep + 4 * (w - 1) + 1));
          for (auto& b : src) b = static_cast<Ipp8u>(rng());
          for (auto& b : dst) b = static_cast<Ipp8u>(rng());
          std::vector<Ipp8u> want = dst;
          for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) want[ch + y * dstStep + 4 * x] = src[y * srcStep + x];
          ASSERT_EQ(ippiCopy_8u_C1C4R(src.data(), srcStep, dst.data() + ch, dstStep, {w, h}), ippStsNoErr);
          ASSERT_TRUE(dst == want) << ippTargetName(t) << " " << w << "x" << h << " channel " << ch << ": "
                                   << firstMismatch(want, dst, dstStep);
        }
  }
}

TEST(Copy, ErrorsWriteNothing) {
  for (const CopyCase& c : kCopies) expectArgumentErrors(c.srcBytes, c.dstBytes, c.copy, c.name);
  const Ipp8u value[4] = {1, 2, 3, 4};
  std::array<Ipp8u, 4> pixel = {9, 9, 9, 9};
  for (const SetCase& c : kSets) {
    expectArgumentErrors(
        0, c.pixelBytes,
        [&](const Ipp8u*, int, Ipp8u* d, int step, IppiSize roi) { return c.set(value, d, step, roi); },
        c.name);
    // The one-channel form takes its value, not a pointer.
    if (c.pixelBytes > 1) {
      EXPECT_EQ(c.set(nullptr, pixel.data(), 4, {1, 1}), ippStsNullPtrErr) << c.name;
    }
  }
  EXPECT_EQ(pixel, (std::array<Ipp8u, 4>{9, 9, 9, 9}));
}

} // namespace
} // namespace fqipptest
