// Multiply-by-a-fraction-of-255 kernels for any x86-64: SSE2, 16 samples at
// a time in 16-bit lanes. For t = s * v <= 65025, round(t / 255) is
// ((t + 128) + ((t + 128) >> 8)) >> 8, and no step of that leaves 16 bits.
#include "ipp/kernels/ippmulcscalekernels.h"
#include "ipp/kernels/ipprows.h"

#include <emmintrin.h>

namespace framquist::ipp_detail {
namespace {

// The factors repeat every 48 bytes: a multiple of the vector and of every
// pixel size, so three vectors of factors cover any layout in phase.
constexpr int kPeriod = 48;

struct Factors {
  __m128i lo[3], hi[3]; // 16-bit factors in the lane order of unpacklo/unpackhi
  u8 bytes[kPeriod];
};

inline __m128i load(const u8* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(u8* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

inline __m128i divide255(__m128i t) {
  const __m128i r = _mm_add_epi16(t, _mm_set1_epi16(128));
  return _mm_srli_epi16(_mm_add_epi16(r, _mm_srli_epi16(r, 8)), 8);
}

inline void scaleVector(u8* p, const Factors& f, int j) {
  const __m128i z = _mm_setzero_si128(), s = load(p);
  const __m128i lo = divide255(_mm_mullo_epi16(_mm_unpacklo_epi8(s, z), f.lo[j]));
  const __m128i hi = divide255(_mm_mullo_epi16(_mm_unpackhi_epi8(s, z), f.hi[j]));
  store(p, _mm_packus_epi16(lo, hi));
}

// In place, so every byte is visited once: no overlapping last vector.
void scaleRow(u8* d, int n, const Factors& f) {
  int i = 0;
  for (; i + kPeriod <= n; i += kPeriod) {
    scaleVector(d + i, f, 0);
    scaleVector(d + i + 16, f, 1);
    scaleVector(d + i + 32, f, 2);
  }
  for (int j = 0; i + 16 <= n; i += 16, ++j) scaleVector(d + i, f, j);
  for (; i < n; ++i) d[i] = mulCScaleSample(d[i], f.bytes[i % kPeriod]);
}

template <int Channels>
void mulCScale(const u8* value, u8* image, int step, int width, int height) {
  Factors f;
  for (int i = 0; i < kPeriod; ++i) f.bytes[i] = value[i % Channels];
  const __m128i z = _mm_setzero_si128();
  for (int j = 0; j < 3; ++j) {
    const __m128i v = load(f.bytes + 16 * j);
    f.lo[j] = _mm_unpacklo_epi8(v, z);
    f.hi[j] = _mm_unpackhi_epi8(v, z);
  }
  int n = width * Channels;
  if (contiguous(step, n, height)) {
    n *= height;
    height = 1;
  }
  for (int y = 0; y < height; ++y) scaleRow(rowAt(image, step, y), n, f);
}

} // namespace

const MulCScaleKernels kMulCScalePortable = {{mulCScale<1>, mulCScale<3>, mulCScale<4>}};

} // namespace framquist::ipp_detail
