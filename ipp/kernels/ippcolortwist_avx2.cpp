// Colour-twist kernels for CPUs with AVX2 (compiled with -mavx2): eight
// pixels at a time, one pixel per 32-bit lane; AC4 splits the channels by
// shifts, C3 by byte shuffles.
#include "ipp/kernels/ippcolortwistkernels.h"

#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstring>

namespace framquist::ipp_detail {
namespace {

struct Rows {
  __m256 t[3][4];
  explicit Rows(const Ipp32f (*m)[4]) {
    for (int k = 0; k < 3; ++k)
      for (int j = 0; j < 4; ++j) t[k][j] = _mm256_set1_ps(m[k][j]);
  }
  // Eight pixels as 32-bit lanes holding bytes s0, s1, s2 (low first; the
  // top byte ignored); the result holds the three output bytes the same way.
  __m256i apply(__m256i px) const {
    const __m256i low = _mm256_set1_epi32(0xff);
    const __m256 s0 = _mm256_cvtepi32_ps(_mm256_and_si256(px, low));
    const __m256 s1 = _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(px, 8), low));
    const __m256 s2 = _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(px, 16), low));
    const __m256 zero = _mm256_setzero_ps(), top = _mm256_set1_ps(255.0f);
    __m256i out = _mm256_setzero_si256();
    for (int k = 0; k < 3; ++k) {
      __m256 v = _mm256_add_ps(_mm256_mul_ps(t[k][0], s0), _mm256_mul_ps(t[k][1], s1));
      v = _mm256_add_ps(_mm256_add_ps(v, _mm256_mul_ps(t[k][2], s2)), t[k][3]);
      v = _mm256_min_ps(_mm256_max_ps(v, zero), top); // max gives its second operand for NaN
      out = _mm256_or_si256(out, _mm256_slli_epi32(_mm256_cvtps_epi32(v), 8 * k));
    }
    return out;
  }
};

inline Ipp8u roundSaturate(float v) {
  if (!(v > 0.0f)) return 0;
  if (v > 255.0f) return 255;
  return static_cast<Ipp8u>(std::nearbyint(v));
}

void twistPixel(const Ipp8u* s, Ipp8u* d, const Ipp32f (*t)[4]) {
  const float s0 = s[0], s1 = s[1], s2 = s[2];
  float out[3];
  for (int k = 0; k < 3; ++k) out[k] = ((t[k][0] * s0 + t[k][1] * s1) + t[k][2] * s2) + t[k][3];
  for (int k = 0; k < 3; ++k) d[k] = roundSaturate(out[k]);
}

// Three-byte pixels, eight to a vector: each 128-bit lane takes four
// pixels (12 bytes), at a byte offset given per lane, and spreads them
// to one pixel per 32-bit lane as floats. The results are packed back with
// saturation to [0, 255]; the conversion before that turns NaN and anything
// beyond the int range into INT_MIN (so 0), which is right except for large
// positive values. Clamp caps those at 255 first; without it the matrix
// must be unable to reach them.
template <bool Clamp>
struct C3Block {
  const Rows& rows;
  // Offsets in the low and high lane.
  enum Shift { k00 = 0, k40 = 1, k44 = 2 };
  __m256i pick[3][3];
  explicit C3Block(const Rows& r) : rows(r) {
    constexpr int offsets[3][2] = {{0, 0}, {4, 0}, {4, 4}};
    for (int o = 0; o < 3; ++o)
      for (int k = 0; k < 3; ++k) {
        const int a = offsets[o][0] + k, b = offsets[o][1] + k;
        pick[o][k] = _mm256_setr_epi8(a, -1, -1, -1, a + 3, -1, -1, -1, a + 6, -1, -1, -1, a + 9, -1, -1, -1,
                                      b, -1, -1, -1, b + 3, -1, -1, -1, b + 6, -1, -1, -1, b + 9, -1, -1, -1);
      }
  }
  struct Samples {
    __m256 s0, s1, s2;
  };
  Samples convert(__m256i in, Shift shift) const {
    const __m256i(&pk)[3] = pick[shift];
    return {_mm256_cvtepi32_ps(_mm256_shuffle_epi8(in, pk[0])),
            _mm256_cvtepi32_ps(_mm256_shuffle_epi8(in, pk[1])),
            _mm256_cvtepi32_ps(_mm256_shuffle_epi8(in, pk[2]))};
  }
  // The three output channels of the eight pixels as 32-bit integers.
  void apply(const Samples& s, __m256i (&r)[3]) const {
    // Written out per channel: as a loop GCC keeps the results on the stack.
    auto channel = [&](const __m256(&t)[4]) {
      __m256 v = _mm256_add_ps(_mm256_mul_ps(t[0], s.s0), _mm256_mul_ps(t[1], s.s1));
      v = _mm256_add_ps(_mm256_add_ps(v, _mm256_mul_ps(t[2], s.s2)), t[3]);
      if constexpr (Clamp) v = _mm256_min_ps(_mm256_set1_ps(255.0f), v); // gives its second operand for NaN
      return _mm256_cvtps_epi32(v);
    };
    r[0] = channel(rows.t[0]);
    r[1] = channel(rows.t[1]);
    r[2] = channel(rows.t[2]);
  }
};

// Whether no sample can take a row of the matrix to NaN or to 2^31 and
// beyond (float rounding adds far less than the margin left here).
bool staysInIntRange(const Ipp32f (*t)[4]) {
  for (int k = 0; k < 3; ++k) {
    double bound = 0;
    for (int j = 0; j < 4; ++j) {
      if (!std::isfinite(t[k][j])) return false;
      bound += std::fabs(static_cast<double>(t[k][j])) * (j < 3 ? 255.0 : 1.0);
    }
    if (!(bound < 0x1p30)) return false;
  }
  return true;
}

inline void store16(Ipp8u* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

template <bool Clamp>
void twistC3With(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                 const Ipp32f (*t)[4]) {
  const Rows rows(t);
  const C3Block<Clamp> block(rows);
  // Bytes of each pixel's channels to consecutive bytes, per lane: from
  // channels 0 and 1 of four pixels in bytes 0-7 and channel 2 in 8-11 (a)
  // or 12-15 (b).
  const __m256i interleaveA = _mm256_setr_epi8(0, 4, 8, 1, 5, 9, 2, 6, 10, 3, 7, 11, -1, -1, -1, -1, 0, 4, 8,
                                               1, 5, 9, 2, 6, 10, 3, 7, 11, -1, -1, -1, -1);
  const __m256i interleaveB = _mm256_setr_epi8(0, 4, 12, 1, 5, 13, 2, 6, 14, 3, 7, 15, -1, -1, -1, -1, 0, 4,
                                               12, 1, 5, 13, 2, 6, 14, 3, 7, 15, -1, -1, -1, -1);
  const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7); // the two lanes' 12 bytes, contiguous
  const int rowBytes = width * 3;
  using Block = C3Block<Clamp>;
  using Samples = typename Block::Samples;
  // Sixteen pixels at dp from a (pixels 0-7) and b (8-15). The 32-byte
  // store's last eight bytes are garbage that the next store overwrites.
  // Left to itself GCC calls this instead of inlining it into the loop.
  auto sixteen = [&](const Samples& a, const Samples& b, Ipp8u* dp) __attribute__((always_inline)) {
    __m256i ra[3], rb[3];
    block.apply(a, ra);
    block.apply(b, rb);
    const __m256i r2 = _mm256_packs_epi32(ra[2], rb[2]);
    const __m256i outA =
        _mm256_shuffle_epi8(_mm256_packus_epi16(_mm256_packs_epi32(ra[0], ra[1]), r2), interleaveA);
    const __m256i outB =
        _mm256_shuffle_epi8(_mm256_packus_epi16(_mm256_packs_epi32(rb[0], rb[1]), r2), interleaveB);
    const __m256i b24 = _mm256_permutevar8x32_epi32(outB, join);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dp), _mm256_permutevar8x32_epi32(outA, join));
    store16(dp + 24, _mm256_castsi256_si128(b24));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dp + 40), _mm256_extracti128_si256(b24, 1));
  };
  auto load = [](const Ipp8u* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); };
  auto loadHalves = [](const Ipp8u* high, const Ipp8u* low) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(high), reinterpret_cast<const __m128i*>(low));
  };
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    if (rowBytes < 52) {
      for (int x = 0; x < width; ++x) twistPixel(s + x * 3, d + x * 3, t);
      continue;
    }
    // Loads start four bytes before their eight pixels, so the high lane
    // needs no insert, and reach 28 bytes into them. The first block must
    // not read before the row, the last one (the final sixteen pixels,
    // overlapping the block before) not after it. Each block's input is
    // converted an iteration ahead, which keeps more independent work in
    // flight, and every input is loaded before its pixels can have been
    // written (the image may be worked in place).
    const __m256i lastA = load(s + rowBytes - 52), lastB = loadHalves(s + rowBytes - 16, s + rowBytes - 28);
    Samples a = block.convert(loadHalves(s + 12, s), Block::k00);
    Samples b = block.convert(load(s + 20), Block::k40);
    int x = 0;
    for (; (x + 16) * 3 + 52 <= rowBytes; x += 16) {
      const Ipp8u* next = s + (x + 16) * 3;
      const Samples nextA = block.convert(load(next - 4), Block::k40);
      const Samples nextB = block.convert(load(next + 20), Block::k40);
      sixteen(a, b, d + x * 3);
      a = nextA;
      b = nextB;
    }
    sixteen(a, b, d + x * 3);
    x += 16;
    // Seventeen pixels left are one too many for the last block.
    for (; x < width - 16; ++x) twistPixel(s + x * 3, d + x * 3, t);
    if (x < width)
      sixteen(block.convert(lastA, Block::k40), block.convert(lastB, Block::k44), d + rowBytes - 48);
  }
}

void twistC3(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
             const Ipp32f (*t)[4]) {
  if (staysInIntRange(t))
    twistC3With<false>(src, srcStep, dst, dstStep, width, height, t);
  else
    twistC3With<true>(src, srcStep, dst, dstStep, width, height, t);
}

void twistAC4(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
              const Ipp32f (*t)[4]) {
  const Rows rows(t);
  const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xff000000u));
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    int x = 0;
    for (; x + 8 <= width; x += 8) {
      const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x * 4));
      __m256i* out = reinterpret_cast<__m256i*>(d + x * 4);
      const __m256i kept = _mm256_and_si256(_mm256_loadu_si256(out), alpha);
      _mm256_storeu_si256(out, _mm256_or_si256(rows.apply(in), kept));
    }
    for (; x < width; ++x) twistPixel(s + x * 4, d + x * 4, t);
  }
}

} // namespace

const ColorTwistKernels kColorTwistAvx2 = {twistC3, twistAC4};

} // namespace framquist::ipp_detail
