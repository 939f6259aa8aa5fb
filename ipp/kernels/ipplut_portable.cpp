// Lookup kernels for any CPU: the call's 256-entry tables, applied eight
// samples at a time (one 64-bit store per eight lookups).
#include "ipp/kernels/ipplutkernels.h"
#include "ipp/kernels/ipprows.h"

#include <cstdint>
#include <cstring>

namespace framquist::ipp_detail {
namespace {

// Bytes through one table.
void mapBytes(const u8* s, u8* d, int n, const u8* t) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    std::uint64_t v = 0;
    for (int b = 0; b < 8; ++b) v |= static_cast<std::uint64_t>(t[s[i + b]]) << (8 * b);
    std::memcpy(d + i, &v, 8);
  }
  for (; i < n; ++i) d[i] = t[s[i]];
}

template <int Channels>
void mapPixels(const u8* s, u8* d, int w, const LutCall& call) {
  for (int x = 0; x < w; ++x)
    for (int c = 0; c < Channels; ++c) d[x * Channels + c] = call.table[c][s[x * Channels + c]];
}

template <int Channels>
void lutPortable(const u8* src, int srcStep, u8* dst, int dstStep, int w, int h, const LutCall& call) {
  const int rowBytes = w * Channels;
  if (Channels == 1 || call.sameTables) {
    if (contiguous(srcStep, rowBytes, h) && contiguous(dstStep, rowBytes, h)) {
      mapBytes(src, dst, rowBytes * h, call.table[0]);
      return;
    }
    for (int y = 0; y < h; ++y)
      mapBytes(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), rowBytes, call.table[0]);
    return;
  }
  for (int y = 0; y < h; ++y) mapPixels<Channels>(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), w, call);
}

} // namespace

const LutKernels kLutPortable = {{lutPortable<1>, lutPortable<3>, lutPortable<4>}};

} // namespace framquist::ipp_detail
