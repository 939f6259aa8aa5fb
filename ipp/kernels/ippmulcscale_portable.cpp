// Multiply-by-a-fraction-of-255 kernels for any x86-64: SSE2, 16 samples at
// a time in 16-bit lanes.
#include "ipp/kernels/ippmulcscalerows.h"
#include "ipp/kernels/ippvectors.h"

namespace framquist::ipp_detail {
namespace {

struct Sse2 : Sse2Vec {
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
