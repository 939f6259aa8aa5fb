// Argument checks shared by the public entry points.
#pragma once

#include "ipp/ippdefs.h"

#include <cstdint>

namespace framquist::ipp_detail {

inline bool roiEmpty(IppiSize roi) noexcept { return roi.width < 1 || roi.height < 1; }

// A step must hold one ROI row; 64-bit so huge widths cannot wrap.
inline bool stepTooSmall(int step, IppiSize roi, int bytesPerPixel) noexcept {
  return static_cast<std::int64_t>(step) < static_cast<std::int64_t>(roi.width) * bytesPerPixel;
}

inline IppStatus checkOne(const void* p, int step, IppiSize roi, int bytesPerPixel) noexcept {
  if (p == nullptr) return ippStsNullPtrErr;
  if (roiEmpty(roi)) return ippStsSizeErr;
  if (stepTooSmall(step, roi, bytesPerPixel)) return ippStsStepErr;
  return ippStsNoErr;
}

inline IppStatus checkTwo(const void* src, int srcStep, const void* dst, int dstStep, IppiSize roi,
                          int bytesPerPixel) noexcept {
  if (src == nullptr || dst == nullptr) return ippStsNullPtrErr;
  if (roiEmpty(roi)) return ippStsSizeErr;
  if (stepTooSmall(srcStep, roi, bytesPerPixel) || stepTooSmall(dstStep, roi, bytesPerPixel))
    return ippStsStepErr;
  return ippStsNoErr;
}

} // namespace framquist::ipp_detail
