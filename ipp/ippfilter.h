// Fixed Gaussian smoothing of 8-bit four-channel images, alpha left alone.
//
// Each destination ROI pixel's colour channels are the weighted sum of the
// source pixels around the same position, divided by the weights' sum and
// rounded to nearest (halves up):
//   ippMskSize3x3   1  2  1        ippMskSize5x5   2  7  12  7  2
//                   2  4  2    /16                 7 31  52 31  7
//                   1  2  1                       12 52 127 52 12   /571
//                                                  7 31  52 31  7
//                                                  2  7  12  7  2
// The source ROI has no border handling of its own: pSrc points at the
// pixel under the mask's centre for the first destination pixel, and the
// caller provides a border of 1 (3x3) or 2 (5x5) pixels of valid image on
// every side of it. The destination alpha bytes are not written. Other mask
// sizes give ippStsBadArgErr; the other checks are those of ipp/ippcopy.h.
// Source and destination must not overlap.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

// Mask sizes of the fixed filters: columns x rows as two digits.
enum IppiMaskSize : int {
  ippMskSize1x3 = 13,
  ippMskSize1x5 = 15,
  ippMskSize3x1 = 31,
  ippMskSize3x3 = 33,
  ippMskSize5x1 = 51,
  ippMskSize5x5 = 55,
};

IppStatus ippiFilterGauss_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize dstRoiSize, IppiMaskSize mask);

} // namespace framquist
