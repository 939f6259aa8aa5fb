// Colour-twist kernels for any CPU: the matrix is held in locals and each
// row is evaluated branch-free, which the compiler can keep in registers.
#include "ipp/kernels/ippcolortwistkernels.h"

#include <cmath>
#include <cstddef>

namespace framquist::ipp_detail {
namespace {

inline Ipp8u roundSaturate(float v) {
  v = v > 0.0f ? v : 0.0f; // also NaN
  v = v < 255.0f ? v : 255.0f;
  return static_cast<Ipp8u>(std::nearbyint(v));
}

template <int PixelBytes>
void twistPortable(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                   const Ipp32f (*t)[4]) {
  const float a0 = t[0][0], a1 = t[0][1], a2 = t[0][2], a3 = t[0][3];
  const float b0 = t[1][0], b1 = t[1][1], b2 = t[1][2], b3 = t[1][3];
  const float c0 = t[2][0], c1 = t[2][1], c2 = t[2][2], c3 = t[2][3];
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x, s += PixelBytes, d += PixelBytes) {
      const float s0 = s[0], s1 = s[1], s2 = s[2];
      const Ipp8u r0 = roundSaturate(((a0 * s0 + a1 * s1) + a2 * s2) + a3);
      const Ipp8u r1 = roundSaturate(((b0 * s0 + b1 * s1) + b2 * s2) + b3);
      const Ipp8u r2 = roundSaturate(((c0 * s0 + c1 * s1) + c2 * s2) + c3);
      d[0] = r0;
      d[1] = r1;
      d[2] = r2;
    }
  }
}

} // namespace

const ColorTwistKernels kColorTwistPortable = {twistPortable<3>, twistPortable<4>};

} // namespace framquist::ipp_detail
