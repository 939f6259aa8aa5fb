// Kernel tables of the palette lookup, one per target. Private.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

// dst is the first byte of the 32-bit destination row; mask keeps the
// significant bits of a sample (2^nBitSize - 1).
using Palette8u32uFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                                const Ipp32u* table, int mask);

struct PaletteKernels {
  Palette8u32uFn palette8u32u;
};

extern const PaletteKernels kPaletteReference;
extern const PaletteKernels kPalettePortable;

inline const PaletteKernels& paletteKernels() noexcept {
  // Memory-bound: an AVX2 gather version measured slower than the scalar
  // table walk, so every vector target uses the portable kernel.
  static constexpr const PaletteKernels* tables[kTargetCount] = {&kPaletteReference, &kPalettePortable,
                                                                 &kPalettePortable, &kPalettePortable};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
