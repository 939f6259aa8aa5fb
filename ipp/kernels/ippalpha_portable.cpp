// Alpha composition for any CPU: the shared scalar rows, with the type's
// formula chosen once per call.
#include "ipp/kernels/ippalpharows.h"

namespace framquist::ipp_detail {
namespace {

void compose(const Ipp8u* src1, int src1Step, const Ipp8u* src2, int src2Step, Ipp8u* dst, int dstStep,
             int width, int height, int type) {
  const AlphaPixelsFn row = alphaPixelsFor(type);
  for (int y = 0; y < height; ++y)
    row(rowAt(src1, src1Step, y), rowAt(src2, src2Step, y), rowAt(dst, dstStep, y), width);
}

} // namespace

const AlphaKernels kAlphaPortable = {compose};

} // namespace framquist::ipp_detail
