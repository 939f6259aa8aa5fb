// Kernel tables of the pixel-layout conversions. Private to the library.
//
// convert[from][to] turns rows of one layout into another; the diagonal is
// empty (the entry point copies rows for it). Source and destination do not
// overlap.
#pragma once

#include "ipp/kernels/ippkernels.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace framquist::ipp_detail {

enum PixelFormat : int {
  kBgr24 = 0,
  kBgra32 = 1,
  kRgb565 = 2,
  kRgb555 = 3,
  kGrey8 = 4,
  kPixelFormatCount = 5
};

inline constexpr int kFormatBytes[kPixelFormatCount] = {3, 4, 2, 2, 1};

using ConvertFn = void (*)(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height);

struct ConvertKernels {
  ConvertFn convert[kPixelFormatCount][kPixelFormatCount];
};

extern const ConvertKernels kConvertReference;
extern const ConvertKernels kConvertPortable;
extern const ConvertKernels kConvertAvx2;
extern const ConvertKernels kConvertAvx512;

inline const ConvertKernels& convertKernels() noexcept {
  static constexpr const ConvertKernels* tables[kTargetCount] = {&kConvertReference, &kConvertPortable,
                                                                 &kConvertAvx2, &kConvertAvx512};
  return *tables[currentTarget()];
}

// Grey is (299 R + 587 G + 114 B + 500) / 1000. The fast kernels divide the
// sum S (at most 255500) as ((S >> 3) * kLumaMagic) >> (16 + kLumaShift):
// S >> 3 fits 16 bits, so the product's high half comes from one unsigned
// 16-bit multiply. Exact over the whole range (proved by a test).
inline constexpr unsigned kLumaMagic = 33555; // ceil(2^22 / 125)
inline constexpr int kLumaShift = 6;
constexpr unsigned lumaFromSum(unsigned sum) { return ((sum >> 3) * kLumaMagic) >> (16 + kLumaShift); }

namespace {

// A table whose entry [S][D] is &K<S, D>::run, diagonal empty. Internal
// linkage, like everything instantiated per target (see ipprows.h).
template <template <int, int> class K, int S, int D>
constexpr ConvertFn convertEntry() {
  if constexpr (S == D)
    return nullptr;
  else
    return &K<S, D>::run;
}

template <template <int, int> class K, int... S>
constexpr ConvertKernels makeConvertKernels(std::integer_sequence<int, S...>) {
  return {{{convertEntry<K, S, kBgr24>(), convertEntry<K, S, kBgra32>(), convertEntry<K, S, kRgb565>(),
            convertEntry<K, S, kRgb555>(), convertEntry<K, S, kGrey8>()}...}};
}

template <template <int, int> class K>
constexpr ConvertKernels makeConvertKernels() {
  return makeConvertKernels<K>(std::make_integer_sequence<int, kPixelFormatCount>{});
}

// Rows converted a block at a time by Block::convert(src, dst), which reads
// and writes exactly the bytes of Block::kPixels pixels. The row end goes
// through scratch memory, so nothing past it is read or written. (Not built
// on ipprows.h: this header is also included where no vector target is on.)
template <class Block, int From, int To>
struct ConvertByBlocks {
  using u8 = Ipp8u;
  static constexpr int kSrcBytes = kFormatBytes[From], kDstBytes = kFormatBytes[To], kPixels = Block::kPixels;

  static void row(const u8* s, u8* d, int width) {
    int x = 0;
    for (; x + kPixels <= width; x += kPixels) Block::convert(s + x * kSrcBytes, d + x * kDstBytes);
    if (x < width) {
      alignas(64) u8 in[kPixels * kSrcBytes] = {}, out[kPixels * kDstBytes];
      const int n = width - x;
      std::memcpy(in, s + x * kSrcBytes, static_cast<std::size_t>(n) * kSrcBytes);
      Block::convert(in, out);
      std::memcpy(d + x * kDstBytes, out, static_cast<std::size_t>(n) * kDstBytes);
    }
  }

  static void run(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
    // Rows without padding are one long row (if its length fits an int).
    const long long pixels = static_cast<long long>(width) * height;
    if (srcStep == width * kSrcBytes && dstStep == width * kDstBytes && pixels * 4 <= 0x7fffffff) {
      width *= height;
      height = 1;
    }
    for (int y = 0; y < height; ++y)
      row(src + static_cast<std::ptrdiff_t>(y) * srcStep, dst + static_cast<std::ptrdiff_t>(y) * dstStep,
          width);
  }
};

} // namespace

} // namespace framquist::ipp_detail
