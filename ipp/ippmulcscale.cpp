#include "ipp/ippmulcscale.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippmulcscalekernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus mulCScaleWith(Layout layout, int bytesPerPixel, const Ipp8u* value, Ipp8u* pSrcDst, int step,
                        IppiSize roi) noexcept {
  if (value == nullptr) return ippStsNullPtrErr;
  const IppStatus st = checkOne(pSrcDst, step, roi, bytesPerPixel);
  if (st == ippStsNoErr)
    forRowBands(roi.height, imageBytes(roi, bytesPerPixel), [&](int y0, int y1) {
      mulCScaleKernels().op[layout](value, bandRow(pSrcDst, step, y0), step, roi.width, y1 - y0);
    });
  return st;
}

} // namespace

IppStatus ippiMulCScale_8u_C1IR(Ipp8u value, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize) {
  return mulCScaleWith(kC1, 1, &value, pSrcDst, srcDstStep, roiSize);
}

IppStatus ippiMulCScale_8u_C3IR(const Ipp8u value[3], Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize) {
  return mulCScaleWith(kC3, 3, value, pSrcDst, srcDstStep, roiSize);
}

IppStatus ippiMulCScale_8u_C4IR(const Ipp8u value[4], Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize) {
  return mulCScaleWith(kC4, 4, value, pSrcDst, srcDstStep, roiSize);
}

} // namespace framquist
