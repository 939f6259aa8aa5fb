// Scalar rows of the alpha composition, shared by the portable kernels and
// the tails of the vector ones. Internal linkage only, see ipprows.h.
//
// The alpha is worked as a fourth colour: with the colour taken as 255
// (before premultiplying) every type's colour formula gives its alpha
// formula, so all four bytes run through the same arithmetic.
#pragma once

#include "ipp/kernels/ippalphakernels.h"
#include "ipp/kernels/ipprows.h"

namespace framquist::ipp_detail {
namespace {

template <int Base>
inline int alphaCombine(int pA, int aA, int pB, int aB) {
  int v;
  if constexpr (Base == 0)
    v = pA + div255((255 - aA) * pB);
  else if constexpr (Base == 1)
    v = div255(pA * aB);
  else if constexpr (Base == 2)
    v = div255(pA * (255 - aB));
  else if constexpr (Base == 3)
    v = div255(pA * aB) + div255((255 - aA) * pB);
  else if constexpr (Base == 4)
    v = div255(pA * (255 - aB)) + div255((255 - aA) * pB);
  else
    v = pA + pB;
  return v > 255 ? 255 : v;
}

template <int Base, bool Premul>
inline void alphaPixels(const u8* a, const u8* b, u8* d, int count) {
  for (int x = 0; x < count; ++x, a += 4, b += 4, d += 4) {
    const int aA = a[3], aB = b[3];
    int out[4];
    for (int c = 0; c < 4; ++c) {
      const int cA = (c == 3 && !Premul) ? 255 : a[c];
      const int cB = (c == 3 && !Premul) ? 255 : b[c];
      const int pA = Premul ? cA : div255(aA * cA);
      const int pB = Premul ? cB : div255(aB * cB);
      out[c] = alphaCombine<Base>(pA, aA, pB, aB);
    }
    for (int c = 0; c < 4; ++c) d[c] = static_cast<u8>(out[c]);
  }
}

using AlphaPixelsFn = void (*)(const u8*, const u8*, u8*, int);

inline AlphaPixelsFn alphaPixelsFor(int type) {
  static constexpr AlphaPixelsFn fns[12] = {
      alphaPixels<0, false>, alphaPixels<1, false>, alphaPixels<2, false>, alphaPixels<3, false>,
      alphaPixels<4, false>, alphaPixels<5, false>, alphaPixels<0, true>,  alphaPixels<1, true>,
      alphaPixels<2, true>,  alphaPixels<3, true>,  alphaPixels<4, true>,  alphaPixels<5, true>};
  return fns[type];
}

} // namespace
} // namespace framquist::ipp_detail
