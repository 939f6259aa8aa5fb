// Copying and filling 8-bit images.
//
// Images are addressed by a pointer to the first pixel of the region of
// interest (ROI) and a line step in bytes; only the ROI is written, padding
// and pixels outside it are left alone. C1/C3/C4 are 1, 3 and 4 interleaved
// channels; AC4 is 4 channels of which the fourth (alpha) is not written.
//
// Status: ippStsNullPtrErr for a null pointer, ippStsSizeErr when the ROI
// width or height is below 1, ippStsStepErr when a step is smaller than one
// ROI row in bytes (so also when it is zero or negative). On an error
// nothing is written.
//
// The AC4, C4CR and C1C4R kernels may rewrite the bytes they leave
// unchanged with their own values; do not let another thread write those
// bytes meanwhile.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiCopy_8u_C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiCopy_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiCopy_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
// Copies the three colour channels; the destination alpha stays as it was.
IppStatus ippiCopy_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
// Copies one channel of a 4-channel image into the same channel of another:
// pSrc and pDst point at that channel of the first pixel (e.g. base + 3 for
// alpha). The other channels of the destination stay as they were.
IppStatus ippiCopy_8u_C4CR(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);
// Copies a one-channel image into one channel of a 4-channel image: pDst
// points at that channel of the first pixel (e.g. base + 3 for alpha), and
// the other channels stay as they were. srcStep must hold roiSize.width
// bytes, dstStep roiSize.width pixels of 4 bytes. Nothing after the last
// written byte of a row is read or written, so the image may end there.
IppStatus ippiCopy_8u_C1C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize);

IppStatus ippiSet_8u_C1R(Ipp8u value, Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiSet_8u_C3R(const Ipp8u value[3], Ipp8u* pDst, int dstStep, IppiSize roiSize);
IppStatus ippiSet_8u_C4R(const Ipp8u value[4], Ipp8u* pDst, int dstStep, IppiSize roiSize);
// Sets the three colour channels; alpha stays as it was.
IppStatus ippiSet_8u_AC4R(const Ipp8u value[3], Ipp8u* pDst, int dstStep, IppiSize roiSize);

} // namespace framquist
