// Kernel tables of the fixed neighbourhood filters, one per target. Private.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

// src points at the centre pixel of the first output; the border around the
// ROI is readable.
using NeighbourFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height);

struct FilterKernels {
  NeighbourFn gauss3x3AC4;
  NeighbourFn gauss5x5AC4;
};

extern const FilterKernels kFilterReference;
extern const FilterKernels kFilterPortable;
extern const FilterKernels kFilterAvx2;

inline const FilterKernels& filterKernels() noexcept {
  // AVX-512 CPUs run the AVX2 kernels.
  static constexpr const FilterKernels* tables[kTargetCount] = {&kFilterReference, &kFilterPortable,
                                                                &kFilterAvx2, &kFilterAvx2};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
