// Kernel tables of the colour-twist primitives. Private to the library.
//
// Every kernel evaluates a row as ((t0 * s0 + t1 * s1) + t2 * s2) + t3 in
// single precision without fused multiply-add, clamps to [0, 255] (NaN to
// 0) and rounds to nearest even, so all targets agree to the bit.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

using ColorTwistFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                              const Ipp32f (*twist)[4]);

struct ColorTwistKernels {
  ColorTwistFn c3;
  ColorTwistFn ac4; // alpha of the destination is kept
};

extern const ColorTwistKernels kColorTwistReference;
extern const ColorTwistKernels kColorTwistPortable;
extern const ColorTwistKernels kColorTwistAvx2;

// AVX-512 CPUs run the AVX2 kernels; the shuffles of three-byte pixels do
// not widen cheaply.
inline const ColorTwistKernels& colorTwistKernels() noexcept {
  static constexpr const ColorTwistKernels* tables[kTargetCount] = {
      &kColorTwistReference, &kColorTwistPortable, &kColorTwistAvx2, &kColorTwistAvx2};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
