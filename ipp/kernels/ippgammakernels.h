// Kernel tables of the gamma primitives. Private to the library.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

using GammaFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                         bool inverse);

struct GammaKernels {
  GammaFn c3;
  GammaFn ac4; // alpha of the destination is kept
};

// The curve on one sample, from the formula (defined with the reference
// kernels, so every table is built by the one compiled copy).
Ipp8u gammaSample(Ipp8u v, bool inverse) noexcept;
// All 256 results of gammaSample, built once.
const Ipp8u* gammaTable(bool inverse) noexcept;

extern const GammaKernels kGammaReference;
extern const GammaKernels kGammaPortable;

// Every vector target uses the table kernels: a 256-entry lookup per byte
// is already faster than any in-register form of the curve, and shuffle
// based lookups of 256 entries cost more instructions than the loads.
inline const GammaKernels& gammaKernels() noexcept {
  static constexpr const GammaKernels* tables[kTargetCount] = {&kGammaReference, &kGammaPortable,
                                                               &kGammaPortable, &kGammaPortable};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
