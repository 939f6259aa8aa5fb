// Palette lookup, one pixel at a time as documented.
#include "ipp/kernels/ipppalettekernels.h"

#include <cstring>

namespace framquist::ipp_detail {
namespace {

void palette8u32u(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                  const Ipp32u* table, int mask) {
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x) {
      const Ipp32u entry = table[s[x] & mask];
      std::memcpy(d + 4 * x, &entry, 4);
    }
  }
}

} // namespace

const PaletteKernels kPaletteReference = {palette8u32u};

} // namespace framquist::ipp_detail
