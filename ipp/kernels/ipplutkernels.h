// Kernel tables of the lookup primitives, one per target. Private.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

enum class LutMode : int { Step, Linear, Cubic };

struct LutCurve {
  const Ipp32s* values;
  const Ipp32s* levels;
  int n; // >= 2
};

// One call's curves, and the 256-entry table of each channel built from
// them. The reference kernels evaluate the curves per sample; the fast ones
// only read the tables. The pad lets a 4-byte gather start at any entry.
struct LutCall {
  LutMode mode;
  int channels;
  LutCurve curve[4];
  alignas(64) Ipp8u table[4][256];
  Ipp8u pad[4];
  bool sameTables; // every used channel has the same table
};

// The documented result for one sample (the reference's definition; the
// entry points build the tables with it too).
Ipp8u lutEvaluate(LutMode mode, const LutCurve& curve, int s) noexcept;

using LutFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                       const LutCall& call);

// Indexed by channel layout: C1, C3, C4.
struct LutKernels {
  LutFn apply[3];
};

extern const LutKernels kLutReference;
extern const LutKernels kLutPortable;
extern const LutKernels kLutAvx2;
extern const LutKernels kLutAvx512; // needs VBMI as well

// Whether the CPU has the AVX-512 byte permutes (VBMI).
bool cpuHasAvx512Vbmi() noexcept;

inline const LutKernels& lutKernels() noexcept {
  // AVX-512 CPUs without VBMI would gain nothing over the AVX2 shuffles.
  static const LutKernels* const avx512 = cpuHasAvx512Vbmi() ? &kLutAvx512 : &kLutAvx2;
  const LutKernels* const tables[kTargetCount] = {&kLutReference, &kLutPortable, &kLutAvx2, avx512};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
