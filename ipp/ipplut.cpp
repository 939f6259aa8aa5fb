#include "ipp/ipplut.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ipplutkernels.h"
#include "ipp/kernels/ippparallel.h"

#include <cstring>

namespace framquist {

using namespace ipp_detail;

namespace {

// layout: 0 C1, 1 C3, 2 C4 (the slot in LutKernels).
IppStatus lutWith(LutMode mode, int layout, int channels, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst,
                  int dstStep, IppiSize roi, const Ipp32s* const* pValues, const Ipp32s* const* pLevels,
                  const int* nLevels) noexcept {
  IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, channels);
  if (st != ippStsNoErr) return st;
  if (pValues == nullptr || pLevels == nullptr || nLevels == nullptr) return ippStsNullPtrErr;
  LutCall call;
  call.mode = mode;
  call.channels = channels;
  for (int c = 0; c < channels; ++c) {
    if (pValues[c] == nullptr || pLevels[c] == nullptr) return ippStsNullPtrErr;
    if (nLevels[c] < 2) return ippStsLUTNofLevelsErr;
    call.curve[c] = {pValues[c], pLevels[c], nLevels[c]};
  }
  // Built once per call: 256 evaluations per channel cost less than a row.
  for (int c = 0; c < channels; ++c)
    for (int s = 0; s < 256; ++s) call.table[c][s] = lutEvaluate(mode, call.curve[c], s);
  std::memset(call.pad, 0, sizeof call.pad);
  call.sameTables = true;
  for (int c = 1; c < channels; ++c)
    if (std::memcmp(call.table[c], call.table[0], 256) != 0) call.sameTables = false;
  forRowBands(roi.height, imageBytes(roi, channels), [&](int y0, int y1) {
    lutKernels().apply[layout](bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep,
                               roi.width, y1 - y0, call);
  });
  return ippStsNoErr;
}

IppStatus lutOne(LutMode mode, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roi,
                 const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels) noexcept {
  const Ipp32s* values[1] = {pValues};
  const Ipp32s* levels[1] = {pLevels};
  const int n[1] = {nLevels};
  return lutWith(mode, 0, 1, pSrc, srcStep, pDst, dstStep, roi, values, levels, n);
}

} // namespace

IppStatus ippiLUT_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                         const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels) {
  return lutOne(LutMode::Step, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}
IppStatus ippiLUT_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                         const Ipp32s* pValues[3], const Ipp32s* pLevels[3], int nLevels[3]) {
  return lutWith(LutMode::Step, 1, 3, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}
IppStatus ippiLUT_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                         const Ipp32s* pValues[4], const Ipp32s* pLevels[4], int nLevels[4]) {
  return lutWith(LutMode::Step, 2, 4, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}

IppStatus ippiLUT_Linear_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels) {
  return lutOne(LutMode::Linear, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}
IppStatus ippiLUT_Linear_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                const Ipp32s* pValues[3], const Ipp32s* pLevels[3], int nLevels[3]) {
  return lutWith(LutMode::Linear, 1, 3, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}
IppStatus ippiLUT_Linear_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                const Ipp32s* pValues[4], const Ipp32s* pLevels[4], int nLevels[4]) {
  return lutWith(LutMode::Linear, 2, 4, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}

IppStatus ippiLUT_Cubic_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                               const Ipp32s* pValues, const Ipp32s* pLevels, int nLevels) {
  return lutOne(LutMode::Cubic, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}
IppStatus ippiLUT_Cubic_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                               const Ipp32s* pValues[3], const Ipp32s* pLevels[3], int nLevels[3]) {
  return lutWith(LutMode::Cubic, 1, 3, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}
IppStatus ippiLUT_Cubic_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                               const Ipp32s* pValues[4], const Ipp32s* pLevels[4], int nLevels[4]) {
  return lutWith(LutMode::Cubic, 2, 4, pSrc, srcStep, pDst, dstStep, roiSize, pValues, pLevels, nLevels);
}

} // namespace framquist
