// Mirroring 8-bit images about a horizontal axis (upside down), a vertical
// axis (left-right) or both (a half turn).
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h; in
// addition flip values other than ippAxsHorizontal, ippAxsVertical and
// ippAxsBoth give ippStsMirrorFlipErr. The source and destination of the
// not-in-place forms must not overlap; the in-place forms (I) mirror the ROI
// within its own buffer. AC4 forms leave each destination pixel's alpha as
// it was (alpha is not mirrored).
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiMirror_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                            IppiAxis flip);
IppStatus ippiMirror_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                            IppiAxis flip);
IppStatus ippiMirror_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                            IppiAxis flip);
IppStatus ippiMirror_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                             IppiAxis flip);

IppStatus ippiMirror_8u_C1IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip);
IppStatus ippiMirror_8u_C3IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip);
IppStatus ippiMirror_8u_C4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip);
IppStatus ippiMirror_8u_AC4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip);

} // namespace framquist
