// Reference polar-to-Cartesian kernel: the C library's cos and sin, one
// element at a time. The fast kernels are tested against it.
#include "ipp/kernels/ipppolarkernels.h"

#include <cmath>

namespace framquist::ipp_detail {

namespace {

void polarToCartRef(const Ipp64f* magn, const Ipp64f* phase, Ipp64f* re, Ipp64f* im, int len) {
  for (int i = 0; i < len; ++i) {
    // Read both inputs first: the outputs may alias them.
    const double m = magn[i], p = phase[i];
    re[i] = m * std::cos(p);
    im[i] = m * std::sin(p);
  }
}

} // namespace

const PolarKernels kPolarReference = {polarToCartRef};

} // namespace framquist::ipp_detail
