// Kernel tables of the two-source arithmetic and logical primitives, one
// per target. Private to the library.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

enum ArithOp : int {
  kArithAdd,
  kArithSub,
  kArithMul,
  kArithDiv,
  kArithOr,
  kArithAnd,
  kArithXor,
  kArithAbsDiff,
  kArithOpCount
};

// Which samples a kernel writes: every byte of a row (width counts bytes),
// or the first three of each 4-byte pixel (width counts pixels).
enum ArithSamples : int { kAllSamples = 0, kColourOfAC4 = 1, kArithSamplesCount = 2 };

// dst = op(src1, src2) in the operand order of the public forms (Sub gives
// src2 - src1, Div src2 / src1). The result is nonzero when Div met a zero
// divisor among the samples it wrote. Logical ops ignore scaleFactor.
using ArithFn = int (*)(const Ipp8u* src1, int src1Step, const Ipp8u* src2, int src2Step, Ipp8u* dst,
                        int dstStep, int width, int height, int scaleFactor);

struct ArithKernels {
  ArithFn op[kArithOpCount][kArithSamplesCount];
};

extern const ArithKernels kArithReference;
extern const ArithKernels kArithPortable;
extern const ArithKernels kArithAvx2;

// AVX-512 machines run the AVX2 kernels: these are bound by memory
// bandwidth, and wider vectors would not move the bytes any faster.
inline const ArithKernels& arithKernels() noexcept {
  static constexpr const ArithKernels* tables[kTargetCount] = {&kArithReference, &kArithPortable, &kArithAvx2,
                                                               &kArithAvx2};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
