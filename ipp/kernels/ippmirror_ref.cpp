// Reference mirror kernels: one pixel at a time, straight from the
// definition. The fast kernels are tested against these.
#include "ipp/kernels/ippkernels.h"

#include <cstddef>
#include <utility>

namespace framquist::ipp_detail {

namespace {

struct Mapping {
  int width, height;
  bool flipRows, flipColumns;
  int sourceRow(int y) const { return flipRows ? height - 1 - y : y; }
  int sourceColumn(int x) const { return flipColumns ? width - 1 - x : x; }
};

Mapping mappingFor(int width, int height, IppiAxis flip) {
  return {width, height, flip != ippAxsVertical, flip != ippAxsHorizontal};
}

// Channels is how many samples of each pixel are written, PixelBytes its size.
template <int Channels, int PixelBytes>
void mirrorRef(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height, IppiAxis flip) {
  const Mapping m = mappingFor(width, height, flip);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Ipp8u* s =
          src + static_cast<std::ptrdiff_t>(m.sourceRow(y)) * srcStep + m.sourceColumn(x) * PixelBytes;
      Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep + x * PixelBytes;
      for (int c = 0; c < Channels; ++c) d[c] = s[c];
    }
}

// Swaps every pixel with its mirror image once; the pixel on both axes (the
// centre) stays.
template <int Channels, int PixelBytes>
void mirrorInPlaceRef(Ipp8u* image, int step, int width, int height, IppiAxis flip) {
  const Mapping m = mappingFor(width, height, flip);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const int sy = m.sourceRow(y), sx = m.sourceColumn(x);
      if (sy < y || (sy == y && sx <= x)) continue; // swapped already, or the pixel itself
      Ipp8u* a = image + static_cast<std::ptrdiff_t>(y) * step + x * PixelBytes;
      Ipp8u* b = image + static_cast<std::ptrdiff_t>(sy) * step + sx * PixelBytes;
      for (int c = 0; c < Channels; ++c) std::swap(a[c], b[c]);
    }
}

} // namespace

const MirrorKernels kMirrorReference = {
    {mirrorRef<1, 1>, mirrorRef<3, 3>, mirrorRef<4, 4>, mirrorRef<3, 4>},
    {mirrorInPlaceRef<1, 1>, mirrorInPlaceRef<3, 3>, mirrorInPlaceRef<4, 4>, mirrorInPlaceRef<3, 4>},
};

} // namespace framquist::ipp_detail
