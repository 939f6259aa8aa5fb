// Mirror kernels for any x86-64 (or other) CPU: plain C++ that moves 8
// bytes at a time through 64-bit registers and lets the compiler vectorise.
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ipprows.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace framquist::ipp_detail {
namespace {

static_assert(std::endian::native == std::endian::little, "the 64-bit pixel tricks assume little-endian");

inline std::uint64_t load64(const u8* p) {
  std::uint64_t v;
  std::memcpy(&v, p, 8);
  return v;
}
inline void store64(u8* p, std::uint64_t v) { std::memcpy(p, &v, 8); }
inline std::uint64_t swapHalves(std::uint64_t v) { return (v << 32) | (v >> 32); }

// Colour bytes of two little-endian 4-byte pixels in a 64-bit word.
constexpr std::uint64_t kColour64 = 0x00ffffff00ffffffull;

struct Bytes {
  static void swap(u8* a, u8* b, int n) {
    int i = 0;
    for (; i + 8 <= n; i += 8) {
      const std::uint64_t va = load64(a + i), vb = load64(b + i);
      store64(a + i, vb);
      store64(b + i, va);
    }
    for (; i < n; ++i) {
      const u8 t = a[i];
      a[i] = b[i];
      b[i] = t;
    }
  }
};

// Eight 1-byte pixels: a byte swap reverses them.
struct C1Block {
  static constexpr int kPixels = 8, kPixelBytes = 1;
  static std::uint64_t loadRev(const u8* p) { return __builtin_bswap64(load64(p)); }
  static void store(u8* p, std::uint64_t v) { store64(p, v); }
};

// Four 4-byte pixels in two words: swap the words and the halves of each.
struct Pair {
  std::uint64_t lo, hi;
};
struct C4Block {
  static constexpr int kPixels = 4, kPixelBytes = 4;
  static Pair loadRev(const u8* p) { return {swapHalves(load64(p + 8)), swapHalves(load64(p))}; }
  static void store(u8* p, Pair v) {
    store64(p, v.lo);
    store64(p + 8, v.hi);
  }
};

// As C4Block, but the store keeps the alpha already in memory.
struct AC4Block {
  static constexpr int kPixels = 4, kPixelBytes = 4;
  static Pair loadRev(const u8* p) { return C4Block::loadRev(p); }
  static void storeWord(u8* p, std::uint64_t v) { store64(p, (v & kColour64) | (load64(p) & ~kColour64)); }
  static void store(u8* p, Pair v) {
    storeWord(p, v.lo);
    storeWord(p + 8, v.hi);
  }
};

// Three-byte pixels do not fit words evenly. Two neighbours fit one 64-bit
// word, though: swapping their 3-byte halves reverses them, and the store's
// two extra bytes are overwritten by the next pair. Pixels near the row
// ends, where a word would reach outside a row, move alone.
struct C3Rows : ScalarRows<3, 3> {
  static std::uint64_t swapPair(std::uint64_t v) { return ((v >> 24) & 0xffffff) | ((v & 0xffffff) << 24); }

  static void revRow(const u8* s, u8* d, int w) {
    int x = 0; // next destination pixel; its source is w - 1 - x
    // Pairs (x, x+1) come from source pixels w-2-x .. w-1-x, read as 8 bytes
    // from w-2-x (needs x >= 1 to stay inside) and written as 8 bytes at x
    // (needs x + 2 < w so the spill lands on a pixel written later).
    if (w >= 4) {
      movePixel(s + (w - 1) * 3, d);
      for (x = 1; x + 3 <= w; x += 2) store64(d + x * 3, swapPair(load64(s + (w - 2 - x) * 3)));
    }
    for (; x < w; ++x) movePixel(s + (w - 1 - x) * 3, d + x * 3);
  }

  // In place, blocks of pixels are parked in a small buffer and reversed
  // back with revRow, from both ends towards the middle.
  static constexpr int kChunk = 256;

  static void revRowInPlace(u8* r, int w) {
    u8 left[kChunk * 3], right[kChunk * 3];
    int lo = 0, hi = w;
    while (hi - lo >= 2 * kChunk) {
      std::memcpy(left, r + lo * 3, sizeof left);
      std::memcpy(right, r + (hi - kChunk) * 3, sizeof right);
      revRow(right, r + lo * 3, kChunk);
      revRow(left, r + (hi - kChunk) * 3, kChunk);
      lo += kChunk;
      hi -= kChunk;
    }
    // The middle (under two chunks): swap its halves reversed; an odd centre pixel stays.
    const int half = (hi - lo) / 2;
    std::memcpy(left, r + lo * 3, static_cast<std::size_t>(half) * 3);
    std::memcpy(right, r + (hi - half) * 3, static_cast<std::size_t>(half) * 3);
    revRow(right, r + lo * 3, half);
    revRow(left, r + (hi - half) * 3, half);
  }

  static void revSwapRows(u8* a, u8* b, int w) {
    u8 ta[kChunk * 3], tb[kChunk * 3];
    for (int x = 0; x < w; x += kChunk) {
      const int n = w - x < kChunk ? w - x : kChunk;
      std::memcpy(ta, a + x * 3, static_cast<std::size_t>(n) * 3);
      std::memcpy(tb, b + (w - x - n) * 3, static_cast<std::size_t>(n) * 3);
      revRow(tb, a + x * 3, n);
      revRow(ta, b + (w - x - n) * 3, n);
    }
  }
};

struct AC4Rows : BlockRows<AC4Block, ScalarRows<4, 3>> {
  static void copyRow(const u8* s, u8* d, int w) {
    int x = 0;
    for (; x + 2 <= w; x += 2) AC4Block::storeWord(d + x * 4, load64(s + x * 4));
    if (x < w) ScalarRows<4, 3>::movePixel(s + x * 4, d + x * 4);
  }
  static void swapRows(u8* a, u8* b, int w) {
    int x = 0;
    for (; x + 2 <= w; x += 2) {
      const std::uint64_t va = load64(a + x * 4), vb = load64(b + x * 4);
      store64(a + x * 4, (vb & kColour64) | (va & ~kColour64));
      store64(b + x * 4, (va & kColour64) | (vb & ~kColour64));
    }
    if (x < w) ScalarRows<4, 3>::swapPixel(a + x * 4, b + x * 4);
  }
};

using C1Rows = PlainRows<BlockRows<C1Block, ScalarRows<1, 1>>, Bytes>;
using C3RowsAll = PlainRows<C3Rows, Bytes>;
using C4Rows = PlainRows<BlockRows<C4Block, ScalarRows<4, 4>>, Bytes>;

} // namespace

const MirrorKernels kMirrorPortable = {
    {mirrorImage<C1Rows>, mirrorImage<C3RowsAll>, mirrorImage<C4Rows>, mirrorImage<AC4Rows>},
    {mirrorImageInPlace<C1Rows>, mirrorImageInPlace<C3RowsAll>, mirrorImageInPlace<C4Rows>,
     mirrorImageInPlace<AC4Rows>},
};

} // namespace framquist::ipp_detail
