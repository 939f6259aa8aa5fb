// SSE4/AVX2 block kernels for reversing and blending rows of pixels, shared
// by the AVX2 and AVX-512 kernel sets (the latter uses them for rows too
// narrow for 64-byte vectors). Include only from translation units compiled
// with AVX2 enabled; everything has internal linkage (see ipprows.h).
#pragma once

#include "ipp/kernels/ipprows.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

inline __m128i load128(const u8* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store128(u8* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline __m256i load256(const u8* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void store256(u8* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// pshufb controls reversing the bytes of each 16-byte lane.
alignas(64) constexpr u8 kReverseLaneBytes[64] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,
                                                  15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,
                                                  15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,
                                                  15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};

// Reversing 16 three-byte pixels held in three 16-byte registers X0..X2:
// output register k is the OR of pshufb(Xj, m[k][j]) over j, where a
// control byte of 0x80 contributes nothing. Each 16-byte control is repeated
// in every lane so wider vectors reverse one 48-byte group per lane.
struct C3ReverseControls {
  alignas(64) u8 m[3][3][64];
};

constexpr C3ReverseControls makeC3ReverseControls() {
  C3ReverseControls c{};
  for (int k = 0; k < 3; ++k)
    for (int j = 0; j < 3; ++j)
      for (int lane = 0; lane < 4; ++lane)
        for (int b = 0; b < 16; ++b) {
          const int out = 16 * k + b;
          const int in = 3 * (15 - out / 3) + out % 3;
          c.m[k][j][16 * lane + b] = static_cast<u8>(in / 16 == j ? in % 16 : 0x80);
        }
  return c;
}

constexpr C3ReverseControls kC3Reverse = makeC3ReverseControls();

constexpr bool c3ControlUnused(int k, int j) {
  for (int b = 0; b < 16; ++b)
    if (kC3Reverse.m[k][j][b] != 0x80) return false;
  return true;
}
// The kernels skip these two shuffles.
static_assert(c3ControlUnused(0, 0) && c3ControlUnused(2, 2));

inline __m128i c3Control128(int k, int j) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(kC3Reverse.m[k][j]));
}
inline __m256i c3Control256(int k, int j) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(kC3Reverse.m[k][j]));
}

// --- reversal blocks: loadRev() returns kPixels pixels in reverse order ---

struct C1Block16 {
  static constexpr int kPixels = 16, kPixelBytes = 1;
  static __m128i loadRev(const u8* p) {
    return _mm_shuffle_epi8(load128(p), _mm_load_si128(reinterpret_cast<const __m128i*>(kReverseLaneBytes)));
  }
  static void store(u8* p, __m128i v) { store128(p, v); }
};

struct C1Block32 {
  static constexpr int kPixels = 32, kPixelBytes = 1;
  static __m256i loadRev(const u8* p) {
    const __m256i v = _mm256_shuffle_epi8(
        load256(p), _mm256_load_si256(reinterpret_cast<const __m256i*>(kReverseLaneBytes)));
    return _mm256_permute4x64_epi64(v, 0x4e); // swap the 16-byte lanes
  }
  static void store(u8* p, __m256i v) { store256(p, v); }
};

struct Regs3x128 {
  __m128i r0, r1, r2;
};
struct Regs3x256 {
  __m256i r0, r1, r2;
};

struct C3Block16 {
  static constexpr int kPixels = 16, kPixelBytes = 3;
  static Regs3x128 loadRev(const u8* p) {
    const __m128i x0 = load128(p), x1 = load128(p + 16), x2 = load128(p + 32);
    const __m128i o0 =
        _mm_or_si128(_mm_shuffle_epi8(x1, c3Control128(0, 1)), _mm_shuffle_epi8(x2, c3Control128(0, 2)));
    const __m128i o1 = _mm_or_si128(
        _mm_or_si128(_mm_shuffle_epi8(x0, c3Control128(1, 0)), _mm_shuffle_epi8(x1, c3Control128(1, 1))),
        _mm_shuffle_epi8(x2, c3Control128(1, 2)));
    const __m128i o2 =
        _mm_or_si128(_mm_shuffle_epi8(x0, c3Control128(2, 0)), _mm_shuffle_epi8(x1, c3Control128(2, 1)));
    return {o0, o1, o2};
  }
  static void store(u8* p, const Regs3x128& v) {
    store128(p, v.r0);
    store128(p + 16, v.r1);
    store128(p + 32, v.r2);
  }
};

// 32 pixels = two 48-byte groups A and B. The loads are regrouped so that
// lane 0 of x0..x2 holds A and lane 1 holds B, each lane is reversed by the
// 16-pixel shuffles, and the output is reassembled as reversed B then
// reversed A.
struct C3Block32 {
  static constexpr int kPixels = 32, kPixelBytes = 3;
  static Regs3x256 loadRev(const u8* p) {
    const __m256i r0 = load256(p), r1 = load256(p + 32), r2 = load256(p + 64); // A0A1 A2B0 B1B2
    const __m256i x0 = _mm256_permute2x128_si256(r0, r1, 0x30);                // A0 B0
    const __m256i x1 = _mm256_permute2x128_si256(r0, r2, 0x21);                // A1 B1
    const __m256i x2 = _mm256_permute2x128_si256(r1, r2, 0x30);                // A2 B2
    const __m256i o0 = _mm256_or_si256(_mm256_shuffle_epi8(x1, c3Control256(0, 1)),
                                       _mm256_shuffle_epi8(x2, c3Control256(0, 2)));
    const __m256i o1 = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(x0, c3Control256(1, 0)),
                                                       _mm256_shuffle_epi8(x1, c3Control256(1, 1))),
                                       _mm256_shuffle_epi8(x2, c3Control256(1, 2)));
    const __m256i o2 = _mm256_or_si256(_mm256_shuffle_epi8(x0, c3Control256(2, 0)),
                                       _mm256_shuffle_epi8(x1, c3Control256(2, 1)));
    // o_k = (rev(A)_k, rev(B)_k); output is rev(B)0 rev(B)1 | rev(B)2 rev(A)0 | rev(A)1 rev(A)2.
    return {_mm256_permute2x128_si256(o0, o1, 0x31), _mm256_permute2x128_si256(o2, o0, 0x21),
            _mm256_permute2x128_si256(o1, o2, 0x20)};
  }
  static void store(u8* p, const Regs3x256& v) {
    store256(p, v.r0);
    store256(p + 32, v.r1);
    store256(p + 64, v.r2);
  }
};

struct C4Block4 {
  static constexpr int kPixels = 4, kPixelBytes = 4;
  static __m128i loadRev(const u8* p) { return _mm_shuffle_epi32(load128(p), 0x1b); }
  static void store(u8* p, __m128i v) { store128(p, v); }
};

struct C4Block8 {
  static constexpr int kPixels = 8, kPixelBytes = 4;
  static __m256i loadRev(const u8* p) {
    return _mm256_permutevar8x32_epi32(load256(p), _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
  }
  static void store(u8* p, __m256i v) { store256(p, v); }
};

// Selects the alpha byte of each 4-byte pixel.
inline __m128i alphaMask128() { return _mm_set1_epi32(static_cast<int>(0xff000000u)); }
inline __m256i alphaMask256() { return _mm256_set1_epi32(static_cast<int>(0xff000000u)); }

// Colour bytes of v, alpha bytes of what memory at p holds now.
inline void storeColour128(u8* p, __m128i v) { store128(p, _mm_blendv_epi8(v, load128(p), alphaMask128())); }
inline void storeColour256(u8* p, __m256i v) {
  store256(p, _mm256_blendv_epi8(v, load256(p), alphaMask256()));
}

struct AC4Block4 {
  static constexpr int kPixels = 4, kPixelBytes = 4;
  static __m128i loadRev(const u8* p) { return C4Block4::loadRev(p); }
  static void store(u8* p, __m128i v) { storeColour128(p, v); }
};

struct AC4Block8 {
  static constexpr int kPixels = 8, kPixelBytes = 4;
  static __m256i loadRev(const u8* p) { return C4Block8::loadRev(p); }
  static void store(u8* p, __m256i v) { storeColour256(p, v); }
};

// --- whole-row helpers ---

struct Avx2Bytes {
  static void swap(u8* a, u8* b, int n) {
    if (n >= 32) {
      // The last block overlaps bytes the loop swaps: load it first.
      const __m256i ta = load256(a + n - 32), tb = load256(b + n - 32);
      int i = 0;
      for (; i + 32 <= n; i += 32) {
        const __m256i va = load256(a + i), vb = load256(b + i);
        store256(a + i, vb);
        store256(b + i, va);
      }
      if (i < n) {
        store256(a + n - 32, tb);
        store256(b + n - 32, ta);
      }
      return;
    }
    if (n >= 16) {
      const __m128i a0 = load128(a), b0 = load128(b), a1 = load128(a + n - 16), b1 = load128(b + n - 16);
      store128(a, b0);
      store128(b, a0);
      store128(a + n - 16, b1);
      store128(b + n - 16, a1);
      return;
    }
    for (int i = 0; i < n; ++i) {
      const u8 t = a[i];
      a[i] = b[i];
      b[i] = t;
    }
  }
};

struct Avx2AC4Moves {
  static void copyRow(const u8* s, u8* d, int w) {
    if (w >= 8) {
      int x = 0;
      for (; x + 8 <= w; x += 8) storeColour256(d + x * 4, load256(s + x * 4));
      if (x < w) storeColour256(d + (w - 8) * 4, load256(s + (w - 8) * 4));
      return;
    }
    if (w >= 4) {
      storeColour128(d, load128(s));
      storeColour128(d + (w - 4) * 4, load128(s + (w - 4) * 4));
      return;
    }
    ScalarRows<4, 3>::copyRow(s, d, w);
  }
  static void swapRows(u8* a, u8* b, int w) {
    if (w < 8) return ScalarRows<4, 3>::swapRows(a, b, w);
    const __m256i m = alphaMask256();
    const __m256i ta = load256(a + (w - 8) * 4), tb = load256(b + (w - 8) * 4);
    int x = 0;
    for (; x + 8 <= w; x += 8) {
      const __m256i va = load256(a + x * 4), vb = load256(b + x * 4);
      store256(a + x * 4, _mm256_blendv_epi8(vb, va, m));
      store256(b + x * 4, _mm256_blendv_epi8(va, vb, m));
    }
    if (x < w) {
      store256(a + (w - 8) * 4, _mm256_blendv_epi8(tb, ta, m));
      store256(b + (w - 8) * 4, _mm256_blendv_epi8(ta, tb, m));
    }
  }
};

using Avx2C1Rev = BlockRows<C1Block32, BlockRows<C1Block16, ScalarRows<1, 1>>>;
using Avx2C3Rev = BlockRows<C3Block32, BlockRows<C3Block16, ScalarRows<3, 3>>>;
using Avx2C4Rev = BlockRows<C4Block8, BlockRows<C4Block4, ScalarRows<4, 4>>>;
using Avx2AC4Rev = BlockRows<AC4Block8, BlockRows<AC4Block4, ScalarRows<4, 3>>>;

using Avx2C1Rows = PlainRows<Avx2C1Rev, Avx2Bytes>;
using Avx2C3Rows = PlainRows<Avx2C3Rev, Avx2Bytes>;
using Avx2C4Rows = PlainRows<Avx2C4Rev, Avx2Bytes>;
struct Avx2AC4Rows : Avx2AC4Rev, Avx2AC4Moves {
  using Avx2AC4Moves::copyRow;
  using Avx2AC4Moves::swapRows;
  using Avx2AC4Rev::revRow;
  using Avx2AC4Rev::revRowInPlace;
  using Avx2AC4Rev::revSwapRows;
};

} // namespace
} // namespace framquist::ipp_detail
