// Multiply-by-a-fraction-of-255 kernels for CPUs with AVX2 (compiled with
// -mavx2): 32 samples at a time in 16-bit lanes.
#include "ipp/kernels/ippmulcscalerows.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

struct Avx2 {
  using T = __m256i;
  static constexpr int kBytes = 32;
  static T load(const u8* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
  static void store(u8* p, T v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static T zero() { return _mm256_setzero_si256(); }
  static T unpackLo(T a, T b) { return _mm256_unpacklo_epi8(a, b); }
  static T unpackHi(T a, T b) { return _mm256_unpackhi_epi8(a, b); }
  static T mul16(T a, T b) { return _mm256_mullo_epi16(a, b); }
  static T add16(T a, T b) { return _mm256_add_epi16(a, b); }
  static T mulHi16(T a, T b) { return _mm256_mulhi_epu16(a, b); }
  static T set16(short v) { return _mm256_set1_epi16(v); }
  static T packUs(T a, T b) { return _mm256_packus_epi16(a, b); }
};

} // namespace

const MulCScaleKernels kMulCScaleAvx2 = MulCScaleTable<Avx2>();

} // namespace framquist::ipp_detail
