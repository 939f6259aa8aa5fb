// AVX2 remap, eight destination pixels per step. Neighbours are gathered as
// 32-bit words (one pixel, or several one- and three-byte pixels per word;
// linear takes both neighbours of a row in one 64-bit word) and every
// channel is interpolated in float lanes in the reference's order, so results
// match it bit for bit. Row tails, the few lanes at the source's edges that
// a whole-word read cannot serve, and calls whose source is too small or too
// large for 32-bit gather offsets run the per-pixel loops (built here with
// AVX2 enabled).
#include <immintrin.h>

#include <cstdint>

#include "ipp/kernels/ippremaprows.h"

namespace framquist::ipp_detail {

namespace {

using namespace remaprows;

struct Bounds {
  __m256 left, right, top, bottom;
  __m256i leftI, rightI, topI, bottomI, step;
  __m256i lo;  // offset of the first usable byte
  __m256i hi4; // last offset a 32-bit read may start at without passing the last usable byte
  __m256i hi8; // the same for 64-bit reads
  Bounds(const RemapArgs& a, int bytes)
      : left(_mm256_set1_ps(static_cast<float>(a.left))), right(_mm256_set1_ps(static_cast<float>(a.right))),
        top(_mm256_set1_ps(static_cast<float>(a.top))), bottom(_mm256_set1_ps(static_cast<float>(a.bottom))),
        leftI(_mm256_set1_epi32(a.left)), rightI(_mm256_set1_epi32(a.right)), topI(_mm256_set1_epi32(a.top)),
        bottomI(_mm256_set1_epi32(a.bottom)), step(_mm256_set1_epi32(a.srcStep)),
        lo(_mm256_set1_epi32(a.top * a.srcStep + a.left * bytes)),
        hi4(_mm256_set1_epi32(a.bottom * a.srcStep + (a.right + 1) * bytes - 4)),
        hi8(_mm256_sub_epi32(hi4, _mm256_set1_epi32(4))) {}

  // Lanes whose coordinates lie inside (NaN compares false).
  __m256 inside(__m256 xs, __m256 ys) const {
    return _mm256_and_ps(
        _mm256_and_ps(_mm256_cmp_ps(xs, left, _CMP_GE_OQ), _mm256_cmp_ps(xs, right, _CMP_LE_OQ)),
        _mm256_and_ps(_mm256_cmp_ps(ys, top, _CMP_GE_OQ), _mm256_cmp_ps(ys, bottom, _CMP_LE_OQ)));
  }
};

// Whether the vector kernels can address this source: 32-bit offsets, and
// at least one whole 64-bit word (and four columns, for cubic) to read.
bool vectorFits(const RemapArgs& a, int bytes, int minColumns) {
  if (a.srcStep <= 0 || a.right - a.left + 1 < minColumns) return false;
  const std::int64_t first = std::int64_t{a.top} * a.srcStep + std::int64_t{a.left} * bytes;
  const std::int64_t end = std::int64_t{a.bottom} * a.srcStep + (std::int64_t{a.right} + 1) * bytes;
  return end - first >= 8 && end + 16 < (std::int64_t{1} << 31);
}

inline __m256i gather(const Ipp8u* src, __m256i offsets) {
  return _mm256_i32gather_epi32(reinterpret_cast<const int*>(src), offsets, 1);
}

// The 32-bit word at each offset. Near the end of the usable bytes the word
// is read from further back and shifted down, so nothing past the last
// usable byte is touched; the bytes beyond it come back as zero.
template <int Bytes>
inline __m256i readWord(const Ipp8u* src, const Bounds& b, __m256i off) {
  if constexpr (Bytes == 4) {
    return gather(src, off);
  } else {
    const __m256i at = _mm256_min_epi32(off, b.hi4);
    return _mm256_srlv_epi32(gather(src, at), _mm256_slli_epi32(_mm256_sub_epi32(off, at), 3));
  }
}

template <int Bytes>
inline __m256i pixelOffset(const Bounds& b, __m256i xi, __m256i yi) {
  const __m256i row = _mm256_mullo_epi32(yi, b.step);
  if constexpr (Bytes == 1) return _mm256_add_epi32(row, xi);
  if constexpr (Bytes == 3) return _mm256_add_epi32(row, _mm256_add_epi32(xi, _mm256_add_epi32(xi, xi)));
  if constexpr (Bytes == 4) return _mm256_add_epi32(row, _mm256_slli_epi32(xi, 2));
}

// Byte `Byte` of each word, as float.
template <int Byte>
inline __m256 byteOf(__m256i w) {
  const __m256i ff = _mm256_set1_epi32(0xff);
  if constexpr (Byte == 0) return _mm256_cvtepi32_ps(_mm256_and_si256(w, ff));
  if constexpr (Byte == 3) return _mm256_cvtepi32_ps(_mm256_srli_epi32(w, 24));
  if constexpr (Byte == 1 || Byte == 2)
    return _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(w, 8 * Byte), ff));
}

// remapRound on eight lanes, the result in 0..255.
inline __m256i roundSample(__m256 v) {
  v = _mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(255.0f));
  return _mm256_cvttps_epi32(_mm256_add_ps(v, _mm256_set1_ps(0.5f)));
}

// Writes the pixels of the lanes set in `keep` (all bits of a lane alike);
// `words` holds each pixel in the low bytes of its lane. AC4 keeps the
// destination's fourth bytes.
template <int Bytes, int Channels>
inline void store(Ipp8u* d, __m256i words, __m256i keep, bool all) {
  if constexpr (Bytes == 4) {
    const __m256i old = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d));
    if constexpr (Channels == 3) keep = _mm256_and_si256(keep, _mm256_set1_epi32(0x00ffffff));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm256_blendv_epi8(old, words, keep));
  } else if constexpr (Bytes == 1) {
    const __m256i pick = _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4,
                                          8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 1, 1, 1, 1, 1);
    __m128i v = _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(words, pick), order));
    if (!all) {
      const __m128i k =
          _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(keep, pick), order));
      v = _mm_blendv_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(d)), v, k);
    }
    _mm_storel_epi64(reinterpret_cast<__m128i*>(d), v);
  } else {
    const __m256i pick = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4,
                                          5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    __m256i v = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(words, pick), order);
    if (!all) {
      const __m256i k = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(keep, pick), order);
      const __m256i old = _mm256_inserti128_si256(
          _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(d))),
          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(d + 16)), 1);
      v = _mm256_blendv_epi8(old, v, k);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(v));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), _mm256_extracti128_si256(v, 1));
  }
}

// Packs per-channel results (0..255 in each lane) into pixel words.
template <int Channels>
inline __m256i packChannels(const __m256i (&c)[4]) {
  __m256i out = c[0];
  if constexpr (Channels > 1) out = _mm256_or_si256(out, _mm256_slli_epi32(c[1], 8));
  if constexpr (Channels > 2) out = _mm256_or_si256(out, _mm256_slli_epi32(c[2], 16));
  if constexpr (Channels > 3) out = _mm256_or_si256(out, _mm256_slli_epi32(c[3], 24));
  return out;
}

// Gathers leave the hardware prefetchers little to go on, and a frame's
// source is far larger than the caches: fetch the rows a few pixels ahead
// will read (the cvtt intrinsic, unlike a cast, is defined for NaN).
constexpr int kPrefetchAhead = 64;

template <int Bytes>
inline void prefetchSource(const RemapArgs& a, float xs, float ys) {
  const int x = std::clamp(_mm_cvtt_ss2si(_mm_set_ss(xs)), a.left, a.right);
  const int y = std::clamp(_mm_cvtt_ss2si(_mm_set_ss(ys)), a.top, a.bottom);
  const Ipp8u* p = a.src + static_cast<std::ptrdiff_t>(y) * a.srcStep + x * Bytes;
  _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0);
  if (y < a.bottom) _mm_prefetch(reinterpret_cast<const char*>(p + a.srcStep), _MM_HINT_T0);
}

// The row loop shared by all modes. Kernel::run(a, b, xs, ys, in) returns
// the pixel words and may clear lanes of `in` (which it then leaves to the
// per-pixel Pixel below).
template <int Bytes, int Channels, class Kernel, void (*Pixel)(const RemapArgs&, float, float, Ipp8u*)>
void remapVector(const RemapArgs& a) {
  if (!vectorFits(a, Bytes, Kernel::kMinColumns)) {
    remapAll<Bytes, Channels, Pixel>(a);
    return;
  }
  const Bounds b(a, Bytes);
  for (int y = 0; y < a.height; ++y) {
    const Ipp32f* xm = mapRow(a.xMap, a.xMapStep, y);
    const Ipp32f* ym = mapRow(a.yMap, a.yMapStep, y);
    Ipp8u* d = a.dst + static_cast<std::ptrdiff_t>(y) * a.dstStep;
    int x = 0;
    for (; x + 8 <= a.width; x += 8) {
      if (x + kPrefetchAhead < a.width)
        prefetchSource<Bytes>(a, xm[x + kPrefetchAhead], ym[x + kPrefetchAhead]);
      __m256 xs = _mm256_loadu_ps(xm + x), ys = _mm256_loadu_ps(ym + x);
      const __m256 in = b.inside(xs, ys);
      const int inBits = _mm256_movemask_ps(in);
      if (inBits == 0) continue;
      // Lanes outside read the corner pixel instead, and are not stored.
      xs = _mm256_blendv_ps(b.left, xs, in);
      ys = _mm256_blendv_ps(b.top, ys, in);
      __m256i keep = _mm256_castps_si256(in);
      const __m256i words = Kernel::run(a, b, xs, ys, keep);
      const int keepBits = _mm256_movemask_ps(_mm256_castsi256_ps(keep));
      if (keepBits != 0) store<Bytes, Channels>(d + Bytes * x, words, keep, keepBits == 0xff);
      for (int rest = inBits & ~keepBits; rest != 0; rest &= rest - 1) {
        const int i = x + __builtin_ctz(static_cast<unsigned>(rest));
        Pixel(a, xm[i], ym[i], d + Bytes * i);
      }
    }
    remapSpan<Bytes, Channels, Pixel>(a, y, x, a.width);
  }
}

template <int Bytes>
struct Nearest {
  static constexpr int kMinColumns = 1;
  static __m256i run(const RemapArgs& a, const Bounds& b, __m256 xs, __m256 ys, __m256i&) {
    const __m256 half = _mm256_set1_ps(0.5f);
    const __m256i xi =
        _mm256_min_epi32(_mm256_cvttps_epi32(_mm256_floor_ps(_mm256_add_ps(xs, half))), b.rightI);
    const __m256i yi =
        _mm256_min_epi32(_mm256_cvttps_epi32(_mm256_floor_ps(_mm256_add_ps(ys, half))), b.bottomI);
    return readWord<Bytes>(a.src, b, pixelOffset<Bytes>(b, xi, yi));
  }
};

template <int Bytes, int Channels>
struct Linear {
  static constexpr int kMinColumns = 1;
  static __m256 lerp(__m256 p, __m256 q, __m256 t) {
    return _mm256_add_ps(p, _mm256_mul_ps(t, _mm256_sub_ps(q, p)));
  }

  // The pixel at each offset and the one after it (or itself again where
  // `next` is clear), eight lanes each.
  static void pairs(const Ipp8u* src, __m256i off, __m256i next, __m256i& first, __m256i& second) {
    const auto* base = reinterpret_cast<const long long*>(src);
    // Lanes 0, 1, 4, 5 and 2, 3, 6, 7, so that picking the low and high
    // halves of the words brings the pixels back in order.
    const __m128i lo =
        _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(off, _mm256_setr_epi32(0, 1, 4, 5, 0, 0, 0, 0)));
    const __m128i hi =
        _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(off, _mm256_setr_epi32(2, 3, 6, 7, 0, 0, 0, 0)));
    __m256i qa = _mm256_i32gather_epi64(base, lo, 1), qb = _mm256_i32gather_epi64(base, hi, 1);
    first = _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(qa), _mm256_castsi256_ps(qb), 0x88));
    if constexpr (Bytes == 3) {
      qa = _mm256_srli_epi64(qa, 24);
      qb = _mm256_srli_epi64(qb, 24);
      second = _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(qa), _mm256_castsi256_ps(qb), 0x88));
    } else {
      second = _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(qa), _mm256_castsi256_ps(qb), 0xdd));
    }
    second = _mm256_blendv_epi8(first, second, next);
  }

  static __m256i run(const RemapArgs& a, const Bounds& b, __m256 xs, __m256 ys, __m256i& keep) {
    const __m256 fx0 = _mm256_floor_ps(xs), fy0 = _mm256_floor_ps(ys);
    const __m256 tx = _mm256_sub_ps(xs, fx0), ty = _mm256_sub_ps(ys, fy0);
    const __m256i xi = _mm256_cvttps_epi32(fx0), yi = _mm256_cvttps_epi32(fy0);
    // The second neighbour repeats the first at the right and bottom edges.
    const __m256i right = _mm256_cmpgt_epi32(b.rightI, xi);
    const __m256i dy = _mm256_and_si256(_mm256_cmpgt_epi32(b.bottomI, yi), b.step);
    const __m256i off = pixelOffset<Bytes>(b, xi, yi);
    __m256i c[4];
    if constexpr (Bytes == 1) {
      // One word per row holds both neighbours.
      const __m256i w0 = readWord<1>(a.src, b, off), w1 = readWord<1>(a.src, b, _mm256_add_epi32(off, dy));
      const __m256i sh = _mm256_and_si256(right, _mm256_set1_epi32(8));
      const __m256 s00 = byteOf<0>(w0), s01 = byteOf<0>(_mm256_srlv_epi32(w0, sh));
      const __m256 s10 = byteOf<0>(w1), s11 = byteOf<0>(_mm256_srlv_epi32(w1, sh));
      c[0] = roundSample(lerp(lerp(s00, s01, tx), lerp(s10, s11, tx), ty));
    } else {
      // Both neighbours of a row in one 64-bit word: half the gathered
      // elements. Lanes whose word would pass the last usable byte (the
      // end of the bottom row) go to the per-pixel loop.
      const __m256i off1 = _mm256_add_epi32(off, dy);
      keep = _mm256_andnot_si256(_mm256_cmpgt_epi32(off1, b.hi8), keep);
      __m256i p00, p01, p10, p11;
      pairs(a.src, _mm256_min_epi32(off, b.hi8), right, p00, p01);
      pairs(a.src, _mm256_min_epi32(off1, b.hi8), right, p10, p11);
      auto channel = [&]<int C>() {
        return roundSample(
            lerp(lerp(byteOf<C>(p00), byteOf<C>(p01), tx), lerp(byteOf<C>(p10), byteOf<C>(p11), tx), ty));
      };
      c[0] = channel.template operator()<0>();
      c[1] = channel.template operator()<1>();
      c[2] = channel.template operator()<2>();
      if constexpr (Channels == 4) c[3] = channel.template operator()<3>();
    }
    return packChannels<Channels>(c);
  }
};

// cubicWeights on eight lanes.
inline void cubicWeights8(__m256 t, __m256 w[4]) {
  const __m256 one = _mm256_set1_ps(1.0f), two = _mm256_set1_ps(2.0f), six = _mm256_set1_ps(6.0f),
               half = _mm256_set1_ps(0.5f), sign = _mm256_set1_ps(-0.0f);
  const __m256 tm1 = _mm256_sub_ps(t, one), tm2 = _mm256_sub_ps(t, two), tp1 = _mm256_add_ps(t, one);
  // Halving is exact, so the multiply rounds as the division does.
  w[0] = _mm256_div_ps(_mm256_xor_ps(_mm256_mul_ps(_mm256_mul_ps(t, tm1), tm2), sign), six);
  w[1] = _mm256_mul_ps(_mm256_mul_ps(_mm256_mul_ps(tp1, tm1), tm2), half);
  w[2] = _mm256_mul_ps(_mm256_xor_ps(_mm256_mul_ps(_mm256_mul_ps(tp1, t), tm2), sign), half);
  w[3] = _mm256_div_ps(_mm256_mul_ps(_mm256_mul_ps(tp1, t), tm1), six);
}

inline __m256 cubic8(const __m256 w[4], __m256 p0, __m256 p1, __m256 p2, __m256 p3) {
  return _mm256_add_ps(
      _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(w[0], p0), _mm256_mul_ps(w[1], p1)), _mm256_mul_ps(w[2], p2)),
      _mm256_mul_ps(w[3], p3));
}

template <int Bytes, int Channels>
struct Cubic {
  // Four columns: one- and three-byte pixels read the four neighbours of a
  // row as whole words, which needs them all inside.
  static constexpr int kMinColumns = Bytes == 4 ? 1 : 4;

  static __m256i run(const RemapArgs& a, const Bounds& b, __m256 xs, __m256 ys, __m256i& keep) {
    const __m256 fx0 = _mm256_floor_ps(xs), fy0 = _mm256_floor_ps(ys);
    const __m256i xi = _mm256_cvttps_epi32(fx0), yi = _mm256_cvttps_epi32(fy0);
    __m256 wx[4], wy[4];
    cubicWeights8(_mm256_sub_ps(xs, fx0), wx);
    cubicWeights8(_mm256_sub_ps(ys, fy0), wy);
    const __m256i one = _mm256_set1_epi32(1);
    const __m256i x0 = _mm256_sub_epi32(xi, one);
    __m256i rows[4];
    for (int k = 0; k < 4; ++k)
      rows[k] = _mm256_mullo_epi32(
          _mm256_min_epi32(_mm256_max_epi32(_mm256_add_epi32(yi, _mm256_set1_epi32(k - 1)), b.topI),
                           b.bottomI),
          b.step);
    __m256 r[4][4]; // [channel][row]
    if constexpr (Bytes == 4) {
      __m256i cols[4];
      for (int k = 0; k < 4; ++k)
        cols[k] = _mm256_slli_epi32(
            _mm256_min_epi32(_mm256_max_epi32(_mm256_add_epi32(x0, _mm256_set1_epi32(k)), b.leftI), b.rightI),
            2);
      for (int k = 0; k < 4; ++k) {
        __m256i p[4];
        for (int j = 0; j < 4; ++j) p[j] = gather(a.src, _mm256_add_epi32(rows[k], cols[j]));
        r[0][k] = cubic8(wx, byteOf<0>(p[0]), byteOf<0>(p[1]), byteOf<0>(p[2]), byteOf<0>(p[3]));
        r[1][k] = cubic8(wx, byteOf<1>(p[0]), byteOf<1>(p[1]), byteOf<1>(p[2]), byteOf<1>(p[3]));
        r[2][k] = cubic8(wx, byteOf<2>(p[0]), byteOf<2>(p[1]), byteOf<2>(p[2]), byteOf<2>(p[3]));
        if constexpr (Channels == 4)
          r[3][k] = cubic8(wx, byteOf<3>(p[0]), byteOf<3>(p[1]), byteOf<3>(p[2]), byteOf<3>(p[3]));
      }
    } else {
      // Columns clamped at the edge go to the per-pixel loop; the others
      // read x - 1 .. x + 2 in one piece (clamped here only to stay inside).
      const __m256i edge =
          _mm256_or_si256(_mm256_cmpgt_epi32(b.leftI, x0),
                          _mm256_cmpgt_epi32(_mm256_add_epi32(xi, _mm256_set1_epi32(2)), b.rightI));
      keep = _mm256_andnot_si256(edge, keep);
      const __m256i col =
          _mm256_min_epi32(_mm256_max_epi32(x0, b.leftI), _mm256_sub_epi32(b.rightI, _mm256_set1_epi32(3)));
      if constexpr (Bytes == 1) {
        for (int k = 0; k < 4; ++k) {
          const __m256i w = gather(a.src, _mm256_add_epi32(rows[k], col));
          r[0][k] = cubic8(wx, byteOf<0>(w), byteOf<1>(w), byteOf<2>(w), byteOf<3>(w));
        }
      } else {
        const __m256i col3 = _mm256_add_epi32(col, _mm256_add_epi32(col, col));
        const __m256i four = _mm256_set1_epi32(4), eight = _mm256_set1_epi32(8);
        for (int k = 0; k < 4; ++k) {
          // Twelve bytes: pixels x - 1 .. x + 2, three bytes each.
          const __m256i at = _mm256_add_epi32(rows[k], col3);
          const __m256i w0 = gather(a.src, at), w1 = gather(a.src, _mm256_add_epi32(at, four)),
                        w2 = gather(a.src, _mm256_add_epi32(at, eight));
          r[0][k] = cubic8(wx, byteOf<0>(w0), byteOf<3>(w0), byteOf<2>(w1), byteOf<1>(w2));
          r[1][k] = cubic8(wx, byteOf<1>(w0), byteOf<0>(w1), byteOf<3>(w1), byteOf<2>(w2));
          r[2][k] = cubic8(wx, byteOf<2>(w0), byteOf<1>(w1), byteOf<0>(w2), byteOf<3>(w2));
        }
      }
    }
    __m256i c[4];
    for (int ch = 0; ch < Channels; ++ch)
      c[ch] = roundSample(cubic8(wy, r[ch][0], r[ch][1], r[ch][2], r[ch][3]));
    return packChannels<Channels>(c);
  }
};

template <int Bytes, int Channels>
constexpr RemapFn nearestFn = remapVector<Bytes, Channels, Nearest<Bytes>, nearestPixel<Bytes, Channels>>;
template <int Bytes, int Channels>
constexpr RemapFn linearFn =
    remapVector<Bytes, Channels, Linear<Bytes, Channels>, linearPixel<Bytes, Channels>>;
template <int Bytes, int Channels>
constexpr RemapFn cubicFn = remapVector<Bytes, Channels, Cubic<Bytes, Channels>, cubicPixel<Bytes, Channels>>;

} // namespace

const RemapKernels kRemapAvx2 = {{
    {nearestFn<1, 1>, nearestFn<3, 3>, nearestFn<4, 4>, nearestFn<4, 3>},
    {linearFn<1, 1>, linearFn<3, 3>, linearFn<4, 4>, linearFn<4, 3>},
    {cubicFn<1, 1>, cubicFn<3, 3>, cubicFn<4, 4>, cubicFn<4, 3>},
}};

} // namespace framquist::ipp_detail
