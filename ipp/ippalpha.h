// Alpha composition of two 8-bit RGBA images through their alpha channels.
//
// A is the foreground (pSrc1), B the background (pSrc2), alpha the fourth
// byte of each pixel, a = alpha / 255. Colour channels and alpha of the
// destination:
//   type            colour                          alpha
//   ippAlphaOver    aA*A + (1-aA)*aB*B              aA + (1-aA)*aB
//   ippAlphaIn      aA*A*aB                         aA*aB
//   ippAlphaOut     aA*A*(1-aB)                     aA*(1-aB)
//   ippAlphaATop    aA*A*aB + (1-aA)*aB*B           aA*aB + (1-aA)*aB
//   ippAlphaXor     aA*A*(1-aB) + (1-aA)*aB*B       aA*(1-aB) + (1-aA)*aB
//   ippAlphaPlus    aA*A + aB*B                     aA + aB
// The ...Premul types take the colours as already multiplied by their
// alpha (aA*A is A itself). Each product with an alpha is rounded to the
// nearest integer (colours are premultiplied first, then combined) and the
// result saturates at 255. The destination alpha is written.
//
// Types outside 0..11 give ippStsBadArgErr; the other checks are those of
// ipp/ippcopy.h. The in-place form composes pSrc over pSrcDst into pSrcDst.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

enum IppiAlphaType : int {
  ippAlphaOver = 0,
  ippAlphaIn = 1,
  ippAlphaOut = 2,
  ippAlphaATop = 3,
  ippAlphaXor = 4,
  ippAlphaPlus = 5,
  ippAlphaOverPremul = 6,
  ippAlphaInPremul = 7,
  ippAlphaOutPremul = 8,
  ippAlphaATopPremul = 9,
  ippAlphaXorPremul = 10,
  ippAlphaPlusPremul = 11,
};

IppStatus ippiAlphaComp_8u_AC4R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step,
                                Ipp8u* pDst, int dstStep, IppiSize roiSize, IppiAlphaType alphaType);
IppStatus ippiAlphaComp_8u_AC4IR(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep,
                                 IppiSize roiSize, IppiAlphaType alphaType);

} // namespace framquist
