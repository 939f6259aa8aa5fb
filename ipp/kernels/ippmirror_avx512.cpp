// Mirror kernels for CPUs with AVX-512 F/BW/VL/DQ (compiled with those
// extensions). Rows narrower than one 64-byte block use the AVX2 blocks.
// GCC 12 reports its own AVX-512 intrinsics (their _mm512_undefined_*
// placeholders) as maybe-uninitialized; the warning is spurious there.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "ipp/kernels/ippavx512.h"
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ippx86blocks.h"

namespace framquist::ipp_detail {
namespace {

inline __m512i c3Control512(int k, int j) { return _mm512_load_si512(kC3Reverse.m[k][j]); }

struct C1Block64 {
  static constexpr int kPixels = 64, kPixelBytes = 1;
  static __m512i loadRev(const u8* p) {
    const __m512i v = _mm512_shuffle_epi8(load512(p), _mm512_load_si512(kReverseLaneBytes));
    return _mm512_shuffle_i64x2(v, v, 0x1b); // reverse the four 16-byte lanes
  }
  static void store(u8* p, __m512i v) { store512(p, v); }
};

struct C4Block16 {
  static constexpr int kPixels = 16, kPixelBytes = 4;
  static __m512i loadRev(const u8* p) {
    return _mm512_permutexvar_epi32(_mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0),
                                    load512(p));
  }
  static void store(u8* p, __m512i v) { store512(p, v); }
};

struct AC4Block16 {
  static constexpr int kPixels = 16, kPixelBytes = 4;
  static __m512i loadRev(const u8* p) { return C4Block16::loadRev(p); }
  static void store(u8* p, __m512i v) { _mm512_mask_storeu_epi8(p, kColourBytes, v); }
};

// Quadword selections for _mm512_permutex2var_epi64 (0-7 first operand,
// 8-15 second) regrouping 16-byte lanes; lanes marked 0 are don't-care.
alignas(64) constexpr long long kC3Gather[6][8] = {
    {0, 1, 6, 7, 12, 13, 0, 0}, // L0 L3 L6 .  from r0, r1
    {0, 1, 2, 3, 4, 5, 10, 11}, // .. L9       from r2
    {2, 3, 8, 9, 14, 15, 0, 0}, // L1 L4 L7 .
    {0, 1, 2, 3, 4, 5, 12, 13}, // .. L10
    {4, 5, 10, 11, 0, 0, 0, 0}, // L2 L5 . .
    {0, 1, 2, 3, 8, 9, 14, 15}, // .. L8 L11
};
alignas(64) constexpr long long kC3Scatter[6][8] = {
    {6, 7, 14, 15, 0, 0, 4, 5}, // o0.3 o1.3 .    o0.2
    {0, 1, 2, 3, 14, 15, 6, 7}, //           o2.3
    {4, 5, 0, 0, 10, 11, 2, 3}, // o1.2 .    o0.1 o1.1
    {0, 1, 12, 13, 4, 5, 6, 7}, //      o2.2
    {2, 3, 8, 9, 0, 0, 0, 1},   // o2.1 o0.0 .    o2.0
    {0, 1, 2, 3, 8, 9, 6, 7},   //           o1.0
};

inline __m512i select2(__m512i a, const long long (&idx)[8], __m512i b) {
  return _mm512_permutex2var_epi64(a, _mm512_load_si512(idx), b);
}

struct Regs3x512 {
  __m512i r0, r1, r2;
};

// 64 pixels = four 48-byte groups A B C D, i.e. twelve 16-byte lanes
// L0..L11. They are regrouped so that lane j of x0..x2 holds group j, each
// lane is reversed by the 16-pixel shuffles, and the output is reassembled
// as reversed D, C, B, A.
struct C3Block64 {
  static constexpr int kPixels = 64, kPixelBytes = 3;
  static Regs3x512 loadRev(const u8* p) {
    const __m512i r0 = load512(p), r1 = load512(p + 64), r2 = load512(p + 128);
    const __m512i x0 = select2(select2(r0, kC3Gather[0], r1), kC3Gather[1], r2);
    const __m512i x1 = select2(select2(r0, kC3Gather[2], r1), kC3Gather[3], r2);
    const __m512i x2 = select2(select2(r0, kC3Gather[4], r1), kC3Gather[5], r2);
    const __m512i o0 = _mm512_or_si512(_mm512_shuffle_epi8(x1, c3Control512(0, 1)),
                                       _mm512_shuffle_epi8(x2, c3Control512(0, 2)));
    const __m512i o1 = _mm512_or_si512(_mm512_or_si512(_mm512_shuffle_epi8(x0, c3Control512(1, 0)),
                                                       _mm512_shuffle_epi8(x1, c3Control512(1, 1))),
                                       _mm512_shuffle_epi8(x2, c3Control512(1, 2)));
    const __m512i o2 = _mm512_or_si512(_mm512_shuffle_epi8(x0, c3Control512(2, 0)),
                                       _mm512_shuffle_epi8(x1, c3Control512(2, 1)));
    return {select2(select2(o0, kC3Scatter[0], o1), kC3Scatter[1], o2),
            select2(select2(o1, kC3Scatter[2], o0), kC3Scatter[3], o2),
            select2(select2(o2, kC3Scatter[4], o0), kC3Scatter[5], o1)};
  }
  static void store(u8* p, const Regs3x512& v) {
    store512(p, v.r0);
    store512(p + 64, v.r1);
    store512(p + 128, v.r2);
  }
};

struct Avx512Bytes {
  static void swap(u8* a, u8* b, int n) {
    if (n < 64) return Avx2Bytes::swap(a, b, n);
    const __m512i ta = load512(a + n - 64), tb = load512(b + n - 64); // overlapping last block, read first
    int i = 0;
    for (; i + 64 <= n; i += 64) {
      const __m512i va = load512(a + i), vb = load512(b + i);
      store512(a + i, vb);
      store512(b + i, va);
    }
    if (i < n) {
      store512(a + n - 64, tb);
      store512(b + n - 64, ta);
    }
  }
};

// Masked stores write the colour bytes only, so alpha is never rewritten.
struct Avx512AC4Moves {
  static void copyRow(const u8* s, u8* d, int w) {
    int x = 0;
    for (; x + 16 <= w; x += 16) _mm512_mask_storeu_epi8(d + x * 4, kColourBytes, load512(s + x * 4));
    if (x < w) {
      const __mmask64 k = kColourBytes & firstBytes((w - x) * 4);
      _mm512_mask_storeu_epi8(d + x * 4, k, _mm512_maskz_loadu_epi8(k, s + x * 4));
    }
  }
  static void swapRows(u8* a, u8* b, int w) {
    for (int x = 0; x < w; x += 16) {
      const __mmask64 k = kColourBytes & firstBytes((w - x) * 4);
      const __m512i va = _mm512_maskz_loadu_epi8(k, a + x * 4), vb = _mm512_maskz_loadu_epi8(k, b + x * 4);
      _mm512_mask_storeu_epi8(a + x * 4, k, vb);
      _mm512_mask_storeu_epi8(b + x * 4, k, va);
    }
  }
};

using C1Rows = PlainRows<BlockRows<C1Block64, Avx2C1Rev>, Avx512Bytes>;
using C3Rows = PlainRows<BlockRows<C3Block64, Avx2C3Rev>, Avx512Bytes>;
using C4Rows = PlainRows<BlockRows<C4Block16, Avx2C4Rev>, Avx512Bytes>;
using AC4Rev = BlockRows<AC4Block16, Avx2AC4Rev>;
struct AC4Rows : AC4Rev, Avx512AC4Moves {
  using AC4Rev::revRow;
  using AC4Rev::revRowInPlace;
  using AC4Rev::revSwapRows;
  using Avx512AC4Moves::copyRow;
  using Avx512AC4Moves::swapRows;
};

} // namespace

const MirrorKernels kMirrorAvx512 = {
    {mirrorImage<C1Rows>, mirrorImage<C3Rows>, mirrorImage<C4Rows>, mirrorImage<AC4Rows>},
    {mirrorImageInPlace<C1Rows>, mirrorImageInPlace<C3Rows>, mirrorImageInPlace<C4Rows>,
     mirrorImageInPlace<AC4Rows>},
};

} // namespace framquist::ipp_detail
