// Copy and set kernels for any CPU: memcpy/memset where the layout allows,
// otherwise 64-bit words the compiler can vectorise.
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ipprows.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace framquist::ipp_detail {
namespace {

static_assert(std::endian::native == std::endian::little, "the 64-bit pixel tricks assume little-endian");

void copyRows(const u8* src, int srcStep, u8* dst, int dstStep, int rowBytes, int height) {
  if (contiguous(srcStep, rowBytes, height) && contiguous(dstStep, rowBytes, height)) {
    std::memcpy(dst, src, static_cast<std::size_t>(rowBytes) * height);
    return;
  }
  for (int y = 0; y < height; ++y)
    std::memcpy(rowAt(dst, dstStep, y), rowAt(src, srcStep, y), static_cast<std::size_t>(rowBytes));
}

// Fills a row with a repeating pixel by doubling the filled part with
// memcpy, then replicates that row, so the work is done by memcpy.
void fillPattern(const u8* value, int pixelBytes, u8* dst, int dstStep, int width, int height) {
  const int rowBytes = width * pixelBytes;
  int rows = height, span = rowBytes;
  if (contiguous(dstStep, rowBytes, height)) {
    span = rowBytes * height;
    rows = 1;
  }
  std::memcpy(dst, value, static_cast<std::size_t>(pixelBytes));
  for (int done = pixelBytes; done < span;) {
    const int n = done < span - done ? done : span - done;
    std::memcpy(dst + done, dst, static_cast<std::size_t>(n));
    done += n;
  }
  for (int y = 1; y < rows; ++y) std::memcpy(rowAt(dst, dstStep, y), dst, static_cast<std::size_t>(rowBytes));
}

inline std::uint32_t load32(const u8* p) {
  std::uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
inline void store32(u8* p, std::uint32_t v) { std::memcpy(p, &v, 4); }

constexpr std::uint32_t kColour32 = 0x00ffffff; // of a little-endian 4-byte pixel

// Colour from the source, alpha kept: simple enough for the vectoriser.
void copyRowAC4(const u8* s, u8* d, int w) {
  for (int x = 0; x < w; ++x)
    store32(d + x * 4, (load32(s + x * 4) & kColour32) | (load32(d + x * 4) & ~kColour32));
}

void setRowAC4(std::uint32_t colour, u8* d, int w) {
  for (int x = 0; x < w; ++x) store32(d + x * 4, colour | (load32(d + x * 4) & ~kColour32));
}

void copyAC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  if (contiguous(srcStep, width * 4, height) && contiguous(dstStep, width * 4, height)) {
    width *= height;
    height = 1;
  }
  for (int y = 0; y < height; ++y) copyRowAC4(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), width);
}

void copyChannelC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  for (int y = 0; y < height; ++y) {
    const u8* s = rowAt(src, srcStep, y);
    u8* d = rowAt(dst, dstStep, y);
    for (int x = 0; x < width; ++x) d[x * 4] = s[x * 4];
  }
}

// Grey samples into one byte of 4-byte pixels, rewriting whole pixels (the
// vectoriser handles that) except the last: its 4 bytes from the channel on
// may run past the image, so it is written alone.
void copyC1C4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  for (int y = 0; y < height; ++y) {
    const u8* s = rowAt(src, srcStep, y);
    u8* d = rowAt(dst, dstStep, y);
    const int n = width - 1;
    for (int x = 0; x < n; ++x) store32(d + x * 4, (load32(d + x * 4) & ~std::uint32_t{0xff}) | s[x]);
    d[n * 4] = s[n];
  }
}

void setC3(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 3, dst, dstStep, width, height);
}

void setC4(const u8* value, u8* dst, int dstStep, int width, int height) {
  fillPattern(value, 4, dst, dstStep, width, height);
}

void setAC4(const u8* value, u8* dst, int dstStep, int width, int height) {
  if (contiguous(dstStep, width * 4, height)) {
    width *= height;
    height = 1;
  }
  const std::uint32_t colour = value[0] | (std::uint32_t{value[1]} << 8) | (std::uint32_t{value[2]} << 16);
  for (int y = 0; y < height; ++y) setRowAC4(colour, rowAt(dst, dstStep, y), width);
}

} // namespace

namespace portable {

void copyC1(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  copyRows(src, srcStep, dst, dstStep, width, height);
}
void copyC3(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  copyRows(src, srcStep, dst, dstStep, width * 3, height);
}
void copyC4(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  copyRows(src, srcStep, dst, dstStep, width * 4, height);
}
void setC1(const u8* value, u8* dst, int dstStep, int width, int height) {
  if (contiguous(dstStep, width, height)) {
    std::memset(dst, *value, static_cast<std::size_t>(width) * height);
    return;
  }
  for (int y = 0; y < height; ++y)
    std::memset(rowAt(dst, dstStep, y), *value, static_cast<std::size_t>(width));
}

} // namespace portable

const CopyKernels kCopyPortable = {
    {portable::copyC1, portable::copyC3, portable::copyC4, copyAC4},
    copyChannelC4,
    copyC1C4,
    {portable::setC1, setC3, setC4, setAC4},
};

} // namespace framquist::ipp_detail
