// Multiply-by-a-fraction-of-255 kernels for CPUs with AVX2 (compiled with
// -mavx2): 32 samples at a time in 16-bit lanes.
#include "ipp/kernels/ippmulcscalerows.h"
#include "ipp/kernels/ippvectors.h"

namespace framquist::ipp_detail {
namespace {

struct Avx2 : Avx2Vec {
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
