#include "ipptest.h"

#include "ipp/ipparith.h"

#include <array>

namespace fqipptest {
namespace {

using Fn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
using PlainFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize);

// The unscaled forms, called as scaled ones that ignore the factor.
template <PlainFn F>
IppStatus unscaled(const Ipp8u* a, int aStep, const Ipp8u* b, int bStep, Ipp8u* d, int dStep, IppiSize roi,
                   int) {
  return F(a, aStep, b, bStep, d, dStep, roi);
}

enum Kind { kPlain, kScaled, kDivides };

struct Form {
  const char* name;
  int pixelBytes, channels; // channels written: AC4 leaves the fourth alone
  Fn fn;
  Kind kind;
};

const Form kForms[] = {
    {"Add_C1", 1, 1, ippiAdd_8u_C1RSfs, kScaled},
    {"Add_C3", 3, 3, ippiAdd_8u_C3RSfs, kScaled},
    {"Add_AC4", 4, 3, ippiAdd_8u_AC4RSfs, kScaled},
    {"Sub_C1", 1, 1, ippiSub_8u_C1RSfs, kScaled},
    {"Sub_C3", 3, 3, ippiSub_8u_C3RSfs, kScaled},
    {"Sub_AC4", 4, 3, ippiSub_8u_AC4RSfs, kScaled},
    {"Mul_C1", 1, 1, ippiMul_8u_C1RSfs, kScaled},
    {"Mul_C3", 3, 3, ippiMul_8u_C3RSfs, kScaled},
    {"Mul_AC4", 4, 3, ippiMul_8u_AC4RSfs, kScaled},
    {"Div_C1", 1, 1, ippiDiv_8u_C1RSfs, kDivides},
    {"Div_C3", 3, 3, ippiDiv_8u_C3RSfs, kDivides},
    {"Div_AC4", 4, 3, ippiDiv_8u_AC4RSfs, kDivides},
    {"Or_C1", 1, 1, unscaled<ippiOr_8u_C1R>, kPlain},
    {"Or_C3", 3, 3, unscaled<ippiOr_8u_C3R>, kPlain},
    {"Or_AC4", 4, 3, unscaled<ippiOr_8u_AC4R>, kPlain},
    {"And_C1", 1, 1, unscaled<ippiAnd_8u_C1R>, kPlain},
    {"And_C3", 3, 3, unscaled<ippiAnd_8u_C3R>, kPlain},
    {"And_AC4", 4, 3, unscaled<ippiAnd_8u_AC4R>, kPlain},
    {"Xor_C1", 1, 1, unscaled<ippiXor_8u_C1R>, kPlain},
    {"Xor_C3", 3, 3, unscaled<ippiXor_8u_C3R>, kPlain},
    {"Xor_AC4", 4, 3, unscaled<ippiXor_8u_AC4R>, kPlain},
    {"AbsDiff_C1", 1, 1, unscaled<ippiAbsDiff_8u_C1R>, kPlain},
};

IppStatus call(const Form& f, const Image& s1, const Image& s2, Image& d, int sf) {
  return f.fn(s1.at(), s1.step, s2.at(), s2.step, d.at(), d.step, s1.roi, sf);
}

// Random bytes with plenty of zeros, equal pairs and extremes, where the
// operations have their edges.
Image edgyImage(int pixelBytes, IppiSize roi, bool padded, std::mt19937& rng) {
  Image im = makeImage(pixelBytes, roi, padded, rng);
  static constexpr Ipp8u kEdges[] = {0, 0, 1, 2, 127, 128, 254, 255};
  for (auto& b : im.data)
    if (rng() % 4 == 0) b = kEdges[rng() % 8];
  return im;
}

using ArithTarget = PerTarget;

TEST_P(ArithTarget, MatchesReference) {
  std::mt19937 rng(17);
  for (IppiSize roi : testSizes())
    for (const Form& f : kForms)
      for (bool padded : {false, true}) {
        const Image s1 = edgyImage(f.pixelBytes, roi, padded, rng);
        const Image s2 = edgyImage(f.pixelBytes, roi, padded, rng);
        const Image dst = makeImage(f.pixelBytes, roi, padded, rng);
        // Scale factors other than 0 on the small images only: they share one row loop.
        for (int sf : {0, 1, 3, -1, 9})
          if (sf == 0 || (f.kind != kPlain && roi.width < 40)) {
            const std::string what = describe(f.name, roi, padded) + " sf " + std::to_string(sf);
            expectMatchesReference(
                GetParam(), s1, dst,
                [&](Image& a, Image& d) {
                  const IppStatus st = call(f, a, s2, d, sf);
                  return st == ippStsDivByZero ? ippStsNoErr : st;
                },
                what, 0, f.channels);
          }
        if (HasFatalFailure()) return;
      }
}

// The warning is the same on every target, wherever the zero divisor lies
// (vector body or row end), and a zero in the AC4 alpha does not count.
TEST_P(ArithTarget, DivByZeroWarningFollowsTheDivisors) {
  TargetScope scope(GetParam());
  std::mt19937 rng(5);
  for (int w : {1, 15, 16, 17, 40, 100})
    for (const Form& f : kForms) {
      if (f.kind != kDivides) continue;
      Image s1 = makeImage(f.pixelBytes, {w, 2}, true, rng), s2 = s1, d = s1;
      for (int y = 0; y < 2; ++y)
        for (int x = 0; x < w; ++x)
          for (int c = 0; c < f.pixelBytes; ++c) s1.sample(x, y, c) = c == 3 ? 0 : 7;
      EXPECT_EQ(call(f, s1, s2, d, 0), ippStsNoErr) << f.name << " width " << w;
      for (int x : {0, w / 2, w - 1}) {
        Image z = s1;
        z.sample(x, 1, f.channels - 1) = 0;
        EXPECT_EQ(call(f, z, s2, d, 0), ippStsDivByZero) << f.name << " width " << w << " x " << x;
      }
    }
}

// The in-place forms give what the two-source form gives with pSrcDst as
// second source and destination, alpha kept, also when pSrc is pSrcDst.
using InPlaceFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
template <IppStatus (*F)(const Ipp8u*, int, Ipp8u*, int, IppiSize)>
IppStatus unscaledInPlace(const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi, int) {
  return F(s, sStep, d, dStep, roi);
}
struct InPlaceForm {
  const char* name;
  InPlaceFn fn;
  Fn twoSource;
};
const InPlaceForm kInPlaceForms[] = {
    {"Add_AC4I", ippiAdd_8u_AC4IRSfs, ippiAdd_8u_AC4RSfs},
    {"Sub_AC4I", ippiSub_8u_AC4IRSfs, ippiSub_8u_AC4RSfs},
    {"Mul_AC4I", ippiMul_8u_AC4IRSfs, ippiMul_8u_AC4RSfs},
    {"Div_AC4I", ippiDiv_8u_AC4IRSfs, ippiDiv_8u_AC4RSfs},
    {"Or_AC4I", unscaledInPlace<ippiOr_8u_AC4IR>, unscaled<ippiOr_8u_AC4R>},
    {"And_AC4I", unscaledInPlace<ippiAnd_8u_AC4IR>, unscaled<ippiAnd_8u_AC4R>},
    {"Xor_AC4I", unscaledInPlace<ippiXor_8u_AC4IR>, unscaled<ippiXor_8u_AC4R>},
};

// On every target, the reference kernels included; padding and pSrc being
// pSrcDst take turns.
TEST(Arith, InPlaceMatchesTwoSourceForm) {
  std::mt19937 rng(41);
  int turn = 0;
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (IppiSize roi : testSizes())
      for (const InPlaceForm& f : kInPlaceForms)
        for (int sf : {0, 2}) {
          if (sf != 0 && roi.width >= 40) continue; // scale factors share one row loop
          const bool padded = (turn & 1) != 0, self = (turn & 2) != 0;
          ++turn;
          const Image src = edgyImage(4, roi, padded, rng), before = edgyImage(4, roi, padded, rng);
          Image want = before, got = before;
          const Image& s = self ? before : src;
          const IppStatus wantSt =
              f.twoSource(s.at(), s.step, before.at(), before.step, want.at(), want.step, roi, sf);
          const IppStatus gotSt = f.fn(self ? got.at() : src.at(), s.step, got.at(), got.step, roi, sf);
          const std::string what = std::string(ippTargetName(t)) + " " + describe(f.name, roi, padded) +
                                   (self ? " self" : "") + " sf " + std::to_string(sf);
          ASSERT_EQ(gotSt, wantSt) << what;
          expectOnlyRoiWritten(before, got, 0, 3, what);
          ASSERT_TRUE(got.data == want.data) << what << ": " << firstMismatch(want.data, got.data, got.step);
        }
  }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(ArithTarget);

// One row of two pixels worked by hand, on every target: {src1, src2, expected} per sample.
struct Hand {
  const char* what;
  Fn fn;
  int sf;
  std::array<Ipp8u, 6> s1, s2, expected;
  bool divByZero = false;
  int width = 2;
};

TEST(Arith, HandWorked) {
  const Fn add = ippiAdd_8u_C3RSfs, sub = ippiSub_8u_C3RSfs, mul = ippiMul_8u_C3RSfs, quo = ippiDiv_8u_C3RSfs;
  const Fn bitOr = unscaled<ippiOr_8u_C3R>, bitAnd = unscaled<ippiAnd_8u_C3R>,
           bitXor = unscaled<ippiXor_8u_C3R>, absDiff = unscaled<ippiAbsDiff_8u_C1R>;
  const Hand cases[] = {
      {"add", add, 0, {200, 0, 255, 1, 2, 100}, {200, 0, 1, 1, 3, 155}, {255, 0, 255, 2, 5, 255}},
      // 5/2 and 7/2 and 3/2 round to the even neighbour.
      {"add halves", add, 1, {2, 3, 1, 255, 0, 1}, {3, 4, 2, 255, 1, 0}, {2, 4, 2, 255, 0, 0}},
      {"add scaled up", add, -2, {10, 40, 0, 1, 0, 0}, {10, 30, 0, 0, 0, 0}, {80, 255, 0, 4, 0, 0}},
      // Second source minus first.
      {"sub", sub, 0, {10, 30, 0, 255, 5, 5}, {30, 10, 255, 0, 5, 6}, {20, 0, 255, 0, 0, 1}},
      {"mul", mul, 0, {20, 2, 255, 0, 1, 15}, {20, 3, 255, 9, 200, 17}, {255, 6, 255, 0, 200, 255}},
      // 384/256 = 1.5 -> 2, 128/256 = 0.5 -> 0, 640/256 = 2.5 -> 2, 896/256 = 3.5 -> 4.
      {"mul scaled", mul, 8, {16, 16, 32, 28, 255, 1}, {24, 8, 20, 32, 255, 1}, {2, 0, 2, 4, 254, 0}},
      // Second source divided by the first; 5/2 -> 2, 7/2 -> 4, 200/3 -> 67.
      {"div", quo, 0, {2, 2, 3, 200, 255, 4}, {5, 7, 200, 3, 255, 2}, {2, 4, 67, 0, 1, 0}},
      {"div 0", quo, 0, {0, 0, 1, 0, 9, 0}, {9, 0, 0, 255, 9, 1}, {255, 0, 0, 255, 1, 255}, true},
      // 200/3 * 2 = 133.3, 255/1 * 2 saturates, 1/4 * 2 = 0.5 -> 0, 3/4 * 2 = 1.5 -> 2.
      {"div scaled", quo, -1, {3, 1, 4, 4, 1, 2}, {200, 255, 1, 3, 0, 1}, {133, 255, 0, 2, 0, 1}},
      {"or", bitOr, 0, {240, 15, 0, 255, 85, 1}, {15, 15, 0, 0, 170, 2}, {255, 15, 0, 255, 255, 3}},
      {"and", bitAnd, 0, {12, 240, 255, 0, 85, 3}, {10, 60, 7, 255, 170, 6}, {8, 48, 7, 0, 0, 2}},
      {"xor", bitXor, 0, {12, 255, 0, 9, 85, 3}, {10, 255, 7, 9, 170, 6}, {6, 0, 7, 0, 255, 5}},
      // One channel: six pixels.
      {"abs", absDiff, 0, {0, 255, 1, 7, 20, 1}, {255, 0, 7, 1, 20, 2}, {255, 255, 6, 6, 0, 1}, false, 6},
  };
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (const Hand& h : cases) {
      std::array<Ipp8u, 6> dst{};
      EXPECT_EQ(h.fn(h.s1.data(), 6, h.s2.data(), 6, dst.data(), 6, {h.width, 1}, h.sf),
                h.divByZero ? ippStsDivByZero : ippStsNoErr)
          << ippTargetName(t) << " " << h.what;
      EXPECT_EQ(dst, h.expected) << ippTargetName(t) << " " << h.what;
    }
  }
}

// Both sources are checked: each in turn takes the helper's source.
TEST(Arith, ErrorsWriteNothing) {
  const std::vector<Ipp8u> other(128);
  for (const Form& f : kForms) {
    const int row = 8 * f.pixelBytes;
    expectArgumentErrors(
        f.pixelBytes, f.pixelBytes,
        [&](const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi) {
          return f.fn(s, sStep, other.data(), row, d, dStep, roi, 0);
        },
        f.name);
    expectArgumentErrors(
        f.pixelBytes, f.pixelBytes,
        [&](const Ipp8u* s, int sStep, Ipp8u* d, int dStep, IppiSize roi) {
          return f.fn(other.data(), row, s, sStep, d, dStep, roi, 0);
        },
        std::string(f.name) + " (second source)");
  }
}

} // namespace
} // namespace fqipptest
