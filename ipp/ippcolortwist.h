// Colour twist of 8-bit images: each of the three colour bytes of a pixel
// becomes an affine combination of all three, by a 3 x 4 matrix of floats.
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h. For
// input bytes s0, s1, s2 the output byte k is
//   twist[k][0] * s0 + twist[k][1] * s1 + twist[k][2] * s2 + twist[k][3]
// computed in single precision, rounded to nearest (ties to even) and
// saturated to 0..255 (NaN gives 0). A null matrix gives ippStsNullPtrErr.
// AC4 forms leave the destination alpha as it was.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiColorTwist32f_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                   const Ipp32f twist[3][4]);
IppStatus ippiColorTwist32f_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const Ipp32f twist[3][4]);

} // namespace framquist
