// Lookup kernels for CPUs with AVX2 (compiled with -mavx2).
//
// One table for every byte (grey, or colour with equal curves): the table is
// cut into sixteen 16-byte rows and looked up with pshufb. Rows are stored
// as differences of neighbours (row h XOR row h-1), and a sample of high
// nibble H picks up rows 0..H: their XOR is row H. A sample picks up row h
// while its index minus 16h (saturating, signed) is still non-negative, so
// each half of the table (0..127, 128..255) takes eight lookups.
//
// Different curves per channel: 32-bit gathers from the four tables laid end
// to end, eight samples a time, each index offset by its channel's table.
#include "ipp/kernels/ipplutkernels.h"
#include "ipp/kernels/ippx86blocks.h"

namespace framquist::ipp_detail {
namespace {

struct NibbleTables {
  __m256i lo[8], hi[8];
};

NibbleTables nibbleTables(const u8* t) {
  NibbleTables n;
  for (int h = 0; h < 8; ++h) {
    const __m128i lo = load128(t + 16 * h), hi = load128(t + 128 + 16 * h);
    n.lo[h] = _mm256_broadcastsi128_si256(h == 0 ? lo : _mm_xor_si128(lo, load128(t + 16 * (h - 1))));
    n.hi[h] = _mm256_broadcastsi128_si256(h == 0 ? hi : _mm_xor_si128(hi, load128(t + 128 + 16 * (h - 1))));
  }
  return n;
}

inline __m256i lookupHalf(const __m256i* rows, __m256i idx) {
  const __m256i step = _mm256_set1_epi8(16);
  __m256i acc = _mm256_shuffle_epi8(rows[0], idx);
  for (int h = 1; h < 8; ++h) {
    idx = _mm256_subs_epi8(idx, step);
    acc = _mm256_xor_si256(acc, _mm256_shuffle_epi8(rows[h], idx));
  }
  return acc;
}

inline __m256i lookup32(const NibbleTables& n, __m256i x) {
  const __m256i top = _mm256_set1_epi8(static_cast<char>(0x80));
  return _mm256_xor_si256(lookupHalf(n.lo, x), lookupHalf(n.hi, _mm256_xor_si256(x, top)));
}

void mapBytes(const u8* s, u8* d, int n, const NibbleTables& tables, const u8* t) {
  int i = 0;
  for (; i + 32 <= n; i += 32) store256(d + i, lookup32(tables, load256(s + i)));
  for (; i < n; ++i) d[i] = t[s[i]];
}

// Eight samples starting at s through the tables at base, offsets off.
inline __m256i gather8(const int* base, const u8* s, __m256i off) {
  const __m256i idx =
      _mm256_add_epi32(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s))), off);
  return _mm256_and_si256(_mm256_i32gather_epi32(base, idx, 1), _mm256_set1_epi32(0xff));
}

inline __m256i pack32(__m256i g0, __m256i g1, __m256i g2, __m256i g3) {
  const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(g0, g1), _mm256_packus_epi32(g2, g3));
  return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// Table offsets of eight samples whose first is of channel `phase`.
template <int Channels>
__m256i channelOffsets(int phase) {
  return _mm256_setr_epi32(((phase + 0) % Channels) * 256, ((phase + 1) % Channels) * 256,
                           ((phase + 2) % Channels) * 256, ((phase + 3) % Channels) * 256,
                           ((phase + 4) % Channels) * 256, ((phase + 5) % Channels) * 256,
                           ((phase + 6) % Channels) * 256, ((phase + 7) % Channels) * 256);
}

template <int Channels>
void mapPixelsGather(const u8* s, u8* d, int w, const LutCall& call) {
  const int* base = reinterpret_cast<const int*>(&call.table[0][0]);
  const int n = w * Channels;
  __m256i off[3];
  for (int p = 0; p < 3; ++p) off[p] = channelOffsets<Channels>(p);
  int i = 0;
  if (Channels == 4) {
    for (; i + 32 <= n; i += 32)
      store256(d + i, pack32(gather8(base, s + i, off[0]), gather8(base, s + i + 8, off[0]),
                             gather8(base, s + i + 16, off[0]), gather8(base, s + i + 24, off[0])));
  } else {
    // Groups of eight start on channels 0, 2, 1, 0, 2, 1, ...
    int phase = 0;
    for (; i + 32 <= n; i += 32) {
      const int p1 = (phase + 2) % 3, p2 = (phase + 4) % 3, p3 = (phase + 6) % 3;
      store256(d + i, pack32(gather8(base, s + i, off[phase]), gather8(base, s + i + 8, off[p1]),
                             gather8(base, s + i + 16, off[p2]), gather8(base, s + i + 24, off[p3])));
      phase = (phase + 32) % 3;
    }
  }
  for (; i < n; ++i) d[i] = call.table[i % Channels][s[i]];
}

template <int Channels>
void lutAvx2(const u8* src, int srcStep, u8* dst, int dstStep, int w, int h, const LutCall& call) {
  const int rowBytes = w * Channels;
  if (Channels == 1 || call.sameTables) {
    const NibbleTables tables = nibbleTables(call.table[0]);
    if (contiguous(srcStep, rowBytes, h) && contiguous(dstStep, rowBytes, h)) {
      mapBytes(src, dst, rowBytes * h, tables, call.table[0]);
      return;
    }
    for (int y = 0; y < h; ++y)
      mapBytes(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), rowBytes, tables, call.table[0]);
    return;
  }
  // A row ends on a whole pixel, so packed rows read as one long row.
  if (contiguous(srcStep, rowBytes, h) && contiguous(dstStep, rowBytes, h)) {
    mapPixelsGather<Channels>(src, dst, w * h, call);
    return;
  }
  for (int y = 0; y < h; ++y)
    mapPixelsGather<Channels>(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), w, call);
}

} // namespace

const LutKernels kLutAvx2 = {{lutAvx2<1>, lutAvx2<3>, lutAvx2<4>}};

} // namespace framquist::ipp_detail
