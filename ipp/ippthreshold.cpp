#include "ipp/ippthreshold.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippparallel.h"
#include "ipp/kernels/ippthresholdkernels.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus thresholdWith(bool ac4, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roi,
                        const ThresholdArgs& args) noexcept {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, ac4 ? 4 : 3);
  if (st != ippStsNoErr) return st;
  forRowBands(roi.height, imageBytes(roi, ac4 ? 4 : 3), [&](int y0, int y1) {
    const ThresholdKernels& k = thresholdKernels();
    (ac4 ? k.ac4 : k.c3)(bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep, roi.width,
                         y1 - y0, args);
  });
  return st;
}

ThresholdArgs bothRules(const Ipp8u thresholdLT[3], const Ipp8u valueLT[3], const Ipp8u thresholdGT[3],
                        const Ipp8u valueGT[3]) {
  ThresholdArgs a{};
  for (int c = 0; c < 3; ++c) {
    a.ltThreshold[c] = thresholdLT[c];
    a.ltValue[c] = valueLT[c];
    a.gtThreshold[c] = thresholdGT[c];
    a.gtValue[c] = valueGT[c];
  }
  return a;
}

// No sample is below 0 or above 255, so these levels switch a side off.
const Ipp8u kZero[3] = {0, 0, 0};
const Ipp8u kMax[3] = {255, 255, 255};

IppStatus lowerAndUpper(bool ac4, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roi,
                        const Ipp8u* tLT, const Ipp8u* vLT, const Ipp8u* tGT, const Ipp8u* vGT) {
  if (tLT == nullptr || vLT == nullptr || tGT == nullptr || vGT == nullptr) return ippStsNullPtrErr;
  return thresholdWith(ac4, pSrc, srcStep, pDst, dstStep, roi, bothRules(tLT, vLT, tGT, vGT));
}

} // namespace

IppStatus ippiThreshold_LTValGTVal_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                          IppiSize roiSize, const Ipp8u thresholdLT[3],
                                          const Ipp8u valueLT[3], const Ipp8u thresholdGT[3],
                                          const Ipp8u valueGT[3]) {
  return lowerAndUpper(false, pSrc, srcStep, pDst, dstStep, roiSize, thresholdLT, valueLT, thresholdGT,
                       valueGT);
}

IppStatus ippiThreshold_LTValGTVal_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                           IppiSize roiSize, const Ipp8u thresholdLT[3],
                                           const Ipp8u valueLT[3], const Ipp8u thresholdGT[3],
                                           const Ipp8u valueGT[3]) {
  return lowerAndUpper(true, pSrc, srcStep, pDst, dstStep, roiSize, thresholdLT, valueLT, thresholdGT,
                       valueGT);
}

IppStatus ippiThreshold_GTVal_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]) {
  return lowerAndUpper(false, pSrc, srcStep, pDst, dstStep, roiSize, kZero, kZero, threshold, value);
}

IppStatus ippiThreshold_GTVal_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]) {
  return lowerAndUpper(true, pSrc, srcStep, pDst, dstStep, roiSize, kZero, kZero, threshold, value);
}

IppStatus ippiThreshold_LTVal_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]) {
  return lowerAndUpper(false, pSrc, srcStep, pDst, dstStep, roiSize, threshold, value, kMax, kMax);
}

IppStatus ippiThreshold_LTVal_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize, const Ipp8u threshold[3], const Ipp8u value[3]) {
  return lowerAndUpper(true, pSrc, srcStep, pDst, dstStep, roiSize, threshold, value, kMax, kMax);
}

} // namespace framquist
