// Copy and set kernels for CPUs with AVX2 (compiled with -mavx2). Plain
// copies and C1 fills are memcpy/memset (shared with the portable set).
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ippx86blocks.h"

namespace framquist::ipp_detail {
namespace {

// Treats a padding-free image as one long row.
inline void collapse(int step1, int step2, int pixelBytes, int& width, int& height) {
  if (contiguous(step1, width * pixelBytes, height) && contiguous(step2, width * pixelBytes, height)) {
    width *= height;
    height = 1;
  }
}

void copyAC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  collapse(srcStep, dstStep, 4, width, height);
  for (int y = 0; y < height; ++y)
    Avx2AC4Moves::copyRow(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), width);
}

// src and dst point at one channel of 4-byte pixels. Blocks read and
// rewrite whole pixels from the channel byte on, which for the last pixel
// could reach past the image; that pixel is copied alone.
void copyChannelRow(const u8* s, u8* d, int w) {
  const int n = w - 1; // pixels whose 4 bytes from the channel on are inside the image
  if (n >= 8) {
    const __m256i m = _mm256_set1_epi32(0xff);
    int x = 0;
    for (; x + 8 <= n; x += 8)
      store256(d + x * 4, _mm256_blendv_epi8(load256(d + x * 4), load256(s + x * 4), m));
    if (x < n) {
      x = n - 8;
      store256(d + x * 4, _mm256_blendv_epi8(load256(d + x * 4), load256(s + x * 4), m));
    }
  } else {
    for (int x = 0; x < n; ++x) d[x * 4] = s[x * 4];
  }
  d[n * 4] = s[n * 4];
}

void copyChannelC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  collapse(srcStep, dstStep, 4, width, height);
  for (int y = 0; y < height; ++y) copyChannelRow(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), width);
}

// Grey samples into one byte of 4-byte pixels: eight widened to 32-bit
// lanes and blended into the destination pixels. As above, the last pixel
// is written alone; blocks may overlap since copying twice does no harm.
void copyC1C4Row(const u8* s, u8* d, int w) {
  const int n = w - 1;
  if (n >= 8) {
    const __m256i m = _mm256_set1_epi32(0xff);
    auto block = [&](int x) {
      const __m256i grey = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + x)));
      store256(d + x * 4, _mm256_blendv_epi8(load256(d + x * 4), grey, m));
    };
    int x = 0;
    for (; x + 8 <= n; x += 8) block(x);
    if (x < n) block(n - 8);
  } else {
    for (int x = 0; x < n; ++x) d[x * 4] = s[x];
  }
  d[n * 4] = s[n];
}

void copyC1C4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  for (int y = 0; y < height; ++y) copyC1C4Row(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), width);
}

// Fills n bytes with a pattern whose period divides 96, given as three
// 32-byte registers (and the same pattern as bytes for short rows).
void fillRow96(u8* d, int n, const __m256i (&pat)[3], const u8* patBytes) {
  if (n < 96) {
    if (n >= 32) {
      // Whole 32-byte pieces of the pattern in phase, then the rest by bytes.
      int i = 0;
      for (; i + 32 <= n; i += 32) store256(d + i, pat[i / 32]);
      for (; i < n; ++i) d[i] = patBytes[i];
    } else {
      for (int i = 0; i < n; ++i) d[i] = patBytes[i];
    }
    return;
  }
  int i = 0;
  for (; i + 96 <= n; i += 96) {
    store256(d + i, pat[0]);
    store256(d + i + 32, pat[1]);
    store256(d + i + 64, pat[2]);
  }
  if (i < n) { // n - 96 is a multiple of the period, so the pattern is in phase there
    store256(d + n - 96, pat[0]);
    store256(d + n - 64, pat[1]);
    store256(d + n - 32, pat[2]);
  }
}

void fillPattern(const u8* value, int pixelBytes, u8* dst, int dstStep, int width, int height) {
  alignas(32) u8 bytes[96];
  for (int i = 0; i < 96; ++i) bytes[i] = value[i % pixelBytes];
  const __m256i pat[3] = {load256(bytes), load256(bytes + 32), load256(bytes + 64)};
  collapse(dstStep, dstStep, pixelBytes, width, height);
  for (int y = 0; y < height; ++y) fillRow96(rowAt(dst, dstStep, y), width * pixelBytes, pat, bytes);
}

void setC3(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 3, dst, dstStep, width, height);
}

void setC4(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 4, dst, dstStep, width, height);
}

void setAC4(const u8* value, u8* dst, int dstStep, int width, int height) {
  const int px = value[0] | (value[1] << 8) | (value[2] << 16);
  const __m256i v = _mm256_set1_epi32(px);
  collapse(dstStep, dstStep, 4, width, height);
  for (int y = 0; y < height; ++y) {
    u8* d = rowAt(dst, dstStep, y);
    if (width >= 8) {
      int x = 0;
      for (; x + 8 <= width; x += 8) storeColour256(d + x * 4, v);
      if (x < width) storeColour256(d + (width - 8) * 4, v);
    } else {
      for (int x = 0; x < width; ++x) ScalarRows<4, 3>::movePixel(value, d + x * 4);
    }
  }
}

} // namespace

const CopyKernels kCopyAvx2 = {
    {portable::copyC1, portable::copyC3, portable::copyC4, copyAC4},
    copyChannelC4,
    copyC1C4,
    {portable::setC1, setC3, setC4, setAC4},
};

} // namespace framquist::ipp_detail
