// Lookup-table intensity transforms of 8-bit images, with the curve given as
// control points: pLevels[k] is an input level and pValues[k] the output for
// it, nLevels points per channel (levels ascending).
//
// For a sample s with pLevels[k] <= s < pLevels[k+1]:
//   ippiLUT         pDst = pValues[k]                         (a step)
//   ippiLUT_Linear  pDst = pValues[k] + (s - pLevels[k]) * (pValues[k+1] - pValues[k])
//                                       / (pLevels[k+1] - pLevels[k])
//   ippiLUT_Cubic   pDst = A s^3 + B s^2 + C s + D, the cubic through the
//                   points k-1, k, k+1 and k+2 (at the ends of the curve the
//                   four nearest points; with three or two points the
//                   parabola or line through them)
// saturated to 0..255: the linear form with its fraction taken down (so
// points (0, 255) and (256, 0) give exactly 255 - s), the others rounded to
// the nearest integer. A sample in no
// interval (below the first level or at or above the last) is copied
// unchanged; where intervals are given out of order the first that holds the
// sample counts. Multi-channel forms take one curve per channel: C3 three,
// C4 four (the fourth byte is mapped too).
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h; in
// addition a channel with fewer than two levels gives ippStsLUTNofLevelsErr
// and null value or level arrays ippStsNullPtrErr. Source and destination
// may be the same image.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiLUT_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                         const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels);
IppStatus ippiLUT_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                         const Ipp32s* pValues[3], const Ipp32s* pLevels[3], int nLevels[3]);
IppStatus ippiLUT_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                         const Ipp32s* pValues[4], const Ipp32s* pLevels[4], int nLevels[4]);

IppStatus ippiLUT_Linear_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels);
IppStatus ippiLUT_Linear_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                const Ipp32s* pValues[3], const Ipp32s* pLevels[3], int nLevels[3]);
IppStatus ippiLUT_Linear_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                const Ipp32s* pValues[4], const Ipp32s* pLevels[4], int nLevels[4]);

IppStatus ippiLUT_Cubic_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                               const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels);
IppStatus ippiLUT_Cubic_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                               const Ipp32s* pValues[3], const Ipp32s* pLevels[3], int nLevels[3]);
IppStatus ippiLUT_Cubic_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                               const Ipp32s* pValues[4], const Ipp32s* pLevels[4], int nLevels[4]);

} // namespace framquist
