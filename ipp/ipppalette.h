// Palette lookup: each 8-bit source sample picks a 32-bit entry of a
// palette table, which becomes the destination pixel whole (four bytes,
// alpha included).
//
// Only the nBitSize low bits of a sample index the table, so the table holds
// 2^nBitSize entries; nBitSize must be 1..8 (otherwise ippStsBadArgErr).
// Addressing, ROI and the other status codes are those of ipp/ippcopy.h; a
// null table is ippStsNullPtrErr. The destination step is in bytes.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiLUTPalette_8u32u_C1R(const Ipp8u* pSrc, int srcStep, Ipp32u* pDst, int dstStep,
                                   IppiSize roiSize, const Ipp32u* pTable, int nBitSize);

} // namespace framquist
