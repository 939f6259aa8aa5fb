// Reference copy and set kernels: one sample at a time.
#include "ipp/kernels/ippkernels.h"

#include <cstddef>

namespace framquist::ipp_detail {

namespace {

// Copies the first Channels samples of every PixelBytes-sized pixel.
template <int Channels, int PixelBytes>
void copyRef(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height) {
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c) d[x * PixelBytes + c] = s[x * PixelBytes + c];
  }
}

void copyC1C4Ref(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height) {
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x) d[x * 4] = s[x];
  }
}

template <int Channels, int PixelBytes>
void setRef(const Ipp8u* value, Ipp8u* dst, int dstStep, int width, int height) {
  for (int y = 0; y < height; ++y) {
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c) d[x * PixelBytes + c] = value[c];
  }
}

} // namespace

// Copying one channel is copying the first sample of 4-byte pixels, since
// the pointers already point at that channel.
const CopyKernels kCopyReference = {
    {copyRef<1, 1>, copyRef<3, 3>, copyRef<4, 4>, copyRef<3, 4>},
    copyRef<1, 4>,
    copyC1C4Ref,
    {setRef<1, 1>, setRef<3, 3>, setRef<4, 4>, setRef<3, 4>},
};

} // namespace framquist::ipp_detail
