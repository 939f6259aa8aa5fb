// Multiplying an 8-bit image, in place, by a constant taken as a fraction of
// 255: every sample s of channel c becomes round(s * value[c] / 255), so 255
// keeps a sample, 0 clears it and 128 about halves it. The quotient is never
// exactly a half, so there are no ties to break.
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h; a null
// value is ippStsNullPtrErr.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiMulCScale_8u_C1IR(Ipp8u value, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);
IppStatus ippiMulCScale_8u_C3IR(const Ipp8u value[3], Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);
IppStatus ippiMulCScale_8u_C4IR(const Ipp8u value[4], Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);

} // namespace framquist
