// Conversion kernels for CPUs with AVX-512 F/BW/VL/DQ: the AVX2 scheme
// (see ippconvert_avx2.cpp) on 64-pixel blocks, four vectors of sixteen
// B,G,R,A dwords. Three-byte pixels move between 16-byte lanes by dword
// permutes, so no byte permutes (VBMI) are needed.
// GCC 12 reports its own AVX-512 intrinsics (their _mm512_undefined_*
// placeholders) as maybe-uninitialized; the warning is spurious there.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "ipp/kernels/ippavx512.h"
#include "ipp/kernels/ippconvertkernels.h"

namespace framquist::ipp_detail {
namespace {

constexpr int kBlock = 64;

using Block = __m512i[4];

inline __m512i splat(unsigned v) { return _mm512_set1_epi32(static_cast<int>(v)); }
inline __m512i opaque() { return splat(0xff000000u); }
// The same four dwords in every 16-byte lane (byte-shuffle controls).
inline __m512i lanes(unsigned a, unsigned b, unsigned c, unsigned d) {
  const int i = static_cast<int>(a), j = static_cast<int>(b), k = static_cast<int>(c),
            l = static_cast<int>(d);
  return _mm512_setr_epi32(i, j, k, l, i, j, k, l, i, j, k, l, i, j, k, l);
}

template <int Format>
struct Reader;
template <int Format>
struct Writer;

// Sixteen pixels (48 bytes) to a vector: a dword permute gives lane l the
// twelve bytes of pixels 4l..4l+3, a byte shuffle spreads them. The last
// vector's load ends with the block, its pixels 16 bytes in.
inline __m512i load24(const u8* block, int k) {
  if (k < 3)
    return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 1, 2, 0, 3, 4, 5, 3, 6, 7, 8, 6, 9, 10, 11, 9),
                                    load512(block + 48 * k));
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(4, 5, 6, 4, 7, 8, 9, 7, 10, 11, 12, 10, 13, 14, 15, 13),
                                  load512(block + 128));
}

template <>
struct Reader<kBgr24> {
  static void load(const u8* s, Block& px) {
    const __m512i spread = lanes(0xff020100u, 0xff050403u, 0xff080706u, 0xff0b0a09u);
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) px[k] = _mm512_or_si512(_mm512_shuffle_epi8(load24(s, k), spread), opaque());
  }
};

template <>
struct Reader<kBgra32> {
  static void load(const u8* s, Block& px) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) px[k] = load512(s + 64 * k);
  }
};

// Lane l of vector k takes the dword of pixels 16k + 4l.. in all four
// places; the shuffle then copies sample j of it into dword j.
template <>
struct Reader<kGrey8> {
  static void load(const u8* s, Block& px) {
    const __m512i spread = lanes(0xff000000u, 0xff010101u, 0xff020202u, 0xff030303u);
    const __m512i grey = load512(s);
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const int a = 4 * k, b = a + 1, c = a + 2, d = a + 3;
      const __m512i v =
          _mm512_permutexvar_epi32(_mm512_setr_epi32(a, a, a, a, b, b, b, b, c, c, c, c, d, d, d, d), grey);
      px[k] = _mm512_or_si512(_mm512_shuffle_epi8(v, spread), opaque());
    }
  }
};

// As the AVX2 reader: high multiplies widen the fields; lane l gets the
// quadwords of pixels 4l.. and 16 + 4l.. so the unpacks give pixels 0-15
// and 16-31.
template <bool Is565>
struct Reader16 {
  static void load(const u8* s, Block& px) {
    const __m512i rMask = splat(Is565 ? 0xf800f800u : 0x7c007c00u);
    const __m512i gMask = splat(Is565 ? 0x07e007e0u : 0x03e003e0u);
    const __m512i rMul = splat(Is565 ? 0x01080108u : 0x02100210u); // 264, 528
    const __m512i gMul = splat(Is565 ? 0x20802080u : 0x42004200u); // 8320, 16896
    const __m512i bMul = splat(0x01080108u);                       // 264
    const __m512i alpha = splat(0xff00ff00u);
    const __m512i order = _mm512_setr_epi32(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
#pragma GCC unroll 4
    for (int h = 0; h < 2; ++h) {
      const __m512i v = _mm512_permutexvar_epi32(order, load512(s + 64 * h));
      const __m512i r = _mm512_mulhi_epu16(_mm512_and_si512(v, rMask), rMul);
      const __m512i g = _mm512_mulhi_epu16(_mm512_and_si512(v, gMask), gMul);
      const __m512i b = _mm512_mulhi_epu16(_mm512_slli_epi16(v, 11), bMul);
      const __m512i bg = _mm512_or_si512(b, _mm512_slli_epi16(g, 8));
      const __m512i ra = _mm512_or_si512(r, alpha);
      px[2 * h] = _mm512_unpacklo_epi16(bg, ra);
      px[2 * h + 1] = _mm512_unpackhi_epi16(bg, ra);
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
    for (int k = 0; k < 4; ++k) store512(d + 64 * k, px[k]);
  }
};

// Each lane packs its pixels into dwords 0-2; two-source dword permutes
// join the 48 valid dwords of the four vectors into three.
template <>
struct Writer<kBgr24> {
  static void store(u8* d, const Block& px) {
    const __m512i pack = lanes(0x04020100u, 0x09080605u, 0x0e0d0c0au, 0xffffffffu);
    __m512i p[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) p[k] = _mm512_shuffle_epi8(px[k], pack);
    // Indices 16 and up take from the second vector.
    const __m512i join0 = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20);
    const __m512i join1 = _mm512_setr_epi32(5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25);
    const __m512i join2 = _mm512_setr_epi32(10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28, 29, 30);
    store512(d, _mm512_permutex2var_epi32(p[0], join0, p[1]));
    store512(d + 64, _mm512_permutex2var_epi32(p[1], join1, p[2]));
    store512(d + 128, _mm512_permutex2var_epi32(p[2], join2, p[3]));
  }
};

inline __m512i lumaEighths(__m512i br, __m512i ga) {
  const __m512i sum =
      _mm512_add_epi32(_mm512_madd_epi16(br, splat(114u | (299u << 16))), _mm512_madd_epi16(ga, splat(587u)));
  return _mm512_srli_epi32(_mm512_add_epi32(sum, splat(500u)), 3);
}

// As the AVX2 writer. After the packs, dword 4l + k holds pixels
// 16k + 4l..16k + 4l + 3.
template <>
struct Writer<kGrey8> {
  static void store(u8* d, const Block& px) {
    Block t;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
      t[k] = lumaEighths(_mm512_and_si512(px[k], splat(0x00ff00ffu)), _mm512_srli_epi16(px[k], 8));
    storeEighths(d, t);
  }
  static void storeEighths(u8* d, const Block& t) {
    const __m512i magic = splat(kLumaMagic | (kLumaMagic << 16));
    const __m512i q01 =
        _mm512_srli_epi16(_mm512_mulhi_epu16(_mm512_packus_epi32(t[0], t[1]), magic), kLumaShift);
    const __m512i q23 =
        _mm512_srli_epi16(_mm512_mulhi_epu16(_mm512_packus_epi32(t[2], t[3]), magic), kLumaShift);
    const __m512i grey = _mm512_packus_epi16(q01, q23);
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    store512(d, _mm512_permutexvar_epi32(order, grey));
  }
};

// As the AVX2 writer. After a pack, quadword 2l holds pixels 4l.. of the
// first vector and 2l + 1 those of the second.
template <bool Is565>
struct Writer16 {
  static void store(u8* d, const Block& px) {
    const __m512i keep = splat(Is565 ? 0x00f8fcf8u : 0x00f8f8f8u);
    const __m512i byteWeights = splat(Is565 ? 0x00014001u : 0x00012001u);
    const __m512i wordWeights = splat(Is565 ? 0x08000001u : 0x04000001u);
    const __m512i order = _mm512_setr_epi32(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
    __m512i t[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const __m512i words = _mm512_maddubs_epi16(_mm512_and_si512(px[k], keep), byteWeights);
      t[k] = _mm512_srli_epi32(_mm512_madd_epi16(words, wordWeights), 3);
    }
    store512(d, _mm512_permutexvar_epi32(order, _mm512_packus_epi32(t[0], t[1])));
    store512(d + 64, _mm512_permutexvar_epi32(order, _mm512_packus_epi32(t[2], t[3])));
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

// As in the AVX2 kernels, 24-bit to grey shuffles straight to the words of
// the luma sums.
template <>
struct BlockOf<kBgr24, kGrey8> {
  static constexpr int kPixels = kBlock;
  static void convert(const u8* s, u8* d) {
    const __m512i br = lanes(0xff02ff00u, 0xff05ff03u, 0xff08ff06u, 0xff0bff09u);
    const __m512i g = lanes(0xffffff01u, 0xffffff04u, 0xffffff07u, 0xffffff0au);
    Block t;
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const __m512i v = load24(s, k);
      t[k] = lumaEighths(_mm512_shuffle_epi8(v, br), _mm512_shuffle_epi8(v, g));
    }
    Writer<kGrey8>::storeEighths(d, t);
  }
};

template <int From, int To>
struct ConvertAvx512 : ConvertByBlocks<BlockOf<From, To>, From, To> {};

} // namespace

const ConvertKernels kConvertAvx512 = makeConvertKernels<ConvertAvx512>();

} // namespace framquist::ipp_detail
