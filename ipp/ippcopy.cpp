#include "ipp/ippcopy.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus copyWith(Layout layout, int bytesPerPixel, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                   IppiSize roi) noexcept {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, bytesPerPixel);
  if (st == ippStsNoErr)
    forRowBands(roi.height, imageBytes(roi, bytesPerPixel), [&](int y0, int y1) {
      copyKernels().copy[layout](bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep,
                                 roi.width, y1 - y0);
    });
  return st;
}

IppStatus setWith(Layout layout, int bytesPerPixel, const Ipp8u* value, Ipp8u* pDst, int dstStep,
                  IppiSize roi) noexcept {
  if (value == nullptr) return ippStsNullPtrErr;
  const IppStatus st = checkOne(pDst, dstStep, roi, bytesPerPixel);
  if (st == ippStsNoErr)
    forRowBands(roi.height, imageBytes(roi, bytesPerPixel), [&](int y0, int y1) {
      copyKernels().set[layout](value, bandRow(pDst, dstStep, y0), dstStep, roi.width, y1 - y0);
    });
  return st;
}

} // namespace

IppStatus ippiCopy_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return copyWith(kC1, 1, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return copyWith(kC3, 3, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return copyWith(kC4, 4, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return copyWith(kAC4, 4, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_8u_C4CR(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roiSize, 4);
  if (st == ippStsNoErr)
    forRowBands(roiSize.height, imageBytes(roiSize, 4), [&](int y0, int y1) {
      copyKernels().copyChannelC4(bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep,
                                  roiSize.width, y1 - y0);
    });
  return st;
}

IppStatus ippiCopy_8u_C1C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
  if (roiEmpty(roiSize)) return ippStsSizeErr;
  if (stepTooSmall(srcStep, roiSize, 1) || stepTooSmall(dstStep, roiSize, 4)) return ippStsStepErr;
  forRowBands(roiSize.height, imageBytes(roiSize, 4), [&](int y0, int y1) {
    copyKernels().copyC1C4(bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep,
                           roiSize.width, y1 - y0);
  });
  return ippStsNoErr;
}

IppStatus ippiSet_8u_C1R(Ipp8u value, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return setWith(kC1, 1, &value, pDst, dstStep, roiSize);
}

IppStatus ippiSet_8u_C3R(const Ipp8u value[3], Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return setWith(kC3, 3, value, pDst, dstStep, roiSize);
}

IppStatus ippiSet_8u_C4R(const Ipp8u value[4], Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return setWith(kC4, 4, value, pDst, dstStep, roiSize);
}

IppStatus ippiSet_8u_AC4R(const Ipp8u value[3], Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return setWith(kAC4, 4, value, pDst, dstStep, roiSize);
}

} // namespace framquist
