// Two-source arithmetic and logical kernels for any x86-64: SSE2, 16 bytes
// at a time. Div divides in single precision (exact enough: a quotient of
// 8-bit values is never within 2^-9 of a half unless it is one) and rounds
// halves to even with the default rounding mode, like the reference.
#include "ipp/kernels/ipparithrows.h"
#include "ipp/kernels/ippvectors.h"

namespace framquist::ipp_detail {
namespace {

struct Sse2 : Sse2Vec {
  static T ones() { return _mm_set1_epi8(-1); }

  static T add(T a, T b) { return _mm_adds_epu8(a, b); }
  static T sub(T a, T b) { return _mm_subs_epu8(b, a); }
  static T bitOr(T a, T b) { return _mm_or_si128(a, b); }
  static T bitAnd(T a, T b) { return _mm_and_si128(a, b); }
  static T bitXor(T a, T b) { return _mm_xor_si128(a, b); }
  static T absDiff(T a, T b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

  // min(x, 255) for 16-bit lanes without SSE4.1's unsigned min.
  static T min255(T x) {
    const T high = _mm_set1_epi16(static_cast<short>(0xff00));
    return _mm_subs_epu16(_mm_adds_epu16(x, high), high);
  }
  static T mul(T a, T b) {
    const T z = zero();
    const T lo = _mm_mullo_epi16(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z));
    const T hi = _mm_mullo_epi16(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z));
    return _mm_packus_epi16(min255(lo), min255(hi));
  }

  // Four bytes as floats, from a vector of 16-bit lanes.
  static __m128 lo4(T w) { return _mm_cvtepi32_ps(_mm_unpacklo_epi16(w, zero())); }
  static __m128 hi4(T w) { return _mm_cvtepi32_ps(_mm_unpackhi_epi16(w, zero())); }
  static T quotients(T num16, T den16) {
    const T q0 = _mm_cvtps_epi32(_mm_div_ps(lo4(num16), lo4(den16)));
    const T q1 = _mm_cvtps_epi32(_mm_div_ps(hi4(num16), hi4(den16)));
    return _mm_packs_epi32(q0, q1);
  }
  // b / a; a zero divisor gives 255, or 0 for 0 / 0.
  static T div(T a, T b) {
    const T z = zero();
    const T qlo = quotients(_mm_unpacklo_epi8(b, z), _mm_unpacklo_epi8(a, z));
    const T qhi = quotients(_mm_unpackhi_epi8(b, z), _mm_unpackhi_epi8(a, z));
    const T q = _mm_packus_epi16(qlo, qhi);
    const T byZero = _mm_cmpeq_epi8(a, z);
    const T fill = _mm_andnot_si128(_mm_cmpeq_epi8(b, z), ones());
    return _mm_or_si128(_mm_andnot_si128(byZero, q), _mm_and_si128(byZero, fill));
  }

  // r with the fourth byte of each pixel taken from old.
  static T keepAlpha(T r, T old) {
    const T alpha = _mm_set1_epi32(static_cast<int>(0xff000000u));
    return _mm_or_si128(_mm_andnot_si128(alpha, r), _mm_and_si128(alpha, old));
  }
  static T orZeroes(T acc, T v) { return _mm_or_si128(acc, _mm_cmpeq_epi8(v, zero())); }
  static bool anySet(T v) { return _mm_movemask_epi8(v) != 0; }
};

} // namespace

const ArithKernels kArithPortable = ArithTable<Sse2>();

} // namespace framquist::ipp_detail
