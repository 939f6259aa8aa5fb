#include "ipptest.h"

#include <array>

namespace fqipptest {
namespace {

using MirrorFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, IppiAxis);
using MirrorInPlaceFn = IppStatus (*)(Ipp8u*, int, IppiSize, IppiAxis);

struct Layout {
  const char* name;
  int pixelBytes, channels; // channels written: AC4 leaves the fourth alone
  MirrorFn mirror;
  MirrorInPlaceFn mirrorInPlace;
};

const Layout kLayouts[] = {
    {"C1", 1, 1, ippiMirror_8u_C1R, ippiMirror_8u_C1IR},
    {"C3", 3, 3, ippiMirror_8u_C3R, ippiMirror_8u_C3IR},
    {"C4", 4, 4, ippiMirror_8u_C4R, ippiMirror_8u_C4IR},
    {"AC4", 4, 3, ippiMirror_8u_AC4R, ippiMirror_8u_AC4IR},
};
const IppiAxis kAxes[] = {ippAxsHorizontal, ippAxsVertical, ippAxsBoth};

IppStatus mirror(const Layout& l, const Image& src, Image& dst, IppiAxis axis) {
  return l.mirror(src.at(), src.step, dst.at(), dst.step, src.roi, axis);
}
IppStatus mirrorInPlace(const Layout& l, Image& im, IppiAxis axis) {
  return l.mirrorInPlace(im.at(), im.step, im.roi, axis);
}

using MirrorTarget = PerTarget;

TEST_P(MirrorTarget, MatchesReference) {
  std::mt19937 rng(7);
  for (IppiSize roi : testSizes())
    for (const Layout& l : kLayouts)
      for (IppiAxis axis : kAxes)
        for (bool padded : {false, true}) {
          const Image src = makeImage(l.pixelBytes, roi, padded, rng);
          const Image dst = makeImage(l.pixelBytes, roi, padded, rng);
          const std::string what = describe(l.name, roi, padded) + " axis " + std::to_string(axis);
          expectMatchesReference(
              GetParam(), src, dst, [&](Image& s, Image& d) { return mirror(l, s, d, axis); }, what, 0,
              l.channels);
          expectMatchesReference(
              GetParam(), src, src, [&](Image&, Image& d) { return mirrorInPlace(l, d, axis); },
              what + " in place", 0, l.channels);
          if (HasFatalFailure()) return;
        }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(MirrorTarget);

// A 3x2 RGB image worked by hand, on every target, out of and in place.
TEST(Mirror, HandWorkedC3) {
  const std::array<Ipp8u, 18> src = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
  const std::array<std::array<Ipp8u, 18>, 3> expected = {{
      {10, 11, 12, 13, 14, 15, 16, 17, 18, 1, 2, 3, 4, 5, 6, 7, 8, 9}, // horizontal axis: upside down
      {7, 8, 9, 4, 5, 6, 1, 2, 3, 16, 17, 18, 13, 14, 15, 10, 11, 12}, // vertical axis: left-right
      {16, 17, 18, 13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3}, // both
  }};
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (int a = 0; a < 3; ++a) {
      std::array<Ipp8u, 18> dst{};
      ASSERT_EQ(ippiMirror_8u_C3R(src.data(), 9, dst.data(), 9, {3, 2}, kAxes[a]), ippStsNoErr);
      EXPECT_EQ(dst, expected[a]) << ippTargetName(t) << " axis " << a;
      dst = src;
      ASSERT_EQ(ippiMirror_8u_C3IR(dst.data(), 9, {3, 2}, kAxes[a]), ippStsNoErr);
      EXPECT_EQ(dst, expected[a]) << ippTargetName(t) << " in place, axis " << a;
    }
  }
}

TEST(Mirror, ErrorsWriteNothing) {
  std::mt19937 rng(3);
  const IppiSize ok = {8, 4};
  for (const Layout& l : kLayouts) {
    expectArgumentErrors(
        l.pixelBytes, l.pixelBytes,
        [&](const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi) {
          return l.mirror(s, sStep, d, dStep, roi, ippAxsBoth);
        },
        l.name);
    expectArgumentErrors(
        0, l.pixelBytes,
        [&](const Ipp8u*, int, Ipp8u* d, int step, IppiSize roi) {
          return l.mirrorInPlace(d, step, roi, ippAxsBoth);
        },
        std::string(l.name) + " in place");
    const int row = 8 * l.pixelBytes;
    const Image src = makeImage(l.pixelBytes, ok, false, rng);
    Image dst = makeImage(l.pixelBytes, ok, false, rng);
    const Image before = dst;
    for (int axis : {static_cast<int>(ippAxs45), -1, 7}) {
      const auto bad = static_cast<IppiAxis>(axis);
      EXPECT_EQ(l.mirror(src.at(), row, dst.at(), row, ok, bad), ippStsMirrorFlipErr)
          << l.name << " " << axis;
      EXPECT_EQ(l.mirrorInPlace(dst.at(), row, ok, bad), ippStsMirrorFlipErr) << l.name << " " << axis;
    }
    EXPECT_TRUE(dst.data == before.data) << l.name;
  }
}

} // namespace
} // namespace fqipptest
