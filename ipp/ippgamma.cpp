#include "ipp/ippgamma.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippgammakernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus gammaWith(bool ac4, bool inverse, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                    IppiSize roi) noexcept {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, ac4 ? 4 : 3);
  if (st != ippStsNoErr) return st;
  forRowBands(roi.height, imageBytes(roi, ac4 ? 4 : 3), [&](int y0, int y1) {
    const GammaKernels& k = gammaKernels();
    (ac4 ? k.ac4 : k.c3)(bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep, roi.width,
                         y1 - y0, inverse);
  });
  return st;
}

} // namespace

IppStatus ippiGammaFwd_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(false, false, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiGammaFwd_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(true, false, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiGammaInv_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(false, true, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiGammaInv_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(true, true, pSrc, srcStep, pDst, dstStep, roiSize);
}

} // namespace framquist
