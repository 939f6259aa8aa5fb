#include "ipp/ippmirror.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippkernels.h"

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
    mirrorKernels().mirror[layout](pSrc, srcStep, pDst, dstStep, roi.width, roi.height, flip);
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
