// Kernel tables of the threshold primitives. Private to the library.
//
// One kernel per layout does all three rules: a single-sided rule is the
// double one with the other side unable to fire (nothing is below 0 or
// above 255).
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

struct ThresholdArgs {
  Ipp8u ltThreshold[3], ltValue[3], gtThreshold[3], gtValue[3];
};

using ThresholdFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                             const ThresholdArgs& args);

struct ThresholdKernels {
  ThresholdFn c3;
  ThresholdFn ac4; // alpha of the destination is kept
};

extern const ThresholdKernels kThresholdReference;
extern const ThresholdKernels kThresholdPortable;
extern const ThresholdKernels kThresholdAvx2;

// AVX-512 CPUs run the AVX2 kernels: the work is a few byte compares per
// load, so wider vectors would only move the memory bound.
inline const ThresholdKernels& thresholdKernels() noexcept {
  static constexpr const ThresholdKernels* tables[kTargetCount] = {&kThresholdReference, &kThresholdPortable,
                                                                   &kThresholdAvx2, &kThresholdAvx2};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
