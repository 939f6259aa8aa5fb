// Colour-twist kernels for CPUs with AVX2 (compiled with -mavx2): eight
// pixels at a time, one pixel per 32-bit lane, channels split by shifts.
#include "ipp/kernels/ippcolortwistkernels.h"

#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstring>

namespace framquist::ipp_detail {
namespace {

struct Rows {
  __m256 t[3][4];
  explicit Rows(const Ipp32f (*m)[4]) {
    for (int k = 0; k < 3; ++k)
      for (int j = 0; j < 4; ++j) t[k][j] = _mm256_set1_ps(m[k][j]);
  }
  // Eight pixels as 32-bit lanes holding bytes s0, s1, s2 (low first; the
  // top byte ignored); the result holds the three output bytes the same way.
  __m256i apply(__m256i px) const {
    const __m256i low = _mm256_set1_epi32(0xff);
    const __m256 s0 = _mm256_cvtepi32_ps(_mm256_and_si256(px, low));
    const __m256 s1 = _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(px, 8), low));
    const __m256 s2 = _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(px, 16), low));
    const __m256 zero = _mm256_setzero_ps(), top = _mm256_set1_ps(255.0f);
    __m256i out = _mm256_setzero_si256();
    for (int k = 0; k < 3; ++k) {
      __m256 v = _mm256_add_ps(_mm256_mul_ps(t[k][0], s0), _mm256_mul_ps(t[k][1], s1));
      v = _mm256_add_ps(_mm256_add_ps(v, _mm256_mul_ps(t[k][2], s2)), t[k][3]);
      v = _mm256_min_ps(_mm256_max_ps(v, zero), top); // max gives its second operand for NaN
      out = _mm256_or_si256(out, _mm256_slli_epi32(_mm256_cvtps_epi32(v), 8 * k));
    }
    return out;
  }
};

inline Ipp8u roundSaturate(float v) {
  if (!(v > 0.0f)) return 0;
  if (v > 255.0f) return 255;
  return static_cast<Ipp8u>(std::nearbyint(v));
}

void twistPixel(const Ipp8u* s, Ipp8u* d, const Ipp32f (*t)[4]) {
  const float s0 = s[0], s1 = s[1], s2 = s[2];
  float out[3];
  for (int k = 0; k < 3; ++k) out[k] = ((t[k][0] * s0 + t[k][1] * s1) + t[k][2] * s2) + t[k][3];
  for (int k = 0; k < 3; ++k) d[k] = roundSaturate(out[k]);
}

void twistC3(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
             const Ipp32f (*t)[4]) {
  const Rows rows(t);
  // Each 128-bit lane takes four pixels (12 bytes) and spreads them to
  // 32-bit lanes, and back.
  const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0, 1, 2, -1,
                                          3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
  const __m256i gather = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4,
                                          5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  const int rowBytes = width * 3;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    int x = 0;
    // The loads reach 28 bytes ahead; the stores write exactly 24.
    for (; x * 3 + 28 <= rowBytes; x += 8) {
      const Ipp8u* sp = s + x * 3;
      Ipp8u* dp = d + x * 3;
      const __m256i in = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(sp + 12),
                                             reinterpret_cast<const __m128i*>(sp));
      const __m256i out = _mm256_shuffle_epi8(rows.apply(_mm256_shuffle_epi8(in, spread)), gather);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dp), _mm256_castsi256_si128(out));
      const __m128i high = _mm256_extracti128_si256(out, 1);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(dp + 12), high);
      const int last = _mm_extract_epi32(high, 2);
      std::memcpy(dp + 20, &last, 4);
    }
    for (; x < width; ++x) twistPixel(s + x * 3, d + x * 3, t);
  }
}

void twistAC4(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
              const Ipp32f (*t)[4]) {
  const Rows rows(t);
  const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xff000000u));
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    int x = 0;
    for (; x + 8 <= width; x += 8) {
      const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x * 4));
      __m256i* out = reinterpret_cast<__m256i*>(d + x * 4);
      const __m256i kept = _mm256_and_si256(_mm256_loadu_si256(out), alpha);
      _mm256_storeu_si256(out, _mm256_or_si256(rows.apply(in), kept));
    }
    for (; x < width; ++x) twistPixel(s + x * 4, d + x * 4, t);
  }
}

} // namespace

const ColorTwistKernels kColorTwistAvx2 = {twistC3, twistAC4};

} // namespace framquist::ipp_detail
