#include "ipp/ippalpha.h"

#include "ipp/kernels/ippalphakernels.h"
#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

IppStatus ippiAlphaComp_8u_AC4R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step,
                                Ipp8u* pDst, int dstStep, IppiSize roiSize, IppiAlphaType alphaType) {
  if (pSrc2 == nullptr) return ippStsNullPtrErr;
  IppStatus st = checkTwo(pSrc1, src1Step, pDst, dstStep, roiSize, 4);
  if (st == ippStsNoErr && stepTooSmall(src2Step, roiSize, 4)) st = ippStsStepErr;
  if (st == ippStsNoErr && (alphaType < ippAlphaOver || alphaType > ippAlphaPlusPremul)) st = ippStsBadArgErr;
  if (st == ippStsNoErr)
    forRowBands(roiSize.height, imageBytes(roiSize, 4), [&](int y0, int y1) {
      alphaKernels().compose(bandRow(pSrc1, src1Step, y0), src1Step, bandRow(pSrc2, src2Step, y0), src2Step,
                             bandRow(pDst, dstStep, y0), dstStep, roiSize.width, y1 - y0,
                             static_cast<int>(alphaType));
    });
  return st;
}

IppStatus ippiAlphaComp_8u_AC4IR(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep,
                                 IppiSize roiSize, IppiAlphaType alphaType) {
  return ippiAlphaComp_8u_AC4R(pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, alphaType);
}

} // namespace framquist
