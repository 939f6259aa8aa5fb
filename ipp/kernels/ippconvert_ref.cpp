// Reference conversion kernels: each pixel read into B, G, R, A and written
// back out, one at a time, exactly as the frame converts a pixel.
#include "ipp/kernels/ippconvertkernels.h"

#include <cstddef>

namespace framquist::ipp_detail {

namespace {

struct Bgra {
  Ipp8u b, g, r, a;
};

Bgra readPixel(const Ipp8u* p, int format) {
  switch (format) {
  case kGrey8:
    return {p[0], p[0], p[0], 255};
  case kBgra32:
    return {p[0], p[1], p[2], p[3]};
  case kRgb565: {
    const unsigned v = p[0] | (p[1] << 8);
    const unsigned r = (v >> 11) & 31, g = (v >> 5) & 63, b = v & 31;
    return {static_cast<Ipp8u>((b << 3) | (b >> 2)), static_cast<Ipp8u>((g << 2) | (g >> 4)),
            static_cast<Ipp8u>((r << 3) | (r >> 2)), 255};
  }
  case kRgb555: {
    const unsigned v = p[0] | (p[1] << 8);
    const unsigned r = (v >> 10) & 31, g = (v >> 5) & 31, b = v & 31;
    return {static_cast<Ipp8u>((b << 3) | (b >> 2)), static_cast<Ipp8u>((g << 3) | (g >> 2)),
            static_cast<Ipp8u>((r << 3) | (r >> 2)), 255};
  }
  default:
    return {p[0], p[1], p[2], 255};
  }
}

void writePixel(Ipp8u* p, int format, Bgra c) {
  switch (format) {
  case kGrey8:
    p[0] = static_cast<Ipp8u>((299 * c.r + 587 * c.g + 114 * c.b + 500) / 1000);
    break;
  case kBgra32:
    p[0] = c.b, p[1] = c.g, p[2] = c.r, p[3] = c.a;
    break;
  case kRgb565: {
    const unsigned v = ((c.r >> 3) << 11) | ((c.g >> 2) << 5) | (c.b >> 3);
    p[0] = static_cast<Ipp8u>(v & 0xff), p[1] = static_cast<Ipp8u>(v >> 8);
    break;
  }
  case kRgb555: {
    const unsigned v = ((c.r >> 3) << 10) | ((c.g >> 3) << 5) | (c.b >> 3);
    p[0] = static_cast<Ipp8u>(v & 0xff), p[1] = static_cast<Ipp8u>(v >> 8);
    break;
  }
  default:
    p[0] = c.b, p[1] = c.g, p[2] = c.r;
    break;
  }
}

template <int From, int To>
struct ConvertRef {
  static void run(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height) {
    for (int y = 0; y < height; ++y) {
      const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
      Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
      for (int x = 0; x < width; ++x)
        writePixel(d + x * kFormatBytes[To], To, readPixel(s + x * kFormatBytes[From], From));
    }
  }
};

} // namespace

const ConvertKernels kConvertReference = makeConvertKernels<ConvertRef>();

} // namespace framquist::ipp_detail
