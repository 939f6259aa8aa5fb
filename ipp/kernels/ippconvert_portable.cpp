// Conversion kernels for any x86-64: SSE2, with the reader and writer
// scheme of the AVX2 kernels (see ippconvert_avx2.cpp) on 16-pixel blocks,
// four vectors of four B,G,R,A dwords. Without byte shuffles, three-byte
// pixels are moved into and out of their dwords by whole-register byte
// shifts and masks.
#include "ipp/kernels/ippconvertkernels.h"
#include "ipp/kernels/ippvectors.h"

namespace framquist::ipp_detail {
namespace {

constexpr int kBlock = 16;

using V = __m128i;
using Block = V[4];

inline V load(const u8* p) { return Sse2Vec::load(p); }
inline void store(u8* p, V v) { Sse2Vec::store(p, v); }
inline V splat(unsigned v) { return _mm_set1_epi32(static_cast<int>(v)); }
inline V dwords(unsigned a, unsigned b, unsigned c, unsigned d) {
  return _mm_setr_epi32(static_cast<int>(a), static_cast<int>(b), static_cast<int>(c), static_cast<int>(d));
}
inline V opaque() { return splat(0xff000000u); }

template <int Format>
struct Reader;
template <int Format>
struct Writer;

// Four pixels from the first 12 bytes of v: pixel i moves i bytes up.
inline V spread24(V v) {
  const V p0 = _mm_and_si128(v, dwords(0xffffff, 0, 0, 0));
  const V p1 = _mm_and_si128(_mm_slli_si128(v, 1), dwords(0, 0xffffff, 0, 0));
  const V p2 = _mm_and_si128(_mm_slli_si128(v, 2), dwords(0, 0, 0xffffff, 0));
  const V p3 = _mm_and_si128(_mm_slli_si128(v, 3), dwords(0, 0, 0, 0xffffff));
  return _mm_or_si128(_mm_or_si128(p0, p1), _mm_or_si128(p2, p3));
}

// The last load ends with the block's 48 bytes, its pixels 4 bytes in.
template <>
struct Reader<kBgr24> {
  static void load(const u8* s, Block& px) {
    const V last = _mm_srli_si128(ipp_detail::load(s + 32), 4);
#pragma GCC unroll 3
    for (int k = 0; k < 3; ++k) px[k] = _mm_or_si128(spread24(ipp_detail::load(s + 12 * k)), opaque());
    px[3] = _mm_or_si128(spread24(last), opaque());
  }
};

template <>
struct Reader<kBgra32> {
  static void load(const u8* s, Block& px) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) px[k] = ipp_detail::load(s + 16 * k);
  }
};

// Unpacking the samples with themselves and with 255 gives (g, g) and
// (g, 255) words, and those unpacked give the dwords.
template <>
struct Reader<kGrey8> {
  static void load(const u8* s, Block& px) {
    const V grey = ipp_detail::load(s), ones = splat(0xffffffffu);
    const V gg0 = _mm_unpacklo_epi8(grey, grey), ga0 = _mm_unpacklo_epi8(grey, ones);
    const V gg1 = _mm_unpackhi_epi8(grey, grey), ga1 = _mm_unpackhi_epi8(grey, ones);
    px[0] = _mm_unpacklo_epi16(gg0, ga0);
    px[1] = _mm_unpackhi_epi16(gg0, ga0);
    px[2] = _mm_unpacklo_epi16(gg1, ga1);
    px[3] = _mm_unpackhi_epi16(gg1, ga1);
  }
};

// As the AVX2 reader, without the lane reordering.
template <bool Is565>
struct Reader16 {
  static void load(const u8* s, Block& px) {
    const V rMask = splat(Is565 ? 0xf800f800u : 0x7c007c00u);
    const V gMask = splat(Is565 ? 0x07e007e0u : 0x03e003e0u);
    const V rMul = splat(Is565 ? 0x01080108u : 0x02100210u); // 264, 528
    const V gMul = splat(Is565 ? 0x20802080u : 0x42004200u); // 8320, 16896
    const V bMul = splat(0x01080108u);                       // 264
#pragma GCC unroll 2
    for (int h = 0; h < 2; ++h) {
      const V v = ipp_detail::load(s + 16 * h);
      const V r = _mm_mulhi_epu16(_mm_and_si128(v, rMask), rMul);
      const V g = _mm_mulhi_epu16(_mm_and_si128(v, gMask), gMul);
      const V b = _mm_mulhi_epu16(_mm_slli_epi16(v, 11), bMul);
      const V bg = _mm_or_si128(b, _mm_slli_epi16(g, 8));
      const V ra = _mm_or_si128(r, splat(0xff00ff00u));
      px[2 * h] = _mm_unpacklo_epi16(bg, ra);
      px[2 * h + 1] = _mm_unpackhi_epi16(bg, ra);
    }
  }
};

template <>
struct Reader<kRgb565> : Reader16<true> {};
template <>
struct Reader<kRgb555> : Reader16<false> {};

template <>
struct Writer<kBgra32> {
  static void store(u8* d, const Block& px) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) ipp_detail::store(d + 16 * k, px[k]);
  }
};

// The inverse of spread24: the four pixels in the first 12 bytes, zeros
// after them.
inline V pack24(V v) {
  const V p0 = _mm_and_si128(v, dwords(0xffffff, 0, 0, 0));
  const V p1 = _mm_and_si128(_mm_srli_si128(v, 1), dwords(0xff000000u, 0xffff, 0, 0));
  const V p2 = _mm_and_si128(_mm_srli_si128(v, 2), dwords(0, 0xffff0000u, 0xff, 0));
  const V p3 = _mm_and_si128(_mm_srli_si128(v, 3), dwords(0, 0, 0xffffff00u, 0));
  return _mm_or_si128(_mm_or_si128(p0, p1), _mm_or_si128(p2, p3));
}

template <>
struct Writer<kBgr24> {
  static void store(u8* d, const Block& px) {
    const V r0 = pack24(px[0]), r1 = pack24(px[1]), r2 = pack24(px[2]), r3 = pack24(px[3]);
    ipp_detail::store(d, _mm_or_si128(r0, _mm_slli_si128(r1, 12)));
    ipp_detail::store(d + 16, _mm_or_si128(_mm_srli_si128(r1, 4), _mm_slli_si128(r2, 8)));
    ipp_detail::store(d + 32, _mm_or_si128(_mm_srli_si128(r2, 8), _mm_slli_si128(r3, 4)));
  }
};

// As the AVX2 writer; the eighths of the sums stay below 2^15, so the
// signed pack of SSE2 narrows them exactly.
template <>
struct Writer<kGrey8> {
  static void store(u8* d, const Block& px) {
    const V brWeights = splat(114u | (299u << 16)), gaWeights = splat(587u), half = splat(500u);
    Block t;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const V br = _mm_madd_epi16(_mm_and_si128(px[k], splat(0x00ff00ffu)), brWeights);
      const V ga = _mm_madd_epi16(_mm_srli_epi16(px[k], 8), gaWeights);
      t[k] = _mm_srli_epi32(_mm_add_epi32(_mm_add_epi32(br, ga), half), 3);
    }
    const V magic = splat(kLumaMagic | (kLumaMagic << 16));
    const V q01 = _mm_srli_epi16(_mm_mulhi_epu16(_mm_packs_epi32(t[0], t[1]), magic), kLumaShift);
    const V q23 = _mm_srli_epi16(_mm_mulhi_epu16(_mm_packs_epi32(t[2], t[3]), magic), kLumaShift);
    ipp_detail::store(d, _mm_packus_epi16(q01, q23));
  }
};

// Each field shifted into place and masked. The 16-bit results are sign
// extended first so that the signed pack keeps their bits.
template <bool Is565>
struct Writer16 {
  static V pixels(V px) {
    const V b = _mm_and_si128(_mm_srli_epi32(px, 3), splat(0x001f));
    const V g = Is565 ? _mm_and_si128(_mm_srli_epi32(px, 5), splat(0x07e0))
                      : _mm_and_si128(_mm_srli_epi32(px, 6), splat(0x03e0));
    const V r = Is565 ? _mm_and_si128(_mm_srli_epi32(px, 8), splat(0xf800))
                      : _mm_and_si128(_mm_srli_epi32(px, 9), splat(0x7c00));
    return _mm_srai_epi32(_mm_slli_epi32(_mm_or_si128(_mm_or_si128(b, g), r), 16), 16);
  }
  static void store(u8* d, const Block& px) {
    ipp_detail::store(d, _mm_packs_epi32(pixels(px[0]), pixels(px[1])));
    ipp_detail::store(d + 16, _mm_packs_epi32(pixels(px[2]), pixels(px[3])));
  }
};

template <>
struct Writer<kRgb565> : Writer16<true> {};
template <>
struct Writer<kRgb555> : Writer16<false> {};

template <int From, int To>
struct BlockOf {
  static constexpr int kPixels = kBlock;
  static void convert(const u8* s, u8* d) {
    Block px;
    Reader<From>::load(s, px);
    Writer<To>::store(d, px);
  }
};

template <int From, int To>
struct ConvertPortable : ConvertByBlocks<BlockOf<From, To>, From, To> {};

} // namespace

const ConvertKernels kConvertPortable = makeConvertKernels<ConvertPortable>();

} // namespace framquist::ipp_detail
