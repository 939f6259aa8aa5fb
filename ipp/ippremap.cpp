#include "ipp/ippremap.h"

#include <algorithm>
#include <cstdint>

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippparallel.h"
#include "ipp/kernels/ippremapkernels.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus remapWith(Layout layout, int bytesPerPixel, const Ipp8u* pSrc, IppiSize srcSize, int srcStep,
                    IppiRect srcRoi, const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep,
                    Ipp8u* pDst, int dstStep, IppiSize dstRoiSize, int interpolation) noexcept {
  if (pSrc == nullptr || pxMap == nullptr || pyMap == nullptr || pDst == nullptr) return ippStsNullPtrErr;
  if (roiEmpty(srcSize) || roiEmpty(dstRoiSize) || srcRoi.width < 1 || srcRoi.height < 1)
    return ippStsSizeErr;
  if (stepTooSmall(srcStep, srcSize, bytesPerPixel) || stepTooSmall(dstStep, dstRoiSize, bytesPerPixel) ||
      stepTooSmall(xMapStep, dstRoiSize, 4) || stepTooSmall(yMapStep, dstRoiSize, 4))
    return ippStsStepErr;
  RemapMode mode;
  switch (interpolation & ~IPPI_SMOOTH_EDGE) {
  case IPPI_INTER_NN:
    mode = kRemapNearest;
    break;
  case IPPI_INTER_LINEAR:
    mode = kRemapLinear;
    break;
  case IPPI_INTER_CUBIC:
    mode = kRemapCubic;
    break;
  default:
    return ippStsInterpolationErr;
  }
  // The source pixels that may be read: srcRoi within the image.
  const std::int64_t left = std::max<std::int64_t>(srcRoi.x, 0);
  const std::int64_t top = std::max<std::int64_t>(srcRoi.y, 0);
  const std::int64_t right = std::min<std::int64_t>(std::int64_t{srcRoi.x} + srcRoi.width, srcSize.width) - 1;
  const std::int64_t bottom =
      std::min<std::int64_t>(std::int64_t{srcRoi.y} + srcRoi.height, srcSize.height) - 1;
  if (left > right || top > bottom) return ippStsNoOperation;
  const RemapArgs args{pSrc,
                       srcStep,
                       static_cast<int>(left),
                       static_cast<int>(top),
                       static_cast<int>(right),
                       static_cast<int>(bottom),
                       pxMap,
                       xMapStep,
                       pyMap,
                       yMapStep,
                       pDst,
                       dstStep,
                       dstRoiSize.width,
                       dstRoiSize.height};
  // Output rows are independent: each band reads its own rows of the maps.
  forRowBands(dstRoiSize.height, imageBytes(dstRoiSize, bytesPerPixel), [&](int y0, int y1) {
    RemapArgs band = args;
    band.xMap = reinterpret_cast<const Ipp32f*>(bandRow(reinterpret_cast<const Ipp8u*>(pxMap), xMapStep, y0));
    band.yMap = reinterpret_cast<const Ipp32f*>(bandRow(reinterpret_cast<const Ipp8u*>(pyMap), yMapStep, y0));
    band.dst = bandRow(pDst, dstStep, y0);
    band.height = y1 - y0;
    remapKernels().remap[mode][layout](band);
  });
  return ippStsNoErr;
}

} // namespace

IppStatus ippiRemap_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                           const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                           int dstStep, IppiSize dstRoiSize, int interpolation) {
  return remapWith(kC1, 1, pSrc, srcSize, srcStep, srcRoi, pxMap, xMapStep, pyMap, yMapStep, pDst, dstStep,
                   dstRoiSize, interpolation);
}

IppStatus ippiRemap_8u_C3R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                           const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                           int dstStep, IppiSize dstRoiSize, int interpolation) {
  return remapWith(kC3, 3, pSrc, srcSize, srcStep, srcRoi, pxMap, xMapStep, pyMap, yMapStep, pDst, dstStep,
                   dstRoiSize, interpolation);
}

IppStatus ippiRemap_8u_C4R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                           const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                           int dstStep, IppiSize dstRoiSize, int interpolation) {
  return remapWith(kC4, 4, pSrc, srcSize, srcStep, srcRoi, pxMap, xMapStep, pyMap, yMapStep, pDst, dstStep,
                   dstRoiSize, interpolation);
}

IppStatus ippiRemap_8u_AC4R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                            const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                            int dstStep, IppiSize dstRoiSize, int interpolation) {
  return remapWith(kAC4, 4, pSrc, srcSize, srcStep, srcRoi, pxMap, xMapStep, pyMap, yMapStep, pDst, dstStep,
                   dstRoiSize, interpolation);
}

} // namespace framquist
