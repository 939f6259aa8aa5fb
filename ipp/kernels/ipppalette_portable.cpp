// Palette lookup for any CPU: the table is first copied to all 256 indices
// (masked once, not per sample), and rows run four samples at a time.
#include "ipp/kernels/ipppalettekernels.h"
#include "ipp/kernels/ipprows.h"

namespace framquist::ipp_detail {
namespace {

void palette8u32u(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                  const Ipp32u* table, int mask) {
  Ipp32u full[256];
  for (int i = 0; i < 256; ++i) full[i] = table[i & mask];
  for (int y = 0; y < height; ++y) {
    const u8* s = rowAt(src, srcStep, y);
    u8* d = rowAt(dst, dstStep, y);
    int x = 0;
    for (; x + 4 <= width; x += 4) {
      const Ipp32u v[4] = {full[s[x]], full[s[x + 1]], full[s[x + 2]], full[s[x + 3]]};
      std::memcpy(d + 4 * x, v, 16);
    }
    for (; x < width; ++x) std::memcpy(d + 4 * x, &full[s[x]], 4);
  }
}

} // namespace

const PaletteKernels kPalettePortable = {palette8u32u};

} // namespace framquist::ipp_detail
