// Lookup kernels for CPUs with AVX2 (compiled with -mavx2).
//
// A 256-entry table is sixteen 16-byte rows looked up with pshufb, which
// reads the low nibble of each index and gives 0 where the index has bit 7
// set. The shuffle ports are the bottleneck (two per cycle, shared with
// pblendvb), so the work is split to keep the other ALU ports busy too:
//  - the top two bits of a sample (which quarter of the table) are settled
//    by zeroing: four index vectors, each live only in its quarter or half,
//    made with max/sub/xor, and rows stored as XOR differences so that the
//    live lookups of a quarter XOR to its row;
//  - the next two bits pick one of the four results with pblendvb.
// That is 16 shuffles, 3 blends and ~19 single-cycle ops per 32 samples;
// zeroing all four bits or blending all four measured slower.
//
// Different curves per channel: pshufb takes its table per 128-bit lane, so
// samples are first regrouped so that every vector holds one channel, looked
// up, and put back (the regrouping scrambles pixel order, which the reverse
// step undoes; a lookup does not care about order).
#include "ipp/kernels/ipplutkernels.h"
#include "ipp/kernels/ippx86blocks.h"

#include <array>

namespace framquist::ipp_detail {
namespace {

struct LutRows {
  __m256i row[16]; // row[4 * quarter + m]
};

void buildRows(LutRows& r, const u8* t) {
  for (int q = 0; q < 4; ++q)
    for (int m = 0; m < 4; ++m) {
      __m128i v = load128(t + 16 * (4 * q + m));
      // Odd quarters are live together with the even quarter below them.
      if (q & 1) v = _mm_xor_si128(v, load128(t + 16 * (4 * (q - 1) + m)));
      r.row[4 * q + m] = _mm256_broadcastsi128_si256(v);
    }
}

inline __m256i lookup32(const LutRows& t, __m256i x) {
  // Bit 7 clear (live) exactly for: j0 x < 128, j1 64 <= x < 128, j2 x >= 128,
  // j3 x >= 192; the low nibble stays that of x wherever live.
  const __m256i lower = _mm256_max_epi8(x, _mm256_set1_epi8(-16)); // x >= 128 -> 240..255
  const __m256i upper = _mm256_max_epu8(x, _mm256_set1_epi8(112)); // x < 128 -> 112..127
  const __m256i j0 = lower;
  const __m256i j1 = _mm256_sub_epi8(lower, _mm256_set1_epi8(64));
  const __m256i j2 = _mm256_xor_si256(upper, _mm256_set1_epi8(-128));
  const __m256i j3 = _mm256_sub_epi8(upper, _mm256_set1_epi8(-64)); // minus 192
  __m256i e[4];
#pragma GCC unroll 4
  for (int m = 0; m < 4; ++m)
    e[m] = _mm256_xor_si256(
        _mm256_xor_si256(_mm256_shuffle_epi8(t.row[m], j0), _mm256_shuffle_epi8(t.row[4 + m], j1)),
        _mm256_xor_si256(_mm256_shuffle_epi8(t.row[8 + m], j2), _mm256_shuffle_epi8(t.row[12 + m], j3)));
  // pblendvb tests bit 7: move bits 4 and 5 there.
  const __m256i b4 = _mm256_slli_epi16(x, 3), b5 = _mm256_slli_epi16(x, 2);
  return _mm256_blendv_epi8(_mm256_blendv_epi8(e[0], e[1], b4), _mm256_blendv_epi8(e[2], e[3], b4), b5);
}

void mapBytes(const u8* s, u8* d, int n, const LutRows& rows, const u8* t) {
  int i = 0;
  for (; i + 32 <= n; i += 32) store256(d + i, lookup32(rows, load256(s + i)));
  for (; i < n; ++i) d[i] = t[s[i]];
}

// --- four channels: 32 pixels in four vectors ---
//
// Each lane holds four pixels. Vector r is shuffled so that dword k of a
// lane carries channel (r + k) % 4 of those pixels; then dword k taken from
// vector (c - k) % 4 is always channel c, so three dword blends gather a
// vector of channel c alone.

using Control = std::array<u8, 32>;

constexpr Control c4Gather(int r) {
  Control c{};
  for (int lane = 0; lane < 2; ++lane)
    for (int k = 0; k < 4; ++k)
      for (int j = 0; j < 4; ++j) c[16 * lane + 4 * k + j] = static_cast<u8>(4 * j + (r + k) % 4);
  return c;
}

constexpr Control c4Scatter(int r) {
  Control c{};
  for (int lane = 0; lane < 2; ++lane)
    for (int j = 0; j < 4; ++j)
      for (int ch = 0; ch < 4; ++ch) c[16 * lane + 4 * j + ch] = static_cast<u8>(4 * ((ch - r + 4) % 4) + j);
  return c;
}

alignas(32) constexpr Control kC4Gather[4] = {c4Gather(0), c4Gather(1), c4Gather(2), c4Gather(3)};
alignas(32) constexpr Control kC4Scatter[4] = {c4Scatter(0), c4Scatter(1), c4Scatter(2), c4Scatter(3)};

inline __m256i control(const Control& c) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(c.data()));
}

// Dword k (of each lane) from v[(base + sign * k) % 4].
template <int Sign>
inline __m256i pickDwords(const __m256i* v, int base) {
  const __m256i a = _mm256_blend_epi32(v[base & 3], v[(base + Sign) & 3], 0x22);
  const __m256i b = _mm256_blend_epi32(v[(base + 2 * Sign) & 3], v[(base + 3 * Sign) & 3], 0x88);
  return _mm256_blend_epi32(a, b, 0xcc);
}

void mapC4(const u8* s, u8* d, int w, const LutRows* rows, const LutCall& call) {
  int x = 0;
  for (; x + 32 <= w; x += 32) {
    __m256i p[4], o[4];
#pragma GCC unroll 4
    for (int r = 0; r < 4; ++r)
      p[r] = _mm256_shuffle_epi8(load256(s + 4 * x + 32 * r), control(kC4Gather[r]));
#pragma GCC unroll 4
    for (int c = 0; c < 4; ++c) o[c] = lookup32(rows[c], pickDwords<-1>(p, c));
#pragma GCC unroll 4
    for (int r = 0; r < 4; ++r)
      store256(d + 4 * x + 32 * r, _mm256_shuffle_epi8(pickDwords<1>(o, r), control(kC4Scatter[r])));
  }
  for (int i = 4 * x; i < 4 * w; ++i) d[i] = call.table[i & 3][s[i]];
}

// --- three channels: 32 pixels in three vectors ---
//
// Byte p of a 16-byte chunk starting on channel a is channel (a + p) % 3, and
// the six chunks of 96 bytes start on channels 0, 1, 2, 0, 1, 2. So at every
// byte position the three vectors hold the three channels, one each: a
// vector of channel c alone takes each byte from the vector holding c there.

struct C3Masks {
  alignas(32) u8 m[3][3][32]; // m[c][r]: bytes of vector r that are channel c
};

constexpr C3Masks makeC3Masks() {
  C3Masks k{};
  for (int c = 0; c < 3; ++c)
    for (int r = 0; r < 3; ++r)
      for (int b = 0; b < 32; ++b) k.m[c][r][b] = (32 * r + b) % 3 == c ? 0xff : 0;
  return k;
}

constexpr C3Masks kC3Masks = makeC3Masks();

inline __m256i c3Mask(int c, int r) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(kC3Masks.m[c][r]));
}

void mapC3(const u8* s, u8* d, int w, const LutRows* rows, const LutCall& call) {
  int x = 0;
  for (; x + 32 <= w; x += 32) {
    __m256i v[3], o[3];
#pragma GCC unroll 3
    for (int r = 0; r < 3; ++r) v[r] = load256(s + 3 * x + 32 * r);
#pragma GCC unroll 3
    for (int c = 0; c < 3; ++c)
      o[c] = lookup32(rows[c], _mm256_or_si256(_mm256_or_si256(_mm256_and_si256(v[0], c3Mask(c, 0)),
                                                               _mm256_and_si256(v[1], c3Mask(c, 1))),
                                               _mm256_and_si256(v[2], c3Mask(c, 2))));
#pragma GCC unroll 3
    for (int r = 0; r < 3; ++r)
      store256(d + 3 * x + 32 * r, _mm256_or_si256(_mm256_or_si256(_mm256_and_si256(o[0], c3Mask(0, r)),
                                                                   _mm256_and_si256(o[1], c3Mask(1, r))),
                                                   _mm256_and_si256(o[2], c3Mask(2, r))));
  }
  for (int i = 3 * x; i < 3 * w; ++i) d[i] = call.table[i % 3][s[i]];
}

template <int Channels>
void lutAvx2(const u8* src, int srcStep, u8* dst, int dstStep, int w, int h, const LutCall& call) {
  const int rowBytes = w * Channels;
  const bool packed = contiguous(srcStep, rowBytes, h) && contiguous(dstStep, rowBytes, h);
  if (Channels == 1 || call.sameTables) {
    LutRows rows;
    buildRows(rows, call.table[0]);
    if (packed) {
      mapBytes(src, dst, rowBytes * h, rows, call.table[0]);
      return;
    }
    for (int y = 0; y < h; ++y)
      mapBytes(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), rowBytes, rows, call.table[0]);
    return;
  }
  LutRows rows[Channels];
  for (int c = 0; c < Channels; ++c) buildRows(rows[c], call.table[c]);
  const auto map = Channels == 3 ? mapC3 : mapC4;
  // A row ends on a whole pixel, so packed rows read as one long row.
  if (packed) {
    map(src, dst, w * h, rows, call);
    return;
  }
  for (int y = 0; y < h; ++y) map(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), w, rows, call);
}

} // namespace

const LutKernels kLutAvx2 = {{lutAvx2<1>, lutAvx2<3>, lutAvx2<4>}};

} // namespace framquist::ipp_detail
