// Mirror kernels for CPUs with AVX2 (compiled with -mavx2).
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ippx86blocks.h"

namespace framquist::ipp_detail {

const MirrorKernels kMirrorAvx2 = {
    {mirrorImage<Avx2C1Rows>, mirrorImage<Avx2C3Rows>, mirrorImage<Avx2C4Rows>, mirrorImage<Avx2AC4Rows>},
    {mirrorImageInPlace<Avx2C1Rows>, mirrorImageInPlace<Avx2C3Rows>, mirrorImageInPlace<Avx2C4Rows>,
     mirrorImageInPlace<Avx2AC4Rows>},
};

} // namespace framquist::ipp_detail
