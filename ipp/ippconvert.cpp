#include "ipp/ippconvert.h"

#include "ipp/ippcopy.h"
#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippconvertkernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

// The frame's format codes; anything unknown is 24-bit, as in the frame.
PixelFormat layoutOf(int format) noexcept {
  switch (format) {
  case 3:
    return kBgra32;
  case 4:
    return kRgb565;
  case 5:
    return kRgb555;
  case 6:
    return kGrey8;
  default:
    return kBgr24;
  }
}

} // namespace

IppStatus fqiConvertFormat_8u(const Ipp8u* pSrc, int srcStep, int srcFormat, Ipp8u* pDst, int dstStep,
                              int dstFormat, IppiSize roiSize) {
  const PixelFormat from = layoutOf(srcFormat), to = layoutOf(dstFormat);
  const int srcBytes = kFormatBytes[from], dstBytes = kFormatBytes[to];
  if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
  if (roiEmpty(roiSize)) return ippStsSizeErr;
  if (stepTooSmall(srcStep, roiSize, srcBytes) || stepTooSmall(dstStep, roiSize, dstBytes))
    return ippStsStepErr;
  // A row in bytes fits an int here: the step holds it.
  if (from == to)
    return ippiCopy_8u_C1R(pSrc, srcStep, pDst, dstStep, {roiSize.width * srcBytes, roiSize.height});
  forRowBands(roiSize.height, imageBytes(roiSize, srcBytes + dstBytes), [&](int y0, int y1) {
    convertKernels().convert[from][to](bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0),
                                       dstStep, roiSize.width, y1 - y0);
  });
  return ippStsNoErr;
}

} // namespace framquist
