// Fixed Gaussian filters for CPUs with AVX2 (compiled with -mavx2).
//
// Each output row takes two passes over scratch rows kept in L1. The
// vertical pass reads 32 source bytes per row of the mask and splits them
// into even and odd bytes (16-bit lanes, by mask and shift, no shuffles);
// the sums are stored as two streams, so element i of the even stream is
// source byte 2i. A neighbouring pixel is then two elements away in either
// stream, and the horizontal pass reads its taps with unaligned loads.
// Rows narrower than one block of eight pixels take the shared row loops.
#include "ipp/kernels/ippfilterkernels.h"
#include "ipp/kernels/ippfilterrows.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

constexpr int kBlock = 8; // pixels per vector (32 bytes)

inline __m256i load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline void store(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
inline __m256i even(__m256i v) { return _mm256_and_si256(v, _mm256_set1_epi16(0xff)); }
inline __m256i odd(__m256i v) { return _mm256_srli_epi16(v, 8); }

// Joins the even and odd byte results (each below 256) and keeps the alpha
// bytes the destination holds.
inline void storeColour(u8* d, __m256i e, __m256i o) {
  const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xff000000u));
  const __m256i colour = _mm256_or_si256(e, _mm256_slli_epi16(o, 8));
  store(d, _mm256_blendv_epi8(colour, load(d), alpha));
}

// Runs pass(i) for byte offsets i = 0, 32, ... covering n bytes (n >= 32);
// the last block overlaps the one before and computes the same values.
template <class F>
inline void blocks(int n, F pass) {
  int i = 0;
  for (; i + 32 <= n; i += 32) pass(i);
  if (i < n) pass(n - 32);
}

void gauss3x3(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  if (width < kBlock) return gauss3x3Rows(src, srcStep, dst, dstStep, width, height);
  const int n = 4 * (width + 2); // source bytes of a row, from one pixel left
  ScratchRows<std::uint16_t> scratch(2, n / 2 + 16);
  std::uint16_t* ve = scratch.row(0);
  std::uint16_t* vo = scratch.row(1);
  for (int y = 0; y < height; ++y) {
    const u8* a = rowAt(src, srcStep, y - 1) - 4;
    const u8* b = rowAt(src, srcStep, y) - 4;
    const u8* c = rowAt(src, srcStep, y + 1) - 4;
    blocks(n, [&](int i) {
      const __m256i ra = load(a + i), rb = load(b + i), rc = load(c + i);
      const __m256i eb = even(rb), ob = odd(rb);
      store(ve + i / 2, _mm256_add_epi16(_mm256_add_epi16(even(ra), even(rc)), _mm256_add_epi16(eb, eb)));
      store(vo + i / 2, _mm256_add_epi16(_mm256_add_epi16(odd(ra), odd(rc)), _mm256_add_epi16(ob, ob)));
    });
    u8* d = rowAt(dst, dstStep, y);
    const __m256i half = _mm256_set1_epi16(8);
    // Output byte 2j (2j + 1) sits at element j + 2 of the even (odd) stream.
    auto horizontal = [&](const std::uint16_t* v) {
      const __m256i centre = load(v + 2);
      const __m256i sum =
          _mm256_add_epi16(_mm256_add_epi16(load(v), load(v + 4)), _mm256_add_epi16(centre, centre));
      return _mm256_srli_epi16(_mm256_add_epi16(sum, half), 4);
    };
    blocks(4 * width, [&](int i) { storeColour(d + i, horizontal(ve + i / 2), horizontal(vo + i / 2)); });
  }
}

// Column sums of the 5x5 mask: with v0 = rows +-2, v1 = rows +-1 and v2 the
// centre row, a column at horizontal distance 2, 1 and 0 weighs
// (2, 7, 12), (7, 31, 52) and (12, 52, 127). All fit 16 bits unsigned.
struct Columns5 {
  __m256i far, near, centre;
  Columns5(__m256i v0, __m256i v1, __m256i v2) {
    auto w = [](int k) { return _mm256_set1_epi16(static_cast<short>(k)); };
    far = _mm256_add_epi16(_mm256_add_epi16(v0, v0),
                           _mm256_add_epi16(_mm256_mullo_epi16(v1, w(7)), _mm256_mullo_epi16(v2, w(12))));
    near = _mm256_add_epi16(_mm256_mullo_epi16(v0, w(7)),
                            _mm256_add_epi16(_mm256_mullo_epi16(v1, w(31)), _mm256_mullo_epi16(v2, w(52))));
    centre =
        _mm256_add_epi16(_mm256_mullo_epi16(v0, w(12)),
                         _mm256_add_epi16(_mm256_mullo_epi16(v1, w(52)), _mm256_mullo_epi16(v2, w(127))));
  }
};

// (far + near + centre + 285) / 571 for sums up to 571 * 255, which do not
// fit 16 bits. The sum is known modulo 2^16; a quotient estimate from the
// quarter sums is at most one too small, and the remainder, small enough
// to be exact modulo 2^16, tells whether it is.
inline __m256i divide571(__m256i far, __m256i near, __m256i centre) {
  const __m256i low =
      _mm256_add_epi16(_mm256_add_epi16(far, near), _mm256_add_epi16(centre, _mm256_set1_epi16(285)));
  const __m256i quarter =
      _mm256_add_epi16(_mm256_add_epi16(_mm256_srli_epi16(far, 2), _mm256_srli_epi16(near, 2)),
                       _mm256_add_epi16(_mm256_srli_epi16(centre, 2), _mm256_set1_epi16(71)));
  const __m256i q = _mm256_mulhi_epu16(quarter, _mm256_set1_epi16(459)); // 459 / 65536 just under 4 / 571
  const __m256i rem = _mm256_sub_epi16(low, _mm256_mullo_epi16(q, _mm256_set1_epi16(571)));
  return _mm256_sub_epi16(q, _mm256_cmpgt_epi16(rem, _mm256_set1_epi16(570)));
}

// The six scratch streams of a whole 1080p row would not fit L1, so rows
// are worked in strips of at most this many pixels.
constexpr int kStrip5 = 256;

// One strip of an output row: width >= kBlock pixels from src / d.
void gauss5x5Strip(const u8* src, int srcStep, u8* d, int width, ScratchRows<std::uint16_t>& scratch) {
  std::uint16_t *farE = scratch.row(0), *farO = scratch.row(1), *nearE = scratch.row(2),
                *nearO = scratch.row(3), *centreE = scratch.row(4), *centreO = scratch.row(5);
  const u8* r0 = rowAt(src, srcStep, -2) - 8;
  const u8* r1 = rowAt(src, srcStep, -1) - 8;
  const u8* r2 = src - 8;
  const u8* r3 = rowAt(src, srcStep, 1) - 8;
  const u8* r4 = rowAt(src, srcStep, 2) - 8;
  // Source bytes from two pixels left to two pixels right.
  blocks(4 * (width + 4), [&](int i) {
    const __m256i a = load(r0 + i), b = load(r1 + i), c = load(r2 + i), e = load(r3 + i), f = load(r4 + i);
    const Columns5 ce(_mm256_add_epi16(even(a), even(f)), _mm256_add_epi16(even(b), even(e)), even(c));
    const Columns5 co(_mm256_add_epi16(odd(a), odd(f)), _mm256_add_epi16(odd(b), odd(e)), odd(c));
    store(farE + i / 2, ce.far);
    store(nearE + i / 2, ce.near);
    store(centreE + i / 2, ce.centre);
    store(farO + i / 2, co.far);
    store(nearO + i / 2, co.near);
    store(centreO + i / 2, co.centre);
  });
  // Output byte 2j (2j + 1) sits at element j + 4 of the even (odd) stream.
  auto horizontal = [](const std::uint16_t* f, const std::uint16_t* nr, const std::uint16_t* c) {
    return divide571(_mm256_add_epi16(load(f), load(f + 8)), _mm256_add_epi16(load(nr + 2), load(nr + 6)),
                     load(c + 4));
  };
  blocks(4 * width, [&](int i) {
    const int j = i / 2;
    storeColour(d + i, horizontal(farE + j, nearE + j, centreE + j),
                horizontal(farO + j, nearO + j, centreO + j));
  });
}

void gauss5x5(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  if (width < kBlock) return gauss5x5Rows(src, srcStep, dst, dstStep, width, height);
  // Equal strips: one of width >= kBlock, or several of kStrip5 / 2 or more.
  const int strips = (width + kStrip5 - 1) / kStrip5;
  ScratchRows<std::uint16_t> scratch(6, 2 * (width / strips + 1 + 4));
  for (int y = 0; y < height; ++y)
    for (int k = 0; k < strips; ++k) {
      const int x0 = static_cast<int>(static_cast<long long>(width) * k / strips);
      const int x1 = static_cast<int>(static_cast<long long>(width) * (k + 1) / strips);
      gauss5x5Strip(rowAt(src, srcStep, y) + 4 * x0, srcStep, rowAt(dst, dstStep, y) + 4 * x0, x1 - x0,
                    scratch);
    }
}

} // namespace

const FilterKernels kFilterAvx2 = {gauss3x3, gauss5x5};

} // namespace framquist::ipp_detail
