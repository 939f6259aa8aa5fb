// AVX2 remap of four-byte pixels, eight destination pixels per step: the
// neighbours are gathered as whole pixels and the channels interpolated in
// float lanes in the reference's order. Other layouts and cubic
// interpolation run the portable loops (built here with AVX2 enabled).
#include <immintrin.h>

#include "ipp/kernels/ippremaprows.h"

namespace framquist::ipp_detail {

namespace {

using namespace remaprows;

struct Bounds {
  __m256 left, right, top, bottom;
  __m256i rightI, bottomI, step;
  explicit Bounds(const RemapArgs& a)
      : left(_mm256_set1_ps(static_cast<float>(a.left))), right(_mm256_set1_ps(static_cast<float>(a.right))),
        top(_mm256_set1_ps(static_cast<float>(a.top))), bottom(_mm256_set1_ps(static_cast<float>(a.bottom))),
        rightI(_mm256_set1_epi32(a.right)), bottomI(_mm256_set1_epi32(a.bottom)),
        step(_mm256_set1_epi32(a.srcStep)) {}

  // Lanes whose coordinates lie inside (NaN compares false).
  __m256 inside(__m256 xs, __m256 ys) const {
    return _mm256_and_ps(
        _mm256_and_ps(_mm256_cmp_ps(xs, left, _CMP_GE_OQ), _mm256_cmp_ps(xs, right, _CMP_LE_OQ)),
        _mm256_and_ps(_mm256_cmp_ps(ys, top, _CMP_GE_OQ), _mm256_cmp_ps(ys, bottom, _CMP_LE_OQ)));
  }
};

inline __m256i gather(const Ipp8u* src, __m256i offsets) {
  return _mm256_i32gather_epi32(reinterpret_cast<const int*>(src), offsets, 1);
}

// Writes the lanes of `in`; AC4 keeps the destination's fourth bytes.
template <int Channels>
inline void store(Ipp8u* d, __m256i pixels, __m256 in) {
  if constexpr (Channels == 3) {
    const __m256i old = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d));
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xff000000u));
    pixels = _mm256_or_si256(_mm256_andnot_si256(alpha, pixels), _mm256_and_si256(alpha, old));
  }
  _mm256_maskstore_epi32(reinterpret_cast<int*>(d), _mm256_castps_si256(in), pixels);
}

template <int Channels>
void nearest4(const RemapArgs& a) {
  const Bounds b(a);
  const __m256 half = _mm256_set1_ps(0.5f);
  for (int y = 0; y < a.height; ++y) {
    const Ipp32f* xm = mapRow(a.xMap, a.xMapStep, y);
    const Ipp32f* ym = mapRow(a.yMap, a.yMapStep, y);
    Ipp8u* d = a.dst + static_cast<std::ptrdiff_t>(y) * a.dstStep;
    int x = 0;
    for (; x + 8 <= a.width; x += 8) {
      __m256 xs = _mm256_loadu_ps(xm + x), ys = _mm256_loadu_ps(ym + x);
      const __m256 in = b.inside(xs, ys);
      if (_mm256_movemask_ps(in) == 0) continue;
      // Lanes outside read the corner pixel instead, and are not stored.
      xs = _mm256_blendv_ps(b.left, xs, in);
      ys = _mm256_blendv_ps(b.top, ys, in);
      const __m256i xi =
          _mm256_min_epi32(_mm256_cvttps_epi32(_mm256_floor_ps(_mm256_add_ps(xs, half))), b.rightI);
      const __m256i yi =
          _mm256_min_epi32(_mm256_cvttps_epi32(_mm256_floor_ps(_mm256_add_ps(ys, half))), b.bottomI);
      const __m256i off = _mm256_add_epi32(_mm256_mullo_epi32(yi, b.step), _mm256_slli_epi32(xi, 2));
      store<Channels>(d + 4 * x, gather(a.src, off), in);
    }
    remapSpan<4, Channels, nearestPixel<4, Channels>>(a, y, x, a.width);
  }
}

template <int Channels>
void linear4(const RemapArgs& a) {
  const Bounds b(a);
  const __m256 zero = _mm256_setzero_ps(), top255 = _mm256_set1_ps(255.0f), half = _mm256_set1_ps(0.5f);
  const __m256i ff = _mm256_set1_epi32(0xff), four = _mm256_set1_epi32(4);
  for (int y = 0; y < a.height; ++y) {
    const Ipp32f* xm = mapRow(a.xMap, a.xMapStep, y);
    const Ipp32f* ym = mapRow(a.yMap, a.yMapStep, y);
    Ipp8u* d = a.dst + static_cast<std::ptrdiff_t>(y) * a.dstStep;
    int x = 0;
    for (; x + 8 <= a.width; x += 8) {
      __m256 xs = _mm256_loadu_ps(xm + x), ys = _mm256_loadu_ps(ym + x);
      const __m256 in = b.inside(xs, ys);
      if (_mm256_movemask_ps(in) == 0) continue;
      xs = _mm256_blendv_ps(b.left, xs, in);
      ys = _mm256_blendv_ps(b.top, ys, in);
      const __m256 fx0 = _mm256_floor_ps(xs), fy0 = _mm256_floor_ps(ys);
      const __m256 tx = _mm256_sub_ps(xs, fx0), ty = _mm256_sub_ps(ys, fy0);
      const __m256i xi = _mm256_cvttps_epi32(fx0), yi = _mm256_cvttps_epi32(fy0);
      // The second neighbour repeats the first at the right and bottom edges.
      const __m256i dx = _mm256_and_si256(_mm256_cmpgt_epi32(b.rightI, xi), four);
      const __m256i dy = _mm256_and_si256(_mm256_cmpgt_epi32(b.bottomI, yi), b.step);
      const __m256i off = _mm256_add_epi32(_mm256_mullo_epi32(yi, b.step), _mm256_slli_epi32(xi, 2));
      const __m256i p00 = gather(a.src, off);
      const __m256i p01 = gather(a.src, _mm256_add_epi32(off, dx));
      const __m256i p10 = gather(a.src, _mm256_add_epi32(off, dy));
      const __m256i p11 = gather(a.src, _mm256_add_epi32(_mm256_add_epi32(off, dx), dy));
      __m256i out = _mm256_setzero_si256();
      for (int c = 0; c < Channels; ++c) {
        const __m256i shift = _mm256_set1_epi32(8 * c);
        auto chan = [&](__m256i p) {
          return _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srlv_epi32(p, shift), ff));
        };
        const __m256 s00 = chan(p00), s01 = chan(p01), s10 = chan(p10), s11 = chan(p11);
        const __m256 top = _mm256_add_ps(s00, _mm256_mul_ps(tx, _mm256_sub_ps(s01, s00)));
        const __m256 bottom = _mm256_add_ps(s10, _mm256_mul_ps(tx, _mm256_sub_ps(s11, s10)));
        __m256 v = _mm256_add_ps(top, _mm256_mul_ps(ty, _mm256_sub_ps(bottom, top)));
        v = _mm256_min_ps(_mm256_max_ps(v, zero), top255);
        const __m256i iv = _mm256_cvttps_epi32(_mm256_add_ps(v, half));
        out = _mm256_or_si256(out, _mm256_sllv_epi32(iv, shift));
      }
      store<Channels>(d + 4 * x, out, in);
    }
    remapSpan<4, Channels, linearPixel<4, Channels>>(a, y, x, a.width);
  }
}

} // namespace

const RemapKernels kRemapAvx2 = {{
    {remapAll<1, 1, nearestPixel<1, 1>>, remapAll<3, 3, nearestPixel<3, 3>>, nearest4<4>, nearest4<3>},
    {remapAll<1, 1, linearPixel<1, 1>>, remapAll<3, 3, linearPixel<3, 3>>, linear4<4>, linear4<3>},
    {remapAll<1, 1, cubicPixel<1, 1>>, remapAll<3, 3, cubicPixel<3, 3>>, remapAll<4, 4, cubicPixel<4, 4>>,
     remapAll<4, 3, cubicPixel<4, 3>>},
}};

} // namespace framquist::ipp_detail
