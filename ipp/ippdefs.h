// Basic types of the image primitives: sample types, sizes, status codes and
// mirror axes. The numeric values of the status codes and axes are part of
// the interface and never change.
#pragma once

#include <cstdint>

namespace framquist {

using Ipp8u = std::uint8_t;
using Ipp8s = std::int8_t;
using Ipp16u = std::uint16_t;
using Ipp16s = std::int16_t;
using Ipp32u = std::uint32_t;
using Ipp32s = std::int32_t;
using Ipp64u = std::uint64_t;
using Ipp64s = std::int64_t;
using Ipp32f = float;
using Ipp64f = double;

struct IppiSize {
  int width;
  int height;
};

struct IppiRect {
  int x;
  int y;
  int width;
  int height;
};

struct IppiPoint {
  int x;
  int y;
};

// Negative values are errors (nothing was written), positive ones warnings.
enum IppStatus : int {
  ippStsMirrorFlipErr = -21,    // flip is not a supported axis
  ippStsStepErr = -14,          // a line step is smaller than the ROI row
  ippStsNullPtrErr = -8,        // a required pointer is null
  ippStsSizeErr = -6,           // the ROI has a side smaller than one pixel
  ippStsLUTNofLevelsErr = -106, // a lookup table has fewer than two levels
  ippStsBadArgErr = -5,         // some other argument is out of range
  ippStsNoMemErr = -4,          // memory could not be allocated
  ippStsErr = -2,               // unspecified error
  ippStsNoErr = 0,
  ippStsNoOperation = 1, // warning: the call had nothing to do
  ippStsDivByZero = 6,   // warning: a divisor was zero (Div)
};

// Axis an image is mirrored about: ippAxsHorizontal turns it upside down,
// ippAxsVertical swaps left and right, ippAxsBoth does both (a half turn).
enum IppiAxis : int {
  ippAxsHorizontal = 0,
  ippAxsVertical = 1,
  ippAxsBoth = 2,
  ippAxs45 = 3, // the diagonals; the mirror primitives here reject them
  ippAxs135 = 4,
};

} // namespace framquist
