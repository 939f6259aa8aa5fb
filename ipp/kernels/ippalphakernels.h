// Kernel tables of the alpha composition, one per target. Private.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

// type is an IppiAlphaType (0..11). dst may be src2 itself (in place).
using AlphaCompFn = void (*)(const Ipp8u* src1, int src1Step, const Ipp8u* src2, int src2Step, Ipp8u* dst,
                             int dstStep, int width, int height, int type);

struct AlphaKernels {
  AlphaCompFn compose;
};

extern const AlphaKernels kAlphaReference;
extern const AlphaKernels kAlphaPortable;
extern const AlphaKernels kAlphaAvx2;

inline const AlphaKernels& alphaKernels() noexcept {
  static constexpr const AlphaKernels* tables[kTargetCount] = {&kAlphaReference, &kAlphaPortable, &kAlphaAvx2,
                                                               &kAlphaAvx2};
  return *tables[currentTarget()];
}

// x / 255 rounded to nearest, exact for 0 <= x <= 255 * 255. Internal
// linkage: each target's translation unit keeps its own copy.
namespace {
constexpr int div255(int x) { return (x + 128 + ((x + 128) >> 8)) >> 8; }
} // namespace

} // namespace framquist::ipp_detail
