#include "support/fqtestsupport.h"

#include <cstring>
#include <random>
#include <sstream>

namespace framquist::test {

IFQImageBuffer RandomFrame(int width, int height, TFQVideoFormat format, std::uint32_t seed) {
  IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
  std::mt19937 rng(seed);
  std::uint8_t* p = frame.GetWritePointer();
  const std::size_t row =
      static_cast<std::size_t>(width) * static_cast<std::size_t>(frame.GetBytesPerPixel());
  for (int y = 0; y < height; ++y)
    for (std::size_t i = 0; i < row; ++i)
      p[y * frame.GetLineStep() + static_cast<long>(i)] = static_cast<std::uint8_t>(rng());
  return frame;
}

IFQImageBuffer SolidFrame(int width, int height, TFQVideoFormat format, TColor colour) {
  IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
  frame.FillColor(colour, 0);
  return frame;
}

std::vector<std::uint8_t> PixelAt(const IFQImageBuffer& frame, int x, int y) {
  const int bpp = frame.GetBytesPerPixel();
  const std::uint8_t* p = frame.GetReadPointer() + static_cast<long>(y) * frame.GetLineStep() + x * bpp;
  return {p, p + bpp};
}

bool SameFrame(const IFQImageBuffer& a, const IFQImageBuffer& b, std::string* why) {
  std::ostringstream out;
  if (!(a.GetSize() == b.GetSize()) || a.GetFormat() != b.GetFormat()) {
    out << "size/format " << a.GetWidth() << "x" << a.GetHeight() << "/" << int(a.GetFormat()) << " vs "
        << b.GetWidth() << "x" << b.GetHeight() << "/" << int(b.GetFormat());
    if (why != nullptr) *why = out.str();
    return false;
  }
  const int bpp = a.GetBytesPerPixel();
  for (int y = 0; y < a.GetHeight(); ++y)
    for (int x = 0; x < a.GetWidth(); ++x) {
      const std::uint8_t* pa = a.GetReadPointer() + static_cast<long>(y) * a.GetLineStep() + x * bpp;
      const std::uint8_t* pb = b.GetReadPointer() + static_cast<long>(y) * b.GetLineStep() + x * bpp;
      if (std::memcmp(pa, pb, static_cast<std::size_t>(bpp)) != 0) {
        out << "pixel (" << x << "," << y << ") differs";
        if (why != nullptr) *why = out.str();
        return false;
      }
    }
  return true;
}

} // namespace framquist::test
