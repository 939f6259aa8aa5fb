// Noise kernels for CPUs with AVX2 (compiled with -mavx2): 32 sequences
// side by side, each jumped 32 draws ahead per step, make a row of byte
// offsets; saturating byte adds put them on the row.
#include "ipp/kernels/ipprandomkernels.h"

#include <immintrin.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace framquist::ipp_detail {
namespace {

constexpr int kBlock = 32;
constexpr RandJump kJump = randJump(kBlock);

// Vector j lane k holds the state of draw 8j + k + 1 after `state`.
void seedLanes(__m256i (&lanes)[4], Ipp32u state) {
  alignas(32) Ipp32u init[kBlock];
  for (Ipp32u& s : init) s = state = randStep(state);
  for (int j = 0; j < 4; ++j) lanes[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(init + 8 * j));
}

void advance(__m256i (&lanes)[4]) {
  const __m256i mul = _mm256_set1_epi32(static_cast<int>(kJump.mul));
  const __m256i add = _mm256_set1_epi32(static_cast<int>(kJump.add));
  for (__m256i& l : lanes) l = _mm256_add_epi32(_mm256_mullo_epi32(l, mul), add);
}

// The state after n draws.
Ipp32u stateAfter(Ipp32u state, int n) {
  for (int b = 0; b < n / kBlock; ++b) state = kJump(state);
  for (int r = 0; r < n % kBlock; ++r) state = randStep(state);
  return state;
}

// Four vectors of 32-bit values to 32 bytes in draw order, each saturated
// to 0..255.
__m256i packBytes(const __m256i (&v)[4]) {
  const __m256i lo = _mm256_packus_epi32(v[0], v[1]);
  const __m256i hi = _mm256_packus_epi32(v[2], v[3]);
  // The packs interleave 128-bit halves; this puts the dwords back in order.
  return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(lo, hi), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// n draws as offsets low .. high into plus (room for n rounded up to 32).
void drawUniform(Ipp8u* plus, int n, Ipp32u& state, Ipp8u low, Ipp8u high) {
  const Ipp32u span = static_cast<Ipp32u>(high - low) + 1;
  // mulhi on the high 16-bit half of each lane gives ((s >> 16) * span) >> 16.
  const __m256i spanHigh = _mm256_set1_epi32(static_cast<int>(span << 16));
  const __m256i lowBytes = _mm256_set1_epi8(static_cast<char>(low));
  __m256i lanes[4];
  seedLanes(lanes, state);
  for (int i = 0; i < n; i += kBlock) {
    __m256i v[4];
    for (int j = 0; j < 4; ++j) v[j] = _mm256_srli_epi32(_mm256_mulhi_epu16(lanes[j], spanHigh), 16);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(plus + i), _mm256_add_epi8(packBytes(v), lowBytes));
    advance(lanes);
  }
  state = stateAfter(state, n);
}

// n draws as mean + offset, split into bytes to add and to subtract (see
// the portable kernels).
void drawGauss(Ipp8u* plus, Ipp8u* minus, int n, Ipp32u& state, Ipp8u mean, Ipp8u stdev) {
  const int* table = reinterpret_cast<const int*>(gaussOffsetTable(stdev));
  const __m256i meanv = _mm256_set1_epi32(mean);
  const __m256i zero = _mm256_setzero_si256();
  __m256i lanes[4];
  seedLanes(lanes, state);
  for (int i = 0; i < n; i += kBlock) {
    __m256i t[4], neg[4];
    for (int j = 0; j < 4; ++j) {
      // A 32-bit gather at 2 * index; the low half is the entry.
      const __m256i g = _mm256_i32gather_epi32(table, _mm256_srli_epi32(lanes[j], 16), 2);
      t[j] = _mm256_add_epi32(_mm256_srai_epi32(_mm256_slli_epi32(g, 16), 16), meanv);
      neg[j] = _mm256_sub_epi32(zero, t[j]);
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(plus + i), packBytes(t));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(minus + i), packBytes(neg));
    advance(lanes);
  }
  state = stateAfter(state, n);
}

__m256i loadu(const Ipp8u* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

template <int PixelBytes, int Channels>
void applyRow(Ipp8u* row, int width, const Ipp8u* plus, const Ipp8u* minus) {
  int x = 0;
  if constexpr (PixelBytes == Channels) {
    const int n = width * PixelBytes;
    int i = 0;
    for (; i + 32 <= n; i += 32) {
      __m256i r = _mm256_adds_epu8(loadu(row + i), loadu(plus + i));
      if (minus != nullptr) r = _mm256_subs_epu8(r, loadu(minus + i));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + i), r);
    }
    // Draws and bytes correspond one to one here.
    for (; i < n; ++i) {
      int v = std::min(row[i] + plus[i], 255);
      if (minus != nullptr) v = std::max(v - minus[i], 0);
      row[i] = static_cast<Ipp8u>(v);
    }
    return;
  } else {
    // Eight pixels take 24 offsets: spread 12 to each 128-bit half, then
    // to every pixel's first three bytes, alpha getting 0.
    const __m256i halves = _mm256_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6);
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128, 0,
                                            1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
    auto expand = [&](const Ipp8u* p) {
      return _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(loadu(p), halves), spread);
    };
    for (; x + 8 <= width; x += 8) {
      Ipp8u* p = row + 4 * x;
      __m256i r = _mm256_adds_epu8(loadu(p), expand(plus + 3 * x));
      if (minus != nullptr) r = _mm256_subs_epu8(r, expand(minus + 3 * x));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), r);
    }
  }
  for (; x < width; ++x)
    for (int c = 0; c < Channels; ++c) {
      Ipp8u& s = row[x * PixelBytes + c];
      int v = std::min(s + plus[x * Channels + c], 255);
      if (minus != nullptr) v = std::max(v - minus[x * Channels + c], 0);
      s = static_cast<Ipp8u>(v);
    }
}

// Room for the last block of draws and for 32-byte loads past the row.
std::size_t rowBuffer(int n) { return static_cast<std::size_t>(n + 2 * kBlock); }

template <int PixelBytes, int Channels>
void uniformAvx2(Ipp8u* image, int step, int width, int height, Ipp8u low, Ipp8u high, unsigned int* seed) {
  const int n = width * Channels;
  std::vector<Ipp8u> plus(rowBuffer(n));
  Ipp32u state = *seed;
  for (int y = 0; y < height; ++y) {
    drawUniform(plus.data(), n, state, low, high);
    applyRow<PixelBytes, Channels>(image + static_cast<std::ptrdiff_t>(y) * step, width, plus.data(),
                                   nullptr);
  }
  *seed = state;
}

template <int PixelBytes, int Channels>
void gaussAvx2(Ipp8u* image, int step, int width, int height, Ipp8u mean, Ipp8u stdev, unsigned int* seed) {
  const int n = width * Channels;
  std::vector<Ipp8u> plus(rowBuffer(n)), minus(rowBuffer(n));
  Ipp32u state = *seed;
  for (int y = 0; y < height; ++y) {
    drawGauss(plus.data(), minus.data(), n, state, mean, stdev);
    applyRow<PixelBytes, Channels>(image + static_cast<std::ptrdiff_t>(y) * step, width, plus.data(),
                                   minus.data());
  }
  *seed = state;
}

} // namespace

const RandomKernels kRandomAvx2 = {
    {uniformAvx2<1, 1>, uniformAvx2<3, 3>, uniformAvx2<4, 4>, uniformAvx2<4, 3>},
    {gaussAvx2<1, 1>, gaussAvx2<3, 3>, gaussAvx2<4, 4>, gaussAvx2<4, 3>},
};

} // namespace framquist::ipp_detail
