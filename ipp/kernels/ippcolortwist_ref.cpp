// Reference colour-twist kernels: one pixel at a time, straight from the
// definition. The fast kernels are tested against these.
#include "ipp/kernels/ippcolortwistkernels.h"

#include <cmath>
#include <cstddef>

namespace framquist::ipp_detail {

namespace {

Ipp8u roundSaturate(float v) {
  if (!(v > 0.0f)) return 0; // also NaN
  if (v > 255.0f) return 255;
  return static_cast<Ipp8u>(std::nearbyint(v));
}

template <int PixelBytes>
void twistRef(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
              const Ipp32f (*t)[4]) {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep + x * PixelBytes;
      Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep + x * PixelBytes;
      const float s0 = s[0], s1 = s[1], s2 = s[2];
      float out[3];
      for (int k = 0; k < 3; ++k) out[k] = ((t[k][0] * s0 + t[k][1] * s1) + t[k][2] * s2) + t[k][3];
      for (int k = 0; k < 3; ++k) d[k] = roundSaturate(out[k]);
    }
}

} // namespace

const ColorTwistKernels kColorTwistReference = {twistRef<3>, twistRef<4>};

} // namespace framquist::ipp_detail
