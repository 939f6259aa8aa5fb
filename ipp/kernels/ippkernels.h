// Kernel tables of the image primitives, one per target, and the per-call
// choice of table. Private to the library.
//
// The public entry points validate their arguments and then make one
// indirect call through the table of the target in force; kernels may
// assume valid arguments (non-null pointers, width and height >= 1, steps
// at least one row of pixels).
#pragma once

#include "ipp/ippdefs.h"
#include "ipp/ippdispatch.h"

#include <atomic>

namespace framquist::ipp_detail {

inline constexpr int kTargetUnresolved = -1;
inline constexpr int kTargetCount = 4;

// The target in force, as an int indexing the kernel tables.
extern std::atomic<int> g_target;
// Settles the initial target if that has not happened yet; returns it.
int resolveTarget() noexcept;

inline int currentTarget() noexcept {
  const int t = g_target.load(std::memory_order_relaxed);
  return t >= 0 ? t : resolveTarget();
}

// Pixel layouts, indexing the per-layout kernel slots.
enum Layout : int { kC1 = 0, kC3 = 1, kC4 = 2, kAC4 = 3, kLayoutCount = 4 };

using MirrorFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                          IppiAxis flip);
using MirrorInPlaceFn = void (*)(Ipp8u* image, int step, int width, int height, IppiAxis flip);
using CopyFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height);
// value points at one sample per written channel (1, 3, 4, or 3 for AC4).
using SetFn = void (*)(const Ipp8u* value, Ipp8u* dst, int dstStep, int width, int height);

struct MirrorKernels {
  MirrorFn mirror[kLayoutCount];
  MirrorInPlaceFn mirrorInPlace[kLayoutCount];
};

struct CopyKernels {
  CopyFn copy[kLayoutCount];
  CopyFn copyChannelC4; // src and dst point at the channel to copy
  // src is one-channel; dst points at one channel of 4-byte pixels. Never
  // touches a byte after the last one it writes in a row (the channel's
  // offset in the pixel is unknown, so that byte may end the image).
  CopyFn copyC1C4;
  SetFn set[kLayoutCount];
};

extern const MirrorKernels kMirrorReference;
extern const MirrorKernels kMirrorPortable;
extern const MirrorKernels kMirrorAvx2;
extern const MirrorKernels kMirrorAvx512;

extern const CopyKernels kCopyReference;
extern const CopyKernels kCopyPortable;
extern const CopyKernels kCopyAvx2;
extern const CopyKernels kCopyAvx512;

inline const MirrorKernels& mirrorKernels() noexcept {
  static constexpr const MirrorKernels* tables[kTargetCount] = {&kMirrorReference, &kMirrorPortable,
                                                                &kMirrorAvx2, &kMirrorAvx512};
  return *tables[currentTarget()];
}

inline const CopyKernels& copyKernels() noexcept {
  static constexpr const CopyKernels* tables[kTargetCount] = {&kCopyReference, &kCopyPortable, &kCopyAvx2,
                                                              &kCopyAvx512};
  return *tables[currentTarget()];
}

// Plain row-by-row byte copy and fill; memcpy/memset are already as fast as
// the machine allows, so every vector target shares these.
namespace portable {
void copyC1(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height);
void copyC3(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height);
void copyC4(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height);
void setC1(const Ipp8u* value, Ipp8u* dst, int dstStep, int width, int height);
} // namespace portable

} // namespace framquist::ipp_detail
