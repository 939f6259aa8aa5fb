#include "ipp/ippcolortwist.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippcolortwistkernels.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus twistWith(bool ac4, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roi,
                    const Ipp32f twist[3][4]) noexcept {
  if (twist == nullptr) return ippStsNullPtrErr;
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, ac4 ? 4 : 3);
  if (st != ippStsNoErr) return st;
  const ColorTwistKernels& k = colorTwistKernels();
  (ac4 ? k.ac4 : k.c3)(pSrc, srcStep, pDst, dstStep, roi.width, roi.height, twist);
  return st;
}

} // namespace

IppStatus ippiColorTwist32f_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                   const Ipp32f twist[3][4]) {
  return twistWith(false, pSrc, srcStep, pDst, dstStep, roiSize, twist);
}

IppStatus ippiColorTwist32f_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const Ipp32f twist[3][4]) {
  return twistWith(true, pSrc, srcStep, pDst, dstStep, roiSize, twist);
}

} // namespace framquist
