// Multiply-by-a-fraction-of-255 kernels for any x86-64: SSE2, 16 samples at
// a time in 16-bit lanes.
#include "ipp/kernels/ippmulcscalerows.h"

#include <emmintrin.h>

namespace framquist::ipp_detail {
namespace {

struct Sse2 {
  using T = __m128i;
  static constexpr int kBytes = 16;
  static T load(const u8* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void store(u8* p, T v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static T zero() { return _mm_setzero_si128(); }
  static T unpackLo(T a, T b) { return _mm_unpacklo_epi8(a, b); }
  static T unpackHi(T a, T b) { return _mm_unpackhi_epi8(a, b); }
  static T mul16(T a, T b) { return _mm_mullo_epi16(a, b); }
  static T add16(T a, T b) { return _mm_add_epi16(a, b); }
  static T mulHi16(T a, T b) { return _mm_mulhi_epu16(a, b); }
  static T set16(short v) { return _mm_set1_epi16(v); }
  static T packUs(T a, T b) { return _mm_packus_epi16(a, b); }
};

} // namespace

const MulCScaleKernels kMulCScalePortable = MulCScaleTable<Sse2>();

} // namespace framquist::ipp_detail
