// Reference multiply-by-a-fraction-of-255 kernels: one sample at a time.
#include "ipp/kernels/ippmulcscalekernels.h"

#include <cstddef>

namespace framquist::ipp_detail {

namespace {

template <int Channels>
void mulCScaleRef(const Ipp8u* value, Ipp8u* image, int step, int width, int height) {
  for (int y = 0; y < height; ++y) {
    Ipp8u* row = image + static_cast<std::ptrdiff_t>(y) * step;
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c)
        row[x * Channels + c] = mulCScaleSample(row[x * Channels + c], value[c]);
  }
}

} // namespace

const MulCScaleKernels kMulCScaleReference = {{mulCScaleRef<1>, mulCScaleRef<3>, mulCScaleRef<4>}};

} // namespace framquist::ipp_detail
