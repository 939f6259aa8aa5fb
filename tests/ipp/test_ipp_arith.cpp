#include "ipptest.h"

#include "ipp/ipparith.h"

#include <array>

namespace fqipptest {
namespace {

using SfsFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
using PlainFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize);

struct Form {
  const char* name;
  int pixelBytes, channels; // channels written: AC4 leaves the fourth alone
  SfsFn sfs;                // one of the two is set
  PlainFn plain;
  bool divides;
};

const Form kForms[] = {
    {"Add_C1", 1, 1, ippiAdd_8u_C1RSfs, nullptr, false},
    {"Add_C3", 3, 3, ippiAdd_8u_C3RSfs, nullptr, false},
    {"Add_AC4", 4, 3, ippiAdd_8u_AC4RSfs, nullptr, false},
    {"Sub_C1", 1, 1, ippiSub_8u_C1RSfs, nullptr, false},
    {"Sub_C3", 3, 3, ippiSub_8u_C3RSfs, nullptr, false},
    {"Sub_AC4", 4, 3, ippiSub_8u_AC4RSfs, nullptr, false},
    {"Mul_C1", 1, 1, ippiMul_8u_C1RSfs, nullptr, false},
    {"Mul_C3", 3, 3, ippiMul_8u_C3RSfs, nullptr, false},
    {"Mul_AC4", 4, 3, ippiMul_8u_AC4RSfs, nullptr, false},
    {"Div_C1", 1, 1, ippiDiv_8u_C1RSfs, nullptr, true},
    {"Div_C3", 3, 3, ippiDiv_8u_C3RSfs, nullptr, true},
    {"Div_AC4", 4, 3, ippiDiv_8u_AC4RSfs, nullptr, true},
    {"Or_C1", 1, 1, nullptr, ippiOr_8u_C1R, false},
    {"Or_C3", 3, 3, nullptr, ippiOr_8u_C3R, false},
    {"Or_AC4", 4, 3, nullptr, ippiOr_8u_AC4R, false},
    {"And_C1", 1, 1, nullptr, ippiAnd_8u_C1R, false},
    {"And_C3", 3, 3, nullptr, ippiAnd_8u_C3R, false},
    {"And_AC4", 4, 3, nullptr, ippiAnd_8u_AC4R, false},
    {"Xor_C1", 1, 1, nullptr, ippiXor_8u_C1R, false},
    {"Xor_C3", 3, 3, nullptr, ippiXor_8u_C3R, false},
    {"Xor_AC4", 4, 3, nullptr, ippiXor_8u_AC4R, false},
    {"AbsDiff_C1", 1, 1, nullptr, ippiAbsDiff_8u_C1R, false},
};

IppStatus call(const Form& f, const Image& s1, const Image& s2, Image& d, int sf) {
  return f.sfs != nullptr ? f.sfs(s1.at(), s1.step, s2.at(), s2.step, d.at(), d.step, s1.roi, sf)
                          : f.plain(s1.at(), s1.step, s2.at(), s2.step, d.at(), d.step, s1.roi);
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
          if (sf == 0 || (f.sfs != nullptr && roi.width < 40)) {
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
      if (!f.divides) continue;
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
using InPlaceSfsFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
using InPlacePlainFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);
struct InPlaceForm {
  const char* name;
  InPlaceSfsFn sfs; // one of each pair is set
  InPlacePlainFn plain;
  Form twoSource;
};
const InPlaceForm kInPlaceForms[] = {
    {"Add_AC4I", ippiAdd_8u_AC4IRSfs, nullptr, {"", 4, 3, ippiAdd_8u_AC4RSfs, nullptr, false}},
    {"Sub_AC4I", ippiSub_8u_AC4IRSfs, nullptr, {"", 4, 3, ippiSub_8u_AC4RSfs, nullptr, false}},
    {"Mul_AC4I", ippiMul_8u_AC4IRSfs, nullptr, {"", 4, 3, ippiMul_8u_AC4RSfs, nullptr, false}},
    {"Div_AC4I", ippiDiv_8u_AC4IRSfs, nullptr, {"", 4, 3, ippiDiv_8u_AC4RSfs, nullptr, true}},
    {"Or_AC4I", nullptr, ippiOr_8u_AC4IR, {"", 4, 3, nullptr, ippiOr_8u_AC4R, false}},
    {"And_AC4I", nullptr, ippiAnd_8u_AC4IR, {"", 4, 3, nullptr, ippiAnd_8u_AC4R, false}},
    {"Xor_AC4I", nullptr, ippiXor_8u_AC4IR, {"", 4, 3, nullptr, ippiXor_8u_AC4R, false}},
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
          const IppStatus wantSt = call(f.twoSource, s, before, want, sf);
          const Ipp8u* sp = self ? got.at() : src.at();
          const IppStatus gotSt = f.sfs != nullptr ? f.sfs(sp, s.step, got.at(), got.step, roi, sf)
                                                   : f.plain(sp, s.step, got.at(), got.step, roi);
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
  SfsFn fn;
  int sf;
  std::array<Ipp8u, 6> s1, s2, expected;
  IppStatus status = ippStsNoErr;
};

TEST(Arith, HandWorkedC3) {
  const Hand cases[] = {
      {"add saturates",
       ippiAdd_8u_C3RSfs,
       0,
       {200, 0, 255, 1, 2, 100},
       {200, 0, 1, 1, 3, 155},
       {255, 0, 255, 2, 5, 255}},
      // 5/2 and 7/2 and 3/2 round to the even neighbour.
      {"add halves to even",
       ippiAdd_8u_C3RSfs,
       1,
       {2, 3, 1, 255, 0, 1},
       {3, 4, 2, 255, 1, 0},
       {2, 4, 2, 255, 0, 0}},
      {"add scaled up",
       ippiAdd_8u_C3RSfs,
       -2,
       {10, 40, 0, 1, 0, 0},
       {10, 30, 0, 0, 0, 0},
       {80, 255, 0, 4, 0, 0}},
      // Second source minus first.
      {"sub order",
       ippiSub_8u_C3RSfs,
       0,
       {10, 30, 0, 255, 5, 5},
       {30, 10, 255, 0, 5, 6},
       {20, 0, 255, 0, 0, 1}},
      {"mul saturates",
       ippiMul_8u_C3RSfs,
       0,
       {20, 2, 255, 0, 1, 15},
       {20, 3, 255, 9, 200, 17},
       {255, 6, 255, 0, 200, 255}},
      // 384/256 = 1.5 -> 2, 128/256 = 0.5 -> 0, 640/256 = 2.5 -> 2, 896/256 = 3.5 -> 4.
      {"mul scaled",
       ippiMul_8u_C3RSfs,
       8,
       {16, 16, 32, 28, 255, 1},
       {24, 8, 20, 32, 255, 1},
       {2, 0, 2, 4, 254, 0}},
      // Second source divided by the first; 5/2 -> 2, 7/2 -> 4, 200/3 -> 67.
      {"div order and rounding",
       ippiDiv_8u_C3RSfs,
       0,
       {2, 2, 3, 200, 255, 4},
       {5, 7, 200, 3, 255, 2},
       {2, 4, 67, 0, 1, 0}},
      {"div by zero",
       ippiDiv_8u_C3RSfs,
       0,
       {0, 0, 1, 0, 9, 0},
       {9, 0, 0, 255, 9, 1},
       {255, 0, 0, 255, 1, 255},
       ippStsDivByZero},
      // 200/3 * 2 = 133.3, 255/1 * 2 saturates, 1/4 * 2 = 0.5 -> 0, 3/4 * 2 = 1.5 -> 2.
      {"div scaled",
       ippiDiv_8u_C3RSfs,
       -1,
       {3, 1, 4, 4, 1, 2},
       {200, 255, 1, 3, 0, 1},
       {133, 255, 0, 2, 0, 1}},
  };
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (const Hand& h : cases) {
      std::array<Ipp8u, 6> dst{};
      EXPECT_EQ(h.fn(h.s1.data(), 6, h.s2.data(), 6, dst.data(), 6, {2, 1}, h.sf), h.status)
          << ippTargetName(t) << " " << h.what;
      EXPECT_EQ(dst, h.expected) << ippTargetName(t) << " " << h.what;
    }
  }
}

// Logic, absolute difference and the AC4 alpha, on a frame wide enough for
// the vector code, against values computed here.
TEST(Arith, LogicAbsDiffAndAC4AlphaOnEveryTarget) {
  constexpr int kW = 37;
  std::mt19937 rng(23);
  Image s1 = makeImage(4, {kW, 3}, true, rng), s2 = makeImage(4, {kW, 3}, true, rng);
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    const Image before = makeImage(4, {kW, 3}, true, rng);
    Image dOr = before, dAnd = before, dXor = before, dSub = before, dAbs = before;
    ASSERT_EQ(ippiOr_8u_AC4R(s1.at(), s1.step, s2.at(), s2.step, dOr.at(), dOr.step, s1.roi), ippStsNoErr);
    ASSERT_EQ(ippiAnd_8u_AC4R(s1.at(), s1.step, s2.at(), s2.step, dAnd.at(), dAnd.step, s1.roi), ippStsNoErr);
    ASSERT_EQ(ippiXor_8u_AC4R(s1.at(), s1.step, s2.at(), s2.step, dXor.at(), dXor.step, s1.roi), ippStsNoErr);
    ASSERT_EQ(ippiSub_8u_AC4RSfs(s1.at(), s1.step, s2.at(), s2.step, dSub.at(), dSub.step, s1.roi, 0),
              ippStsNoErr);
    // A one-channel view over all four bytes: the alpha is differenced too.
    ASSERT_EQ(ippiAbsDiff_8u_C1R(s1.at(), s1.step, s2.at(), s2.step, dAbs.at(), dAbs.step, {kW * 4, 3}),
              ippStsNoErr);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < kW; ++x)
        for (int c = 0; c < 4; ++c) {
          const int a = s1.sample(x, y, c), b = s2.sample(x, y, c), old = before.sample(x, y, c);
          const bool alpha = c == 3;
          ASSERT_EQ(dOr.sample(x, y, c), alpha ? old : (a | b)) << ippTargetName(t);
          ASSERT_EQ(dAnd.sample(x, y, c), alpha ? old : (a & b)) << ippTargetName(t);
          ASSERT_EQ(dXor.sample(x, y, c), alpha ? old : (a ^ b)) << ippTargetName(t);
          ASSERT_EQ(dSub.sample(x, y, c), alpha ? old : std::max(b - a, 0)) << ippTargetName(t);
          ASSERT_EQ(dAbs.sample(x, y, c), std::abs(a - b)) << ippTargetName(t);
        }
  }
}

TEST(Arith, ErrorsWriteNothing) {
  std::mt19937 rng(3);
  for (const Form& f : kForms) {
    const IppiSize ok{8, 4};
    const int row = 8 * f.pixelBytes;
    const Image s = makeImage(f.pixelBytes, ok, false, rng);
    Image d = makeImage(f.pixelBytes, ok, false, rng);
    const Image before = d;
    auto run = [&](const Ipp8u* a, int aStep, const Ipp8u* b, int bStep, Ipp8u* out, int outStep,
                   IppiSize roi) {
      return f.sfs != nullptr ? f.sfs(a, aStep, b, bStep, out, outStep, roi, 0)
                              : f.plain(a, aStep, b, bStep, out, outStep, roi);
    };
    EXPECT_EQ(run(nullptr, row, s.at(), row, d.at(), row, ok), ippStsNullPtrErr) << f.name;
    EXPECT_EQ(run(s.at(), row, nullptr, row, d.at(), row, ok), ippStsNullPtrErr) << f.name;
    EXPECT_EQ(run(s.at(), row, s.at(), row, nullptr, row, ok), ippStsNullPtrErr) << f.name;
    EXPECT_EQ(run(s.at(), row, s.at(), row, d.at(), row, {0, 4}), ippStsSizeErr) << f.name;
    EXPECT_EQ(run(s.at(), row, s.at(), row, d.at(), row, {8, -1}), ippStsSizeErr) << f.name;
    EXPECT_EQ(run(s.at(), row - 1, s.at(), row, d.at(), row, ok), ippStsStepErr) << f.name;
    EXPECT_EQ(run(s.at(), row, s.at(), row - 1, d.at(), row, ok), ippStsStepErr) << f.name;
    EXPECT_EQ(run(s.at(), row, s.at(), row, d.at(), 0, ok), ippStsStepErr) << f.name;
    EXPECT_TRUE(d.data == before.data) << f.name;
  }
}

} // namespace
} // namespace fqipptest
