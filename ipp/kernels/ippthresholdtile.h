// The per-byte form of the threshold rule shared by the fast kernels: the
// three (or four) channel levels are spread over a tile of whole pixels, so
// a row is worked as plain byte arrays of tile length. Alpha bytes of AC4
// get levels that never fire and a keep mask that restores the destination.
#pragma once

#include "ipp/kernels/ippthresholdkernels.h"

#include <cstddef>

namespace framquist::ipp_detail {
namespace {

// Tile sizes are whole pixels and whole 32-byte vectors.
template <int PixelBytes>
struct ThresholdTile {
  static constexpr int kBytes = PixelBytes == 3 ? 96 : 64;
  alignas(64) Ipp8u lt[kBytes], ltValue[kBytes], gt[kBytes], gtValue[kBytes], keep[kBytes];

  explicit ThresholdTile(const ThresholdArgs& a) {
    for (int i = 0; i < kBytes; ++i) {
      const int c = i % PixelBytes;
      const bool alpha = c == 3;
      lt[i] = alpha ? 0 : a.ltThreshold[c];
      ltValue[i] = alpha ? 0 : a.ltValue[c];
      gt[i] = alpha ? 255 : a.gtThreshold[c];
      gtValue[i] = alpha ? 0 : a.gtValue[c];
      keep[i] = alpha ? 0xff : 0;
    }
  }

  // The first count bytes of a tile (a row's tail), one at a time.
  void scalarSpan(const Ipp8u* s, Ipp8u* d, int count) const {
    for (int i = 0; i < count; ++i) {
      const Ipp8u v = s[i];
      const Ipp8u r = v < lt[i] ? ltValue[i] : (v > gt[i] ? gtValue[i] : v);
      d[i] = static_cast<Ipp8u>((r & ~keep[i]) | (d[i] & keep[i]));
    }
  }
};

inline const Ipp8u* rowOf(const Ipp8u* p, int step, int y) {
  return p + static_cast<std::ptrdiff_t>(step) * y;
}
inline Ipp8u* rowOf(Ipp8u* p, int step, int y) { return p + static_cast<std::ptrdiff_t>(step) * y; }

} // namespace
} // namespace framquist::ipp_detail
