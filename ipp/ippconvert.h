// Converting whole images between the pixel layouts of the frame.
//
// Layouts by their frame format codes:
//   0  24-bit B, G, R
//   3  32-bit B, G, R, A
//   4  16-bit RGB 5-6-5, little-endian, red in the top five bits
//   5  16-bit RGB 5-5-5, little-endian, bit 15 zero (ignored when read)
//   6  8-bit grey
// Any other code means 24-bit.
//
// Each pixel is read as B, G, R, A and then written: grey g reads as
// (g, g, g, 255), 24-bit and 16-bit pixels read with alpha 255, and a
// 16-bit field x of n bits widens to 8 bits as (x << (8 - n)) | (x >> (2n - 8)).
// Writing grey gives (299 R + 587 G + 114 B + 500) / 1000 (integer division);
// writing 16-bit keeps the top bits of each channel; only the 32-bit layout
// keeps alpha. Every kernel target gives the same bytes. The same layout on
// both sides copies the rows unchanged.
//
// Status and the ROI conventions as in ipp/ippcopy.h, the steps checked
// against a row of each image's own layout. Source and destination must
// not overlap.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus fqiConvertFormat_8u(const Ipp8u* pSrc, int srcStep, int srcFormat, Ipp8u* pDst, int dstStep,
                              int dstFormat, IppiSize roiSize);

} // namespace framquist
