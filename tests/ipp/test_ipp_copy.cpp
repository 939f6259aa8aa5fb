#include "ipptest.h"

#include <array>

namespace fqipptest {
namespace {

using CopyFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);
using SetFn = IppStatus (*)(const Ipp8u*, Ipp8u*, int, IppiSize);

IppStatus setC1(const Ipp8u* v, Ipp8u* d, int step, IppiSize roi) { return ippiSet_8u_C1R(*v, d, step, roi); }

struct CopyCase {
  const char* name;
  int pixelBytes, firstChannel, channels;
  CopyFn copy;
};
// C4CR is given pointers at the channel it copies, hence the offsets.
const CopyCase kCopies[] = {
    {"Copy C1", 1, 0, 1, ippiCopy_8u_C1R},      {"Copy C3", 3, 0, 3, ippiCopy_8u_C3R},
    {"Copy C4", 4, 0, 4, ippiCopy_8u_C4R},      {"Copy AC4", 4, 0, 3, ippiCopy_8u_AC4R},
    {"Copy C4CR.0", 4, 0, 1, ippiCopy_8u_C4CR}, {"Copy C4CR.1", 4, 1, 1, ippiCopy_8u_C4CR},
    {"Copy C4CR.2", 4, 2, 1, ippiCopy_8u_C4CR}, {"Copy C4CR.3", 4, 3, 1, ippiCopy_8u_C4CR},
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
        const Image src = makeImage(c.pixelBytes, roi, padded, rng);
        const Image dst = makeImage(c.pixelBytes, roi, padded, rng);
        const int ch = c.channels == 1 && c.pixelBytes == 4 ? c.firstChannel : 0;
        expectMatchesReference(
            GetParam(), src, dst,
            [&](Image& s, Image& d) { return c.copy(s.at() + ch, s.step, d.at() + ch, d.step, roi); },
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
  const std::array<Ipp8u, 16> src = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  const std::array<Ipp8u, 16> zero{};
  const std::array<Ipp8u, 3> rgb = {7, 8, 9};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    std::array<Ipp8u, 16> dst = zero;
    ASSERT_EQ(ippiCopy_8u_AC4R(src.data(), 8, dst.data(), 8, {2, 2}), ippStsNoErr);
    EXPECT_EQ(dst, (std::array<Ipp8u, 16>{1, 2, 3, 0, 5, 6, 7, 0, 9, 10, 11, 0, 13, 14, 15, 0}))
        << ippTargetName(t);
    dst = zero;
    ASSERT_EQ(ippiCopy_8u_C4CR(src.data() + 3, 8, dst.data() + 3, 8, {2, 2}), ippStsNoErr);
    EXPECT_EQ(dst, (std::array<Ipp8u, 16>{0, 0, 0, 4, 0, 0, 0, 8, 0, 0, 0, 12, 0, 0, 0, 16}))
        << ippTargetName(t);
    dst = src;
    ASSERT_EQ(ippiSet_8u_AC4R(rgb.data(), dst.data(), 8, {2, 2}), ippStsNoErr);
    EXPECT_EQ(dst, (std::array<Ipp8u, 16>{7, 8, 9, 4, 7, 8, 9, 8, 7, 8, 9, 12, 7, 8, 9, 16}))
        << ippTargetName(t);
  }
}

TEST(Copy, ErrorsWriteNothing) {
  std::mt19937 rng(9);
  const Image src = makeImage(4, {8, 4}, false, rng);
  Image dst = makeImage(4, {8, 4}, false, rng);
  const Image before = dst;
  const Ipp8u value[4] = {1, 2, 3, 4};
  const IppiSize ok = {8, 4};
  for (const CopyCase& c : kCopies) {
    const int row = 8 * c.pixelBytes;
    EXPECT_EQ(c.copy(nullptr, row, dst.at(), row, ok), ippStsNullPtrErr) << c.name;
    EXPECT_EQ(c.copy(src.at(), row, nullptr, row, ok), ippStsNullPtrErr) << c.name;
    EXPECT_EQ(c.copy(src.at(), row, dst.at(), row, {0, 4}), ippStsSizeErr) << c.name;
    EXPECT_EQ(c.copy(src.at(), row, dst.at(), row, {8, -1}), ippStsSizeErr) << c.name;
    EXPECT_EQ(c.copy(src.at(), row - 1, dst.at(), row, ok), ippStsStepErr) << c.name;
    EXPECT_EQ(c.copy(src.at(), row, dst.at(), -row, ok), ippStsStepErr) << c.name;
  }
  for (const SetCase& c : kSets) {
    const int row = 8 * c.pixelBytes;
    EXPECT_EQ(c.set(value, nullptr, row, ok), ippStsNullPtrErr) << c.name;
    EXPECT_EQ(c.set(value, dst.at(), row, {8, 0}), ippStsSizeErr) << c.name;
    EXPECT_EQ(c.set(value, dst.at(), row - 1, ok), ippStsStepErr) << c.name;
    EXPECT_EQ(c.set(value, dst.at(), 0, ok), ippStsStepErr) << c.name;
  }
  EXPECT_EQ(ippiSet_8u_C3R(nullptr, dst.at(), 24, ok), ippStsNullPtrErr);
  EXPECT_TRUE(dst.data == before.data);
}

} // namespace
} // namespace fqipptest
