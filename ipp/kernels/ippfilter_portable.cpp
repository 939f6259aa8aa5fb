// Fixed Gaussian filters: the shared row loops, vectorised for this target.
#include "ipp/kernels/ippfilterkernels.h"
#include "ipp/kernels/ippfilterrows.h"

namespace framquist::ipp_detail {

const FilterKernels kFilterPortable = {gauss3x3Rows, gauss5x5Rows};

} // namespace framquist::ipp_detail
