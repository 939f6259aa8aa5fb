// Polar-to-Cartesian kernel for CPUs with AVX2 (compiled with -mavx2, no
// FMA): the same steps as the portable kernel, four elements per vector.
// (Working on two or three vectors per step was no faster: the core already
// overlaps consecutive steps as far as its schedulers allow.)
#include "ipp/kernels/ipppolarkernels.h"

#include <immintrin.h>

#include <algorithm>
#include <cmath>

namespace framquist::ipp_detail {

namespace {

using polar::SinCos;
using polar::sinCosReduced;

// Four doubles, with the arithmetic the shared algorithm uses.
struct D4 {
  __m256d v;
  D4() = default;
  D4(__m256d x) : v(x) {}                // NOLINT: wraps the register
  D4(double x) : v(_mm256_set1_pd(x)) {} // NOLINT: constants take part in expressions
};
inline D4 operator+(D4 a, D4 b) { return _mm256_add_pd(a.v, b.v); }
inline D4 operator-(D4 a, D4 b) { return _mm256_sub_pd(a.v, b.v); }
inline D4 operator*(D4 a, D4 b) { return _mm256_mul_pd(a.v, b.v); }

// Lanes whose phase is out of range or not a number (bit j for lane j).
inline int outsideLanes(__m256d phase) {
  const __m256d abs = _mm256_andnot_pd(_mm256_set1_pd(-0.0), phase);
  return _mm256_movemask_pd(_mm256_cmp_pd(abs, _mm256_set1_pd(polar::kPolarLimit), _CMP_NLE_UQ));
}

// The lanes in `outside` again, through the C library.
void patchLanes(int outside, __m256d magn, __m256d phase, __m256d& re, __m256d& im) {
  alignas(32) double m[4], p[4], x[4], y[4];
  _mm256_store_pd(m, magn);
  _mm256_store_pd(p, phase);
  _mm256_store_pd(x, re);
  _mm256_store_pd(y, im);
  for (int j = 0; j < 4; ++j)
    if ((outside >> j) & 1) {
      x[j] = m[j] * std::cos(p[j]);
      y[j] = m[j] * std::sin(p[j]);
    }
  re = _mm256_load_pd(x);
  im = _mm256_load_pd(y);
}

// Four elements. Everything is read before anything is written: the
// outputs may alias the inputs.
[[gnu::always_inline]] inline void block4(const double* magn, const double* phase, double* re, double* im) {
  const __m256d p = _mm256_loadu_pd(phase), m = _mm256_loadu_pd(magn);
  const SinCos<D4> sc = sinCosReduced(D4(p));
  const __m256i q = _mm256_castpd_si256(sc.roundedK.v);
  // The low bit of the quadrant, moved to the sign bit, picks the blend.
  const __m256d odd = _mm256_castsi256_pd(_mm256_slli_epi64(q, 63));
  const __m256d sign = _mm256_set1_pd(-0.0);
  const __m256i q1 = _mm256_add_epi64(q, _mm256_set1_epi64x(1));
  const __m256d cosNeg = _mm256_and_pd(_mm256_castsi256_pd(_mm256_slli_epi64(q1, 62)), sign);
  const __m256d sinNeg = _mm256_and_pd(_mm256_castsi256_pd(_mm256_slli_epi64(q, 62)), sign);
  const __m256d cosX = _mm256_xor_pd(_mm256_blendv_pd(sc.cos.v, sc.sin.v, odd), cosNeg);
  const __m256d sinX = _mm256_xor_pd(_mm256_blendv_pd(sc.sin.v, sc.cos.v, odd), sinNeg);
  __m256d x = _mm256_mul_pd(m, cosX), y = _mm256_mul_pd(m, sinX);
  if (const int outside = outsideLanes(p)) [[unlikely]]
    patchLanes(outside, m, p, x, y);
  _mm256_storeu_pd(re, x);
  _mm256_storeu_pd(im, y);
}

void polarToCartAvx2(const Ipp64f* magn, const Ipp64f* phase, Ipp64f* re, Ipp64f* im, int len) {
  int i = 0;
  for (; i + 4 <= len; i += 4) block4(magn + i, phase + i, re + i, im + i);
  if (i == len) return;
  // The tail runs on zeros past the end; only the real elements are written.
  alignas(32) double m[4] = {}, p[4] = {}, x[4], y[4];
  const int n = len - i;
  std::copy(magn + i, magn + len, m);
  std::copy(phase + i, phase + len, p);
  block4(m, p, x, y);
  std::copy(x, x + n, re + i);
  std::copy(y, y + n, im + i);
}

} // namespace

const PolarKernels kPolarAvx2 = {polarToCartAvx2};

} // namespace framquist::ipp_detail
