// Threshold kernels for CPUs with AVX2 (compiled with -mavx2): 32 bytes per
// compare, levels laid out per byte position over a tile of whole pixels.
//
// The loop is instantiated per rule side that can fire, so a single-sided
// rule costs one compare and one select per vector; compares are signed
// after flipping the top bit, one instruction each. Work in place skips
// reading back the destination's alpha: the alpha levels never fire, so the
// source alpha written back is the destination's own.
#include "ipp/kernels/ippthresholdtile.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

template <int PixelBytes, bool Below, bool Above, bool KeepAlpha>
void thresholdRows(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                   const ThresholdTile<PixelBytes>& t) {
  // Three-byte pixels repeat every three vectors; four-byte ones every
  // vector, taken two at a time for fewer loop turns.
  constexpr int kVectors = PixelBytes == 3 ? 3 : 2;
  constexpr int kStride = 32 * kVectors;
  const __m256i flip = _mm256_set1_epi8(static_cast<char>(0x80));
  const auto level = [&](const Ipp8u* p, int j) {
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(p + 32 * j));
  };
  __m256i lt[kVectors], ltv[kVectors], gt[kVectors], gtv[kVectors], keep[kVectors];
  for (int j = 0; j < kVectors; ++j) {
    lt[j] = _mm256_xor_si256(level(t.lt, j), flip);
    ltv[j] = level(t.ltValue, j);
    gt[j] = _mm256_xor_si256(level(t.gt, j), flip);
    gtv[j] = level(t.gtValue, j);
    keep[j] = level(t.keep, j);
  }
  const int rowBytes = width * PixelBytes;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = rowOf(src, srcStep, y);
    Ipp8u* d = rowOf(dst, dstStep, y);
    int x = 0;
    for (; x + kStride <= rowBytes; x += kStride)
#pragma GCC unroll 3
      for (int j = 0; j < kVectors; ++j) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x + 32 * j));
        const __m256i sv = _mm256_xor_si256(v, flip);
        __m256i r = v;
        // The lower level wins where both fire, as in the per-sample rule.
        if constexpr (Above) r = _mm256_blendv_epi8(r, gtv[j], _mm256_cmpgt_epi8(sv, gt[j]));
        if constexpr (Below) r = _mm256_blendv_epi8(r, ltv[j], _mm256_cmpgt_epi8(lt[j], sv));
        __m256i* out = reinterpret_cast<__m256i*>(d + x + 32 * j);
        if constexpr (KeepAlpha) r = _mm256_blendv_epi8(r, _mm256_loadu_si256(out), keep[j]);
        _mm256_storeu_si256(out, r);
      }
    t.scalarSpan(s + x, d + x, rowBytes - x);
  }
}

template <int PixelBytes>
void thresholdAvx2(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                   const ThresholdArgs& args) {
  const ThresholdTile<PixelBytes> t(args);
  bool below = false, above = false;
  for (int c = 0; c < 3; ++c) {
    below = below || args.ltThreshold[c] != 0;
    above = above || args.gtThreshold[c] != 255;
  }
  constexpr bool kAlpha = PixelBytes == 4;
  const bool keep = kAlpha && !(src == dst && srcStep == dstStep);
  using Fn = void (*)(const Ipp8u*, int, Ipp8u*, int, int, int, const ThresholdTile<PixelBytes>&);
  // [keep alpha][below][above]
  static constexpr Fn kRows[2][2][2] = {
      {{thresholdRows<PixelBytes, false, false, false>, thresholdRows<PixelBytes, false, true, false>},
       {thresholdRows<PixelBytes, true, false, false>, thresholdRows<PixelBytes, true, true, false>}},
      {{thresholdRows<PixelBytes, false, false, kAlpha>, thresholdRows<PixelBytes, false, true, kAlpha>},
       {thresholdRows<PixelBytes, true, false, kAlpha>, thresholdRows<PixelBytes, true, true, kAlpha>}},
  };
  kRows[keep][below][above](src, srcStep, dst, dstStep, width, height, t);
}

} // namespace

const ThresholdKernels kThresholdAvx2 = {thresholdAvx2<3>, thresholdAvx2<4>};

} // namespace framquist::ipp_detail
