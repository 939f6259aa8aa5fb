// labels: threaded
#include "ipptest.h"

#include "ipp/kernels/ippconvertkernels.h"

#include <vector>

namespace fqipptest {
namespace {

struct Format {
  const char* name;
  int code, bytes;
};
const Format kFormats[] = {{"24", 0, 3}, {"32", 3, 4}, {"565", 4, 2}, {"555", 5, 2}, {"grey", 6, 1}};

IppStatus convert(const Image& src, int from, Image& dst, int to) {
  return fqiConvertFormat_8u(src.at(), src.step, from, dst.at(), dst.step, to, src.roi);
}

int luma(int r, int g, int b) { return (299 * r + 587 * g + 114 * b + 500) / 1000; }

using ConvertTarget = PerTarget;

// Every pair of layouts, the same layout (a copy) included.
TEST_P(ConvertTarget, MatchesReference) {
  std::mt19937 rng(7);
  for (IppiSize roi : testSizes())
    for (bool padded : {false, true}) {
      for (const Format& from : kFormats)
        for (const Format& to : kFormats) {
          const Image src = makeImage(from.bytes, roi, padded, rng),
                      dst = makeImage(to.bytes, roi, padded, rng);
          expectMatchesReference(
              GetParam(), src, dst, [&](Image& s, Image& d) { return convert(s, from.code, d, to.code); },
              describe(from.name, roi, padded) + " to " + to.name, 0, to.bytes);
        }
      if (HasFatalFailure()) return;
    }
}

FQ_IPP_INSTANTIATE_FAST_TARGETS(ConvertTarget);

// One pixel worked by hand, repeated over a row long enough for whole
// vector blocks and a partial one.
struct Worked {
  int from;
  std::vector<Ipp8u> in;
  int to;
  std::vector<Ipp8u> out;
};
const Worked kWorked[] = {
    {4, {0x00, 0xf8}, 0, {0, 0, 255}},          // 5-6-5 red
    {4, {0xe0, 0x07}, 0, {0, 255, 0}},          // 5-6-5 green, six bits
    {4, {0x1f, 0x00}, 3, {255, 0, 0, 255}},     // 5-6-5 blue
    {4, {0x41, 0x08}, 0, {8, 8, 8}},            // r = 1, g = 2, b = 1
    {5, {0x00, 0x7c}, 0, {0, 0, 255}},          // 5-5-5 red
    {5, {0x10, 0x42}, 3, {132, 132, 132, 255}}, // 16 in every field
    {5, {0xff, 0xff}, 0, {255, 255, 255}},      // bit 15 ignored
    {0, {7, 3, 255}, 4, {0x00, 0xf8}},          // low bits dropped
    {0, {0, 255, 0}, 5, {0xe0, 0x03}},
    {3, {255, 4, 8, 9}, 5, {0x1f, 0x04}},
    {4, {0x00, 0xf8}, 5, {0x00, 0x7c}},
    {5, {0xe0, 0x03}, 4, {0xe0, 0x07}},
    {6, {255}, 4, {0xff, 0xff}},
    {0, {255, 255, 255}, 6, {255}},
    {0, {0, 0, 1}, 6, {0}},    // 799 / 1000
    {0, {0, 0, 2}, 6, {1}},    // 1098 / 1000
    {0, {4, 0, 0}, 6, {0}},    // 956 / 1000
    {0, {5, 0, 0}, 6, {1}},    // 1070 / 1000
    {3, {0, 1, 0, 0}, 6, {1}}, // alpha ignored
    {0, {100, 150, 200}, 6, {159}},
    {6, {100}, 0, {100, 100, 100}},
    {6, {7}, 3, {7, 7, 7, 255}},
    {3, {1, 2, 3, 77}, 0, {1, 2, 3}},
    {0, {1, 2, 3}, 3, {1, 2, 3, 255}},
    {1, {1, 2, 3}, 3, {1, 2, 3, 255}}, // unknown codes are 24-bit
    {3, {1, 2, 3, 4}, 7, {1, 2, 3}},
    {-1, {9, 8, 7}, 99, {9, 8, 7}},
};

TEST(Convert, WorkedPixels) {
  constexpr int kWidth = 70;
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (const Worked& w : kWorked) {
      std::vector<Ipp8u> src, dst(w.out.size() * kWidth * 2);
      for (int i = 0; i < kWidth * 2; ++i) src.insert(src.end(), w.in.begin(), w.in.end());
      const int srcStep = static_cast<int>(w.in.size()) * kWidth,
                dstStep = static_cast<int>(w.out.size()) * kWidth;
      ASSERT_EQ(fqiConvertFormat_8u(src.data(), srcStep, w.from, dst.data(), dstStep, w.to, {kWidth, 2}),
                ippStsNoErr);
      for (std::size_t i = 0; i < dst.size(); ++i)
        ASSERT_EQ(dst[i], w.out[i % w.out.size()])
            << ippTargetName(t) << ": " << w.from << " to " << w.to << ", byte " << i;
    }
  }
}

// Widening a 16-bit or grey pixel and narrowing it back gives it again,
// for every value and through both colour layouts.
TEST(Convert, RoundTripsEveryValue) {
  struct Trip {
    int format, bytes, values;
  };
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (const Trip& trip : {Trip{4, 2, 65536}, Trip{5, 2, 65536}, Trip{6, 1, 256}}) {
      const int width = 256, height = trip.values / width;
      std::vector<Ipp8u> src(static_cast<std::size_t>(trip.values) * trip.bytes), back(src.size(), 0);
      for (int v = 0; v < trip.values; ++v)
        for (int b = 0; b < trip.bytes; ++b) src[v * trip.bytes + b] = static_cast<Ipp8u>(v >> (8 * b));
      for (int via : {0, 3}) {
        const int viaBytes = via == 0 ? 3 : 4;
        std::vector<Ipp8u> wide(static_cast<std::size_t>(trip.values) * viaBytes);
        ASSERT_EQ(fqiConvertFormat_8u(src.data(), width * trip.bytes, trip.format, wide.data(),
                                      width * viaBytes, via, {width, height}),
                  ippStsNoErr);
        ASSERT_EQ(fqiConvertFormat_8u(wide.data(), width * viaBytes, via, back.data(), width * trip.bytes,
                                      trip.format, {width, height}),
                  ippStsNoErr);
        for (int v = 0; v < trip.values; ++v) {
          const int want = trip.format == 5 ? v & 0x7fff : v; // 5-5-5 writes bit 15 as zero
          const int got = trip.bytes == 1 ? back[v] : back[2 * v] | (back[2 * v + 1] << 8);
          ASSERT_EQ(got, want) << ippTargetName(t) << " format " << trip.format << " via " << via;
        }
      }
    }
  }
}

// The fast kernels' division of the luma sum by 1000, over every sum.
TEST(Convert, LumaDivisionIsExact) {
  for (unsigned sum = 0; sum <= 255500; ++sum)
    ASSERT_EQ(framquist::ipp_detail::lumaFromSum(sum), sum / 1000) << sum;
}

// Grey of all 2^24 colours from 24-bit and (with some alpha) 32-bit.
TEST(Convert, GreyOfEveryColour) {
  constexpr int kSide = 4096;
  std::vector<Ipp8u> c24(3u << 24), c32(4u << 24), want(1u << 24), grey(1u << 24);
  for (std::size_t i = 0; i < want.size(); ++i) {
    const Ipp8u b = static_cast<Ipp8u>(i), g = static_cast<Ipp8u>(i >> 8), r = static_cast<Ipp8u>(i >> 16);
    c24[3 * i] = c32[4 * i] = b;
    c24[3 * i + 1] = c32[4 * i + 1] = g;
    c24[3 * i + 2] = c32[4 * i + 2] = r;
    c32[4 * i + 3] = static_cast<Ipp8u>(i * 7);
    want[i] = static_cast<Ipp8u>(luma(r, g, b));
  }
  for (IppTarget t : availableTargets()) {
    TargetScope scope(t);
    for (int from : {0, 3}) {
      const std::vector<Ipp8u>& src = from == 0 ? c24 : c32;
      const int bytes = from == 0 ? 3 : 4;
      ASSERT_EQ(fqiConvertFormat_8u(src.data(), kSide * bytes, from, grey.data(), kSide, 6, {kSide, kSide}),
                ippStsNoErr);
      ASSERT_TRUE(grey == want) << ippTargetName(t) << " from " << from << ": "
                                << firstMismatch(want, grey, kSide);
    }
  }
}

// Rows split across threads give what one thread does.
TEST(Convert, SplitRowsMatchOneThread) {
  std::mt19937 rng(3);
  const IppiSize roi{701, 419};
  const int saved = ippGetNumThreads();
  for (const Format& from : kFormats)
    for (const Format& to : kFormats) {
      const Image src = makeImage(from.bytes, roi, true, rng), dst = makeImage(to.bytes, roi, true, rng);
      Image one = dst, split = dst;
      ippSetNumThreads(1);
      ASSERT_EQ(convert(src, from.code, one, to.code), ippStsNoErr);
      ippSetNumThreads(3);
      ASSERT_EQ(convert(src, from.code, split, to.code), ippStsNoErr);
      EXPECT_TRUE(one.data == split.data) << from.name << " to " << to.name;
    }
  ippSetNumThreads(saved);
}

TEST(Convert, ErrorsWriteNothing) {
  for (const Format& from : kFormats)
    for (const Format& to : kFormats)
      expectArgumentErrors(
          from.bytes, to.bytes,
          [&](const Ipp8u* s, int ss, Ipp8u* d, int ds, IppiSize roi) {
            return fqiConvertFormat_8u(s, ss, from.code, d, ds, to.code, roi);
          },
          std::string(from.name) + " to " + to.name);
}

} // namespace
} // namespace fqipptest
