#include "ipp/ipppalette.h"

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ipppalettekernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

IppStatus ippiLUTPalette_8u32u_C1R(const Ipp8u* pSrc, int srcStep, Ipp32u* pDst, int dstStep,
                                   IppiSize roiSize, const Ipp32u* pTable, int nBitSize) {
  if (pTable == nullptr) return ippStsNullPtrErr;
  if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
  if (roiEmpty(roiSize)) return ippStsSizeErr;
  if (stepTooSmall(srcStep, roiSize, 1) || stepTooSmall(dstStep, roiSize, 4)) return ippStsStepErr;
  if (nBitSize < 1 || nBitSize > 8) return ippStsBadArgErr;
  forRowBands(roiSize.height, imageBytes(roiSize, 4), [&](int y0, int y1) {
    paletteKernels().palette8u32u(bandRow(pSrc, srcStep, y0), srcStep,
                                  bandRow(reinterpret_cast<Ipp8u*>(pDst), dstStep, y0), dstStep,
                                  roiSize.width, y1 - y0, pTable, (1 << nBitSize) - 1);
  });
  return ippStsNoErr;
}

} // namespace framquist
