// Copy and set kernels for CPUs with AVX-512 F/BW/VL/DQ. Byte-masked
// stores write exactly the samples asked for, so AC4 and single-channel
// copies never rewrite the bytes they keep, and row ends need no scalar code.
// GCC 12 reports its own AVX-512 intrinsics (their _mm512_undefined_*
// placeholders) as maybe-uninitialized; the warning is spurious there.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "ipp/kernels/ippavx512.h"
#include "ipp/kernels/ippkernels.h"

namespace framquist::ipp_detail {
namespace {

inline void collapse(int step1, int step2, int pixelBytes, int& width, int& height) {
  if (contiguous(step1, width * pixelBytes, height) && contiguous(step2, width * pixelBytes, height)) {
    width *= height;
    height = 1;
  }
}

// Copies the bytes of n selected by `keep` (repeating every 64 bytes). Loads
// are masked too: for a single channel the bytes after the last selected
// one may lie outside the image.
void copyRowMasked(const u8* s, u8* d, int n, __mmask64 keep) {
  for (int i = 0; i < n; i += 64) {
    const __mmask64 k = keep & firstBytes(n - i);
    _mm512_mask_storeu_epi8(d + i, k, _mm512_maskz_loadu_epi8(k, s + i));
  }
}

void copyAC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  collapse(srcStep, dstStep, 4, width, height);
  for (int y = 0; y < height; ++y)
    copyRowMasked(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), width * 4, kColourBytes);
}

void copyChannelC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  collapse(srcStep, dstStep, 4, width, height);
  for (int y = 0; y < height; ++y)
    copyRowMasked(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), width * 4, kChannelBytes);
}

// Grey samples into one byte of 4-byte pixels, sixteen at a time: the
// permute gives each 128-bit lane the dword of its four samples, and the
// shuffle moves sample p of that dword to byte 4p. Masks keep loads and
// stores to the samples copied.
void copyC1C4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  const __m512i spread = _mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
  constexpr int p0 = static_cast<int>(0x80808000u), p1 = p0 | 1, p2 = p0 | 2, p3 = p0 | 3; // 0x80: zero
  const __m512i place = _mm512_setr_epi32(p0, p1, p2, p3, p0, p1, p2, p3, p0, p1, p2, p3, p0, p1, p2, p3);
  for (int y = 0; y < height; ++y) {
    const u8* s = rowAt(src, srcStep, y);
    u8* d = rowAt(dst, dstStep, y);
    for (int x = 0; x < width; x += 16) {
      const int k = width - x < 16 ? width - x : 16;
      const __m512i grey = _mm512_maskz_loadu_epi8(firstBytes(k), s + x);
      const __m512i v = _mm512_shuffle_epi8(_mm512_permutexvar_epi32(spread, grey), place);
      _mm512_mask_storeu_epi8(d + 4 * x, kChannelBytes & firstBytes(4 * k), v);
    }
  }
}

// Fills n bytes with a pattern whose period divides 192, writing only the
// bytes selected by `keep`.
void fillRow192(u8* d, int n, const __m512i (&pat)[3], __mmask64 keep) {
  int i = 0;
  for (; i + 192 <= n; i += 192) {
    _mm512_mask_storeu_epi8(d + i, keep, pat[0]);
    _mm512_mask_storeu_epi8(d + i + 64, keep, pat[1]);
    _mm512_mask_storeu_epi8(d + i + 128, keep, pat[2]);
  }
  for (int j = 0; j < 3 && i + 64 * j < n; ++j)
    _mm512_mask_storeu_epi8(d + i + 64 * j, keep & firstBytes(n - i - 64 * j), pat[j]);
}

void fillPattern(const u8* value, int pixelBytes, int channels, u8* dst, int dstStep, int width, int height,
                 __mmask64 keep) {
  alignas(64) u8 bytes[192];
  for (int i = 0; i < 192; ++i) bytes[i] = (i % pixelBytes) < channels ? value[i % pixelBytes] : 0;
  const __m512i pat[3] = {_mm512_load_si512(bytes), _mm512_load_si512(bytes + 64),
                          _mm512_load_si512(bytes + 128)};
  collapse(dstStep, dstStep, pixelBytes, width, height);
  for (int y = 0; y < height; ++y) fillRow192(rowAt(dst, dstStep, y), width * pixelBytes, pat, keep);
}

void setC3(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 3, 3, dst, dstStep, width, height, kAllBytes);
}

void setC4(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 4, 4, dst, dstStep, width, height, kAllBytes);
}

void setAC4(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 4, 3, dst, dstStep, width, height, kColourBytes);
}

} // namespace

const CopyKernels kCopyAvx512 = {
    {portable::copyC1, portable::copyC3, portable::copyC4, copyAC4},
    copyChannelC4,
    copyC1C4,
    {portable::setC1, setC3, setC4, setAC4},
};

} // namespace framquist::ipp_detail
