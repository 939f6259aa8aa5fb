#include "ipp/ippmirror.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

bool badFlip(IppiAxis flip) noexcept {
  return flip != ippAxsHorizontal && flip != ippAxsVertical && flip != ippAxsBoth;
}

IppStatus mirrorWith(Layout layout, int bytesPerPixel, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst,
                     int dstStep, IppiSize roi, IppiAxis flip) noexcept {
  IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, bytesPerPixel);
  if (st == ippStsNoErr && badFlip(flip)) st = ippStsMirrorFlipErr;
  if (st == ippStsNoErr)
    forRowBands(roi.height, imageBytes(roi, bytesPerPixel), [&](int y0, int y1) {
      // Turned upside down (about the horizontal axis, or both), output
      // rows [y0, y1) come from the source's rows [h - y1, h - y0).
      const int from = flip == ippAxsVertical ? y0 : roi.height - y1;
      mirrorKernels().mirror[layout](bandRow(pSrc, srcStep, from), srcStep, bandRow(pDst, dstStep, y0),
                                     dstStep, roi.width, y1 - y0, flip);
    });
  return st;
}

IppStatus mirrorInPlaceWith(Layout layout, int bytesPerPixel, Ipp8u* p, int step, IppiSize roi,
                            IppiAxis flip) noexcept {
  IppStatus st = checkOne(p, step, roi, bytesPerPixel);
  if (st == ippStsNoErr && badFlip(flip)) st = ippStsMirrorFlipErr;
  if (st == ippStsNoErr) mirrorKernels().mirrorInPlace[layout](p, step, roi.width, roi.height, flip);
  return st;
}

} // namespace

IppStatus ippiMirror_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                            IppiAxis flip) {
  return mirrorWith(kC1, 1, pSrc, srcStep, pDst, dstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                            IppiAxis flip) {
  return mirrorWith(kC3, 3, pSrc, srcStep, pDst, dstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                            IppiAxis flip) {
  return mirrorWith(kC4, 4, pSrc, srcStep, pDst, dstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                             IppiAxis flip) {
  return mirrorWith(kAC4, 4, pSrc, srcStep, pDst, dstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_C1IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip) {
  return mirrorInPlaceWith(kC1, 1, pSrcDst, srcDstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_C3IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip) {
  return mirrorInPlaceWith(kC3, 3, pSrcDst, srcDstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_C4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip) {
  return mirrorInPlaceWith(kC4, 4, pSrcDst, srcDstStep, roiSize, flip);
}

IppStatus ippiMirror_8u_AC4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, IppiAxis flip) {
  return mirrorInPlaceWith(kAC4, 4, pSrcDst, srcDstStep, roiSize, flip);
}

} // namespace framquist
