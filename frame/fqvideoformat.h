// TFQVideoFormat: the one-byte pixel-format code of a frame.
//
//   6  8-bit grey, one channel
//   3  32-bit, four 8-bit channels (blue, green, red, alpha)
//   0  24-bit, three 8-bit channels (blue, green, red): the default, and the
//      meaning of every code not listed here
//   4  16-bit 5-6-5
//   5  16-bit RGB 5-5-5
//   7  no particular format (a component that stores a chosen format stores
//      0 in its place)
#pragma once

#include <cstdint>

namespace framquist {

using TFQVideoFormat = std::uint8_t;

inline constexpr TFQVideoFormat vf24Bit = 0;
inline constexpr TFQVideoFormat vf32Bit = 3;
inline constexpr TFQVideoFormat vf16Bit565 = 4;
inline constexpr TFQVideoFormat vf16Bit555 = 5;
inline constexpr TFQVideoFormat vfGrey = 6;
inline constexpr TFQVideoFormat vfAny = 7;

// The code a buffer holds for `format`: unlisted codes become 24-bit, so 7
// (which has no pixels of its own) does too.
constexpr TFQVideoFormat FQNormalizeFormat(TFQVideoFormat format) {
  switch (format) {
  case vf32Bit:
  case vf16Bit565:
  case vf16Bit555:
  case vfGrey:
    return format;
  default:
    return vf24Bit;
  }
}

// The value a component stores for a chosen format: 7 is stored as 0.
constexpr TFQVideoFormat FQStoredFormat(TFQVideoFormat format) { return format == vfAny ? vf24Bit : format; }

constexpr int FQBytesPerPixel(TFQVideoFormat format) {
  switch (FQNormalizeFormat(format)) {
  case vfGrey:
    return 1;
  case vf32Bit:
    return 4;
  case vf16Bit565:
  case vf16Bit555:
    return 2;
  default:
    return 3;
  }
}

} // namespace framquist
