// Conversion kernels for CPUs with AVX2 (compiled with -mavx2). Every
// layout has a reader that turns 32 pixels into four vectors of eight
// B,G,R,A dwords and a writer for the way back, reading and writing exactly
// those pixels' bytes; a pair of them converts a block.
#include "ipp/kernels/ippconvertkernels.h"
#include "ipp/kernels/ippx86blocks.h"

namespace framquist::ipp_detail {
namespace {

constexpr int kBlock = 32;

using Block = __m256i[4];

inline __m256i splat(unsigned v) { return _mm256_set1_epi32(static_cast<int>(v)); }
inline __m256i opaque() { return splat(0xff000000u); }

template <int Format>
struct Reader;
template <int Format>
struct Writer;

// Eight three-byte pixels, four to a lane: the high lane is loaded 8
// bytes on (its pixels start at byte 4) so that both loads stay inside the
// 24 bytes of the pixels.
inline __m256i load24(const u8* p) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(load128(p)), load128(p + 8), 1);
}

template <>
struct Reader<kBgr24> {
  static void load(const u8* s, Block& px) {
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, //
                                            4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
      px[k] = _mm256_or_si256(_mm256_shuffle_epi8(load24(s + 24 * k), spread), opaque());
  }
};

template <>
struct Reader<kBgra32> {
  static void load(const u8* s, Block& px) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) px[k] = load256(s + 32 * k);
  }
};

template <>
struct Reader<kGrey8> {
  static void load(const u8* s, Block& px) {
    const __m256i spread = _mm256_setr_epi8(0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12, -1, //
                                            0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12, -1);
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const __m256i grey = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + 8 * k)));
      px[k] = _mm256_or_si256(_mm256_shuffle_epi8(grey, spread), opaque());
    }
  }
};

// 16-bit pixels, sixteen to a vector. A field at the top of a 16-bit word
// widens with one high multiply: (x << k) * m >> 16 is (x * 33) >> 2 (5
// bits) or (x * 65) >> 4 (6 bits) for the right m. The words are ordered so
// that the unpacks into dwords give pixels 0-7 and 8-15.
template <bool Is565>
struct Reader16 {
  static void load(const u8* s, Block& px) {
    const __m256i rMask = splat(Is565 ? 0xf800f800u : 0x7c007c00u);
    const __m256i gMask = splat(Is565 ? 0x07e007e0u : 0x03e003e0u);
    const __m256i rMul = splat(Is565 ? 0x01080108u : 0x02100210u); // 264, 528
    const __m256i gMul = splat(Is565 ? 0x20802080u : 0x42004200u); // 8320, 16896
    const __m256i bMul = splat(0x01080108u);                       // 264
    const __m256i alpha = splat(0xff00ff00u);
#pragma GCC unroll 4
    for (int h = 0; h < 2; ++h) {
      const __m256i v = _mm256_permute4x64_epi64(load256(s + 32 * h), 0xd8);
      const __m256i r = _mm256_mulhi_epu16(_mm256_and_si256(v, rMask), rMul);
      const __m256i g = _mm256_mulhi_epu16(_mm256_and_si256(v, gMask), gMul);
      const __m256i b = _mm256_mulhi_epu16(_mm256_slli_epi16(v, 11), bMul);
      const __m256i bg = _mm256_or_si256(b, _mm256_slli_epi16(g, 8));
      const __m256i ra = _mm256_or_si256(r, alpha);
      px[2 * h] = _mm256_unpacklo_epi16(bg, ra);
      px[2 * h + 1] = _mm256_unpackhi_epi16(bg, ra);
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
    for (int k = 0; k < 4; ++k) store256(d + 32 * k, px[k]);
  }
};

// Each lane packs its four pixels into its first 12 bytes (dwords 0-2 of
// the lane), then dword permutes and blends join the 24 valid dwords of the
// four vectors into three.
template <>
struct Writer<kBgr24> {
  static void store(u8* d, const Block& px) {
    const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, //
                                          0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    __m256i p[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) p[k] = _mm256_shuffle_epi8(px[k], pack);
    auto perm = [](__m256i v, int i0, int i1, int i2, int i3, int i4, int i5, int i6, int i7) {
      return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(i0, i1, i2, i3, i4, i5, i6, i7));
    };
    // The valid dwords of a vector are 0, 1, 2, 4, 5, 6.
    store256(
        d, _mm256_blend_epi32(perm(p[0], 0, 1, 2, 4, 5, 6, 0, 0), perm(p[1], 0, 0, 0, 0, 0, 0, 0, 1), 0xc0));
    store256(d + 32, _mm256_blend_epi32(perm(p[1], 2, 4, 5, 6, 0, 0, 0, 0),
                                        perm(p[2], 0, 0, 0, 0, 0, 1, 2, 4), 0xf0));
    store256(d + 64, _mm256_blend_epi32(perm(p[2], 5, 6, 0, 0, 0, 0, 0, 0),
                                        perm(p[3], 0, 0, 0, 1, 2, 4, 5, 6), 0xfc));
  }
};

// The luma sums of eight pixels, shifted right by 3 (see lumaFromSum), from
// two multiply-adds on their (B, R) and (G, A) words (A is ignored).
inline __m256i lumaEighths(__m256i br, __m256i ga) {
  const __m256i sum =
      _mm256_add_epi32(_mm256_madd_epi16(br, splat(114u | (299u << 16))), _mm256_madd_epi16(ga, splat(587u)));
  return _mm256_srli_epi32(_mm256_add_epi32(sum, splat(500u)), 3);
}

// The eighths are packed to 16 bits for the high multiply of lumaFromSum.
template <>
struct Writer<kGrey8> {
  static void store(u8* d, const Block& px) {
    Block t;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
      t[k] = lumaEighths(_mm256_and_si256(px[k], splat(0x00ff00ffu)), _mm256_srli_epi16(px[k], 8));
    storeEighths(d, t);
  }
  static void storeEighths(u8* d, const Block& t) {
    const __m256i magic = splat(kLumaMagic | (kLumaMagic << 16));
    const __m256i q01 =
        _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_packus_epi32(t[0], t[1]), magic), kLumaShift);
    const __m256i q23 =
        _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_packus_epi32(t[2], t[3]), magic), kLumaShift);
    // Dword i of lane l now holds pixels 4l..4l+3 of vector i.
    const __m256i grey = _mm256_packus_epi16(q01, q23);
    store256(d, _mm256_permutevar8x32_epi32(grey, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
  }
};

// Masking each channel to the bits kept, then byte and word multiply-adds
// place them eight times too high: (B + 64 G + 2048 R) >> 3 is 5-6-5,
// (B + 32 G + 1024 R) >> 3 is 5-5-5.
template <bool Is565>
struct Writer16 {
  static void store(u8* d, const Block& px) {
    const __m256i keep = splat(Is565 ? 0x00f8fcf8u : 0x00f8f8f8u);
    const __m256i byteWeights = splat(Is565 ? 0x00014001u : 0x00012001u);
    const __m256i wordWeights = splat(Is565 ? 0x08000001u : 0x04000001u);
    __m256i t[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const __m256i words = _mm256_maddubs_epi16(_mm256_and_si256(px[k], keep), byteWeights);
      t[k] = _mm256_srli_epi32(_mm256_madd_epi16(words, wordWeights), 3);
    }
    store256(d, _mm256_permute4x64_epi64(_mm256_packus_epi32(t[0], t[1]), 0xd8));
    store256(d + 32, _mm256_permute4x64_epi64(_mm256_packus_epi32(t[2], t[3]), 0xd8));
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

// The conversion the frame makes most: shuffles place the (B, R) and (G, 0)
// words of the luma sums straight from the three-byte pixels.
template <>
struct BlockOf<kBgr24, kGrey8> {
  static constexpr int kPixels = kBlock;
  static void convert(const u8* s, u8* d) {
    const __m256i br = _mm256_setr_epi8(0, -1, 2, -1, 3, -1, 5, -1, 6, -1, 8, -1, 9, -1, 11, -1, //
                                        4, -1, 6, -1, 7, -1, 9, -1, 10, -1, 12, -1, 13, -1, 15, -1);
    const __m256i g = _mm256_setr_epi8(1, -1, -1, -1, 4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1, //
                                       5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1, 14, -1, -1, -1);
    Block t;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const __m256i v = load24(s + 24 * k);
      t[k] = lumaEighths(_mm256_shuffle_epi8(v, br), _mm256_shuffle_epi8(v, g));
    }
    Writer<kGrey8>::storeEighths(d, t);
  }
};

template <int From, int To>
struct ConvertAvx2 : ConvertByBlocks<BlockOf<From, To>, From, To> {};

} // namespace

const ConvertKernels kConvertAvx2 = makeConvertKernels<ConvertAvx2>();

} // namespace framquist::ipp_detail
