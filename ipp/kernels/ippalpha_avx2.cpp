// Alpha composition for CPUs with AVX2: eight pixels a step, widened to
// sixteen 16-bit lanes per register. Every product of two bytes fits 16
// bits, and x / 255 rounded is (t + (t >> 8)) >> 8 with t = x + 128.
#include "ipp/kernels/ippalpharows.h"
#include "ipp/kernels/ippx86blocks.h"

namespace framquist::ipp_detail {
namespace {

inline __m256i div255v(__m256i x) {
  const __m256i t = _mm256_add_epi16(x, _mm256_set1_epi16(128));
  return _mm256_srli_epi16(_mm256_add_epi16(t, _mm256_srli_epi16(t, 8)), 8);
}

// Each pixel's alpha word in all four of its words.
inline __m256i broadcastAlpha(__m256i x) {
  return _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(x, 0xff), 0xff);
}

template <int Base, bool Premul>
inline __m256i combine16(__m256i cA, __m256i cB) {
  const __m256i full = _mm256_set1_epi16(255);
  const __m256i aA = broadcastAlpha(cA), aB = broadcastAlpha(cB);
  if constexpr (!Premul) {
    // The alpha word as colour 255, so it comes out as the type's alpha.
    const __m256i alphaWord = _mm256_set1_epi64x(static_cast<long long>(0x00ff000000000000ULL));
    cA = div255v(_mm256_mullo_epi16(aA, _mm256_or_si256(cA, alphaWord)));
    cB = div255v(_mm256_mullo_epi16(aB, _mm256_or_si256(cB, alphaWord)));
  }
  const __m256i invA = _mm256_sub_epi16(full, aA), invB = _mm256_sub_epi16(full, aB);
  if constexpr (Base == 0)
    return _mm256_add_epi16(cA, div255v(_mm256_mullo_epi16(invA, cB)));
  else if constexpr (Base == 1)
    return div255v(_mm256_mullo_epi16(cA, aB));
  else if constexpr (Base == 2)
    return div255v(_mm256_mullo_epi16(cA, invB));
  else if constexpr (Base == 3)
    return _mm256_add_epi16(div255v(_mm256_mullo_epi16(cA, aB)), div255v(_mm256_mullo_epi16(invA, cB)));
  else if constexpr (Base == 4)
    return _mm256_add_epi16(div255v(_mm256_mullo_epi16(cA, invB)), div255v(_mm256_mullo_epi16(invA, cB)));
  else
    return _mm256_add_epi16(cA, cB);
}

template <int Base, bool Premul>
void composeRows(const u8* src1, int src1Step, const u8* src2, int src2Step, u8* dst, int dstStep, int width,
                 int height) {
  const __m256i zero = _mm256_setzero_si256();
  for (int y = 0; y < height; ++y) {
    const u8* a = rowAt(src1, src1Step, y);
    const u8* b = rowAt(src2, src2Step, y);
    u8* d = rowAt(dst, dstStep, y);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
      const __m256i va = load256(a + 4 * x), vb = load256(b + 4 * x);
      const __m256i lo =
          combine16<Base, Premul>(_mm256_unpacklo_epi8(va, zero), _mm256_unpacklo_epi8(vb, zero));
      const __m256i hi =
          combine16<Base, Premul>(_mm256_unpackhi_epi8(va, zero), _mm256_unpackhi_epi8(vb, zero));
      store256(d + 4 * x, _mm256_packus_epi16(lo, hi)); // saturates at 255
    }
    alphaPixels<Base, Premul>(a + 4 * x, b + 4 * x, d + 4 * x, width - x);
  }
}

using ComposeRowsFn = void (*)(const u8*, int, const u8*, int, u8*, int, int, int);

void compose(const Ipp8u* src1, int src1Step, const Ipp8u* src2, int src2Step, Ipp8u* dst, int dstStep,
             int width, int height, int type) {
  static constexpr ComposeRowsFn fns[12] = {
      composeRows<0, false>, composeRows<1, false>, composeRows<2, false>, composeRows<3, false>,
      composeRows<4, false>, composeRows<5, false>, composeRows<0, true>,  composeRows<1, true>,
      composeRows<2, true>,  composeRows<3, true>,  composeRows<4, true>,  composeRows<5, true>};
  fns[type](src1, src1Step, src2, src2Step, dst, dstStep, width, height);
}

} // namespace

const AlphaKernels kAlphaAvx2 = {compose};

} // namespace framquist::ipp_detail
