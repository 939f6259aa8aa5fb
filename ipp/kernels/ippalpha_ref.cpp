// Alpha composition, one pixel at a time as documented: colours are first
// multiplied by their alpha (unless the type says they already are), then
// combined by the type's formula.
#include "ipp/kernels/ippalphakernels.h"

#include <cstddef>

namespace framquist::ipp_detail {
namespace {

int sat(int v) { return v > 255 ? 255 : v; }

// One colour (or, with A = B = 255, the alpha) of the result. pA and pB are
// the premultiplied colours.
int combine(int base, int pA, int aA, int pB, int aB) {
  switch (base) {
  case 0: // over
    return sat(pA + div255((255 - aA) * pB));
  case 1: // in
    return div255(pA * aB);
  case 2: // out
    return div255(pA * (255 - aB));
  case 3: // atop
    return sat(div255(pA * aB) + div255((255 - aA) * pB));
  case 4: // xor
    return sat(div255(pA * (255 - aB)) + div255((255 - aA) * pB));
  default: // plus
    return sat(pA + pB);
  }
}

void compose(const Ipp8u* src1, int src1Step, const Ipp8u* src2, int src2Step, Ipp8u* dst, int dstStep,
             int width, int height, int type) {
  const bool premultiplied = type >= 6;
  const int base = type % 6;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Ipp8u* a = src1 + static_cast<std::ptrdiff_t>(y) * src1Step + 4 * x;
      const Ipp8u* b = src2 + static_cast<std::ptrdiff_t>(y) * src2Step + 4 * x;
      Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep + 4 * x;
      const int aA = a[3], aB = b[3];
      int out[4];
      for (int c = 0; c < 3; ++c) {
        const int pA = premultiplied ? a[c] : div255(aA * a[c]);
        const int pB = premultiplied ? b[c] : div255(aB * b[c]);
        out[c] = combine(base, pA, aA, pB, aB);
      }
      out[3] = combine(base, aA, aA, aB, aB);
      for (int c = 0; c < 4; ++c) d[c] = static_cast<Ipp8u>(out[c]);
    }
}

} // namespace

const AlphaKernels kAlphaReference = {compose};

} // namespace framquist::ipp_detail
