// Lookup kernels for CPUs with AVX-512 VBMI (this file alone is compiled
// with -mavx512vbmi; lutKernels() picks it only where the CPU has VBMI). A
// 256-entry table is four registers: two two-table byte permutes look up
// the low and high 128 entries, and the index's top bit picks between
// them, so 64 bytes cost three instructions instead of the AVX2 kernels'
// 16 shuffles per 32. Per-channel tables are looked up whole and merged by
// the byte positions of their channel. Masked loads and stores take the
// row ends.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized" // GCC 12's _mm512_undefined_* placeholders
#endif

#include "ipp/kernels/ippavx512.h"
#include "ipp/kernels/ipplutkernels.h"

#include <algorithm>
#include <cstddef>

namespace framquist::ipp_detail {
namespace {

struct Table512 {
  __m512i q[4]; // entries 0-63, 64-127, 128-191, 192-255

  explicit Table512(const Ipp8u* table) {
    for (int i = 0; i < 4; ++i) q[i] = _mm512_loadu_si512(table + 64 * i);
  }
  __m512i operator()(__m512i index) const {
    const __m512i low = _mm512_permutex2var_epi8(q[0], index, q[1]);
    const __m512i high = _mm512_permutex2var_epi8(q[2], index, q[3]);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
  }
};

// Byte i of a run belongs to channel (i + phase) % Channels; the masks of a
// vector starting at byte offset `start` of a pixel row.
template <int Channels>
__mmask64 channelMask(int channel, int start) {
  __mmask64 m = 0;
  for (int i = 0; i < 64; ++i)
    if ((start + i) % Channels == channel) m |= 1ull << i;
  return m;
}

// n bytes starting on a whole pixel. Vectors are taken in groups covering
// whole pixels (one vector for one or four channels, three for three), so
// each vector of a group has fixed channel masks.
template <int Channels>
void mapRun(const u8* s, u8* d, std::ptrdiff_t n, const Table512* tables) {
  constexpr int kGroup = Channels == 3 ? 3 : 1;
  __mmask64 masks[kGroup][Channels];
  for (int v = 0; v < kGroup; ++v)
    for (int c = 0; c < Channels; ++c) masks[v][c] = channelMask<Channels>(c, 64 * v);
  const auto lookup = [&](__m512i index, int v) {
    __m512i r = tables[0](index);
    for (int c = 1; c < Channels; ++c) r = _mm512_mask_blend_epi8(masks[v][c], r, tables[c](index));
    return r;
  };
  std::ptrdiff_t i = 0;
  for (; i + 64 * kGroup <= n; i += 64 * kGroup)
    for (int v = 0; v < kGroup; ++v) store512(d + i + 64 * v, lookup(load512(s + i + 64 * v), v));
  for (int v = 0; i < n; i += 64, ++v) {
    const __mmask64 k = firstBytes(static_cast<int>(std::min<std::ptrdiff_t>(n - i, 64)));
    _mm512_mask_storeu_epi8(d + i, k, lookup(_mm512_maskz_loadu_epi8(k, s + i), v));
  }
}

template <int Channels>
void lutAvx512(const u8* src, int srcStep, u8* dst, int dstStep, int w, int h, const LutCall& call) {
  const int rowBytes = w * Channels;
  const bool packed = contiguous(srcStep, rowBytes, h) && contiguous(dstStep, rowBytes, h);
  if (Channels == 1 || call.sameTables) {
    const Table512 table(call.table[0]);
    if (packed) return mapRun<1>(src, dst, static_cast<std::ptrdiff_t>(rowBytes) * h, &table);
    for (int y = 0; y < h; ++y) mapRun<1>(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), rowBytes, &table);
    return;
  }
  const Table512 tables[4] = {Table512(call.table[0]), Table512(call.table[1]), Table512(call.table[2]),
                              Table512(call.table[3])};
  // A row ends on a whole pixel, so packed rows read as one long row.
  if (packed) return mapRun<Channels>(src, dst, static_cast<std::ptrdiff_t>(rowBytes) * h, tables);
  for (int y = 0; y < h; ++y)
    mapRun<Channels>(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), rowBytes, tables);
}

} // namespace

const LutKernels kLutAvx512 = {{lutAvx512<1>, lutAvx512<3>, lutAvx512<4>}};

} // namespace framquist::ipp_detail
