// Kernel tables of the in-place multiply-by-a-fraction-of-255 primitives,
// one per target. Private to the library.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

// value holds one sample per channel (1, 3 or 4); width counts pixels.
using MulCScaleFn = void (*)(const Ipp8u* value, Ipp8u* image, int step, int width, int height);

// Indexed by kC1, kC3, kC4.
struct MulCScaleKernels {
  MulCScaleFn op[3];
};

extern const MulCScaleKernels kMulCScaleReference;
extern const MulCScaleKernels kMulCScalePortable;
extern const MulCScaleKernels kMulCScaleAvx2;

// AVX-512 machines run the AVX2 kernels: one multiply per byte leaves them
// bound by memory bandwidth already.
inline const MulCScaleKernels& mulCScaleKernels() noexcept {
  static constexpr const MulCScaleKernels* tables[kTargetCount] = {&kMulCScaleReference, &kMulCScalePortable,
                                                                   &kMulCScaleAvx2, &kMulCScaleAvx2};
  return *tables[currentTarget()];
}

namespace {

// round(s * v / 255); s * v / 255 is never a half, so adding 127 and
// truncating rounds it. Internal linkage (see ipprows.h).
inline Ipp8u mulCScaleSample(Ipp8u s, Ipp8u v) { return static_cast<Ipp8u>((s * v + 127) / 255); }

} // namespace

} // namespace framquist::ipp_detail
