// Scalar stand-ins for the AVX-512 intrinsics the AVX-512 kernels use, so
// their shuffle and mask logic can be run on CPUs without AVX-512. Each
// follows the instruction's per-element definition. Include after
// <immintrin.h>; the macros then route the kernels' calls here.
#pragma once

#include <cstdint>
#include <cstring>

namespace avx512emu {

struct V {
  std::uint8_t b[64];
};
using Mask = unsigned long long;

inline V load(const void* p) {
  V v;
  std::memcpy(v.b, p, 64);
  return v;
}
inline void store(void* p, V v) { std::memcpy(p, v.b, 64); }
inline std::int32_t i32(const V& v, int i) {
  std::int32_t x;
  std::memcpy(&x, v.b + 4 * i, 4);
  return x;
}
inline std::int64_t i64(const V& v, int i) {
  std::int64_t x;
  std::memcpy(&x, v.b + 8 * i, 8);
  return x;
}

inline V or_(V a, V b) {
  for (int i = 0; i < 64; ++i) a.b[i] |= b.b[i];
  return a;
}
// Byte shuffle within each 16-byte lane; a set top bit of the control gives 0.
inline V shuffleBytes(V a, V ctl) {
  V r;
  for (int i = 0; i < 64; ++i) r.b[i] = (ctl.b[i] & 0x80) ? 0 : a.b[(i & ~15) + (ctl.b[i] & 15)];
  return r;
}
// Lanes 0-1 from a, lanes 2-3 from b, each chosen by two bits of imm.
inline V shuffleLanes(V a, V b, int imm) {
  V r;
  for (int lane = 0; lane < 4; ++lane)
    std::memcpy(r.b + 16 * lane, (lane < 2 ? a : b).b + 16 * ((imm >> (2 * lane)) & 3), 16);
  return r;
}
inline V permuteDwords(V idx, V a) {
  V r;
  for (int i = 0; i < 16; ++i) std::memcpy(r.b + 4 * i, a.b + 4 * (i32(idx, i) & 15), 4);
  return r;
}
// Quadword i comes from a or b (bit 3 of its index) at index bits 0-2.
inline V permuteQwords2(V a, V idx, V b) {
  V r;
  for (int i = 0; i < 8; ++i) {
    const std::int64_t k = i64(idx, i);
    std::memcpy(r.b + 8 * i, ((k & 8) ? b : a).b + 8 * (k & 7), 8);
  }
  return r;
}
inline V setrDwords(int e0, int e1, int e2, int e3, int e4, int e5, int e6, int e7, int e8, int e9, int e10,
                    int e11, int e12, int e13, int e14, int e15) {
  const std::int32_t e[16] = {e0, e1, e2, e3, e4, e5, e6, e7, e8, e9, e10, e11, e12, e13, e14, e15};
  V r;
  std::memcpy(r.b, e, 64);
  return r;
}
// Masked-off bytes are neither read nor written.
inline void maskStoreBytes(void* p, Mask k, V v) {
  for (int i = 0; i < 64; ++i)
    if ((k >> i) & 1) static_cast<std::uint8_t*>(p)[i] = v.b[i];
}
inline V maskLoadBytes(Mask k, const void* p) {
  V r{};
  for (int i = 0; i < 64; ++i)
    if ((k >> i) & 1) r.b[i] = static_cast<const std::uint8_t*>(p)[i];
  return r;
}

// Byte i from the 128 bytes of a then b, at bits 0-6 of idx's byte i.
inline V permuteBytes2(V a, V idx, V b) {
  V r;
  for (int i = 0; i < 64; ++i) {
    const int k = idx.b[i] & 127;
    r.b[i] = k < 64 ? a.b[k] : b.b[k - 64];
  }
  return r;
}
inline V blendBytes(Mask k, V a, V b) {
  for (int i = 0; i < 64; ++i)
    if ((k >> i) & 1) a.b[i] = b.b[i];
  return a;
}
inline Mask topBits(V v) {
  Mask m = 0;
  for (int i = 0; i < 64; ++i) m |= static_cast<Mask>(v.b[i] >> 7) << i;
  return m;
}

// Element-wise arithmetic for the conversion kernels.
inline std::uint16_t u16(const V& v, int i) {
  return static_cast<std::uint16_t>(v.b[2 * i] | (v.b[2 * i + 1] << 8));
}
inline std::int16_t i16(const V& v, int i) { return static_cast<std::int16_t>(u16(v, i)); }
inline void setU16(V& v, int i, unsigned x) {
  v.b[2 * i] = static_cast<std::uint8_t>(x);
  v.b[2 * i + 1] = static_cast<std::uint8_t>(x >> 8);
}
inline void setI32(V& v, int i, std::int32_t x) { std::memcpy(v.b + 4 * i, &x, 4); }

inline V set1Dwords(int x) {
  V r;
  for (int i = 0; i < 16; ++i) setI32(r, i, x);
  return r;
}
inline V and_(V a, V b) {
  for (int i = 0; i < 64; ++i) a.b[i] &= b.b[i];
  return a;
}
// Shifts by a count of the element width or more give zero.
inline V shiftLeftWords(V a, unsigned n) {
  for (int i = 0; i < 32; ++i) setU16(a, i, n > 15 ? 0 : u16(a, i) << n);
  return a;
}
inline V shiftRightWords(V a, unsigned n) {
  for (int i = 0; i < 32; ++i) setU16(a, i, n > 15 ? 0 : u16(a, i) >> n);
  return a;
}
inline V shiftRightDwords(V a, unsigned n) {
  for (int i = 0; i < 16; ++i)
    setI32(a, i, n > 31 ? 0 : static_cast<std::int32_t>(static_cast<std::uint32_t>(i32(a, i)) >> n));
  return a;
}
inline V addDwords(V a, V b) {
  for (int i = 0; i < 16; ++i)
    setI32(a, i,
           static_cast<std::int32_t>(static_cast<std::uint32_t>(i32(a, i)) +
                                     static_cast<std::uint32_t>(i32(b, i))));
  return a;
}
// High half of unsigned 16-bit products.
inline V mulhiWordsU(V a, V b) {
  for (int i = 0; i < 32; ++i) setU16(a, i, (static_cast<unsigned>(u16(a, i)) * u16(b, i)) >> 16);
  return a;
}
// Signed 16-bit products, adjacent pairs summed to 32 bits.
inline V maddWords(V a, V b) {
  V r;
  for (int i = 0; i < 16; ++i)
    setI32(r, i, i16(a, 2 * i) * i16(b, 2 * i) + i16(a, 2 * i + 1) * i16(b, 2 * i + 1));
  return r;
}
// Unsigned bytes of a times signed bytes of b, adjacent pairs summed with
// signed 16-bit saturation.
inline V maddubsBytes(V a, V b) {
  V r;
  for (int i = 0; i < 32; ++i) {
    int s = a.b[2 * i] * static_cast<std::int8_t>(b.b[2 * i]) +
            a.b[2 * i + 1] * static_cast<std::int8_t>(b.b[2 * i + 1]);
    s = s < -32768 ? -32768 : s > 32767 ? 32767 : s;
    setU16(r, i, static_cast<unsigned>(s));
  }
  return r;
}
// Per 16-byte lane: a's elements then b's, narrowed with unsigned saturation.
inline V packusDwords(V a, V b) {
  V r;
  for (int lane = 0; lane < 4; ++lane)
    for (int i = 0; i < 8; ++i) {
      const std::int32_t x = i32(i < 4 ? a : b, 4 * lane + i % 4);
      setU16(r, 8 * lane + i, static_cast<unsigned>(x < 0 ? 0 : x > 65535 ? 65535 : x));
    }
  return r;
}
inline V packusWords(V a, V b) {
  V r;
  for (int lane = 0; lane < 4; ++lane)
    for (int i = 0; i < 16; ++i) {
      const int x = i16(i < 8 ? a : b, 8 * lane + i % 8);
      r.b[16 * lane + i] = static_cast<std::uint8_t>(x < 0 ? 0 : x > 255 ? 255 : x);
    }
  return r;
}
// Per 16-byte lane: words 0-3 (lo) or 4-7 (hi) of a and b, interleaved.
inline V unpackWords(V a, V b, int half) {
  V r;
  for (int lane = 0; lane < 4; ++lane)
    for (int i = 0; i < 4; ++i) {
      setU16(r, 8 * lane + 2 * i, u16(a, 8 * lane + 4 * half + i));
      setU16(r, 8 * lane + 2 * i + 1, u16(b, 8 * lane + 4 * half + i));
    }
  return r;
}
inline V unpackloWords(V a, V b) { return unpackWords(a, b, 0); }
inline V unpackhiWords(V a, V b) { return unpackWords(a, b, 1); }
// Dword i from a or b (bit 4 of its index) at index bits 0-3.
inline V permuteDwords2(V a, V idx, V b) {
  V r;
  for (int i = 0; i < 16; ++i) {
    const std::int32_t k = i32(idx, i);
    std::memcpy(r.b + 4 * i, ((k & 16) ? b : a).b + 4 * (k & 15), 4);
  }
  return r;
}

} // namespace avx512emu

#define __m512i avx512emu::V
#define __mmask64 avx512emu::Mask
#define _mm512_loadu_si512 avx512emu::load
#define _mm512_load_si512 avx512emu::load
#define _mm512_storeu_si512 avx512emu::store
#define _mm512_or_si512 avx512emu::or_
#define _mm512_shuffle_epi8 avx512emu::shuffleBytes
#define _mm512_shuffle_i64x2 avx512emu::shuffleLanes
#define _mm512_permutexvar_epi32 avx512emu::permuteDwords
#define _mm512_permutex2var_epi64 avx512emu::permuteQwords2
#undef _mm512_setr_epi32 // a macro in some compilers' headers
#define _mm512_setr_epi32 avx512emu::setrDwords
#define _mm512_mask_storeu_epi8 avx512emu::maskStoreBytes
#define _mm512_maskz_loadu_epi8 avx512emu::maskLoadBytes
#define _mm512_permutex2var_epi8 avx512emu::permuteBytes2
#define _mm512_mask_blend_epi8 avx512emu::blendBytes
#define _mm512_movepi8_mask avx512emu::topBits
#define _mm512_set1_epi32 avx512emu::set1Dwords
#define _mm512_and_si512 avx512emu::and_
#undef _mm512_slli_epi16 // the immediate shifts are macros in unoptimised builds
#undef _mm512_srli_epi16
#undef _mm512_srli_epi32
#define _mm512_slli_epi16 avx512emu::shiftLeftWords
#define _mm512_srli_epi16 avx512emu::shiftRightWords
#define _mm512_srli_epi32 avx512emu::shiftRightDwords
#define _mm512_add_epi32 avx512emu::addDwords
#define _mm512_mulhi_epu16 avx512emu::mulhiWordsU
#define _mm512_madd_epi16 avx512emu::maddWords
#define _mm512_maddubs_epi16 avx512emu::maddubsBytes
#define _mm512_packus_epi32 avx512emu::packusDwords
#define _mm512_packus_epi16 avx512emu::packusWords
#define _mm512_unpacklo_epi16 avx512emu::unpackloWords
#define _mm512_unpackhi_epi16 avx512emu::unpackhiWords
#define _mm512_permutex2var_epi32 avx512emu::permuteDwords2
