// Video gamma correction of 8-bit RGB images (the transfer curve of ITU-R
// BT.709), forward and inverse, on the three colour channels.
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h. Each
// sample v is scaled to x = v / 255 and
//   forward  y = 4.5 x                   for x < 0.018
//            y = 1.099 x^0.45 - 0.099    otherwise
//   inverse  x = y / 4.5                 for y < 0.081
//            x = ((y + 0.099) / 1.099)^(1 / 0.45) otherwise
// then scaled back by 255, rounded to nearest and saturated to 0..255; 0 and
// 255 map to themselves both ways. AC4 forms leave the destination alpha as
// it was.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiGammaFwd_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiGammaFwd_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiGammaInv_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiGammaInv_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);

} // namespace framquist
