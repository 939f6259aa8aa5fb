// Row-level building blocks shared by the fast kernel sets.
//
// Each kernel translation unit is compiled for its own CPU target, so
// everything here has internal linkage (anonymous namespace): an inline
// function or template instantiated with AVX2 code generation must never be
// merged by the linker with the baseline copy. For the same reason these
// files avoid standard-library templates (std::min, std::swap, ...).
#pragma once

#include "ipp/ippdefs.h"

#include <cstddef>
#include <cstring>

namespace framquist::ipp_detail {
namespace {

using u8 = Ipp8u;

inline const u8* rowAt(const u8* p, int step, int y) { return p + static_cast<std::ptrdiff_t>(step) * y; }
inline u8* rowAt(u8* p, int step, int y) { return p + static_cast<std::ptrdiff_t>(step) * y; }

// Whether rows follow each other without padding, so a whole image can be
// treated as a single long row (only when that row still fits an int).
inline bool contiguous(int step, int rowBytes, int height) {
  return step == rowBytes && static_cast<long long>(rowBytes) * height <= 0x7fffffff;
}

// Row operations of a pixel layout, one pixel at a time. Channels is the
// number of samples written per pixel (3 for AC4: alpha is never written).
template <int PixelBytes, int Channels>
struct ScalarRows {
  static constexpr int kPixelBytes = PixelBytes;
  static void movePixel(const u8* s, u8* d) {
    for (int c = 0; c < Channels; ++c) d[c] = s[c];
  }
  static void swapPixel(u8* a, u8* b) {
    for (int c = 0; c < Channels; ++c) {
      const u8 t = a[c];
      a[c] = b[c];
      b[c] = t;
    }
  }
  static void copyRow(const u8* s, u8* d, int w) {
    for (int x = 0; x < w; ++x) movePixel(s + x * PixelBytes, d + x * PixelBytes);
  }
  static void swapRows(u8* a, u8* b, int w) {
    for (int x = 0; x < w; ++x) swapPixel(a + x * PixelBytes, b + x * PixelBytes);
  }
  static void revRow(const u8* s, u8* d, int w) {
    for (int x = 0; x < w; ++x) movePixel(s + (w - 1 - x) * PixelBytes, d + x * PixelBytes);
  }
  static void revRowInPlace(u8* r, int w) {
    for (int x = 0, y = w - 1; x < y; ++x, --y) swapPixel(r + x * PixelBytes, r + y * PixelBytes);
  }
  // a becomes b reversed and b becomes a reversed (two distinct rows).
  static void revSwapRows(u8* a, u8* b, int w) {
    for (int x = 0; x < w; ++x) swapPixel(a + x * PixelBytes, b + (w - 1 - x) * PixelBytes);
  }
};

// Reversing rows with a block kernel B that loads kPixels pixels and returns
// them in reverse order (loadRev), and stores such a block (store). Rows
// narrower than one block go to Narrow. The last, partial block of a row is
// done as a full block overlapping the one before: both produce the same
// final values, and loads are arranged to happen before the stores that
// could change what they read.
template <class B, class Narrow>
struct BlockRows {
  static constexpr int P = B::kPixels;
  static constexpr int kPixelBytes = B::kPixelBytes;
  static constexpr int PB = P * kPixelBytes;

  static void revRow(const u8* s, u8* d, int w) {
    if (w < P) return Narrow::revRow(s, d, w);
    const u8* end = s + w * kPixelBytes;
    int x = 0;
    for (; x + P <= w; x += P) B::store(d + x * kPixelBytes, B::loadRev(end - (x + P) * kPixelBytes));
    if (x < w) B::store(d + (w - P) * kPixelBytes, B::loadRev(s));
  }

  // Swaps blocks from both ends towards the middle; a middle of one to two
  // blocks is done as two overlapping blocks, a smaller one by Narrow.
  static void revRowInPlace(u8* r, int w) {
    int lo = 0, hi = w;
    while (hi - lo >= 2 * P) {
      const auto left = B::loadRev(r + lo * kPixelBytes);
      const auto right = B::loadRev(r + (hi - P) * kPixelBytes);
      B::store(r + lo * kPixelBytes, right);
      B::store(r + (hi - P) * kPixelBytes, left);
      lo += P;
      hi -= P;
    }
    if (hi - lo >= P) {
      const auto left = B::loadRev(r + lo * kPixelBytes);
      const auto right = B::loadRev(r + (hi - P) * kPixelBytes);
      B::store(r + lo * kPixelBytes, right);
      B::store(r + (hi - P) * kPixelBytes, left);
      return;
    }
    Narrow::revRowInPlace(r + lo * kPixelBytes, hi - lo);
  }

  static void revSwapRows(u8* a, u8* b, int w) {
    if (w < P) return Narrow::revSwapRows(a, b, w);
    // The overlapping last block reads pixels the loop rewrites: load it first.
    const auto aTail = B::loadRev(a + (w - P) * kPixelBytes);
    const auto bHead = B::loadRev(b);
    int x = 0;
    for (; x + P <= w; x += P) {
      const auto va = B::loadRev(a + x * kPixelBytes);
      const auto vb = B::loadRev(b + (w - x - P) * kPixelBytes);
      B::store(a + x * kPixelBytes, vb);
      B::store(b + (w - x - P) * kPixelBytes, va);
    }
    if (x < w) {
      B::store(a + (w - P) * kPixelBytes, bHead);
      B::store(b, aTail);
    }
  }
};

// The two-dimensional mirror on top of a set of row operations R:
// copyRow, swapRows, revRow, revRowInPlace, revSwapRows.
template <class R>
void mirrorImage(const u8* src, int srcStep, u8* dst, int dstStep, int w, int h, IppiAxis flip) {
  for (int y = 0; y < h; ++y) {
    const u8* s = rowAt(src, srcStep, flip == ippAxsVertical ? y : h - 1 - y);
    u8* d = rowAt(dst, dstStep, y);
    if (flip == ippAxsHorizontal)
      R::copyRow(s, d, w);
    else
      R::revRow(s, d, w);
  }
}

template <class R>
void mirrorImageInPlace(u8* image, int step, int w, int h, IppiAxis flip) {
  if (flip == ippAxsVertical) {
    for (int y = 0; y < h; ++y) R::revRowInPlace(rowAt(image, step, y), w);
    return;
  }
  for (int y = 0, z = h - 1; y < z; ++y, --z) {
    if (flip == ippAxsHorizontal)
      R::swapRows(rowAt(image, step, y), rowAt(image, step, z), w);
    else
      R::revSwapRows(rowAt(image, step, y), rowAt(image, step, z), w);
  }
  if (flip == ippAxsBoth && (h & 1) != 0) R::revRowInPlace(rowAt(image, step, h / 2), w);
}

// Row operations where copying and swapping are layout-blind byte moves.
template <class Rev, class Bytes>
struct PlainRows : Rev {
  static void copyRow(const u8* s, u8* d, int w) {
    std::memcpy(d, s, static_cast<std::size_t>(w) * Rev::kPixelBytes);
  }
  static void swapRows(u8* a, u8* b, int w) { Bytes::swap(a, b, w * Rev::kPixelBytes); }
};

} // namespace
} // namespace framquist::ipp_detail
