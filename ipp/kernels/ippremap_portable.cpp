// Portable remap: the layout fixed at compile time and neighbour addresses
// computed once per pixel rather than once per sample.
#include "ipp/kernels/ippremaprows.h"

namespace framquist::ipp_detail {

using namespace remaprows;

#define FQ_REMAP_ROW(pixel)                                                                                  \
  {                                                                                                          \
    remapAll<1, 1, pixel<1, 1>>, remapAll<3, 3, pixel<3, 3>>, remapAll<4, 4, pixel<4, 4>>,                   \
        remapAll<4, 3, pixel<4, 3>>                                                                          \
  }

const RemapKernels kRemapPortable = {{
    FQ_REMAP_ROW(nearestPixel),
    FQ_REMAP_ROW(linearPixel),
    FQ_REMAP_ROW(cubicPixel),
}};

#undef FQ_REMAP_ROW

} // namespace framquist::ipp_detail
