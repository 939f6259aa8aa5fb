// Remapping 8-bit images through coordinate tables: each destination pixel
// (x, y) of the ROI takes the source sampled at (xMap(x, y), yMap(x, y)).
//
// Map coordinates are in pixels relative to pSrc (the source image origin),
// 32-bit floats, with their own line steps in bytes. Only source pixels
// inside srcRoi (clipped to srcSize) are read; a destination pixel whose
// coordinates lie outside it (or are NaN) is left as it was. Interpolation:
//   IPPI_INTER_NN      nearest pixel (halves round up)
//   IPPI_INTER_LINEAR  bilinear over the 2 x 2 neighbours
//   IPPI_INTER_CUBIC   cubic through the 4 x 4 neighbours (a cubic
//                      polynomial through four samples per row, then one
//                      through the four row values)
// Neighbours beyond the edge of srcRoi repeat the edge pixel. Results are
// rounded to nearest and saturated to 0..255. IPPI_SMOOTH_EDGE may be or'ed
// in and is accepted without effect here.
//
// AC4 leaves each destination pixel's fourth byte as it was; C4 remaps all
// four. Source and destination must not overlap.
//
// Status: ippStsNullPtrErr for a null pointer; ippStsSizeErr when srcSize,
// srcRoi or dstRoiSize has a side below 1; ippStsStepErr when a step is
// shorter than one row; ippStsInterpolationErr for another interpolation;
// ippStsNoOperation (nothing written) when srcRoi misses the source image.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

inline constexpr int IPPI_INTER_NN = 1;
inline constexpr int IPPI_INTER_LINEAR = 2;
inline constexpr int IPPI_INTER_CUBIC = 4;
inline constexpr int IPPI_SMOOTH_EDGE = static_cast<int>(0x80000000u);

inline constexpr IppStatus ippStsInterpolationErr = static_cast<IppStatus>(-22);

IppStatus ippiRemap_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                           const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                           int dstStep, IppiSize dstRoiSize, int interpolation);
IppStatus ippiRemap_8u_C3R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                           const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                           int dstStep, IppiSize dstRoiSize, int interpolation);
IppStatus ippiRemap_8u_C4R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                           const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                           int dstStep, IppiSize dstRoiSize, int interpolation);
IppStatus ippiRemap_8u_AC4R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                            const Ipp32f* pxMap, int xMapStep, const Ipp32f* pyMap, int yMapStep, Ipp8u* pDst,
                            int dstStep, IppiSize dstRoiSize, int interpolation);

} // namespace framquist
