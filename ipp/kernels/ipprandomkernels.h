// Kernel tables of the noise primitives, and the one generator they share.
// Private to the library.
//
// The generator is a 32-bit linear congruential step; a draw's value comes
// from the high half of the new state (the low bits of such a generator
// have short periods). Every target must produce the reference's draws in
// the reference's order, so the vector kernels run several copies of the
// sequence side by side, each one jumped ahead by the number of lanes.
#pragma once

#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {

inline constexpr Ipp32u kRandMul = 1664525u;
inline constexpr Ipp32u kRandAdd = 1013904223u;

constexpr Ipp32u randStep(Ipp32u state) noexcept { return state * kRandMul + kRandAdd; }

// n steps at once: state -> mul * state + add (mod 2^32).
struct RandJump {
  Ipp32u mul;
  Ipp32u add;
  constexpr Ipp32u operator()(Ipp32u state) const noexcept { return state * mul + add; }
};

constexpr RandJump randJump(unsigned n) noexcept {
  RandJump j{1u, 0u};
  for (unsigned i = 0; i < n; ++i) j = {j.mul * kRandMul, j.add * kRandMul + kRandAdd};
  return j;
}

// A draw mapped to 0 .. span-1 (span 1 to 256) from its high 16 bits.
constexpr Ipp32u uniformPick(Ipp32u state, Ipp32u span) noexcept { return ((state >> 16) * span) >> 16; }

// round(stdev * z) for the standard normal quantile z at (u + 0.5) / 65536,
// u the high 16 bits of a draw. Defined once, with the reference kernels,
// so every target's tables come from the same compiled code.
int gaussOffset(Ipp8u stdev, Ipp32u u) noexcept;
// gaussOffset for every u at one stdev, plus one spare entry so a 32-bit
// load at the last index stays inside. Built on first use, kept for the
// life of the process.
const Ipp16s* gaussOffsetTable(Ipp8u stdev) noexcept;

using AddRandUniformFn = void (*)(Ipp8u* image, int step, int width, int height, Ipp8u low, Ipp8u high,
                                  unsigned int* seed); // low <= high
using AddRandGaussFn = void (*)(Ipp8u* image, int step, int width, int height, Ipp8u mean, Ipp8u stdev,
                                unsigned int* seed);

struct RandomKernels {
  AddRandUniformFn uniform[kLayoutCount];
  AddRandGaussFn gauss[kLayoutCount];
};

extern const RandomKernels kRandomReference;
extern const RandomKernels kRandomPortable;
extern const RandomKernels kRandomAvx2;

// The generator, not the add, bounds the speed, and AVX-512 would only
// widen the lanes; CPUs with it run the AVX2 kernels.
inline const RandomKernels& randomKernels() noexcept {
  static constexpr const RandomKernels* tables[kTargetCount] = {&kRandomReference, &kRandomPortable,
                                                                &kRandomAvx2, &kRandomAvx2};
  return *tables[currentTarget()];
}

} // namespace framquist::ipp_detail
