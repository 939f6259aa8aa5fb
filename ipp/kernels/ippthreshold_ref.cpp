// Reference threshold kernels: one sample at a time, straight from the
// definition. The fast kernels are tested against these.
#include "ipp/kernels/ippthresholdkernels.h"

#include <cstddef>

namespace framquist::ipp_detail {

namespace {

template <int PixelBytes>
void thresholdRef(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                  const ThresholdArgs& a) {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep + x * PixelBytes;
      Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep + x * PixelBytes;
      for (int c = 0; c < 3; ++c) {
        if (s[c] < a.ltThreshold[c])
          d[c] = a.ltValue[c];
        else if (s[c] > a.gtThreshold[c])
          d[c] = a.gtValue[c];
        else
          d[c] = s[c];
      }
    }
}

} // namespace

const ThresholdKernels kThresholdReference = {thresholdRef<3>, thresholdRef<4>};

} // namespace framquist::ipp_detail
