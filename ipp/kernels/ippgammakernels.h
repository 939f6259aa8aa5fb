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

// Without AVX2 every target uses the table kernels: a 256-entry lookup per
// byte beats any in-register form of the curve. AVX2 CPUs take the shuffle
// lookup kernels instead (see ippgamma.cpp), so their entries here serve
// only when a test forces them.
inline const GammaKernels& gammaKernels() noexcept {
  static constexpr const GammaKernels* tables[kTargetCount] = {&kGammaReference, &kGammaPortable,
                                                               &kGammaPortable, &kGammaPortable};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
