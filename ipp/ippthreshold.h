// Thresholding the three colour channels of 8-bit images, each channel
// against its own level.
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h. The
// threshold and value arguments hold one sample per channel (element k goes
// with byte k of each pixel). Comparisons are strict:
//   LTValGTVal  d = valueLT[k] if s < thresholdLT[k],
//               else valueGT[k] if s > thresholdGT[k], else s
//   GTVal       d = value[k] if s > threshold[k], else s
//   LTVal       d = value[k] if s < threshold[k], else s
// The less-than rule is tested first, so it wins where the levels cross.
// AC4 forms leave each destination pixel's alpha as it was.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiThreshold_LTValGTVal_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                          IppiSize roiSize, const Ipp8u thresholdLT[3],
                                          const Ipp8u valueLT[3], const Ipp8u thresholdGT[3],
                                          const Ipp8u valueGT[3]);
IppStatus ippiThreshold_LTValGTVal_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                           IppiSize roiSize, const Ipp8u thresholdLT[3],
                                           const Ipp8u valueLT[3], const Ipp8u thresholdGT[3],
                                           const Ipp8u valueGT[3]);
IppStatus ippiThreshold_GTVal_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]);
IppStatus ippiThreshold_GTVal_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]);
IppStatus ippiThreshold_LTVal_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]);
IppStatus ippiThreshold_LTVal_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]);

} // namespace framquist
