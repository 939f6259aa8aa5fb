// Small value types shared by the components.
#pragma once

#include <cstdint>

namespace framquist {

// Width then height, in pixels.
struct SIZE {
  std::int32_t cx = 0;
  std::int32_t cy = 0;
  friend bool operator==(const SIZE&, const SIZE&) = default;
};

struct TPoint {
  std::int32_t X = 0;
  std::int32_t Y = 0;
  friend bool operator==(const TPoint&, const TPoint&) = default;
};

// Left, top inclusive; right, bottom exclusive.
struct TRect {
  std::int32_t Left = 0;
  std::int32_t Top = 0;
  std::int32_t Right = 0;
  std::int32_t Bottom = 0;
  std::int32_t Width() const { return Right - Left; }
  std::int32_t Height() const { return Bottom - Top; }
  friend bool operator==(const TRect&, const TRect&) = default;
};

// 32-bit colour 0x00BBGGRR: red in the lowest byte. Pixels are stored blue,
// green, red (, alpha), so a colour's bytes are the reverse of a pixel's.
using TColor = std::uint32_t;

constexpr TColor FQRGB(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  return static_cast<TColor>(r) | (static_cast<TColor>(g) << 8) | (static_cast<TColor>(b) << 16);
}
constexpr std::uint8_t FQRed(TColor c) { return static_cast<std::uint8_t>(c & 0xff); }
constexpr std::uint8_t FQGreen(TColor c) { return static_cast<std::uint8_t>((c >> 8) & 0xff); }
constexpr std::uint8_t FQBlue(TColor c) { return static_cast<std::uint8_t>((c >> 16) & 0xff); }

} // namespace framquist
