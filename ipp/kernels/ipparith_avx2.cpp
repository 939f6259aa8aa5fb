// Two-source arithmetic and logical kernels for CPUs with AVX2 (compiled
// with -mavx2): 32 bytes at a time. Div as in the portable set.
#include "ipp/kernels/ipparithrows.h"
#include "ipp/kernels/ippvectors.h"

namespace framquist::ipp_detail {
namespace {

struct Avx2 : Avx2Vec {
  static T ones() { return _mm256_set1_epi8(-1); }

  static T add(T a, T b) { return _mm256_adds_epu8(a, b); }
  static T sub(T a, T b) { return _mm256_subs_epu8(b, a); }
  static T bitOr(T a, T b) { return _mm256_or_si256(a, b); }
  static T bitAnd(T a, T b) { return _mm256_and_si256(a, b); }
  static T bitXor(T a, T b) { return _mm256_xor_si256(a, b); }
  static T absDiff(T a, T b) { return _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a)); }

  static T mul(T a, T b) {
    const T z = zero(), max = _mm256_set1_epi16(255);
    const T lo = _mm256_mullo_epi16(_mm256_unpacklo_epi8(a, z), _mm256_unpacklo_epi8(b, z));
    const T hi = _mm256_mullo_epi16(_mm256_unpackhi_epi8(a, z), _mm256_unpackhi_epi8(b, z));
    return _mm256_packus_epi16(_mm256_min_epu16(lo, max), _mm256_min_epu16(hi, max));
  }

  // The low eight bytes of v as floats.
  static __m256 floats8(__m128i v) { return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(v)); }
  static T quotients(__m128i num, __m128i den) {
    return _mm256_cvtps_epi32(_mm256_div_ps(floats8(num), floats8(den)));
  }
  // b / a; a zero divisor gives 255, or 0 for 0 / 0.
  static T div(T a, T b) {
    const __m128i a0 = _mm256_castsi256_si128(a), a1 = _mm256_extracti128_si256(a, 1);
    const __m128i b0 = _mm256_castsi256_si128(b), b1 = _mm256_extracti128_si256(b, 1);
    const T q0 = quotients(b0, a0), q1 = quotients(_mm_srli_si128(b0, 8), _mm_srli_si128(a0, 8));
    const T q2 = quotients(b1, a1), q3 = quotients(_mm_srli_si128(b1, 8), _mm_srli_si128(a1, 8));
    // The packs interleave the 128-bit lanes; the permute puts the groups
    // of four back in order.
    const T packed = _mm256_packus_epi16(_mm256_packs_epi32(q0, q1), _mm256_packs_epi32(q2, q3));
    const T q = _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    const T z = zero();
    const T byZero = _mm256_cmpeq_epi8(a, z);
    const T fill = _mm256_andnot_si256(_mm256_cmpeq_epi8(b, z), ones());
    return _mm256_blendv_epi8(q, fill, byZero);
  }

  static T keepAlpha(T r, T old) {
    return _mm256_blendv_epi8(r, old, _mm256_set1_epi32(static_cast<int>(0xff000000u)));
  }
  static T orZeroes(T acc, T v) { return _mm256_or_si256(acc, _mm256_cmpeq_epi8(v, zero())); }
  static bool anySet(T v) { return _mm256_movemask_epi8(v) != 0; }
};

} // namespace

const ArithKernels kArithAvx2 = ArithTable<Avx2>();

} // namespace framquist::ipp_detail
