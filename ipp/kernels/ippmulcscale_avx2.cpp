// Multiply-by-a-fraction-of-255 kernels for CPUs with AVX2 (compiled with
// -mavx2): 32 samples at a time in 16-bit lanes, with the division by 255
// of the portable set.
#include "ipp/kernels/ippmulcscalekernels.h"
#include "ipp/kernels/ipprows.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

// A multiple of the vector and of every pixel size (see the portable set).
constexpr int kPeriod = 96;

struct Factors {
  // 16-bit factors built with the same in-lane unpacks as the samples, so
  // they line up whatever order those leave the lanes in.
  __m256i lo[3], hi[3];
  u8 bytes[kPeriod];
};

inline __m256i load(const u8* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void store(u8* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

inline __m256i divide255(__m256i t) {
  const __m256i r = _mm256_add_epi16(t, _mm256_set1_epi16(128));
  return _mm256_srli_epi16(_mm256_add_epi16(r, _mm256_srli_epi16(r, 8)), 8);
}

inline void scaleVector(u8* p, const Factors& f, int j) {
  const __m256i z = _mm256_setzero_si256(), s = load(p);
  const __m256i lo = divide255(_mm256_mullo_epi16(_mm256_unpacklo_epi8(s, z), f.lo[j]));
  const __m256i hi = divide255(_mm256_mullo_epi16(_mm256_unpackhi_epi8(s, z), f.hi[j]));
  store(p, _mm256_packus_epi16(lo, hi));
}

// In place, so every byte is visited once: no overlapping last vector.
void scaleRow(u8* d, int n, const Factors& f) {
  int i = 0;
  for (; i + kPeriod <= n; i += kPeriod) {
    scaleVector(d + i, f, 0);
    scaleVector(d + i + 32, f, 1);
    scaleVector(d + i + 64, f, 2);
  }
  for (int j = 0; i + 32 <= n; i += 32, ++j) scaleVector(d + i, f, j);
  for (; i < n; ++i) d[i] = mulCScaleSample(d[i], f.bytes[i % kPeriod]);
}

template <int Channels>
void mulCScale(const u8* value, u8* image, int step, int width, int height) {
  Factors f;
  for (int i = 0; i < kPeriod; ++i) f.bytes[i] = value[i % Channels];
  const __m256i z = _mm256_setzero_si256();
  for (int j = 0; j < 3; ++j) {
    const __m256i v = load(f.bytes + 32 * j);
    f.lo[j] = _mm256_unpacklo_epi8(v, z);
    f.hi[j] = _mm256_unpackhi_epi8(v, z);
  }
  int n = width * Channels;
  if (contiguous(step, n, height)) {
    n *= height;
    height = 1;
  }
  for (int y = 0; y < height; ++y) scaleRow(rowAt(image, step, y), n, f);
}

} // namespace

const MulCScaleKernels kMulCScaleAvx2 = {{mulCScale<1>, mulCScale<3>, mulCScale<4>}};

} // namespace framquist::ipp_detail
