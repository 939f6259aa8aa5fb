#include "ipp/ippfilter.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippfilterkernels.h"

namespace framquist {

using namespace ipp_detail;

IppStatus ippiFilterGauss_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize dstRoiSize, IppiMaskSize mask) {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, dstRoiSize, 4);
  if (st != ippStsNoErr) return st;
  if (mask == ippMskSize3x3)
    filterKernels().gauss3x3AC4(pSrc, srcStep, pDst, dstStep, dstRoiSize.width, dstRoiSize.height);
  else if (mask == ippMskSize5x5)
    filterKernels().gauss5x5AC4(pSrc, srcStep, pDst, dstStep, dstRoiSize.width, dstRoiSize.height);
  else
    return ippStsBadArgErr;
  return ippStsNoErr;
}

} // namespace framquist
