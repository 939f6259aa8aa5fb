// Threshold kernels for any CPU: fixed-length byte loops over a tile of
// levels, which the loop vectoriser turns into compares and selects.
#include "ipp/kernels/ippthresholdtile.h"

namespace framquist::ipp_detail {
namespace {

template <int PixelBytes>
void thresholdPortable(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                       const ThresholdArgs& args) {
  using Tile = ThresholdTile<PixelBytes>;
  const Tile t(args);
  const int rowBytes = width * PixelBytes;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = rowOf(src, srcStep, y);
    Ipp8u* d = rowOf(dst, dstStep, y);
    int x = 0;
    for (; x + Tile::kBytes <= rowBytes; x += Tile::kBytes) {
      Ipp8u out[Tile::kBytes];
      for (int i = 0; i < Tile::kBytes; ++i) {
        const Ipp8u v = s[x + i];
        Ipp8u r = v > t.gt[i] ? t.gtValue[i] : v;
        r = v < t.lt[i] ? t.ltValue[i] : r;
        out[i] = PixelBytes == 4 ? static_cast<Ipp8u>((r & ~t.keep[i]) | (d[x + i] & t.keep[i])) : r;
      }
      for (int i = 0; i < Tile::kBytes; ++i) d[x + i] = out[i];
    }
    t.scalarSpan(s + x, d + x, rowBytes - x);
  }
}

} // namespace

const ThresholdKernels kThresholdPortable = {thresholdPortable<3>, thresholdPortable<4>};

} // namespace framquist::ipp_detail
