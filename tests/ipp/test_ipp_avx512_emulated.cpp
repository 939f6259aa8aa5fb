// The AVX-512 kernels compiled against scalar stand-ins for their AVX-512
// intrinsics (AVX2 ones stay real), checked against the reference kernels.
// This runs their block, shuffle and mask logic on any AVX2 machine; the
// per-target tests run the real instructions where the CPU has them.
#include "ipptest.h"

#include "ipp/kernels/ippconvertkernels.h"
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ipplutkernels.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <immintrin.h>
#include <memory>

#include "avx512emu.h"

#define kConvertAvx512 kConvertAvx512Emulated
#define kMirrorAvx512 kMirrorAvx512Emulated
#define kCopyAvx512 kCopyAvx512Emulated
#define kLutAvx512 kLutAvx512Emulated
#pragma GCC push_options
#pragma GCC target("avx2")
#include "ipp/kernels/ippconvert_avx512.cpp"
#include "ipp/kernels/ippcopy_avx512.cpp"
#include "ipp/kernels/ipplut_avx512.cpp"
#include "ipp/kernels/ippmirror_avx512.cpp"
#pragma GCC pop_options
#undef kConvertAvx512
#undef kMirrorAvx512
#undef kCopyAvx512
#undef kLutAvx512

namespace fqipptest {
namespace {

using namespace framquist::ipp_detail;

const char* const kLayoutNames[kLayoutCount] = {"C1", "C3", "C4", "AC4"};
const int kPixelBytes[kLayoutCount] = {1, 3, 4, 4};

// Runs call(emulated?, src, dst) on copies of the images with the emulated
// tables and with the reference ones and expects the same destination.
template <class Call>
void expectSame(const Image& src, const Image& dst, Call call, const std::string& what) {
  Image s1 = src, d1 = dst, s2 = src, d2 = dst;
  call(true, s1, d1);
  call(false, s2, d2);
  ASSERT_TRUE(d1.data == d2.data) << what << ": " << firstMismatch(d2.data, d1.data, dst.step);
}

TEST(Avx512Emulated, MatchesReference) {
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "the emulation still needs AVX2";
  auto mirrors = [](bool emulated) -> const MirrorKernels& {
    return emulated ? kMirrorAvx512Emulated : kMirrorReference;
  };
  auto copies = [](bool emulated) -> const CopyKernels& {
    return emulated ? kCopyAvx512Emulated : kCopyReference;
  };
  // The lookup reference evaluates curves; the AVX2 kernels read the same
  // tables and are themselves checked against it.
  auto lookups = [](bool emulated) -> const LutKernels& { return emulated ? kLutAvx512Emulated : kLutAvx2; };
  auto call = std::make_unique<LutCall>();
  call->mode = LutMode::Step;
  std::mt19937 rng(13);
  for (IppiSize roi : testSizes())
    for (bool padded : {false, true})
      for (int l = 0; l < kLayoutCount; ++l) {
        const Image src = makeImage(kPixelBytes[l], roi, padded, rng),
                    dst = makeImage(kPixelBytes[l], roi, padded, rng);
        const std::string what = describe(kLayoutNames[l], roi, padded);
        const int w = roi.width, h = roi.height;
        for (IppiAxis axis : {ippAxsHorizontal, ippAxsVertical, ippAxsBoth}) {
          expectSame(
              src, dst,
              [&](bool e, Image& s, Image& d) {
                mirrors(e).mirror[l](s.at(), s.step, d.at(), d.step, w, h, axis);
              },
              what + " mirror " + std::to_string(axis));
          expectSame(
              src, src,
              [&](bool e, Image&, Image& d) { mirrors(e).mirrorInPlace[l](d.at(), d.step, w, h, axis); },
              what + " mirror in place " + std::to_string(axis));
        }
        const Ipp8u value[4] = {static_cast<Ipp8u>(rng()), 2, 3, 4};
        expectSame(
            src, dst,
            [&](bool e, Image& s, Image& d) { copies(e).copy[l](s.at(), s.step, d.at(), d.step, w, h); },
            what + " copy");
        expectSame(
            src, dst, [&](bool e, Image&, Image& d) { copies(e).set[l](value, d.at(), d.step, w, h); },
            what + " set");
        for (int ch = 0; ch < 4 && kPixelBytes[l] == 4; ++ch)
          expectSame(
              src, dst,
              [&](bool e, Image& s, Image& d) {
                copies(e).copyChannelC4(s.at() + ch, s.step, d.at() + ch, d.step, w, h);
              },
              what + " copy channel " + std::to_string(ch));
        for (bool same : {false, true}) {
          if (l == kAC4 || (same && l == kC1)) break;
          call->channels = kPixelBytes[l];
          call->sameTables = same;
          for (auto& table : call->table)
            for (Ipp8u& entry : table) entry = static_cast<Ipp8u>(rng());
          expectSame(
              src, dst,
              [&](bool e, Image& s, Image& d) {
                lookups(e).apply[l](s.at(), s.step, d.at(), d.step, w, h, *call);
              },
              what + (same ? " lookup, one table" : " lookup"));
        }
        if (l == kC1) {
          const Image wide = makeImage(4, roi, padded, rng);
          for (int ch = 0; ch < 4; ++ch)
            expectSame(
                src, wide,
                [&](bool e, Image& s, Image& d) {
                  copies(e).copyC1C4(s.at(), s.step, d.at() + ch, d.step, w, h);
                },
                what + " copy into channel " + std::to_string(ch));
        }
        if (HasFatalFailure()) return;
      }
}

TEST(Avx512Emulated, ConversionsMatchReference) {
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "the emulation still needs AVX2";
  std::mt19937 rng(17);
  for (IppiSize roi : testSizes())
    for (bool padded : {false, true})
      for (int from = 0; from < kPixelFormatCount; ++from)
        for (int to = 0; to < kPixelFormatCount; ++to) {
          if (from == to) continue;
          const Image src = makeImage(kFormatBytes[from], roi, padded, rng),
                      dst = makeImage(kFormatBytes[to], roi, padded, rng);
          expectSame(
              src, dst,
              [&](bool e, Image& s, Image& d) {
                (e ? kConvertAvx512Emulated : kConvertReference)
                    .convert[from][to](s.at(), s.step, d.at(), d.step, roi.width, roi.height);
              },
              describe("convert", roi, padded) + " " + std::to_string(from) + " to " + std::to_string(to));
          if (HasFatalFailure()) return;
        }
}

} // namespace
} // namespace fqipptest
