// Threshold kernels for CPUs with AVX2 (compiled with -mavx2): 32 bytes per
// compare, levels laid out per byte position over a tile of whole pixels.
#include "ipp/kernels/ippthresholdtile.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

template <int PixelBytes>
void thresholdAvx2(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                   const ThresholdArgs& args) {
  using Tile = ThresholdTile<PixelBytes>;
  constexpr int kVectors = Tile::kBytes / 32;
  const Tile t(args);
  __m256i lt[kVectors], ltv[kVectors], gt[kVectors], gtv[kVectors], keep[kVectors];
  for (int j = 0; j < kVectors; ++j) {
    lt[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.lt + 32 * j));
    ltv[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.ltValue + 32 * j));
    gt[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.gt + 32 * j));
    gtv[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.gtValue + 32 * j));
    keep[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.keep + 32 * j));
  }
  const __m256i zero = _mm256_setzero_si256();
  const int rowBytes = width * PixelBytes;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = rowOf(src, srcStep, y);
    Ipp8u* d = rowOf(dst, dstStep, y);
    int x = 0;
    for (; x + Tile::kBytes <= rowBytes; x += Tile::kBytes)
      for (int j = 0; j < kVectors; ++j) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x + 32 * j));
        // Unsigned compares by saturating subtraction: zero means "not beyond".
        const __m256i notBelow = _mm256_cmpeq_epi8(_mm256_subs_epu8(lt[j], v), zero);
        const __m256i notAbove = _mm256_cmpeq_epi8(_mm256_subs_epu8(v, gt[j]), zero);
        __m256i r = _mm256_blendv_epi8(gtv[j], v, notAbove);
        r = _mm256_blendv_epi8(ltv[j], r, notBelow);
        __m256i* out = reinterpret_cast<__m256i*>(d + x + 32 * j);
        if constexpr (PixelBytes == 4) r = _mm256_blendv_epi8(r, _mm256_loadu_si256(out), keep[j]);
        _mm256_storeu_si256(out, r);
      }
    t.scalarSpan(s + x, d + x, rowBytes - x);
  }
}

} // namespace

const ThresholdKernels kThresholdAvx2 = {thresholdAvx2<3>, thresholdAvx2<4>};

} // namespace framquist::ipp_detail
