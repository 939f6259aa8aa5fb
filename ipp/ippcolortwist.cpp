#include "ipp/ippcolortwist.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippcolortwistkernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus twistWith(bool ac4, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roi,
                    const Ipp32f twist[3][4]) noexcept {
  if (twist == nullptr) return ippStsNullPtrErr;
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, ac4 ? 4 : 3);
  if (st != ippStsNoErr) return st;
  forRowBands(roi.height, imageBytes(roi, ac4 ? 4 : 3), [&](int y0, int y1) {
    const ColorTwistKernels& k = colorTwistKernels();
    (ac4 ? k.ac4 : k.c3)(bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep, roi.width,
                         y1 - y0, twist);
  });
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
