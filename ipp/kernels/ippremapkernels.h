// Kernel tables of the remap primitives, and the sample arithmetic every
// target shares so that all of them round alike. Private to the library.
#pragma once

#include "ipp/kernels/ippkernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace framquist::ipp_detail {

struct RemapArgs {
  const Ipp8u* src; // the source image origin
  int srcStep;
  int left, top, right, bottom; // the usable source pixels, inclusive
  const Ipp32f* xMap;
  int xMapStep;
  const Ipp32f* yMap;
  int yMapStep;
  Ipp8u* dst;
  int dstStep;
  int width, height; // destination ROI
};

using RemapFn = void (*)(const RemapArgs& args);

enum RemapMode : int { kRemapNearest = 0, kRemapLinear = 1, kRemapCubic = 2, kRemapModeCount = 3 };

struct RemapKernels {
  RemapFn remap[kRemapModeCount][kLayoutCount];
};

extern const RemapKernels kRemapReference;
extern const RemapKernels kRemapPortable;
extern const RemapKernels kRemapAvx2;

// AVX-512 CPUs run the AVX2 kernels: the work is bound by gathers.
inline const RemapKernels& remapKernels() noexcept {
  static constexpr const RemapKernels* tables[kTargetCount] = {&kRemapReference, &kRemapPortable, &kRemapAvx2,
                                                               &kRemapAvx2};
  return *tables[currentTarget()];
}

// ---- shared arithmetic (float, in this order, on every target) -----------
// Internal linkage: each target's translation unit keeps its own copy,
// compiled for that target.
namespace {

inline const Ipp32f* mapRow(const Ipp32f* map, int step, int y) noexcept {
  return reinterpret_cast<const Ipp32f*>(reinterpret_cast<const Ipp8u*>(map) +
                                         static_cast<std::ptrdiff_t>(y) * step);
}

// False for coordinates outside the usable source (NaN included).
inline bool remapInside(const RemapArgs& a, float xs, float ys) noexcept {
  return xs >= static_cast<float>(a.left) && xs <= static_cast<float>(a.right) &&
         ys >= static_cast<float>(a.top) && ys <= static_cast<float>(a.bottom);
}

inline Ipp8u remapRound(float v) noexcept {
  v = std::min(std::max(v, 0.0f), 255.0f);
  return static_cast<Ipp8u>(static_cast<int>(v + 0.5f));
}

inline float lerp2(float a, float b, float t) noexcept { return a + t * (b - a); }

// Weights of the cubic through samples at -1, 0, 1, 2, evaluated at t.
inline void cubicWeights(float t, float w[4]) noexcept {
  w[0] = -(t * (t - 1.0f) * (t - 2.0f)) / 6.0f;
  w[1] = ((t + 1.0f) * (t - 1.0f) * (t - 2.0f)) / 2.0f;
  w[2] = -((t + 1.0f) * t * (t - 2.0f)) / 2.0f;
  w[3] = ((t + 1.0f) * t * (t - 1.0f)) / 6.0f;
}

inline float cubic4(const float w[4], float p0, float p1, float p2, float p3) noexcept {
  return w[0] * p0 + w[1] * p1 + w[2] * p2 + w[3] * p3;
}

} // namespace

} // namespace framquist::ipp_detail
